#include "Host/Media/PixelLayout.h"

#include <string_view>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {

PixelLayout layoutOf(const AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    const bool isFullByName =
        descriptor != nullptr && std::string_view(descriptor->name).substr(0, 4) == "yuvj";
    const AVColorRange range =
        isFullByName ? AVCOL_RANGE_JPEG
                     : knownOr(AVCOL_RANGE_UNSPECIFIED, frame.color_range, AVCOL_RANGE_NB);
    return {frame.width,
            frame.height,
            format,
            knownOr(AVCOL_SPC_UNSPECIFIED, frame.colorspace, AVCOL_SPC_NB),
            range,
            chromaLocationOf(
                format, range,
                knownOr(AVCHROMA_LOC_UNSPECIFIED, frame.chroma_location, AVCHROMA_LOC_NB))};
}

AVChromaLocation chromaLocationOf(AVPixelFormat format, AVColorRange range, AVChromaLocation said) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    const bool isReduced =
        isYuv(format) && descriptor->log2_chroma_w + descriptor->log2_chroma_h > 0;
    if (!isReduced || said != AVCHROMA_LOC_UNSPECIFIED) {
        return isReduced ? said : AVCHROMA_LOC_UNSPECIFIED;
    }
    return range == AVCOL_RANGE_JPEG ? AVCHROMA_LOC_CENTER : AVCHROMA_LOC_LEFT;
}

bool isYuv(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    constexpr std::uint64_t others =
        AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_HWACCEL;
    return descriptor != nullptr && (descriptor->flags & others) == 0 &&
           descriptor->nb_components >= 3 && format != AV_PIX_FMT_XYZ12LE &&
           format != AV_PIX_FMT_XYZ12BE;
}

bool isGray(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    constexpr std::uint64_t others = AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_HWACCEL |
                                     AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER;
    return descriptor != nullptr && (descriptor->flags & others) == 0 &&
           (descriptor->nb_components == 1 || descriptor->nb_components == 2) &&
           descriptor->comp[0].depth <= 16;
}

} // namespace Vexorel::PrismDrift::Host
