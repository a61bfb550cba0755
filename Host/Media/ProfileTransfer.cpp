// The curves and the primaries of ICC profiles.

#include "Host/Library/Number.h"
#include "Host/Library/Primaries.h"
#include "Host/Media/PictureColours.h"
#include "Host/Media/PictureTransfer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <lcms2.h>
#include <memory>
#include <optional>

namespace Vexorel::PrismDrift::Host {
namespace {

struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;

std::string nameOf(void* profile) {
    std::array<char, 64> name{};
    cmsGetProfileInfoASCII(profile, cmsInfoDescription, "en", "US", name.data(),
                           static_cast<cmsUInt32Number>(name.size()));
    name.back() = '\0';
    return name[0] == '\0' ? "its colour profile"
                           : "its colour profile '" + std::string(name.data()) + "'";
}

// Tables hold light in 16 bits, which is coarse in the dark, and few points, which is coarse for a
// curve that bends: either light or coded value have to agree.
bool follows(const cmsToneCurve& curve, Transfer transfer) {
    constexpr double lightStep = 1.6 / 65535;
    constexpr double codedStep = 1.0 / 300;
    constexpr int points = 200;
    for (int i = 0; i <= points; ++i) {
        const double coded = std::pow(static_cast<double>(i) / points, 2.0); // more of the dark
        const double light =
            static_cast<double>(cmsEvalToneCurveFloat(&curve, static_cast<float>(coded)));
        const bool isNear = std::abs(light - toLinear(coded, transfer)) <= lightStep ||
                            std::abs(fromLinear(light, transfer) - coded) <= codedStep;
        if (!isNear) { // nor for NaN
            return false;
        }
    }
    return true;
}

using Colorants = std::array<cmsCIEXYZ, 3>;

// Red, green and blue at their brightest; nothing where the profile doesn't say them.
std::optional<Colorants> colorantsOf(void* profile) {
    Colorants colorants{};
    constexpr std::array tags{cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
    for (std::size_t i = 0; i < colorants.size(); ++i) {
        const auto* colorant = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile, tags[i]));
        if (colorant == nullptr) {
            return std::nullopt;
        }
        colorants[i] = *colorant;
    }
    return colorants;
}

// Those of a profile for such primaries, which is adapted to the white of profiles as all are.
std::optional<Colorants> colorantsOf(const Chromaticities& points) {
    const auto point = [&](std::size_t i) {
        return cmsCIExyY{static_cast<double>(points[2 * i]), static_cast<double>(points[2 * i + 1]),
                         1.0};
    };
    const cmsCIExyY white = point(3);
    const cmsCIExyYTRIPLE primaries{point(0), point(1), point(2)};
    const std::unique_ptr<cmsToneCurve, void (*)(cmsToneCurve*)> curve(cmsBuildGamma(nullptr, 1.0),
                                                                       &cmsFreeToneCurve);
    std::array<cmsToneCurve*, 3> curves{curve.get(), curve.get(), curve.get()};
    const Profile profile(cmsCreateRGBProfile(&white, &primaries, curves.data()));
    return profile != nullptr ? colorantsOf(profile.get()) : std::nullopt;
}

bool areNear(const Colorants& one, const Colorants& other) {
    constexpr double tolerance = 0.0015;
    return std::equal(one.begin(), one.end(), other.begin(),
                      [](const cmsCIEXYZ& left, const cmsCIEXYZ& right) {
                          return std::abs(left.X - right.X) <= tolerance &&
                                 std::abs(left.Y - right.Y) <= tolerance &&
                                 std::abs(left.Z - right.Z) <= tolerance;
                      });
}

std::string shapeOf(const cmsToneCurve& curve) {
    constexpr double precision = 0.02;
    const double gamma = cmsEstimateGamma(&curve, precision);
    return gamma > 0.0 ? "has a gamma of " + numberText(std::round(gamma * 10.0) / 10.0)
                       : "has a curve of its own, none of sRGB, BT.709, linear light, PQ and HLG";
}

} // namespace

PictureTransfer transferOfProfile(const std::vector<std::uint8_t>& bytes) {
    const Profile profile(
        cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
    if (profile == nullptr) {
        return {{}, "its colour profile can't be read"};
    }
    const std::string name = nameOf(profile.get());
    std::array<const cmsToneCurve*, 3> curves{};
    constexpr std::array tags{cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    for (std::size_t i = 0; i < curves.size(); ++i) {
        curves[i] = static_cast<const cmsToneCurve*>(cmsReadTag(profile.get(), tags[i]));
        if (curves[i] == nullptr) {
            return {{}, name + " has no curves for red, green and blue"};
        }
    }
    for (const Transfer transfer :
         {Transfer::Srgb, Transfer::Bt709, Transfer::Linear, Transfer::Pq, Transfer::Hlg}) {
        bool isAll = true;
        for (const cmsToneCurve* curve : curves) {
            isAll = isAll && follows(*curve, transfer);
        }
        if (isAll) {
            return {transfer, name + " says so"};
        }
    }
    return {{}, name + " " + shapeOf(*curves[1])};
}

AVColorPrimaries primariesOfProfile(const std::vector<std::uint8_t>& bytes) {
    const Profile profile(
        cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
    const auto colorants = profile != nullptr ? colorantsOf(profile.get()) : std::nullopt;
    if (!colorants) {
        return AVCOL_PRI_RESERVED0;
    }
    for (const NumberedPrimaries& known : numberedPrimaries) {
        const auto others = colorantsOf(known.points);
        if (others && areNear(*colorants, *others)) {
            return static_cast<AVColorPrimaries>(known.number);
        }
    }
    return AVCOL_PRI_RESERVED0;
}

} // namespace Vexorel::PrismDrift::Host
