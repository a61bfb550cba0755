#include "Support/Reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace Testing {
namespace {

/// Which way a channel is read, in units of the shift distance.
double direction(int order, std::size_t channel) {
    const std::string names = "RGBRBGGRBGBRBRGBGR";
    if (order < 0 || order > 5) {
        return 1.0;
    }
    const std::string name = names.substr(3 * static_cast<std::size_t>(order), 3);
    return static_cast<double>(name.find("RGB"[channel])) - 1.0;
}

/// A place along one side of the source: in [0, length), and how near it is to the seam.
struct Place {
    double at;
    double toSeam;
};

Place wrapped(double position, int length) {
    const double at = position - std::floor(position / length) * length;
    return {at, std::min(at, length - at)};
}

/// The two texels around a place and the second one's share, with the picture's edge repeated.
struct Texels {
    int first, second;
    double share;
};

Texels around(double at, int length) {
    const double lower = std::floor(at - 0.5);
    const auto clamped = [&](double i) { return std::clamp(static_cast<int>(i), 0, length - 1); };
    return {clamped(lower), clamped(lower + 1), at - 0.5 - lower};
}

double sample(const Picture& source, double x, double y, std::size_t channel) {
    const Texels across = around(x, source.width);
    const Texels down = around(y, source.height);
    const auto row = [&](int r) {
        return source.pixels[source.index(across.first, r)][channel] * (1 - across.share) +
               source.pixels[source.index(across.second, r)][channel] * across.share;
    };
    return row(down.first) * (1 - down.share) + row(down.second) * down.share;
}

double lighten(double level, double lightness) {
    return lightness >= 0 ? level + (255.0 - level) * lightness : level * (1.0 + lightness);
}

/// A colour after its way through the premultiplied 8-bit target, whose steps are coarse where
/// alpha is low.
std::uint8_t throughTarget(double level, std::uint8_t alpha) {
    if (alpha == 0) {
        return 0;
    }
    const double premultiplied = std::round(level * alpha / 255.0);
    return static_cast<std::uint8_t>(std::round(std::min(premultiplied * 255.0 / alpha, 255.0)));
}

/// Alpha has to be equal; a colour one of the values that the target can hold, at most one of the
/// target's steps away. At full alpha that is a difference of 1.
bool breaches(const Picture& actual, const Expected& expected, std::size_t i, std::size_t c) {
    const Pixel& wanted = expected.picture.pixels[i];
    const int value = actual.pixels[i][c];
    if (c == 0 || wanted[0] == 0) {
        return value != wanted[c];
    }
    const double step = 255.0 / wanted[0];
    const double nearest = std::round(wanted[c] / step);
    const auto holds = [&](double k) {
        return std::abs(value - std::min(k * step, 255.0)) < 0.501;
    };
    const bool atSeam = (expected.seam[i] >> (c - 1) & 1U) != 0;
    return !atSeam && !holds(nearest - 1) && !holds(nearest) && !holds(nearest + 1);
}

void writePam(const std::string& path, const Picture& picture) {
    std::ofstream file(path, std::ios::binary);
    file << "P7\nWIDTH " << picture.width << "\nHEIGHT " << picture.height
         << "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    for (const Pixel& p : picture.pixels) {
        file << static_cast<char>(p[1]) << static_cast<char>(p[2]) << static_cast<char>(p[3])
             << static_cast<char>(p[0]);
    }
}

} // namespace

std::string describe(const Settings& s) {
    std::ostringstream text;
    text << "order " << s.order << ", angle " << s.angle << ", distance " << s.distance
         << ", scale " << s.scale[0] << ' ' << s.scale[1] << ' ' << s.scale[2] << ", lightness "
         << s.lightness[0] << ' ' << s.lightness[1] << ' ' << s.lightness[2] << ", downsample 1/"
         << s.downsample;
    return text.str();
}

Picture::Picture(World8& world) : Picture(world.width(), world.height()) {
    for (int y = 0; y < height; ++y) {
        std::memcpy(&pixels[index(0, y)], &world.at(0, y),
                    sizeof(Pixel) * static_cast<std::size_t>(width));
    }
}

void Picture::copyTo(World8& world) const {
    for (int y = 0; y < height; ++y) {
        std::memcpy(&world.at(0, y), &pixels[index(0, y)],
                    sizeof(Pixel) * static_cast<std::size_t>(width));
    }
}

Expected reference(const Picture& source, const Settings& settings) {
    Expected expected{source, std::vector<std::uint8_t>(source.pixels.size())};
    const double radians = settings.angle * 3.14159265358979323846 / 180.0;
    const double cx = source.width / 2.0;
    const double cy = source.height / 2.0;
    for (std::size_t i = 0; i < source.pixels.size(); ++i) {
        const int x = static_cast<int>(i) % source.width;
        const int y = static_cast<int>(i) / source.width;
        Pixel& out = expected.picture.pixels[i];
        for (std::size_t c = 0; c < 3; ++c) {
            const double scale = settings.scale.at(c) / 100.0;
            const double inverse = scale == 0.0 ? 0.0 : 1.0 / scale;
            const double shift =
                direction(settings.order, c) * settings.distance / settings.downsample;
            const Place px =
                wrapped(cx + shift * std::cos(radians) + inverse * (x + 0.5 - cx), source.width);
            const Place py =
                wrapped(cy + shift * std::sin(radians) + inverse * (y + 0.5 - cy), source.height);
            const double level =
                lighten(sample(source, px.at, py.at, c + 1), settings.lightness.at(c) / 100.0);
            out.at(c + 1) = throughTarget(level, out[0]);
            if (std::min(px.toSeam, py.toSeam) < 0.02) {
                expected.seam[i] = static_cast<std::uint8_t>(expected.seam[i] | (1U << c));
            }
        }
    }
    return expected;
}

std::size_t countBreaches(const Picture& actual, const Expected& expected) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < actual.pixels.size(); ++i) {
        for (std::size_t c = 0; c < 4; ++c) {
            count += breaches(actual, expected, i, c) ? 1 : 0;
        }
    }
    return count;
}

void expectPicture(const Picture& actual, const Expected& expected, const std::string& name) {
    if (countBreaches(actual, expected) == 0) {
        return;
    }
    Picture difference = actual;
    std::string first;
    for (std::size_t i = 0; i < actual.pixels.size(); ++i) {
        for (std::size_t c = 0; c < 4; ++c) {
            const int a = actual.pixels[i][c];
            const int e = expected.picture.pixels[i][c];
            difference.pixels[i][c] =
                static_cast<std::uint8_t>(c == 0 ? 255 : std::min(255, 16 * std::abs(a - e)));
            if (first.empty() && breaches(actual, expected, i, c)) {
                const auto width = static_cast<std::size_t>(actual.width);
                first = "first at (" + std::to_string(i % width) + ", " +
                        std::to_string(i / width) + ") in " + "ARGB"[c] + ": " + std::to_string(a) +
                        ", not " + std::to_string(e);
            }
        }
    }
    const std::string base = ::testing::TempDir() + "prismdrift-" + name;
    writePam(base + "-actual.pam", actual);
    writePam(base + "-expected.pam", expected.picture);
    writePam(base + "-difference.pam", difference);
    ADD_FAILURE() << countBreaches(actual, expected) << " breaches, " << first << "; see " << base
                  << "-{actual,expected,difference}.pam";
}

} // namespace Testing
