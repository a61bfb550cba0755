#include "Host/Media/VideoWriter.h"

#include "Host/Media/ClipError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

// Whether the MOV family has a place of its own for all of these; it drops others unless told to
// write them by name.
bool hasOwnPlaces(const AVDictionary* metadata) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        const std::string_view key = entry->key;
        const std::array known = {
            "title",         "artist", "album_artist", "album", "comment",  "composer", "copyright",
            "creation_time", "date",   "description",  "genre", "synopsis", "track",    "timecode"};
        if (std::find(known.begin(), known.end(), key) == known.end()) {
            return false;
        }
    }
    return true;
}

} // namespace

struct VideoWriter::Descriptor {
    explicit Descriptor(int number, bool seekable) : descriptor(number) {
        constexpr int bufferSize = 1 << 16;
        auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
        context = avio_alloc_context(buffer, bufferSize, 1, this, nullptr, &write,
                                     seekable ? &seek : nullptr);
        if (context == nullptr) {
            av_free(buffer);
            throw std::bad_alloc();
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        av_free(context->buffer);
        avio_context_free(&context);
    }

    static int write(void* opaque, std::uint8_t* bytes, int size) {
        auto& self = *static_cast<Descriptor*>(opaque);
        const int error = writeAll(self.descriptor, bytes, static_cast<std::size_t>(size));
        if (error != 0) {
            self.error = self.error != 0 ? self.error : error;
            return AVERROR(error);
        }
        return size;
    }

    static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
        if (whence == AVSEEK_SIZE) {
            return AVERROR(ENOSYS);
        }
        const off_t place = lseek(static_cast<Descriptor*>(opaque)->descriptor, offset, whence);
        return place < 0 ? AVERROR(errno) : place;
    }

    int descriptor;
    int error = 0; // of the first write that failed
    AVIOContext* context = nullptr;
};

VideoWriter::VideoWriter(const ClipOutput& output, const Container& container,
                         const ClipReader& reader, bool partial)
    : mOutput(output), mContainer(container), mSource(reader.properties()), mPartial(partial) {
    if (mSource.container != nullptr) { // which its reader goes on changing, on another thread
        for (unsigned i = 0; i < mSource.container->nb_streams; ++i) {
            mUnits.push_back(mSource.container->streams[i]->time_base);
        }
        mOwnCodec = mSource.container->streams[mSource.videoStream]->codecpar->codec_id;
        if (mSource.container->start_time != AV_NOPTS_VALUE) {
            mStart = mSource.container->start_time;
        }
    }
    if (output.file != "-") {
        mFile = std::make_unique<NewFile>(output.file);
    }
    const int descriptor = mFile ? mFile->descriptor() : output.standardOutput;
    mDescriptor = std::make_unique<Descriptor>(descriptor, mFile != nullptr);
    openMuxer();
    if (mSource.container != nullptr) {
        copyTheRest();
        mSource.container = nullptr;
    }
}

VideoWriter::~VideoWriter() = default;

void VideoWriter::openMuxer() {
    AVFormatContext* context = nullptr;
    check(avformat_alloc_output_context2(&context, nullptr, mContainer.name, nullptr));
    mMuxer.reset(context);
    mMuxer->pb = mDescriptor->context;
    mMuxer->flags |= AVFMT_FLAG_CUSTOM_IO;
    mStream = avformat_new_stream(mMuxer.get(), nullptr);
    if (mStream == nullptr) {
        throw std::bad_alloc();
    }
}

void VideoWriter::write(ClipItem&& item) {
    keepFirstLoggedError();
    if (const auto* packet = std::get_if<ClipPacket>(&item)) {
        if (mEncoder == nullptr) {
            mWaiting.push_back(*packet);
        } else {
            writePacket(*packet);
        }
        return;
    }
    const auto& frame = std::get<ClipFrame>(item);
    if (mEncoder == nullptr) {
        open(frame);
    }
    writeFrame(frame);
}

void VideoWriter::open(const ClipFrame& first) {
    openEncoder(first);
    if (mPartial) {
        advanceTimecode(mMuxer->metadata, first.index);
        for (unsigned i = 0; i < mMuxer->nb_streams; ++i) {
            advanceTimecode(mMuxer->streams[i]->metadata, first.index);
        }
    }
    writeHeader();
    mOffset = mPartial ? first.time : 0;
    for (const ClipPacket& packet : mWaiting) {
        writePacket(packet);
    }
    mWaiting.clear();
}

namespace {

// Colours that the frames have, carried over; those of RGB pictures in YUV are BT.709's where the
// container can say so, else what its readers take for granted, BT.601.
void setColours(AVCodecContext& encoder, const AVFrame& source, bool saysColours) {
    const AVPixFmtDescriptor* to = av_pix_fmt_desc_get(encoder.pix_fmt);
    const AVPixFmtDescriptor* from = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source.format));
    const bool toYuv = (to->flags & AV_PIX_FMT_FLAG_RGB) == 0 && to->nb_components >= 3;
    const bool fromYuv =
        from != nullptr && (from->flags & AV_PIX_FMT_FLAG_RGB) == 0 && from->nb_components >= 3;
    encoder.color_primaries = source.color_primaries;
    encoder.color_trc = source.color_trc;
    if (!toYuv) {
        return;
    }
    if (fromYuv) {
        const bool full = source.color_range == AVCOL_RANGE_JPEG ||
                          std::string_view(from->name).substr(0, 4) == "yuvj";
        encoder.color_range = full ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
        encoder.colorspace = source.colorspace;
        encoder.chroma_sample_location = source.chroma_location;
        return;
    }
    encoder.color_range = AVCOL_RANGE_MPEG;
    if (!saysColours) {
        return;
    }
    encoder.colorspace = AVCOL_SPC_BT709;
    if (source.color_primaries == AVCOL_PRI_UNSPECIFIED) {
        encoder.color_primaries = AVCOL_PRI_BT709;
    }
    if (source.color_trc == AVCOL_TRC_UNSPECIFIED) {
        encoder.color_trc = AVCOL_TRC_BT709;
    }
}

} // namespace

void VideoWriter::openEncoder(const ClipFrame& first) {
    auto none = owned(av_frame_alloc());
    none->format = AV_PIX_FMT_RGBA;
    const AVFrame& source = first.picture.source ? *first.picture.source : *none;
    const auto sourceFormat = static_cast<AVPixelFormat>(source.format);
    int result = 0;
    try {
        const VideoCodec& codec =
            chooseCodec(mContainer, mOutput.codec, mOwnCodec, carriesAlpha(sourceFormat));
        if (mOutput.quality && codec.qualityOption == nullptr) {
            warn(std::string(codec.name) + " has no quality to choose");
        }
        AVPixelFormat format = choosePixelFormat(codec, mOutput.pixelFormat, source);
        const int width = first.picture.world.width();
        const int height = first.picture.world.height();
        // x265 writes beyond its own memory where a side is shorter than one of its blocks.
        constexpr int block = 64;
        if (std::string_view(codec.name) == "hevc" && std::min(width, height) < block) {
            throw ClipError(ClipReason::ValueNotTaken, {ClipSetting::Codec},
                            "hevc takes 64 pixels a side and more, not " + sizeText(width, height));
        }
        if (needsEvenSides(codec, format, width, height)) {
            if (!mOutput.pixelFormat.empty()) {
                throw ClipError(ClipReason::ValueNotTaken, {ClipSetting::OutputPixelFormat},
                                mOutput.pixelFormat + " takes even sides only in " + codec.name +
                                    ", not " + sizeText(width, height));
            }
            format = AV_PIX_FMT_YUV444P;
            warn("a size of " + sizeText(width, height) + " goes into " + codec.name +
                 " as yuv444p only, which some players don't show");
        }
        const AVCodec* encoder = avcodec_find_encoder_by_name(codec.encoder);
        mEncoder = owned(avcodec_alloc_context3(encoder));
        mEncoder->width = width;
        mEncoder->height = height;
        mEncoder->pix_fmt = format;
        mEncoder->sample_aspect_ratio = source.sample_aspect_ratio;
        mEncoder->framerate = rational(mSource.frameRate);
        const bool countsFrames = (mMuxer->oformat->flags & AVFMT_NOTIMESTAMPS) != 0 ||
                                  std::string_view(mContainer.name) == "yuv4mpegpipe";
        mTimeBase = countsFrames ? av_inv_q(mEncoder->framerate) : rational(mSource.timeBase);
        mEncoder->time_base = mTimeBase;
        mEncoder->thread_count = 0;
        if ((mMuxer->oformat->flags & AVFMT_GLOBALHEADER) != 0) {
            mEncoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        }
        setColours(*mEncoder, source, mContainer.saysColours);
        if (!codec.saysRange || !mContainer.saysRange) {
            mEncoder->color_range = AVCOL_RANGE_MPEG;
        }
        AVDictionary* options = nullptr;
        av_dict_parse_string(
            &options, encoderOptions(codec, mOutput.quality.value_or(defaultQuality)).c_str(), "=",
            ":", 0);
        result = avcodec_open2(mEncoder.get(), encoder, &options);
        av_dict_free(&options);
        mAlphaIsLost = !carriesAlpha(format);
        mPictureSize = sizeText(width, height);
    } catch (const Error&) {
        rethrowWithPrefix(errorPrefix());
    }
    check(result);
}

void VideoWriter::writeHeader() {
    check(avcodec_parameters_from_context(mStream->codecpar, mEncoder.get()));
    const std::string_view container = mContainer.name;
    const bool isMov = container == "mov" || container == "mp4";
    if (isMov && mEncoder->codec_id == AV_CODEC_ID_HEVC) {
        mStream->codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    }
    mStream->time_base = mTimeBase;
    mStream->avg_frame_rate = mEncoder->framerate;
    mStream->sample_aspect_ratio = mEncoder->sample_aspect_ratio;
    AVDictionary* options = nullptr;
    if (isMov) {
        std::string flags;
        flags += mFile == nullptr ? "+frag_keyframe+empty_moov+default_base_moof" : "";
        flags += hasOwnPlaces(mMuxer->metadata) ? "" : "+use_metadata_tags";
        av_dict_set(&options, "movflags", flags.empty() ? nullptr : flags.c_str(), 0);
    }
    const int result = avformat_write_header(mMuxer.get(), &options);
    av_dict_free(&options);
    check(result);
}

void VideoWriter::writeFrame(const ClipFrame& frame) {
    const World& world = frame.picture.world;
    if (sizeText(world.width(), world.height()) != mPictureSize) {
        refuse("frame " + std::to_string(frame.number) + " has " +
               sizeText(world.width(), world.height()) + " pixels, the frames before it " +
               mPictureSize);
    }
    const AVFrame* source = frame.picture.source.get();
    const bool mayHaveAlpha =
        source == nullptr || carriesAlpha(static_cast<AVPixelFormat>(source->format));
    if (mAlphaIsLost && mayHaveAlpha && hasAlpha(world)) {
        warn("the alpha of '" + mOutput.file.string() + "' is lost: " + mEncoder->codec->name +
             " in " + av_get_pix_fmt_name(mEncoder->pix_fmt) + " has none");
        mAlphaIsLost = false;
    }
    auto picture = newFrame(world.width(), world.height(), mEncoder->pix_fmt);
    picture->color_range = mEncoder->color_range;
    picture->colorspace = mEncoder->colorspace;
    picture->color_primaries = mEncoder->color_primaries;
    picture->color_trc = mEncoder->color_trc;
    picture->chroma_location = mEncoder->chroma_sample_location;
    picture->sample_aspect_ratio = mEncoder->sample_aspect_ratio;
    mConverter.fromWorld(world, *picture);

    std::int64_t time = frame.time - mOffset;
    if (av_cmp_q(mTimeBase, rational(mSource.timeBase)) != 0) {
        time = mIsWritten ? mLastTime + 1 : 0; // a format that counts frames
        noticeLostTimes(frame);
    }
    picture->pts = mIsWritten ? std::max(time, mLastTime + 1) : time;
    picture->pkt_duration = frame.duration;
    mLastTime = picture->pts;
    mIsWritten = true;
    mDurations[picture->pts] = frame.duration;
    check(avcodec_send_frame(mEncoder.get(), picture.get()));
    drainEncoder();
}

// Frames that don't follow upon each other at the clip's rate.
void VideoWriter::noticeLostTimes(const ClipFrame& frame) {
    const AVRational step = av_inv_q(rational(mSource.frameRate));
    const std::int64_t since = frame.time - mTimeBefore;
    const double frames =
        static_cast<double>(since) * av_q2d(rational(mSource.timeBase)) / av_q2d(step);
    constexpr double tolerance = 0.5;
    if (mIsWritten && !mHasLostTimes && std::abs(frames - 1) > tolerance) {
        mHasLostTimes = true;
        warn("." + std::string(mContainer.ending) +
             " has one frame rate: the frames' own times are lost");
    }
    mTimeBefore = frame.time;
}

void VideoWriter::drainEncoder() {
    auto packet = owned(av_packet_alloc());
    for (;;) {
        const int received = avcodec_receive_packet(mEncoder.get(), packet.get());
        if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) {
            return;
        }
        check(received);
        packet->stream_index = mStream->index;
        if (const auto found = mDurations.find(packet->pts); found != mDurations.end()) {
            packet->duration = found->second;
            mDurations.erase(found);
        }
        av_packet_rescale_ts(packet.get(), mTimeBase, mStream->time_base);
        mux(*packet);
    }
}

void VideoWriter::mux(AVPacket& packet) {
    check(av_interleaved_write_frame(mMuxer.get(), &packet));
    check(mDescriptor->context->error);
}

void VideoWriter::finish() {
    if (mEncoder == nullptr) {
        return; // not one frame
    }
    keepFirstLoggedError();
    check(avcodec_send_frame(mEncoder.get(), nullptr));
    drainEncoder();
    check(av_write_trailer(mMuxer.get()));
    avio_flush(mDescriptor->context);
    check(mDescriptor->context->error);
    if (mFile) {
        mFile->commit();
    }
}

void VideoWriter::check(int result) const {
    if (result >= 0) {
        return;
    }
    if (mDescriptor->error != 0) {
        refuse(std::generic_category().message(mDescriptor->error));
    }
    refuse(reasonFor(result));
}

void VideoWriter::refuse(const std::string& reason) const {
    throw Error(errorPrefix() + reason);
}

std::string VideoWriter::errorPrefix() const {
    return "cannot write " + (mFile ? "'" + mOutput.file.string() + "'" : "to standard output") +
           ": ";
}

void VideoWriter::warn(const std::string& text) const {
    if (mOutput.warn) {
        mOutput.warn(text);
    }
}

} // namespace Vexorel::PrismDrift::Host
