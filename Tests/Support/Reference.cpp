#include "Support/Reference.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

namespace Testing {
namespace {

/// Which way a channel is read, in units of the shift distance.
double direction(double choice, std::size_t channel) {
    constexpr std::string_view names = "RGBRBGGRBGBRBRGBGR";
    if (choice < 1 || choice > 6) {
        return 1.0;
    }
    const auto name = names.substr(3 * (static_cast<std::size_t>(choice) - 1), 3);
    return static_cast<double>(name.find("RGB"[channel])) - 1.0;
}

/// The two texels around a place along one side of the wrapped source and the second one's share,
/// with the edge repeated.
struct Texels {
    int first, second;
    double share;
    bool atSeam;
};

Texels around(double position, int length) {
    const double at = position - std::floor(position / length) * length;
    const double lower = std::floor(at - 0.5);
    const auto clamped = [&](double i) { return std::clamp(static_cast<int>(i), 0, length - 1); };
    return {clamped(lower), clamped(lower + 1), at - 0.5 - lower, std::min(at, length - at) < 0.02};
}

/// Alpha, red, green, blue.
std::uint8_t byte(World8& world, int x, int y, std::size_t channel) {
    return reinterpret_cast<const std::uint8_t*>(&world.at(x, y))[channel];
}

/// A channel, 0 red, of the result at full alpha, from 0 to 255; nothing at the seam.
std::optional<double> level(const TestHost& host, World8& source, int x, int y, std::size_t c) {
    const Settings& s = host.settings;
    const double shift = direction(s[1], c) * s[3] / host.inData.downsample_x.den;
    const double inverse = s.at(5 + c) == 0.0 ? 0.0 : 100.0 / s.at(5 + c);
    const double radians = s[2] * 3.14159265358979323846 / 180.0;
    const auto along = [&](int at, int length, double part) {
        const double centre = length / 2.0;
        return around(centre + shift * part + inverse * (at + 0.5 - centre), length);
    };
    const Texels across = along(x, source.width(), std::cos(radians));
    const Texels down = along(y, source.height(), std::sin(radians));
    if (across.atSeam || down.atSeam) {
        return std::nullopt;
    }
    const auto row = [&](int r) {
        return byte(source, across.first, r, c + 1) * (1 - across.share) +
               byte(source, across.second, r, c + 1) * across.share;
    };
    const double read = row(down.first) * (1 - down.share) + row(down.second) * down.share;
    const double lightness = s.at(10 + c) / 100.0;
    return lightness >= 0 ? read + (255.0 - read) * lightness : read * (1.0 + lightness);
}

/// Whether a colour went through the premultiplied target near enough to its level.
bool isRight(int value, double exact, int alpha) {
    if (alpha == 0) {
        return value == 0;
    }
    const double stored = std::round(value * alpha / 255.0);
    const double back = std::min(stored * 255.0 / alpha, 255.0);
    return std::abs(value - back) < 0.501 && std::abs(stored - exact * alpha / 255.0) <= 1.0;
}

} // namespace

void expectPixels(const TestHost& host, World8& source, World8& actual) {
    const int width = std::min(source.width(), actual.width());
    for (int i = 0; i < width * std::min(source.height(), actual.height()) * 4; ++i) {
        const auto c = static_cast<std::size_t>(i % 4);
        const int x = i / 4 % width;
        const int y = i / 4 / width;
        const int value = byte(actual, x, y, c);
        const int alpha = byte(source, x, y, 0);
        const auto exact = c == 0 ? alpha : level(host, source, x, y, c - 1);
        if (exact && !(c == 0 ? value == alpha : isRight(value, *exact, alpha))) {
            FAIL() << "ARGB"[c] << " at (" << x << ", " << y << ") is " << value << " for "
                   << *exact << ", alpha " << alpha;
        }
    }
}

} // namespace Testing
