#pragma once

/// A colour of four channels, normally 0 to 1 and never clamped. With any channel below 0 it is
/// nil, "no colour".

#include "Shared/Math/Float.h"

#include <string>

namespace Vexorel::PrismDrift {

/// Integer channels are divided in single precision: 0x80 becomes the float nearest to 128 / 255,
/// about 0.50196081.
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
    /// From "#RGB", "#ARGB", "#RRGGBB" or "#AARRGGBB", in upper or lower case; without an A, alpha
    /// is 1. Text that does not begin with "#", or of another length, gives opaque white.
    /// `std::stoull` reads what follows the "#", as far as it can; it throws
    /// `std::invalid_argument` where there is no number and `std::out_of_range` beyond 64 bits,
    /// whatever the length.
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

    // Per channel, alpha included, also for nil colours

    Color operator+(const Color& o) const { return {mR + o.mR, mG + o.mG, mB + o.mB, mA + o.mA}; }
    Color operator-(const Color& o) const { return {mR - o.mR, mG - o.mG, mB - o.mB, mA - o.mA}; }
    Color operator*(const Color& o) const { return {mR * o.mR, mG * o.mG, mB * o.mB, mA * o.mA}; }
    Color operator*(const double& value) const {
        return {mR * value, mG * value, mB * value, mA * value};
    }
    /// From `a` (t = 0) to `b` (t = 1), with t clamped to 0 to 1. The weight of `a` is 1 - t
    /// rounded to single precision, so the two weights may not sum to exactly 1.
    static Color lerp(const Color& a, const Color& b, double t);

    /// "#", then red, green and blue as hexadecimal numbers of 0 to 255, truncated, with alpha
    /// before them unless it is exactly 1. Numbers are not padded, so those below 16 have one digit
    /// and the text does not always read back: (1, 0, 1, 1) gives "#FF0FF". A channel outside 0 to
    /// 1 gives up to eight digits.
    std::string toHexString();
};

static_assert(isPlainRowOfDoubles<Color, 4>);

} // namespace Vexorel::PrismDrift
