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
           descriptor->comp[0].depth == 8 && descriptor->comp[0].step == descriptor->nb_components;
}

bool carriesAlpha(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    return descriptor != nullptr &&
           ((descriptor->flags & AV_PIX_FMT_FLAG_ALPHA) != 0 || format == AV_PIX_FMT_PAL8);
}

int depthOf(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    int depth = 0;
    for (int i = 0; descriptor != nullptr && i < descriptor->nb_components; ++i) {
        depth = std::max(depth, descriptor->comp[i].depth);
    }
    return depth;
}

} // namespace Vexorel::PrismDrift::Host
