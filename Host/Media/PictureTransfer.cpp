#include "Host/Media/PictureTransfer.h"

#include "Host/Library/Number.h"
#include "Host/Media/FFmpeg.h"

#include <cmath>
#include <string_view>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

std::optional<Transfer> transferOfTag(AVColorTransferCharacteristic tag) {
    switch (tag) {
    case AVCOL_TRC_BT709:
    case AVCOL_TRC_SMPTE170M:
    case AVCOL_TRC_BT2020_10:
    case AVCOL_TRC_BT2020_12:
        return Transfer::Bt709;
    case AVCOL_TRC_IEC61966_2_1:
        return Transfer::Srgb;
    case AVCOL_TRC_SMPTE2084:
        return Transfer::Pq;
    case AVCOL_TRC_ARIB_STD_B67:
        return Transfer::Hlg;
    case AVCOL_TRC_LINEAR:
        return Transfer::Linear;
    default:
        return {};
    }
}

std::string nameOf(AVColorTransferCharacteristic tag) {
    const char* name = av_color_transfer_name(tag);
    return name != nullptr ? name : std::to_string(tag);
}

// The exponent by which a PNG says that its values were coded; 0 for none.
double codingExponent(const AVFrame& source) {
    const AVDictionaryEntry* entry = av_dict_get(source.metadata, "gamma", nullptr, 0);
    const std::string_view text = entry != nullptr ? entry->value : "";
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos) {
        return 0.0;
    }
    const double parts = parseNumber(text.substr(0, slash)).value_or(0.0);
    const double whole = parseNumber(text.substr(slash + 1)).value_or(0.0);
    return parts > 0.0 && whole > 0.0 ? parts / whole : 0.0;
}

PictureTransfer transferOfExponent(double exponent) {
    constexpr double tolerance = 0.005;
    constexpr double srgb = 1 / 2.2; // what goes with sRGB's curve
    if (std::abs(exponent - srgb) < tolerance) {
        return {Transfer::Srgb, "its gamma is that of sRGB"};
    }
    if (std::abs(exponent - 1.0) < tolerance) {
        return {Transfer::Linear, "its gamma is 1"};
    }
    return {{}, "it has a gamma of " + numberText(std::round(10.0 / exponent) / 10.0)};
}

} // namespace

PictureTransfer transferOf(const Picture& picture, ClipKind kind) {
    if (!picture.colorProfile.empty()) {
        return transferOfProfile(picture.colorProfile);
    }
    const AVFrame* source = picture.source.get();
    if (source != nullptr && source->color_trc != AVCOL_TRC_UNSPECIFIED) {
        const std::string tag = source->color_trc == AVCOL_TRC_RESERVED0
                                    ? "its file names one without a tag"
                                    : "it is tagged '" + nameOf(source->color_trc) + "'";
        return {transferOfTag(source->color_trc), tag};
    }
    if (kind == ClipKind::Video) {
        return {{}, "nothing says how its values stand for light"};
    }
    const double exponent = source != nullptr ? codingExponent(*source) : 0.0;
    if (exponent > 0.0) {
        return transferOfExponent(exponent);
    }
    if (picture.depth.isFloat) {
        return {Transfer::Linear, "pictures of floats are taken for light where nothing says else"};
    }
    return {Transfer::Srgb, "pictures are taken for sRGB where nothing says else"};
}

} // namespace Vexorel::PrismDrift::Host
