#include "Host/Media/PixelFormats.h"

#include <algorithm>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {

bool isPackedRgb(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    return descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0 &&
           (descriptor->flags & AV_PIX_FMT_FLAG_PLANAR) == 0 && descriptor->nb_components >= 3 &&
           (descriptor->comp[0].depth == 8 || descriptor->comp[0].depth == 16) &&
           descriptor->comp[0].step == descriptor->nb_components * descriptor->comp[0].depth / 8;
}

bool carriesAlpha(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    return descriptor != nullptr &&
           ((descriptor->flags & AV_PIX_FMT_FLAG_ALPHA) != 0 || format == AV_PIX_FMT_PAL8);
}

Depth depthOf(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    Depth depth{0};
    for (int i = 0; descriptor != nullptr && i < descriptor->nb_components; ++i) {
        depth.bits = std::max(depth.bits, descriptor->comp[i].depth);
    }
    depth.isFloat = descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_FLOAT) != 0;
    return depth;
}

Depth wantedDepth(const std::optional<Depth>& asked, const Picture& picture) {
    const bool isDeep = picture.world.format() != PF_PixelFormat_ARGB32;
    return asked ? *asked : isDeep ? picture.depth : Depth();
}

int depthCost(const Depth& wanted, AVPixelFormat offered) {
    constexpr int lost = 1000;
    const int bits = depthOf(offered).bits;
    return bits >= wanted.bits ? bits - wanted.bits : lost + wanted.bits - bits;
}

} // namespace Vexorel::PrismDrift::Host
