#include "Host/Media/InputFormats.h"

#include <algorithm>
#include <iterator>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr std::string_view refusedFormats[] = {
    // lists of other files, and addresses of streams
    "concat", "hls", "dash", "imf", "webm_dash_manifest", "sdp", "rtsp", "rtp", "sap", "mlv",
    "vobsub", "ffmetadata",
    // programs in a language of their own, and other libraries' plug-ins
    "vapoursynth", "avisynth", "lavfi",
    // texts and drawings
    "svg_pipe", "tty", "bin", "xbin", "adf", "idf", "xpm_pipe",
    // music that is computed from notes, and compact discs
    "libgme", "libopenmpt", "libmodplug", "libcdio",
    // devices
    "fbdev", "iec61883", "jack", "kmsgrab", "libdc1394", "openal", "oss", "alsa", "pulse", "sndio",
    "video4linux2,v4l2", "x11grab", "xcbgrab",
    // pictures whose rows FFmpeg takes in the wrong order, and those of a camera's sensor
    "pfm_pipe", "phm_pipe", "cri_pipe"};

constexpr AVCodecID refusedCodecs[] = {
    AV_CODEC_ID_SVG,     AV_CODEC_ID_ANSI, AV_CODEC_ID_BINTEXT, AV_CODEC_ID_XBIN, AV_CODEC_ID_IDF,
    AV_CODEC_ID_XPM,     // takes no colours of 16 bits
    AV_CODEC_ID_SUNRAST, // its decoder ends the program at large sizes
    AV_CODEC_ID_PFM,     AV_CODEC_ID_PHM,  AV_CODEC_ID_CRI};

// Each frame of these stands alone and says all that there is to know of it.
constexpr AVCodecID pictureCodecs[] = {
    AV_CODEC_ID_PNG,  AV_CODEC_ID_APNG, AV_CODEC_ID_TIFF,  AV_CODEC_ID_BMP,     AV_CODEC_ID_GIF,
    AV_CODEC_ID_WEBP, AV_CODEC_ID_EXR,  AV_CODEC_ID_TARGA, AV_CODEC_ID_SGI,     AV_CODEC_ID_DPX,
    AV_CODEC_ID_PSD,  AV_CODEC_ID_PCX,  AV_CODEC_ID_QOI,   AV_CODEC_ID_JPEG2000};

template <typename Item, std::size_t count>
bool isAmong(const Item (&items)[count], const Item& item) {
    return std::find(std::begin(items), std::end(items), item) != std::end(items);
}

void append(std::string& list, const char* name) {
    list += (list.empty() ? "" : ",") + std::string(name);
}

} // namespace

const std::string& formatWhitelist() {
    static const std::string list = [] {
        std::string names;
        void* position = nullptr;
        while (const AVInputFormat* format = av_demuxer_iterate(&position)) {
            if (!isAmong(refusedFormats, std::string_view(format->name))) {
                append(names, format->name);
            }
        }
        return names;
    }();
    return list;
}

bool isDecoded(AVCodecID codec) {
    return !isAmong(refusedCodecs, codec);
}

const std::string& probedCodecs() {
    static const std::string list = [] {
        std::string names;
        void* position = nullptr;
        while (const AVCodec* codec = av_codec_iterate(&position)) {
            if (av_codec_is_decoder(codec) != 0 && isDecoded(codec->id) &&
                !isAmong(pictureCodecs, codec->id)) {
                append(names, codec->name);
            }
        }
        return names;
    }();
    return list;
}

} // namespace Vexorel::PrismDrift::Host
