#pragma once

/// The scalars of the math library: its constants, its clamp and its comparison.

#include <cmath>
#include <type_traits>

namespace Vexorel::PrismDrift {

/// Degrees to radians, to the fifteen digits that every angle given in degrees goes through; not
/// the double nearest to pi / 180.
inline constexpr double DEG_TO_RAD = 0.017453292519943;
/// Radians to degrees: the double nearest to 180 / pi.
inline constexpr double RAD_TO_DEG = 57.29577951308232;
/// How far apart two values may be that still count as equal.
inline constexpr double TOLERANCE = 1e-12;

/// `value`, or the end of [low, high] that it lies beyond. The low end is tested first, so with low
/// above high a value below low gives low, any other high at most; NaN stays NaN.
constexpr double clampScalar(double value, double low, double high) {
    if (value < low) {
        return low;
    }
    return high < value ? high : value;
}

/// |second - first| <= tolerance, the tolerance itself included; false with a NaN.
inline bool equalWithin(double first, double second, double tolerance) {
    return std::abs(second - first) <= tolerance;
}

/// What every type of the library is: `Count` doubles in a row, copied as bytes, with nothing
/// virtual, nothing to destroy and nothing on the heap.
template <class Type, int Count>
inline constexpr bool
    isPlainRowOfDoubles = std::is_standard_layout_v<Type>&& std::is_trivially_copyable_v<Type>&&
                              std::is_trivially_destructible_v<Type> &&
                          sizeof(Type) == Count * sizeof(double);

} // namespace Vexorel::PrismDrift
