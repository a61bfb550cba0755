#include "Host/Media/Clip.h"
#include "Host/Media/ClipError.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/SequencePattern.h"

extern "C" {
#include <libavutil/parseutils.h>
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

[[noreturn]] void refuse(ClipSetting setting, const std::string& text) {
    throw ClipError(ClipReason::ValueNotTaken, {setting}, text);
}

} // namespace

void checkClipInput(const ClipInput& input) {
    SequencePattern::ofInput(input.file);
    if (!input.format.empty() && av_find_input_format(input.format.c_str()) == nullptr) {
        refuse(ClipSetting::InputFormat, "there is no input format '" + input.format +
                                             "'; 'ffmpeg -demuxers' lists the names");
    }
    int width = 0;
    int height = 0;
    if (!input.videoSize.empty() &&
        av_parse_video_size(&width, &height, input.videoSize.c_str()) < 0) {
        refuse(ClipSetting::VideoSize, "'" + input.videoSize +
                                           "' is no video size: a width and a height such as "
                                           "1920x1080, or a name such as hd720 is taken");
    }
    if (!input.pixelFormat.empty() &&
        av_get_pix_fmt(input.pixelFormat.c_str()) == AV_PIX_FMT_NONE) {
        refuse(ClipSetting::InputPixelFormat, "there is no pixel format '" + input.pixelFormat +
                                                  "'; 'ffmpeg -pix_fmts' lists the names");
    }
    if (!input.frameRate.empty()) {
        frameRateFrom(input.frameRate);
    }
    if (input.format == "rawvideo" && input.videoSize.empty()) {
        throw ClipError(ClipReason::SettingNeeded,
                        {ClipSetting::VideoSize, ClipSetting::InputPixelFormat},
                        cannotRead(input.file) +
                            "rawvideo doesn't describe itself: it needs a video size, and a pixel "
                            "format unless it is yuv420p");
    }
}

} // namespace Vexorel::PrismDrift::Host
