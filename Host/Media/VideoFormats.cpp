#include "Host/Media/VideoFormats.h"

#include "Host/Library/Number.h"
#include "Host/Media/ClipError.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/PixelLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string_view>

extern "C" {
#include <libavutil/cpu.h>
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

// x265 has the same.
const std::vector<const char*> x264Presets = {"ultrafast", "superfast", "veryfast", "faster",
                                              "fast",      "medium",    "slow",     "slower",
                                              "veryslow",  "placebo"};

// Each encoder has a scale of quality of its own; at 18 on H.264's, people take the picture for the
// original. The encoders look only a dozen frames ahead: frames that they hold back take memory,
// and are encoded at the end, when nothing else is left to do. x265 writes to standard error unless
// told not to.
const std::vector<VideoCodec>& codecs() {
    static const std::vector<VideoCodec> all = {
        {.name = "h264",
         .encoder = "libx264",
         .formats = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV444P,
                     AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV444P10LE},
         .options = "rc-lookahead=12",
         .parametersOption = "x264-params",
         .masteringDisplay = "mastering-display",
         .contentLight = "cll",
         .qualityOption = "crf",
         .worst = 51,
         .best = 7,
         .presetOption = "preset",
         .presets = x264Presets,
         .saysChroma = true},
        {.name = "hevc",
         .encoder = "libx265",
         .formats = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV444P,
                     AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV444P10LE,
                     AV_PIX_FMT_YUV420P12LE, AV_PIX_FMT_YUV422P12LE, AV_PIX_FMT_YUV444P12LE},
         .parametersOption = "x265-params",
         .parameters = "log-level=none:rc-lookahead=12",
         .masteringDisplay = "master-display",
         .contentLight = "max-cll",
         .qualityOption = "crf",
         .worst = 51,
         .best = 9,
         .presetOption = "preset",
         .presets = x264Presets,
         .saysChroma = true},
        {.name = "vp9",
         .encoder = "libvpx-vp9",
         .formats = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA420P, AV_PIX_FMT_YUV422P,
                     AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV422P10LE,
                     AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_YUV420P12LE, AV_PIX_FMT_YUV422P12LE,
                     AV_PIX_FMT_YUV444P12LE},
         .options = "b=0:row-mt=1:cpu-used=4:auto-alt-ref=0:lag-in-frames=12",
         .qualityOption = "crf",
         .worst = 63,
         .best = 13,
         .presetOption = "cpu-used",
         .presets = {"5", "4", "3", "2", "1", "0"}},
        {.name = "prores",
         .encoder = "prores_ks",
         .formats = {AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_YUVA444P10LE, AV_PIX_FMT_YUV422P10LE},
         .saysRange = false},
        {.name = "qtrle", .encoder = "qtrle", .formats = {AV_PIX_FMT_RGB24, AV_PIX_FMT_ARGB}},
        {.name = "png",
         .encoder = "png",
         .formats = {AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA, AV_PIX_FMT_RGB48BE, AV_PIX_FMT_RGBA64BE},
         .options = "pred=paeth:compression_level=1"},
        {.name = "ffv1",
         .encoder = "ffv1",
         .formats = {AV_PIX_FMT_BGR0,         AV_PIX_FMT_BGRA,         AV_PIX_FMT_YUV420P,
                     AV_PIX_FMT_YUV422P,      AV_PIX_FMT_YUV444P,      AV_PIX_FMT_YUVA420P,
                     AV_PIX_FMT_YUVA422P,     AV_PIX_FMT_YUVA444P,     AV_PIX_FMT_GBRP10LE,
                     AV_PIX_FMT_GBRP12LE,     AV_PIX_FMT_GBRP14LE,     AV_PIX_FMT_GBRP16LE,
                     AV_PIX_FMT_GBRAP10LE,    AV_PIX_FMT_GBRAP12LE,    AV_PIX_FMT_GBRAP16LE,
                     AV_PIX_FMT_YUV420P10LE,  AV_PIX_FMT_YUV422P10LE,  AV_PIX_FMT_YUV444P10LE,
                     AV_PIX_FMT_YUV420P12LE,  AV_PIX_FMT_YUV422P12LE,  AV_PIX_FMT_YUV444P12LE,
                     AV_PIX_FMT_YUV420P14LE,  AV_PIX_FMT_YUV422P14LE,  AV_PIX_FMT_YUV444P14LE,
                     AV_PIX_FMT_YUV420P16LE,  AV_PIX_FMT_YUV422P16LE,  AV_PIX_FMT_YUV444P16LE,
                     AV_PIX_FMT_YUVA420P10LE, AV_PIX_FMT_YUVA422P10LE, AV_PIX_FMT_YUVA444P10LE,
                     AV_PIX_FMT_YUVA420P16LE, AV_PIX_FMT_YUVA422P16LE, AV_PIX_FMT_YUVA444P16LE},
         .options = "level=3:slicecrc=1"},
        {.name = "rawvideo", .encoder = "rawvideo"},
        {.name = "y4m",
         .encoder = "wrapped_avframe",
         .formats = {AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV420P,
                     AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV420P10LE,
                     AV_PIX_FMT_YUV444P12LE, AV_PIX_FMT_YUV422P12LE, AV_PIX_FMT_YUV420P12LE,
                     AV_PIX_FMT_YUV444P14LE, AV_PIX_FMT_YUV422P14LE, AV_PIX_FMT_YUV420P14LE,
                     AV_PIX_FMT_YUV444P16LE, AV_PIX_FMT_YUV422P16LE, AV_PIX_FMT_YUV420P16LE}},
    };
    return all;
}

const std::vector<Container>& containers() {
    static const std::vector<Container> all = {
        {.name = "mp4",
         .ending = "mp4",
         .codecs = {"h264", "hevc"},
         .alphaCodec = "h264",
         .deepCodec = "hevc"},
        {.name = "mp4",
         .ending = "m4v",
         .codecs = {"h264", "hevc"},
         .alphaCodec = "h264",
         .deepCodec = "hevc"},
        {.name = "mov",
         .ending = "mov",
         .codecs = {"h264", "hevc", "prores", "qtrle", "png"},
         .alphaCodec = "prores",
         .deepCodec = "prores"},
        {.name = "matroska",
         .ending = "mkv",
         .codecs = {"h264", "hevc", "vp9", "ffv1", "png", "prores"},
         .alphaCodec = "ffv1",
         .deepCodec = "hevc",
         .saysChroma = true},
        {.name = "webm",
         .ending = "webm",
         .codecs = {"vp9"},
         .alphaCodec = "vp9",
         .deepCodec = "vp9",
         .saysChroma = true},
        {.name = "yuv4mpegpipe",
         .ending = "y4m",
         .codecs = {"y4m"},
         .alphaCodec = "y4m",
         .deepCodec = "y4m",
         .saysColours = false,
         .saysHdr = false,
         .countsFrames = true,
         .saysChroma = true},
        {.name = "rawvideo",
         .ending = "raw",
         .codecs = {"rawvideo"},
         .alphaCodec = "rawvideo",
         .deepCodec = "rawvideo",
         .saysColours = false,
         .saysRange = false,
         .saysHdr = false,
         .countsFrames = true},
        {.name = "nut",
         .ending = "nut",
         .codecs = {"rawvideo", "ffv1"},
         .alphaCodec = "rawvideo",
         .deepCodec = "rawvideo",
         .saysColours = false,
         .saysRange = false,
         .saysHdr = false,
         .tagsRawFormats = true},
    };
    return all;
}

bool has(const Container& container, const char* codec) {
    return std::any_of(container.codecs.begin(), container.codecs.end(),
                       [&](const char* name) { return std::string_view(name) == codec; });
}

const VideoCodec& codecNamed(const std::string& name) {
    return *std::find_if(codecs().begin(), codecs().end(),
                         [&](const VideoCodec& codec) { return codec.name == name; });
}

// The codec of this name, or for an empty one all of the container's.
std::vector<const VideoCodec*> possibleCodecs(const Container& container,
                                              const std::string& codec) {
    std::vector<const VideoCodec*> possible;
    for (const char* name : container.codecs) {
        if (codec.empty() || codec == name) {
            possible.push_back(&codecNamed(name));
        }
    }
    return possible;
}

bool hasPreset(const VideoCodec& codec, std::string_view wanted) {
    return std::any_of(codec.presets.begin(), codec.presets.end(),
                       [&](const char* name) { return name == wanted; });
}

[[noreturn]] void refusePreset(const std::string& wanted,
                               const std::vector<const VideoCodec*>& codecs) {
    std::string takers, known;
    for (std::size_t i = 0; i < codecs.size(); ++i) {
        takers += takers.empty() ? "" : " and ";
        takers += codecs[i]->name;
        if (i + 1 < codecs.size() && codecs[i + 1]->presets == codecs[i]->presets) {
            continue; // is named together with the next one
        }
        std::string names;
        for (const char* name : codecs[i]->presets) {
            names += names.empty() ? "" : ", ";
            names += name;
        }
        if (!names.empty()) {
            known.append("; the presets of ").append(takers).append(" are ").append(names);
        } else if (codecs.size() == 1 || (known.empty() && i + 1 == codecs.size())) {
            throw ClipError(ClipReason::SettingNotTaken, {ClipSetting::EncoderPreset},
                            takers + (codecs.size() == 1 ? " has" : " have") +
                                " no encoder presets to choose");
        }
        takers.clear();
    }
    throw ClipError(ClipReason::ValueNotTaken, {ClipSetting::EncoderPreset},
                    "there is no encoder preset '" + wanted + "'" + known);
}

// Parameters as one option's value.
std::string escaped(const std::string& parameters) {
    std::string text;
    for (const char letter : parameters.substr(parameters.front() == ':' ? 1 : 0)) {
        text += letter == ':' ? "\\:" : std::string(1, letter);
    }
    return text;
}

// The properties by which a pixel format is chosen.
struct Layout {
    bool rgb = false, alpha = false;
    int chromaWidth = 0, chromaHeight = 0; // as shifts

    bool operator==(const Layout&) const = default;
};

Layout layoutOf(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    if (descriptor == nullptr) {
        return {};
    }
    const bool rgb = (descriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0 ||
                     descriptor->nb_components < 3 || format == AV_PIX_FMT_PAL8;
    return {rgb, carriesAlpha(format), rgb ? 0 : descriptor->log2_chroma_w,
            rgb ? 0 : descriptor->log2_chroma_h};
}

// The smaller, the nearer.
int distance(const Layout& wanted, const Layout& offered) {
    constexpr int alphaLost = 1000;
    constexpr int alphaIdle = 100;
    constexpr int kindChanged = 10;
    const int alpha = wanted.alpha && !offered.alpha   ? alphaLost
                      : !wanted.alpha && offered.alpha ? alphaIdle
                                                       : 0;
    if (wanted.rgb != offered.rgb) {
        return alpha + kindChanged; // then the codec's order decides
    }
    // Chroma that gets coarser loses more than finer chroma costs.
    const auto step = [](int from, int to) { return to > from ? 3 * (to - from) : from - to; };
    return alpha + step(wanted.chromaWidth, offered.chromaWidth) +
           step(wanted.chromaHeight, offered.chromaHeight);
}

// Whether readers of raw pixels of this format will know it.
bool isTagged(AVPixelFormat format, const Container& container) {
    return !container.tagsRawFormats || avcodec_pix_fmt_to_codec_tag(format) != 0;
}

bool isTaken(AVPixelFormat format, const Container& container, const VideoCodec& codec) {
    return format != AV_PIX_FMT_NONE && isConvertible(format) &&
           (!codec.formats.empty() || isTagged(format, container)) &&
           (codec.formats.empty() ||
            std::find(codec.formats.begin(), codec.formats.end(), format) != codec.formats.end());
}

[[noreturn]] void refusePixelFormat(const std::string& wanted, const std::string& taker,
                                    const std::vector<const VideoCodec*>& codecs) {
    std::string known;
    std::set<AVPixelFormat> listed;
    for (const VideoCodec* codec : codecs) {
        for (const AVPixelFormat one : codec->formats) {
            if (listed.insert(one).second) {
                known += (known.empty() ? ", which takes " : ", ") +
                         std::string(av_get_pix_fmt_name(one));
            }
        }
    }
    if (std::any_of(codecs.begin(), codecs.end(),
                    [](const VideoCodec* codec) { return codec->formats.empty(); })) {
        known = "; 'ffmpeg -pix_fmts' lists them";
    }
    throw ClipError(ClipReason::ValueNotTaken, {ClipSetting::OutputPixelFormat},
                    "'" + wanted + "' is no pixel format of " + taker + known);
}

// The source's own format if it has this depth, else RGB.
AVPixelFormat plainFormat(const Container& container, const AVFrame& source, const Depth& depth) {
    const auto own = static_cast<AVPixelFormat>(source.format);
    const Depth wanted = depth.isDeep() ? depth : Depth{};
    if (depthOf(own) == wanted && own != AV_PIX_FMT_PAL8 && isConvertible(own) &&
        isTagged(own, container)) {
        return own;
    }
    const bool alpha = carriesAlpha(own);
    if (wanted.isFloat && isTagged(AV_PIX_FMT_GBRPF32LE, container)) {
        return alpha ? AV_PIX_FMT_GBRAPF32LE : AV_PIX_FMT_GBRPF32LE;
    }
    if (wanted.isDeep()) {
        return alpha ? AV_PIX_FMT_RGBA64LE : AV_PIX_FMT_RGB48LE;
    }
    return alpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24;
}

bool keepsAlpha(const VideoCodec& codec) {
    return std::any_of(codec.formats.begin(), codec.formats.end(), &carriesAlpha);
}

bool keepsDepth(const VideoCodec& codec, const Depth& depth) {
    return !depth.isDeep() || codec.formats.empty() ||
           std::any_of(codec.formats.begin(), codec.formats.end(),
                       [](AVPixelFormat format) { return depthOf(format).isDeep(); });
}

} // namespace

const Container* containerFor(const std::string& endingOrName) {
    for (const Container& container : containers()) {
        if (endingOrName == container.ending || endingOrName == container.name) {
            return &container;
        }
    }
    return nullptr;
}

std::string containerEndings() {
    std::string all;
    for (const Container& container : containers()) {
        all += (all.empty() ? "." : ", .") + std::string(container.ending);
    }
    return all;
}

const VideoCodec& chooseCodec(const Container& container, const std::string& wanted,
                              AVCodecID ownCodec, bool alpha, const Depth& depth) {
    if (!wanted.empty() && !has(container, wanted.c_str())) {
        std::string takes = ".";
        takes += container.ending;
        takes += " takes the codecs ";
        for (const char* name : container.codecs) {
            takes += name;
            takes += ", ";
        }
        throw ClipError(ClipReason::ValueNotTaken, {ClipSetting::Codec},
                        takes + "not '" + wanted + "'");
    }
    std::string name = !wanted.empty() ? wanted
                       : alpha && keepsAlpha(codecNamed(container.alphaCodec))
                           ? container.alphaCodec
                       : depth.isDeep() ? container.deepCodec
                                        : container.codecs.front();
    for (const char* offered : container.codecs) {
        const VideoCodec& codec = codecNamed(offered);
        const AVCodec* encoder = avcodec_find_encoder_by_name(codec.encoder);
        if (wanted.empty() && encoder != nullptr && encoder->id == ownCodec &&
            (keepsAlpha(codec) || !alpha) && keepsDepth(codec, depth)) {
            name = offered;
        }
    }
    const VideoCodec& chosen = codecNamed(name);
    if (avcodec_find_encoder_by_name(chosen.encoder) == nullptr) {
        throw Error("FFmpeg's libraries have no " + std::string(chosen.encoder) + " here, which " +
                    name + " takes");
    }
    return chosen;
}

void checkPixelFormat(const Container& container, const std::string& codec,
                      const std::string& wanted) {
    const AVPixelFormat format = av_get_pix_fmt(wanted.c_str());
    const auto possible = possibleCodecs(container, codec);
    if (std::none_of(possible.begin(), possible.end(),
                     [&](const VideoCodec* one) { return isTaken(format, container, *one); })) {
        const std::string all = std::string(".") + container.ending;
        refusePixelFormat(wanted, possible.size() == 1 ? possible.front()->name : all, possible);
    }
}

void checkEncoderPreset(const Container& container, const std::string& codec,
                        const std::string& wanted) {
    const auto possible = possibleCodecs(container, codec);
    if (std::none_of(possible.begin(), possible.end(),
                     [&](const VideoCodec* one) { return hasPreset(*one, wanted); })) {
        refusePreset(wanted, possible);
    }
}

void checkEncoderPreset(const VideoCodec& codec, const std::string& wanted) {
    if (codec.presetOption != nullptr && !hasPreset(codec, wanted)) {
        refusePreset(wanted, {&codec});
    }
}

AVPixelFormat choosePixelFormat(const Container& container, const VideoCodec& codec,
                                const std::string& wanted, const AVFrame& source,
                                const Depth& depth) {
    if (!wanted.empty()) {
        const AVPixelFormat format = av_get_pix_fmt(wanted.c_str());
        if (!isTaken(format, container, codec)) {
            refusePixelFormat(wanted, codec.name, {&codec});
        }
        return format;
    }
    if (codec.formats.empty()) {
        return plainFormat(container, source, depth);
    }
    const Layout own = layoutOf(static_cast<AVPixelFormat>(source.format));
    return *std::min_element(
        codec.formats.begin(), codec.formats.end(), [&](AVPixelFormat left, AVPixelFormat right) {
            return std::pair(distance(own, layoutOf(left)), depthCost(depth, left)) <
                   std::pair(distance(own, layoutOf(right)), depthCost(depth, right));
        });
}

AVChromaLocation writtenChroma(const VideoCodec& codec, const Container& container,
                               AVPixelFormat format, AVColorRange range, AVChromaLocation clips) {
    const Layout layout = layoutOf(format);
    const bool is420 = layout.chromaWidth == 1 && layout.chromaHeight == 1;
    const bool isUsual =
        clips == AVCHROMA_LOC_LEFT || clips == AVCHROMA_LOC_CENTER || clips == AVCHROMA_LOC_TOPLEFT;
    if (is420 && (codec.saysChroma || (container.saysChroma && isUsual))) {
        return chromaLocationOf(format, range, clips);
    }
    return chromaLocationOf(format, codec.saysChroma ? AVCOL_RANGE_MPEG : range,
                            AVCHROMA_LOC_UNSPECIFIED);
}

bool needsEvenSides(const VideoCodec& codec, AVPixelFormat format, int width, int height) {
    const Layout layout = layoutOf(format);
    const std::string_view name = codec.name;
    return (name == "h264" || name == "hevc") &&
           ((width & layout.chromaWidth) != 0 || (height & layout.chromaHeight) != 0);
}

std::string encoderOptions(const VideoCodec& codec, double quality, const std::string& preset,
                           const HdrMetadata& hdr) {
    std::string options = codec.options;
    const auto add = [&](const char* name, const std::string& value) {
        options += (options.empty() ? "" : ":") + std::string(name) + "=" + value;
    };
    if (codec.qualityOption != nullptr) {
        const double value = std::round(codec.worst + (codec.best - codec.worst) * quality / 100);
        add(codec.qualityOption, numberText(value));
    }
    if (codec.presetOption != nullptr && !preset.empty()) {
        add(codec.presetOption, preset);
    }
    std::string parameters = codec.parameters;
    if (codec.masteringDisplay != nullptr) {
        parameters += hdr.parameters(codec.masteringDisplay, codec.contentLight);
    }
    // With AVX-512 x264 decides by memory that it hasn't filled: each run gives other bytes.
    if (std::string_view(codec.name) == "h264" && (av_get_cpu_flags() & AV_CPU_FLAG_AVX512) != 0) {
        parameters += std::string(parameters.empty() ? "" : ":") + "asm=avx2";
    }
    if (codec.parametersOption != nullptr && !parameters.empty()) {
        add(codec.parametersOption, escaped(parameters));
    }
    return options;
}

} // namespace Vexorel::PrismDrift::Host
