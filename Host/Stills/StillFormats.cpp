#include "Host/Stills/StillFormats.h"

#include "Host/Library/Error.h"

#include <algorithm>

namespace Vexorel::PrismDrift::Host {
namespace {

const std::vector<StillFormat>& formats() {
    constexpr Depth eight{8, false};
    constexpr Depth ten{10, false};
    constexpr Depth twelve{12, false};
    constexpr Depth sixteen{16, false};
    constexpr bool yes = true;
    static const std::vector<StillFormat> all = {
        {"png", "png", "PNG", {eight, sixteen}, Alpha::Straight, yes, yes, yes},
        {"jpg", "jpeg", "JPEG", {eight}, Alpha::None, yes, yes, yes, "jpeg:97"},
        {"jpeg", "jpeg", "JPEG", {eight}, Alpha::None, yes, yes, yes, "jpeg:97"},
        {"tif",
         "tiff",
         "TIFF",
         {eight, sixteen, halfFloats, floats},
         Alpha::Straight,
         yes,
         yes,
         yes,
         "lzw"},
        {"tiff",
         "tiff",
         "TIFF",
         {eight, sixteen, halfFloats, floats},
         Alpha::Straight,
         yes,
         yes,
         yes,
         "lzw"},
        {"exr",
         "openexr",
         "OpenEXR",
         {halfFloats, floats},
         Alpha::Associated,
         yes,
         yes,
         yes,
         "zip"},
        {"dpx", "dpx", "DPX", {eight, ten, twelve, sixteen}, Alpha::Straight},
        {"hdr", "hdr", "Radiance HDR", {floats}},
        {"ppm", "pnm", "PPM", {eight, sixteen}},
        {"sgi", "sgi", "SGI", {eight, sixteen}, Alpha::Straight},
    };
    return all;
}

// Whether every value of one is a value of the other.
bool holds(const Depth& depth, const Depth& other) {
    constexpr int wholeBitsOfHalf = 11;
    if (!depth.isFloat) {
        return !other.isFloat && depth.bits >= other.bits;
    }
    if (other.isFloat || depth.bits > halfFloats.bits) {
        return depth.bits >= other.bits || !other.isFloat;
    }
    return other.bits <= wholeBitsOfHalf;
}

} // namespace

const StillFormat& stillFormat(const std::string& ending) {
    const auto found = std::find_if(formats().begin(), formats().end(),
                                    [&](const auto& format) { return ending == format.ending; });
    if (found == formats().end()) {
        throw Error("'" + ending + "' is no format of stills");
    }
    return *found;
}

Depth nearestDepth(const StillFormat& format, const Depth& wanted) {
    for (const Depth& depth : format.depths) {
        if (depth == wanted) {
            return depth;
        }
    }
    for (const Depth& depth : format.depths) {
        if (holds(depth, wanted)) {
            return depth;
        }
    }
    return format.depths.back();
}

std::string depthLoss(const StillFormat& format, const Depth& wanted, const Depth& written) {
    if (holds(written, wanted)) {
        return "";
    }
    const std::string text = std::string(format.name) + " holds " + textOf(written) + ", not ";
    if (wanted.isFloat && !written.isFloat) {
        return text + textOf(wanted) + ": what lies beyond 0 to 1 is cut off";
    }
    return text + (wanted.isFloat ? textOf(wanted) : std::to_string(wanted.bits));
}

} // namespace Vexorel::PrismDrift::Host
