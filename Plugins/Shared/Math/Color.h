#pragma once

/// A colour of four channels, normally 0 to 1 and never clamped. It counts as nil, "no colour", as
/// soon as a channel is below 0.

#include "Shared/Math/Float.h"

#include <string>

namespace Vexorel::PrismDrift {

/// Channels that come as integers are divided in single precision: 0x80 is the float nearest to
/// 128 / 255, about 0.50196081.
class Color {
public:
    double mR = 1.0;
    double mG = 1.0;
    double mB = 1.0;
    double mA = 1.0;

    /// Opaque white.
    constexpr Color() = default;
    constexpr Color(double red, double green, double blue, double alpha)
        : mR(red), mG(green), mB(blue), mA(alpha) {}
    /// From "#RGB", "#ARGB", "#RRGGBB" or "#AARRGGBB", in either case; alpha is 1 where it is left
    /// out. Text that does not begin with "#", or of another length, gives opaque white. What
    /// follows the "#" is read as far as `std::stoull` reads it in base 16: `std::invalid_argument`
    /// where it begins with no digit, `std::out_of_range` beyond 64 bits, whatever the length.
    explicit Color(const std::string& text);
    /// From 0xAARRGGBB.
    explicit Color(unsigned int packed);

    double r() const { return mR; }
    double g() const { return mG; }
    double b() const { return mB; }
    double a() const { return mA; }
    void set(double red, double green, double blue, double alpha) {
        *this = Color(red, green, blue, alpha);
    }
    /// Sets all channels to -1.
    void setNil() { set(-1.0, -1.0, -1.0, -1.0); }
    bool isNil() const { return mR < 0.0 || mG < 0.0 || mB < 0.0 || mA < 0.0; }

    /// Both nil, whatever their channels, or each channel within TOLERANCE, inclusive.
    bool equal(const Color& other) const;
    bool operator==(const Color& other) const { return equal(other); }
    bool operator!=(const Color& other) const { return !equal(other); }

    // Per channel, alpha included; a nil colour counts by its numbers

    Color operator+(const Color& o) const { return {mR + o.mR, mG + o.mG, mB + o.mB, mA + o.mA}; }
    Color operator-(const Color& o) const { return {mR - o.mR, mG - o.mG, mB - o.mB, mA - o.mA}; }
    Color operator*(const Color& o) const { return {mR * o.mR, mG * o.mG, mB * o.mB, mA * o.mA}; }
    Color operator*(const double& value) const {
        return {mR * value, mG * value, mB * value, mA * value};
    }
    /// From `a` (t = 0) to `b` (t = 1), t clamped to that. The weight of `a` is 1 - t in single
    /// precision, so the two don't sum to exactly 1.
    static Color lerp(const Color& a, const Color& b, double t);

    /// "#", then red, green and blue as hexadecimal numbers of 0 to 255, truncated, with alpha
    /// before them unless it is exactly 1. No number is padded, so below 16 it has one digit and
    /// the text does not always read back: (1, 0, 1, 1) gives "#FF0FF". A channel outside 0 to 1
    /// gives up to eight digits. Changes nothing.
    std::string toHexString();
};

static_assert(isPlainRowOfDoubles<Color, 4>);

} // namespace Vexorel::PrismDrift
