#include "Shared/Math/Color.h"

#include <cstdint>
#include <cstdio>
#include <limits>

namespace Vexorel::PrismDrift {

namespace {

/// The `width` bits of `packed` from `shift` on, as a fraction of the largest such number.
double fraction(std::uint64_t packed, unsigned int shift, unsigned int width) {
    const std::uint64_t largest = (std::uint64_t{1} << width) - 1;
    return static_cast<float>((packed >> shift) & largest) / static_cast<float>(largest);
}

/// Channels of `width` bits each: alpha, if there is one, above red, green and blue.
Color unpacked(std::uint64_t packed, unsigned int width, bool hasAlpha) {
    return {fraction(packed, 2 * width, width), fraction(packed, width, width),
            fraction(packed, 0, width), hasAlpha ? fraction(packed, 3 * width, width) : 1.0};
}

/// The channel in 0 to 255, as the number that is printed. Negative ones wrap to large numbers;
/// what no 32-bit number can hold goes to the nearest, and NaN to 0.
unsigned int printedChannel(double channel) {
    constexpr double lowest = std::numeric_limits<std::int32_t>::min();
    constexpr double highest = std::numeric_limits<std::uint32_t>::max();
    const double scaled = clampScalar(channel * 255.0, lowest, highest);
    return std::isnan(scaled) ? 0 : static_cast<std::uint32_t>(static_cast<std::int64_t>(scaled));
}

} // namespace

Color::Color(const std::string& text) {
    if (text.empty() || text.front() != '#') {
        return;
    }
    const std::string digits = text.substr(1);
    const std::uint64_t packed = std::stoull(digits, nullptr, 16);
    switch (digits.size()) {
    case 3:
    case 4:
        *this = unpacked(packed, 4, digits.size() == 4);
        break;
    case 6:
    case 8:
        *this = unpacked(packed, 8, digits.size() == 8);
        break;
    default:
        break;
    }
}

Color::Color(unsigned int packed) : Color(unpacked(packed, 8, true)) {}

bool Color::equal(const Color& other) const {
    if (isNil() && other.isNil()) {
        return true;
    }
    return equalWithin(mR, other.mR, TOLERANCE) && equalWithin(mG, other.mG, TOLERANCE) &&
           equalWithin(mB, other.mB, TOLERANCE) && equalWithin(mA, other.mA, TOLERANCE);
}

Color Color::lerp(const Color& a, const Color& b, double t) {
    const double weightOfB = clampScalar(t, 0.0, 1.0);
    const double weightOfA = static_cast<float>(1.0 - weightOfB);
    return a * weightOfA + b * weightOfB;
}

std::string Color::toHexString() {
    const unsigned int red = printedChannel(mR);
    const unsigned int green = printedChannel(mG);
    const unsigned int blue = printedChannel(mB);
    char text[40];
    if (mA == 1.0) {
        std::snprintf(text, sizeof text, "#%X%X%X", red, green, blue);
    } else {
        std::snprintf(text, sizeof text, "#%X%X%X%X", printedChannel(mA), red, green, blue);
    }
    return text;
}

} // namespace Vexorel::PrismDrift
