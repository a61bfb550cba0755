#include "Clip/ClipSteps.h"

#include "Host/Library/Error.h"
#include "Host/Media/Demuxer.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/VideoDecoder.h"
#include "Host/Media/VideoFormats.h"

#include <limits>
#include <vector>

using namespace Vexorel::PrismDrift::Host;

namespace {

using Frames = std::vector<FFmpegPtr<AVFrame>>;

// The first frames of a video, `most` of them at most, or as few as there are; they are kept if
// `isKept` says so.
Frames decoded(const std::filesystem::path& file, std::size_t most, bool isKept) {
    ClipInput input;
    input.file = file;
    const auto demuxer = Demuxer::openAlone(input);
    const AVStream& stream = demuxer->pictureStream();
    VideoDecoder decoder(stream, ClipKind::Video, input);
    Frames frames;
    for (std::size_t count = 0; count < most && !decoder.hasEnded();) {
        auto packet = owned(av_packet_alloc());
        if (!demuxer->read(*packet)) {
            decoder.send(nullptr);
        } else if (packet->stream_index == stream.index) {
            decoder.send(packet.get());
        }
        while (const AVFrame* frame = decoder.receive()) {
            ++count;
            if (isKept) {
                frames.push_back(owned(av_frame_clone(frame)));
            }
        }
    }
    return frames;
}

FFmpegPtr<AVFrame> firstFrame(const std::filesystem::path& file) {
    return std::move(decoded(file, 1, true).at(0));
}

} // namespace

void decodeFrames(const std::filesystem::path& file) {
    decoded(file, std::numeric_limits<std::size_t>::max(), false);
}

void convertFrames(const std::filesystem::path& file, int count) {
    const auto frame = firstFrame(file);
    FrameToWorld converter(layoutOf(*frame));
    for (int i = 0; i < count; ++i) {
        World world(frame->width, frame->height); // as the reader makes one for each frame
        converter.convert(*frame, world);
    }
}

void convertFramesBack(const std::filesystem::path& file, int count) {
    const auto frame = firstFrame(file);
    const World world = worldFromFrame(*frame);
    WorldToFrame converter(layoutOf(*frame));
    for (int i = 0; i < count; ++i) {
        const auto written =
            newFrame(frame->width, frame->height, static_cast<AVPixelFormat>(frame->format));
        converter.convert(world, *written);
    }
}

void encodeFrames(const std::filesystem::path& file, int count) {
    constexpr std::size_t most = 50;
    const Frames frames = decoded(file, most, true);
    const VideoCodec& codec = chooseCodec(*containerFor("mp4"), "h264", AV_CODEC_ID_NONE, false);
    const AVCodec* encoder = avcodec_find_encoder_by_name(codec.encoder);
    const auto context = owned(avcodec_alloc_context3(encoder));
    context->width = frames[0]->width;
    context->height = frames[0]->height;
    context->pix_fmt = static_cast<AVPixelFormat>(frames[0]->format);
    context->time_base = {1, 25};
    context->thread_count = 0;
    Dictionary options(encoderOptions(codec, defaultQuality, ""));
    checkResult(avcodec_open2(context.get(), encoder, options.pointer()));
    const auto packet = owned(av_packet_alloc());
    for (int i = 0; i <= count; ++i) {
        AVFrame* frame = frames[static_cast<std::size_t>(i) % frames.size()].get();
        frame->pts = i;
        frame->pict_type = AV_PICTURE_TYPE_NONE;
        checkResult(avcodec_send_frame(context.get(), i < count ? frame : nullptr));
        while (avcodec_receive_packet(context.get(), packet.get()) >= 0) {
            av_packet_unref(packet.get());
        }
    }
}
