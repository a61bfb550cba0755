#pragma once

/// What the effect has to give, worked out on the processor in double precision from what it is
/// said to do, and a comparison with what it gave.

#include "Support/World.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Testing {

/// The user's settings, in the user's units, and the host's downsample factor 1/den.
struct Settings {
    int order = 0; ///< 0 to 5; -1 moves all channels alike
    double angle = 0.0;
    double distance = 0.0;
    std::array<double, 3> scale{100.0, 100.0, 100.0};
    std::array<double, 3> lightness{0.0, 0.0, 0.0};
    std::uint32_t downsample = 1;
};

std::string describe(const Settings& settings);

/// Alpha, red, green, blue, straight, 8 bits.
using Pixel = std::array<std::uint8_t, 4>;

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<Pixel> pixels;

    Picture(int w, int h)
        : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
    explicit Picture(World8& world);

    /// In the rows of `pixels`.
    std::size_t index(int x, int y) const { return static_cast<std::size_t>(y * width + x); }
    void copyTo(World8& world) const;
};

struct Expected {
    Picture picture;
    /// A bit per colour channel (1 red, 2 green, 4 blue) whose source lies within 0.02 pixel of the
    /// seam of the wrapped picture, where rounding decides which side is read.
    std::vector<std::uint8_t> seam;
};

Expected reference(const Picture& source, const Settings& settings);

/// How many channel values break the limit: alpha differs at all, or a colour by more than one step
/// of the premultiplied target, which is 1 at full alpha. Channels at the seam are left out.
std::size_t countBreaches(const Picture& actual, const Expected& expected);

/// Fails the test where there are any: names the first, and writes the two pictures and their
/// difference (amplified) to the test's temporary folder.
void expectPicture(const Picture& actual, const Expected& expected, const std::string& name);

} // namespace Testing
