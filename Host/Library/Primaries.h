#pragma once

/// The primaries of RGB colours by the numbers that ITU-T H.273 gives them.

#include <array>
#include <cmath>
#include <cstddef>

namespace Vexorel::PrismDrift::Host {

/// x and y of red, green, blue and white in CIE 1931.
using Chromaticities = std::array<float, 8>;

struct NumberedPrimaries {
    int number;
    Chromaticities points;
};

/// BT.709, BT.601 of Europe and of America, BT.2020, P3 with the white of cinemas and with D65.
constexpr std::array<NumberedPrimaries, 6> numberedPrimaries = {{
    {1, {0.64F, 0.33F, 0.3F, 0.6F, 0.15F, 0.06F, 0.3127F, 0.329F}},
    {5, {0.64F, 0.33F, 0.29F, 0.6F, 0.15F, 0.06F, 0.3127F, 0.329F}},
    {6, {0.63F, 0.34F, 0.31F, 0.595F, 0.155F, 0.07F, 0.3127F, 0.329F}},
    {9, {0.708F, 0.292F, 0.17F, 0.797F, 0.131F, 0.046F, 0.3127F, 0.329F}},
    {11, {0.68F, 0.32F, 0.265F, 0.69F, 0.15F, 0.06F, 0.314F, 0.351F}},
    {12, {0.68F, 0.32F, 0.265F, 0.69F, 0.15F, 0.06F, 0.3127F, 0.329F}},
}};

/// A number that H.273 keeps free: for colours that are known to be others than those with one.
constexpr int otherColours = 0;
/// H.273's for colours of which nothing is known.
constexpr int unknownColours = 2;

/// The number of the primaries within 0.0015 of these points, otherwise `otherColours`.
inline int primariesNumber(const Chromaticities& points) {
    constexpr float tolerance = 0.0015F;
    for (const NumberedPrimaries& known : numberedPrimaries) {
        bool isNear = true;
        for (std::size_t i = 0; i < points.size(); ++i) {
            isNear = isNear && std::abs(points[i] - known.points[i]) <= tolerance;
        }
        if (isNear) {
            return known.number;
        }
    }
    return otherColours;
}

} // namespace Vexorel::PrismDrift::Host
