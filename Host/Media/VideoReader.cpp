#include "Host/Media/VideoReader.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/FrameProperties.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <sys/stat.h>
#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

// VP8 and VP9 keep alpha beside the picture, where FFmpeg's own decoders don't look.
const AVCodec* decoderFor(const AVStream& stream) {
    const AVCodecID codec = stream.codecpar->codec_id;
    const AVDictionaryEntry* alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
    const AVCodec* decoder = nullptr;
    if (alpha != nullptr && std::string_view(alpha->value) == "1") {
        if (codec == AV_CODEC_ID_VP9) {
            decoder = avcodec_find_decoder_by_name("libvpx-vp9");
        } else if (codec == AV_CODEC_ID_VP8) {
            decoder = avcodec_find_decoder_by_name("libvpx");
        }
    }
    return decoder != nullptr ? decoder : avcodec_find_decoder(codec);
}

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

// Formats that may begin in the middle of a stream, with what can't be decoded until the first
// whole picture.
bool mayBeginAnywhere(const AVInputFormat& format) {
    for (const char* name : {"mpegts", "mpeg", "h264", "hevc", "mpegvideo", "m4v"}) {
        if (std::string_view(format.name) == name) {
            return true;
        }
    }
    return false;
}

bool isPlainFile(const std::filesystem::path& file) {
    struct stat status = {};
    return file != "-" && stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

VideoReader::VideoReader(const ClipInput& input) : mInput(input) {
    try {
        mDemuxer = std::make_unique<Demuxer>(input);
        openStream();
        openDecoder();
        describe();
    } catch (const std::exception&) {
        rethrowWithPrefix(errorPrefix());
    }
}

void VideoReader::openStream() {
    AVFormatContext& context = mDemuxer->context();
    keepFirstLoggedError();
    checkResult(avformat_find_stream_info(&context, nullptr));
    // It may have read as far as where a short file is damaged.
    if (!mayBeginAnywhere(*context.iformat)) {
        mEarlyMessage = firstLoggedError();
    }
    mProperties.videoStream = av_find_best_stream(&context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (mProperties.videoStream < 0) {
        throw Error("there is no picture in it");
    }
    const void* matrix = av_stream_get_side_data(&stream(), AV_PKT_DATA_DISPLAYMATRIX, nullptr);
    mOrientation = Orientation::of(static_cast<const std::int32_t*>(matrix));
    if (context.start_time != AV_NOPTS_VALUE) {
        mStart = av_rescale_q(context.start_time, microseconds, stream().time_base);
    }
}

void VideoReader::openDecoder() {
    const AVCodecParameters& parameters = *stream().codecpar;
    const AVCodec* decoder = decoderFor(stream());
    if (decoder == nullptr) {
        throw Error(std::string("there is no decoder for ") +
                    avcodec_get_name(parameters.codec_id));
    }
    mDecoder = owned(avcodec_alloc_context3(decoder));
    checkResult(avcodec_parameters_to_context(mDecoder.get(), &parameters));
    mDecoder->pkt_timebase = stream().time_base;
    mDecoder->max_pixels = largestPixelCount();
    mDecoder->thread_count = 0; // as many as there are processors
    for (const AVCodecID picture : {AV_CODEC_ID_PNG, AV_CODEC_ID_APNG, AV_CODEC_ID_MJPEG,
                                    AV_CODEC_ID_GIF, AV_CODEC_ID_WEBP, AV_CODEC_ID_BMP}) {
        if (decoder->id == picture) {
            mDecoder->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
        }
    }
    if (decoder->id == AV_CODEC_ID_FFV1) {
        mDecoder->thread_type = FF_THREAD_SLICE; // what it says of a checksum comes on this thread
    }
    checkResult(avcodec_open2(mDecoder.get(), decoder, nullptr));
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
        frames = av_rescale_q(duration, microseconds,
                              {mProperties.frameRate.denominator, mProperties.frameRate.numerator});
    }
    if (frames > 0) {
        mProperties.expected = chosenBelow(mInput.frames, frames);
    } else if (mInput.frames.last()) {
        mProperties.expected = chosenBelow(mInput.frames, *mInput.frames.last() + 1);
    }
}

std::optional<ClipItem> VideoReader::next() {
    try {
        keepFirstLoggedError();
        return readItem();
    } catch (const std::exception&) {
        rethrowWithPrefix(errorPrefix() + place());
    }
}

std::optional<ClipItem> VideoReader::readItem() {
    const auto last = mInput.frames.last();
    for (;;) {
        if (last && mIndex > *last) {
            return std::nullopt;
        }
        if (auto item = takeDecoded()) {
            return item;
        }
        if (mAtEnd) {
            if (!mEndError.empty()) {
                throw Error(mEndError);
            }
            if (last) {
                mIsRefusedHere = true;
                throw Error("there is no frame " + std::to_string(*last) +
                            ", it has the frames 0 to " + std::to_string(mIndex - 1));
            }
            return std::nullopt;
        }
        keepFirstLoggedError();
        const int read = av_read_frame(&mDemuxer->context(), mPacket.get());
        if (read == AVERROR_EOF) {
            mEndError = endError(); // told once what was read before is decoded
            mAtEnd = true;
            sendToDecoder(nullptr);
            continue;
        }
        checkResult(read);
        mPlace = avio_tell(mDemuxer->context().pb);
        if (mPacket->stream_index == mProperties.videoStream) {
            sendToDecoder(mPacket.get());
            av_packet_unref(mPacket.get());
            continue;
        }
        auto packet = owned(av_packet_alloc());
        av_packet_move_ref(packet.get(), mPacket.get());
        return ClipPacket{{packet.release(), FFmpegDeleter()}};
    }
}

// Some formats take a file that was cut off or is damaged for one that has ended.
std::string VideoReader::endError() const {
    const AVFormatContext& context = mDemuxer->context();
    const std::string& own = firstLoggedError();
    const std::string& reason = own.empty() ? mEarlyMessage : own;
    if (!reason.empty()) {
        return "the file is cut off or damaged (" + reason + ")";
    }
    if (context.pb != nullptr && context.pb->error < 0) {
        return reasonFor(context.pb->error);
    }
    if (std::string_view(context.iformat->name) == "yuv4mpegpipe" &&
        avio_tell(context.pb) > mPlace) {
        return "it is cut off";
    }
    return {};
}

bool VideoReader::isBeginning() const {
    return mIndex == 0 && mayBeginAnywhere(*mDemuxer->context().iformat);
}

void VideoReader::sendToDecoder(const AVPacket* packet) {
    const int sent = avcodec_send_packet(mDecoder.get(), packet);
    if (sent == AVERROR_INVALIDDATA && isBeginning() && packet != nullptr) {
        return;
    }
    checkResult(sent);
}

// A frame that the decoder has ready, if it is one of those that are wanted.
std::optional<ClipItem> VideoReader::takeDecoded() {
    for (;;) {
        const int received = avcodec_receive_frame(mDecoder.get(), mFrame.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
            if (received == AVERROR_EOF && mIndex == 0 && mEndError.empty()) {
                throw Error("there is no picture in it that can be decoded");
            }
            return std::nullopt;
        }
        if (received == AVERROR_INVALIDDATA && isBeginning()) {
            continue;
        }
        checkResult(received);
        // A damaged slice of FFV1 is patched up, with nothing but a message.
        const bool patched = mDecoder->codec_id == AV_CODEC_ID_FFV1 &&
                             firstLoggedError().find("CRC") != std::string::npos;
        if ((mFrame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || mFrame->decode_error_flags != 0 ||
            patched) {
            throw Error("it is damaged");
        }
        if (auto item = frameItem()) {
            return item;
        }
    }
}

std::optional<ClipItem> VideoReader::frameItem() {
    ClipFrame frame{{World(0, 0), {}}};
    stamp(frame);
    if (mInput.frames.contains(frame.index)) {
        frame.picture = picture();
        ++mIndex;
        return frame;
    }
    ++mIndex;
    return std::nullopt;
}

void VideoReader::stamp(ClipFrame& frame) {
    frame.index = frame.number = mIndex;
    frame.duration = mFrame->pkt_duration;
    if (frame.duration <= 0) {
        const AVRational one = {mProperties.frameRate.denominator, mProperties.frameRate.numerator};
        frame.duration = std::max<std::int64_t>(1, av_rescale_q(1, one, stream().time_base));
    }
    frame.time = mFrame->best_effort_timestamp == AV_NOPTS_VALUE
                     ? mEndOfLast
                     : mFrame->best_effort_timestamp - mStart;
    mEndOfLast = frame.time + frame.duration;
}

Picture VideoReader::picture() {
    mFrame->sample_aspect_ratio =
        av_guess_sample_aspect_ratio(&mDemuxer->context(), &stream(), mFrame.get());
    World world(mFrame->width, mFrame->height);
    mConverter.toWorld(*mFrame, world);
    const Orientation own = mOrientation.upright() ? orientationOf(*mFrame) : mOrientation;
    if (!own.upright()) {
        world = turned(world, own);
    }
    if (own.swapped) {
        std::swap(mFrame->sample_aspect_ratio.num, mFrame->sample_aspect_ratio.den);
    }
    return {std::move(world), profileOf(*mFrame), propertiesOf(*mFrame)};
}

std::optional<std::int64_t> VideoReader::frameCount() {
    scan();
    return mTimes.empty() ? std::nullopt : std::optional(static_cast<std::int64_t>(mTimes.size()));
}

std::int64_t VideoReader::frameAt(double seconds) {
    scan();
    const Ratio rate = mProperties.frameRate;
    if (mTimes.empty() || mTimes.front() == AV_NOPTS_VALUE) {
        return nearestFrame(seconds, rate);
    }
    const double unit = av_q2d(stream().time_base);
    const double time = seconds / unit + static_cast<double>(mStart);
    const auto later =
        std::lower_bound(mTimes.begin(), mTimes.end(), time, [](std::int64_t left, double right) {
            return static_cast<double>(left) < right;
        });
    if (later == mTimes.end()) {
        // Behind the end, as if frames went on at the clip's rate.
        const double over = (time - static_cast<double>(mTimes.back())) * unit;
        return std::llrint(static_cast<double>(mTimes.size() - 1) +
                           over * rate.numerator / rate.denominator);
    }
    const auto index = later - mTimes.begin();
    if (index == 0) {
        return 0;
    }
    const double before = time - static_cast<double>(*(later - 1));
    const double after = static_cast<double>(*later) - time;
    const bool even = index % 2 == 0;
    return after < before || (after == before && even) ? index : index - 1;
}

// The times of all frames, from the file's packets, which needs no decoding.
void VideoReader::scan() {
    if (std::exchange(mIsScanned, true) || !isPlainFile(mInput.file)) {
        return;
    }
    try {
        Demuxer demuxer(mInput);
        AVFormatContext& context = demuxer.context();
        checkResult(avformat_find_stream_info(&context, nullptr));
        for (unsigned i = 0; i < context.nb_streams; ++i) {
            const bool video = static_cast<int>(i) == mProperties.videoStream;
            context.streams[i]->discard = video ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        }
        auto packet = owned(av_packet_alloc());
        int read = 0;
        bool begun = !mayBeginAnywhere(*context.iformat);
        while ((read = av_read_frame(&context, packet.get())) >= 0) {
            begun = begun || (packet->flags & AV_PKT_FLAG_KEY) != 0;
            if (packet->stream_index == mProperties.videoStream && begun &&
                (packet->flags & AV_PKT_FLAG_DISCARD) == 0) {
                mTimes.push_back(packet->pts);
            }
            av_packet_unref(packet.get());
        }
        if (read != AVERROR_EOF) {
            checkResult(read);
        }
    } catch (const std::exception&) {
        rethrowWithPrefix(errorPrefix());
    }
    std::sort(mTimes.begin(), mTimes.end());
}

// Where in the clip an error came up.
std::string VideoReader::place() const {
    if (mIsRefusedHere) {
        return "";
    }
    const std::string frame = "frame " + std::to_string(mIndex) + ": ";
    const bool isStreamedMov =
        mInput.file == "-" && mIndex == 0 &&
        std::string_view(mProperties.container->iformat->name).substr(0, 3) == "mov";
    return isStreamedMov
               ? "an MP4 or MOV file whose index is at its end can't come from a pipe; " + frame
               : frame;
}

std::string VideoReader::errorPrefix() const {
    return "cannot read " +
           (mInput.file == "-" ? "standard input" : "'" + mInput.file.string() + "'") + ": ";
}

} // namespace Vexorel::PrismDrift::Host
