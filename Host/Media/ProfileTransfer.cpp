// The curves of ICC profiles.

#include "Host/Library/Number.h"
#include "Host/Media/PictureTransfer.h"

#include <array>
#include <cmath>
#include <lcms2.h>
#include <memory>

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

} // namespace Vexorel::PrismDrift::Host
