#include "Host/Media/PictureColours.h"

#include "Host/Library/Primaries.h"
#include "Host/Media/PictureTransfer.h"
#include "Host/Media/PixelFormats.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

static_assert(otherColours == AVCOL_PRI_RESERVED0 && otherColours == AVCOL_TRC_RESERVED0 &&
              unknownColours == AVCOL_PRI_UNSPECIFIED && unknownColours == AVCOL_TRC_UNSPECIFIED);

AVColorTransferCharacteristic tagOf(Transfer transfer) {
    switch (transfer) {
    case Transfer::Linear:
        return AVCOL_TRC_LINEAR;
    case Transfer::Srgb:
        return AVCOL_TRC_IEC61966_2_1;
    case Transfer::Bt709:
        return AVCOL_TRC_BT709;
    case Transfer::Pq:
        return AVCOL_TRC_SMPTE2084;
    case Transfer::Hlg:
        return AVCOL_TRC_ARIB_STD_B67;
    }
    return AVCOL_TRC_UNSPECIFIED;
}

// Whether values of this transfer look right where they are taken for sRGB, as the curves of
// cameras do by custom.
bool isPlain(AVColorTransferCharacteristic transfer) {
    switch (transfer) {
    case AVCOL_TRC_UNSPECIFIED:
    case AVCOL_TRC_BT709:
    case AVCOL_TRC_SMPTE170M:
    case AVCOL_TRC_SMPTE240M:
    case AVCOL_TRC_BT2020_10:
    case AVCOL_TRC_BT2020_12:
    case AVCOL_TRC_IEC61966_2_1:
        return true;
    default:
        return false;
    }
}

std::string nameOf(const ColourTags& tags) {
    const char* name = av_color_transfer_name(tags.transfer);
    switch (tags.transfer) {
    case AVCOL_TRC_UNSPECIFIED:
        return "how its values are coded";
    case AVCOL_TRC_RESERVED0:
        return "the picture's transfer (" + tags.transferReason + ")";
    case AVCOL_TRC_SMPTE2084:
        return std::string("the transfer PQ (") + name + ")";
    case AVCOL_TRC_ARIB_STD_B67:
        return std::string("the transfer HLG (") + name + ")";
    default:
        return "the transfer " + (name != nullptr ? name : std::to_string(tags.transfer));
    }
}

std::string nameOf(AVColorPrimaries primaries) {
    if (primaries == AVCOL_PRI_RESERVED0) {
        return "the picture's primaries, which have no name";
    }
    const char* name = av_color_primaries_name(primaries);
    return "the primaries " + (name != nullptr ? name : std::to_string(primaries));
}

// Whether the written file says it: what OpenImageIO has read of a file goes along, such as a
// TIFF's EXIF, which knows sRGB alone.
bool isTransferKept(const Picture& picture, const std::string& ending) {
    const AVFrame* source = picture.source.get();
    if (source == nullptr || picture.extras == nullptr) {
        return false;
    }
    const AVColorTransferCharacteristic tag = source->color_trc;
    if (ending == "png") {
        return tag == AVCOL_TRC_LINEAR ||
               (tag == AVCOL_TRC_UNSPECIFIED && !picture.depth.isFloat); // a gamma
    }
    return (ending == "dpx" && picture.readBy == "OpenImageIO, dpx") ||
           (ending == "tif" && picture.readBy == "OpenImageIO, tiff" &&
            tag == AVCOL_TRC_IEC61966_2_1);
}

std::string joined(const std::string& one, const std::string& other) {
    return one + (one.empty() || other.empty() ? "" : " and ") + other;
}

bool arePlain(AVColorPrimaries primaries) {
    return primaries == AVCOL_PRI_UNSPECIFIED || primaries == AVCOL_PRI_BT709;
}

} // namespace

ColourTags colourTagsOf(const Picture& picture) {
    const bool hasProfile = !picture.colorProfile.empty();
    ColourTags tags;
    if (hasProfile) {
        tags.primaries = primariesOfProfile(picture.colorProfile);
    } else if (picture.source != nullptr) {
        tags.primaries = picture.source->color_primaries;
        tags.transfer = picture.source->color_trc;
    }
    if (!hasProfile && tags.transfer != AVCOL_TRC_UNSPECIFIED &&
        tags.transfer != AVCOL_TRC_RESERVED0) {
        return tags;
    }
    const PictureTransfer found = transferOf(picture, ClipKind::Still);
    tags.transferReason = found.reason;
    if (!found.transfer) {
        tags.transfer = AVCOL_TRC_RESERVED0;
    } else if (hasProfile || *found.transfer != Transfer::Srgb) {
        tags.transfer = tagOf(*found.transfer);
    }
    return tags;
}

std::string neededTags(const ColourTags& tags) {
    return joined(isPlain(tags.transfer) ? "" : nameOf(tags),
                  arePlain(tags.primaries) ? "" : nameOf(tags.primaries));
}

std::string coloursWithoutTag(const ColourTags& tags) {
    return joined(tags.transfer == AVCOL_TRC_RESERVED0 ? nameOf(tags) : "",
                  tags.primaries == AVCOL_PRI_RESERVED0 ? nameOf(tags.primaries) : "");
}

std::string colourLoss(const Picture& picture, const PictureOutput& output,
                       const std::string& ending, const std::string& name) {
    if (!picture.colorProfile.empty()) {
        return ""; // the profile goes along, or has a line of its own
    }
    const ColourTags tags = colourTagsOf(picture);
    const bool isTiff = ending == "tif" || ending == "tiff";
    const bool isLight = ending == "exr" || ending == "hdr" ||
                         (isTiff && wantedDepth(output.depth, picture).isFloat);
    const bool isTransferLost =
        !(isLight ? tags.transfer == AVCOL_TRC_LINEAR : isPlain(tags.transfer)) &&
        !isTransferKept(picture, isTiff ? "tif" : ending);
    const bool arePrimariesLost =
        !arePlain(tags.primaries) && !(ending == "exr" && picture.extras != nullptr);
    const std::string lost =
        joined(isTransferLost ? nameOf(tags) : "", arePrimariesLost ? nameOf(tags.primaries) : "");
    if (lost.empty()) {
        return "";
    }
    const std::string taken =
        isTiff ? ": floats are taken for linear light" : ": readers take them for linear light";
    return name + " has no place for " + lost + (isLight && isTransferLost ? taken : "");
}

} // namespace Vexorel::PrismDrift::Host
