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
        {"tif",
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
         !yes,
         "zip"},
        {"dpx", "dpx", "DPX", {eight, ten, twelve, sixteen}, Alpha::Straight},
        {"hdr", "hdr", "Radiance HDR", {floats}},
        {"ppm", "pnm", "PPM", {eight, sixteen}},
        {"sgi", "sgi", "SGI", {eight, sixteen}, Alpha::Straight},
    };
    return all;
}

} // namespace

const StillFormat& stillFormat(const std::string& ending) {
    // The longer endings are the names of the formats.
    const auto found =
        std::find_if(formats().begin(), formats().end(), [&](const StillFormat& format) {
            return ending == format.ending || ending == format.format;
        });
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
        if (depth.holds(wanted)) {
            return depth;
        }
    }
    return format.depths.back();
}

} // namespace Vexorel::PrismDrift::Host
