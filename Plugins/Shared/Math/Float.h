#pragma once

/// The scalar part of the math library: constants, clamping and comparison.

#include <cmath>
#include <type_traits>

namespace Vexorel::PrismDrift {

/// Degrees to radians; every angle in degrees is multiplied by it. It has fifteen digits, so it is
/// not the double nearest to pi / 180.
inline constexpr double DEG_TO_RAD = 0.017453292519943;
/// Radians to degrees: the double nearest to 180 / pi.
inline constexpr double RAD_TO_DEG = 57.29577951308232;
/// The tolerance of the comparisons; each says whether a difference of exactly this much passes.
inline constexpr double TOLERANCE = 1e-12;

/// The value of [low, high] nearest to `value`. The low end is tested first: with low above high, a
/// value below low gives low and any other gives high. NaN stays NaN.
constexpr double clampScalar(double value, double low, double high) {
    if (value < low) {
        return low;
    }
    return high < value ? high : value;
}

/// |second - first| <= tolerance, so a difference of exactly the tolerance passes. False with a
/// NaN, and for two equal infinities.
inline bool equalWithin(double first, double second, double tolerance) {
    return std::abs(second - first) <= tolerance;
}

/// Whether a type consists of `Count` doubles in a row and is copied as bytes, as all types of the
/// library are but Range and Euler, which hold integers as well.
template <class Type, int Count>
inline constexpr bool
    isPlainRowOfDoubles = std::is_standard_layout_v<Type>&& std::is_trivially_copyable_v<Type>&&
                              std::is_trivially_destructible_v<Type> &&
                          sizeof(Type) == Count * sizeof(double);

} // namespace Vexorel::PrismDrift
