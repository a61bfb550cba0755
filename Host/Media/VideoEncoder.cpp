#include "Host/Media/VideoEncoder.h"

#include "Host/Library/AssociatedAlpha.h"
#include "Host/Media/ClipError.h"
#include "Host/Media/HdrMetadata.h"
#include "Host/Media/PictureColours.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/PixelLayout.h"
#include "Host/Media/StoredLayout.h"

#include <algorithm>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

// What a frame's file says of it; of a frame without a file, that it is RGBA.
std::shared_ptr<const AVFrame> sourceOf(const ClipFrame& frame) {
    if (frame.picture.source != nullptr) {
        return frame.picture.source;
    }
    auto none = owned(av_frame_alloc());
    none->format = AV_PIX_FMT_RGBA;
    return {none.release(), FFmpegDeleter()};
}

// The format with a chroma value for each pixel, and as many bits.
AVPixelFormat fullChroma(AVPixelFormat format) {
    const int bits = depthOf(format).bits;
    return bits == 8    ? AV_PIX_FMT_YUV444P
           : bits == 10 ? AV_PIX_FMT_YUV444P10LE
                        : AV_PIX_FMT_YUV444P12LE;
}

void warnOfSettings(const ClipOutput& output, const VideoCodec& codec) {
    if (output.quality && codec.qualityOption == nullptr) {
        output.warn(std::string(codec.name) + " has no quality to choose");
    }
    if (!output.encoderPreset.empty()) {
        checkEncoderPreset(codec, output.encoderPreset);
        if (codec.presetOption == nullptr) {
            output.warn(std::string(codec.name) + " has no encoder presets to choose");
        }
    }
}

Encoding chooseEncoding(const EncoderSettings& settings, const AVFrame& source,
                        const Picture& picture) {
    const ClipOutput& output = settings.output;
    const int width = picture.world.width();
    const int height = picture.world.height();
    const std::string size = sizeText(width, height);
    const Depth depth = wantedDepth(output.depth, picture);
    const VideoCodec& codec =
        chooseCodec(settings.container, output.codec, settings.clipCodec,
                    carriesAlpha(static_cast<AVPixelFormat>(source.format)), depth);
    warnOfSettings(output, codec);
    // x265 opens at 16 pixels a side, but up to a width of 48, three of its blocks, it writes whole
    // vectors beyond its own memory. How long these are depends on the processor: one block more.
    constexpr int leastWidth = 64;
    constexpr int leastHeight = 16;
    if (std::string_view(codec.name) == "hevc" && (width < leastWidth || height < leastHeight)) {
        throw ClipError(ClipReason::ValueNotTaken, {ClipSetting::Codec},
                        "hevc takes 64x16 pixels and more, not " + size);
    }
    const AVPixelFormat format =
        choosePixelFormat(settings.container, codec, output.pixelFormat, source, depth);
    if (output.codec == "h264" && output.pixelFormat.empty() && depthOf(format).isDeep()) {
        output.warn("h264 of " + textOf(depthOf(format)) + " isn't shown by some players");
    }
    if (!needsEvenSides(codec, format, width, height)) {
        return {codec, format};
    }
    if (!output.pixelFormat.empty()) {
        throw ClipError(ClipReason::ValueNotTaken, {ClipSetting::OutputPixelFormat},
                        output.pixelFormat + " takes even sides only in " + codec.name + ", not " +
                            size);
    }
    const AVPixelFormat full = fullChroma(format);
    output.warn("a size of " + size + " goes into " + codec.name + " as " +
                av_get_pix_fmt_name(full) + " only, which some players don't show");
    return {codec, full};
}

bool isYuvFrame(const AVFrame& frame) {
    return isYuv(static_cast<AVPixelFormat>(frame.format));
}

// The colours of the source, and BT.709's where RGB becomes YUV, or BT.2020's where deep RGB is
// said to be that. A container without a field for
// the matrix gets BT.601's, which readers assume.
void setColours(AVCodecContext& encoder, const AVFrame& source, const ColourTags& tags,
                bool saysColours) {
    const AVPixFmtDescriptor* to = av_pix_fmt_desc_get(encoder.pix_fmt);
    const AVPixFmtDescriptor* from = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source.format));
    const bool toYuv = (to->flags & AV_PIX_FMT_FLAG_RGB) == 0 && to->nb_components >= 3;
    const bool fromYuv =
        from != nullptr && (from->flags & AV_PIX_FMT_FLAG_RGB) == 0 && from->nb_components >= 3;
    encoder.color_primaries = tags.primaries;
    encoder.color_trc = tags.transfer;
    if (!toYuv) {
        return;
    }
    if (fromYuv) {
        const bool full = source.color_range == AVCOL_RANGE_JPEG ||
                          std::string_view(from->name).substr(0, 4) == "yuvj";
        encoder.color_range = full ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
        encoder.colorspace = saysColours ? source.colorspace : AVCOL_SPC_UNSPECIFIED;
        return;
    }
    encoder.color_range = AVCOL_RANGE_MPEG;
    if (!saysColours) {
        return;
    }
    const bool isWide = depthOf(encoder.pix_fmt).isDeep() && tags.primaries == AVCOL_PRI_BT2020;
    encoder.colorspace = isWide ? AVCOL_SPC_BT2020_NCL : AVCOL_SPC_BT709;
    if (tags.primaries == AVCOL_PRI_UNSPECIFIED) {
        encoder.color_primaries = AVCOL_PRI_BT709;
    }
    if (tags.transfer == AVCOL_TRC_UNSPECIFIED) {
        encoder.color_trc = AVCOL_TRC_BT709;
    }
}

// What is known to have no tag gets none.
void leaveUntagged(AVCodecContext& encoder) {
    if (encoder.color_primaries == AVCOL_PRI_RESERVED0) {
        encoder.color_primaries = AVCOL_PRI_UNSPECIFIED;
    }
    if (encoder.color_trc == AVCOL_TRC_RESERVED0) {
        encoder.color_trc = AVCOL_TRC_UNSPECIFIED;
    }
}

// Pictures that are shown wrongly without what the container has no place for, or no file a tag.
void warnOfLostTags(const EncoderSettings& settings, const ColourTags& tags,
                    const HdrMetadata& hdr) {
    const std::string noPlace = std::string(".") + settings.container.ending + " has no place for ";
    const bool isHdr = tags.transfer == AVCOL_TRC_SMPTE2084 ||
                       tags.transfer == AVCOL_TRC_ARIB_STD_B67 ||
                       tags.primaries == AVCOL_PRI_BT2020 || !hdr.isEmpty();
    const std::string needed = neededTags(tags);
    if (!settings.container.saysHdr && isHdr) {
        settings.output.warn(noPlace + "what HDR pictures say of their colours");
    } else if (!settings.container.saysColours && !needed.empty()) {
        settings.output.warn(noPlace + needed);
    } else if (const std::string untagged = coloursWithoutTag(tags); !untagged.empty()) {
        settings.output.warn("video has no tag for " + untagged);
    }
}

FFmpegPtr<AVCodecContext> openContext(const EncoderSettings& settings, const Encoding& encoding,
                                      const ClipFrame& first) {
    const auto source = sourceOf(first);
    const World& world = first.picture.world;
    const auto& [codec, format] = encoding;
    const AVCodec* encoder = avcodec_find_encoder_by_name(codec.encoder);
    auto context = owned(avcodec_alloc_context3(encoder));
    context->width = world.width();
    context->height = world.height();
    context->pix_fmt = format;
    context->sample_aspect_ratio = source->sample_aspect_ratio;
    context->framerate = settings.frameRate;
    context->time_base = settings.timeUnit;
    context->thread_count = 0; // as many as there are processors
    if (settings.hasGlobalHeader) {
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    const ColourTags tags = colourTagsOf(first.picture);
    setColours(*context, *source, tags, settings.container.saysColours);
    leaveUntagged(*context);
    if (isYuv(format) && (!codec.saysRange || !settings.container.saysRange)) {
        context->color_range = AVCOL_RANGE_MPEG;
    }
    context->chroma_sample_location = writtenChroma(codec, settings.container, format,
                                                    context->color_range, layoutOf(*source).chroma);
    const HdrMetadata hdr = HdrMetadata::of(source.get());
    warnOfLostTags(settings, tags, hdr);
    if (hasDynamicHdr(*source)) {
        settings.output.warn("HDR metadata of each frame (HDR10+, Dolby Vision) are lost");
    }
    Dictionary options(encoderOptions(codec, settings.output.quality.value_or(defaultQuality),
                                      settings.output.encoderPreset, hdr));
    checkResult(avcodec_open2(context.get(), encoder, options.pointer()));
    options.checkAllTaken();
    return context;
}

} // namespace

VideoEncoder::VideoEncoder(const EncoderSettings& settings, const ClipFrame& first)
    : mEncoding(chooseEncoding(settings, *sourceOf(first), first.picture)),
      mContext(openContext(settings, mEncoding, first)),
      mConverter({mContext->width, mContext->height, mContext->pix_fmt, mContext->colorspace,
                  mContext->color_range, mContext->chroma_sample_location},
                 first.picture.world.format(),
                 {settings.output.dithers, !isYuvFrame(*sourceOf(first))}),
      mLosses(settings.output, mEncoding.codec.name, mEncoding.format) {}

void VideoEncoder::send(const ClipFrame& frame, std::int64_t time) {
    checkSize(frame);
    const AVCodecContext& context = *mContext;
    auto picture = newFrame(context.width, context.height, context.pix_fmt);
    picture->color_range = context.color_range;
    picture->colorspace = context.colorspace;
    picture->color_primaries = context.color_primaries;
    picture->color_trc = context.color_trc;
    picture->chroma_location = context.chroma_sample_location;
    picture->sample_aspect_ratio = context.sample_aspect_ratio;
    picture->pts = time;
    picture->pkt_duration = frame.duration;
    const StraightWorld straight(frame.picture);
    mLosses.of(frame.picture, straight);
    mConverter.convert(straight.world(), *picture);
    mDurations[time] = frame.duration;
    checkResult(avcodec_send_frame(mContext.get(), picture.get()));
    ++mSent;
}

void VideoEncoder::end() {
    checkResult(avcodec_send_frame(mContext.get(), nullptr));
}

bool VideoEncoder::receive(AVPacket& packet) {
    const int received = avcodec_receive_packet(mContext.get(), &packet);
    if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
        return false;
    }
    checkResult(received);
    // x265 takes an uninitialised time off that of decoding before its third frame. Two frames
    // don't change places.
    constexpr int reordered = 3;
    if (mContext->codec_id == AV_CODEC_ID_HEVC && mSent < reordered) {
        packet.dts = packet.pts;
    }
    if (const auto found = mDurations.find(packet.pts); found != mDurations.end()) {
        packet.duration = found->second;
        mDurations.erase(found);
    }
    return true;
}

void VideoEncoder::checkSize(const ClipFrame& frame) const {
    const World& world = frame.picture.world;
    if (world.width() != mContext->width || world.height() != mContext->height) {
        throw Error("frame " + std::to_string(frame.number) + " has " +
                    sizeText(world.width(), world.height()) + " pixels, the frames before it " +
                    sizeText(mContext->width, mContext->height));
    }
}

} // namespace Vexorel::PrismDrift::Host
