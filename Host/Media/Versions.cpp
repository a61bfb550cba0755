#include "Host/Media/Versions.h"

#include "Host/Media/FFmpeg.h"

namespace Vexorel::PrismDrift::Host {
namespace {

std::string dotted(unsigned version) {
    return std::to_string(AV_VERSION_MAJOR(version)) + "." +
           std::to_string(AV_VERSION_MINOR(version)) + "." +
           std::to_string(AV_VERSION_MICRO(version));
}

} // namespace

std::string mediaVersions() {
    return "libavformat " + dotted(avformat_version()) + ", libavcodec " +
           dotted(avcodec_version()) + ", libswscale " + dotted(swscale_version()) +
           ", libavutil " + dotted(avutil_version()) + ", under the " + avformat_license();
}

} // namespace Vexorel::PrismDrift::Host
