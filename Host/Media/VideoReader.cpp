#include "Host/Media/VideoReader.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/FrameProperties.h"
#include "Host/Media/HdrMetadata.h"
#include "Host/Media/PixelFormats.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

// How many of the first `count` frames are chosen; nothing where that takes long to count.
std::optional<std::int64_t> chosenBelow(const FrameNumbers& frames, std::int64_t count) {
    constexpr std::int64_t most = 10'000'000;
    std::int64_t chosen = 0;
    for (auto number = frames.after(-1); number && *number < count;
         number = frames.after(*number)) {
        if (++chosen > most) {
            return std::nullopt;
        }
    }
    return chosen;
}

// Whether FFmpeg finds where a picture ends and the next one begins.
bool hasParser(const AVStream& stream) {
    AVCodecParserContext* parser = av_parser_init(stream.codecpar->codec_id);
    av_parser_close(parser);
    return parser != nullptr;
}

} // namespace

VideoReader::VideoReader(const ClipInput& input) : mInput(input) {
    mInput.limits.isStopped = &mIsStopped;
    try {
        mDemuxer = Demuxer::openAlone(mInput);
        openStream();
        describe();
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotRead(mInput.file));
    }
}

void VideoReader::openStream() {
    mDemuxer->findStreams();
    mProperties.videoStream = mDemuxer->pictureStream().index;
    if (!isPlainFile(mInput.file) && mDemuxer->isOfStills() && !hasParser(stream())) {
        throw Error("a picture in the format " +
                    std::string(avcodec_get_name(stream().codecpar->codec_id)) +
                    " can't come from a pipe: give the name of its file");
    }
    mDecoder.emplace(stream(), ClipKind::Video, mInput, mDemuxer->mayStartBroken());
    std::size_t size = 0;
    const void* matrix = av_stream_get_side_data(&stream(), AV_PKT_DATA_DISPLAYMATRIX, &size);
    mOrientation = Orientation::of(matrix, size);
    const std::int64_t start = mDemuxer->context().start_time;
    if (start != AV_NOPTS_VALUE) {
        mStart = av_rescale_q(start, microseconds, stream().time_base);
    }
}

void VideoReader::describe() {
    mProperties.kind = ClipKind::Video;
    mProperties.container = &mDemuxer->context();
    mProperties.timeBase = {stream().time_base.num, stream().time_base.den};
    const AVRational rate = av_guess_frame_rate(&mDemuxer->context(), &stream(), nullptr);
    if (rate.num > 0 && rate.den > 0) {
        mProperties.frameRate = {rate.num, rate.den};
    }
    std::int64_t frames = stream().nb_frames;
    const std::int64_t duration = mDemuxer->context().duration;
    if (frames <= 0 && duration > 0 && isPlainFile(mInput.file)) {
        frames = av_rescale_q(duration, microseconds, av_inv_q(rational(mProperties.frameRate)));
    }
    if (frames > 0) {
        mProperties.expected = chosenBelow(mInput.frames, frames);
    } else if (mInput.frames.last()) {
        mProperties.expected = chosenBelow(mInput.frames, *mInput.frames.last() + 1);
    }
}

std::optional<ClipItem> VideoReader::next() {
    std::optional<ClipItem> item;
    try {
        keepFirstLoggedError();
        item = readItem();
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotRead(mInput.file) + place());
    }
    const auto last = mInput.frames.last();
    if (!item && last && mIndex <= *last) {
        throw Error(cannotRead(mInput.file) + "there is no frame " + std::to_string(*last) +
                    ", it has the frames 0 to " + std::to_string(mIndex - 1));
    }
    return item;
}

std::optional<ClipItem> VideoReader::readItem() {
    const auto last = mInput.frames.last();
    while (!last || mIndex <= *last) {
        while (AVFrame* frame = mDecoder->receive()) {
            if (auto item = frameItem(*frame)) {
                return item;
            }
        }
        if (mDecoder->hasEnded()) {
            if (!mDemuxer->endError().empty()) {
                throw Error(mDemuxer->endError());
            }
            break;
        }
        keepFirstLoggedError();
        auto packet = owned(av_packet_alloc());
        if (!mDemuxer->read(*packet)) {
            mDecoder->send(nullptr);
        } else if (packet->stream_index == mProperties.videoStream) {
            mDecoder->send(packet.get());
        } else {
            return ClipPacket{{packet.release(), FFmpegDeleter()}};
        }
    }
    return std::nullopt;
}

// The frame if it is one of those to read.
std::optional<ClipItem> VideoReader::frameItem(AVFrame& frame) {
    ClipFrame item{{World(0, 0), {}}};
    item.index = item.number = mIndex;
    item.duration = frame.pkt_duration;
    if (item.duration <= 0) {
        const AVRational step = av_inv_q(rational(mProperties.frameRate));
        item.duration = std::max<std::int64_t>(1, av_rescale_q(1, step, stream().time_base));
    }
    item.time = frame.best_effort_timestamp == AV_NOPTS_VALUE
                    ? mEndOfLast
                    : av_sat_sub64(frame.best_effort_timestamp, mStart);
    constexpr std::int64_t latest = std::int64_t{1} << 60; // so that sums of times are in range
    if (item.time < -latest || item.time > latest || item.duration > latest) {
        throw Error("its times are damaged");
    }
    mEndOfLast = item.time + item.duration;
    const bool isChosen = mInput.frames.contains(mIndex);
    if (isChosen) {
        item.picture = pictureOf(frame);
    }
    ++mIndex;
    return isChosen ? std::optional<ClipItem>(std::move(item)) : std::nullopt;
}

Picture VideoReader::pictureOf(AVFrame& frame) {
    frame.sample_aspect_ratio =
        av_guess_sample_aspect_ratio(&mDemuxer->context(), &stream(), &frame);
    addHdrMetadata(stream(), frame);
    const Depth depth = depthOf(static_cast<AVPixelFormat>(frame.format));
    World world(frame.width, frame.height, worldFormatFor(mInput.picture.worlds, depth));
    if (!mConverter || mConverter->layout() != layoutOf(frame)) {
        mConverter.emplace(layoutOf(frame), world.format());
    }
    mConverter->convert(frame, world);
    StoredLayout layout = mDecoder->layout();
    if (!mOrientation.upright()) {
        layout.orientation = mOrientation;
    }
    if (layout.orientation.swapped) {
        std::swap(frame.sample_aspect_ratio.num, frame.sample_aspect_ratio.den);
    }
    const bool isAssociated = layout.isAlphaAssociated && world.format() == PF_PixelFormat_ARGB128;
    return {.world = asShown(std::move(world), layout),
            .colorProfile = profileOf(frame),
            .source = propertiesOf(frame),
            .depth = depth,
            .isAssociated = isAssociated,
            .readBy = std::string("FFmpeg, ") + avcodec_get_name(stream().codecpar->codec_id)};
}

std::optional<std::int64_t> VideoReader::frameCount() {
    return timeIndex().frameCount();
}

std::int64_t VideoReader::frameAt(double seconds) {
    return timeIndex().frameAt(seconds);
}

const TimeIndex& VideoReader::timeIndex() {
    try {
        return mTimeIndex ? *mTimeIndex : mTimeIndex.emplace(mInput, mProperties, mStart);
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotRead(mInput.file));
    }
}

// Where in the clip an error came up.
std::string VideoReader::place() const {
    const std::string frame = "frame " + std::to_string(mIndex) + ": ";
    const bool isStreamedMov =
        mInput.file == "-" && mIndex == 0 &&
        std::string_view(mProperties.container->iformat->name).substr(0, 3) == "mov";
    return isStreamedMov
               ? "an MP4 or MOV file whose index is at its end can't come from a pipe; " + frame
               : frame;
}

} // namespace Vexorel::PrismDrift::Host
