#include "Host/Media/VideoWriter.h"

#include "Host/Media/ClipError.h"

#include <algorithm>
#include <cmath>
#include <string_view>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

} // namespace

VideoWriter::VideoWriter(const ClipOutput& output, const Container& container,
                         const ClipReader& reader, bool isPartial)
    : mOutput(output), mContainer(container), mClip(reader.properties()), mIsPartial(isPartial) {
    if (output.file != "-") {
        mFile.emplace(output.file);
    }
    try {
        mMuxer.emplace(container, mFile ? mFile->descriptor() : output.standardOutput,
                       mFile.has_value());
        if (mClip.container != nullptr) {
            mOwnCodec = mClip.container->streams[mClip.videoStream]->codecpar->codec_id;
            mCopier.emplace(mClip, isPartial, *mMuxer, mOutput);
            mClip.container = nullptr; // its reader goes on changing it, on another thread
        }
    } catch (const std::exception&) {
        rethrowWithPrefix(errorPrefix());
    }
}

void VideoWriter::write(ClipItem&& item) {
    keepFirstLoggedError();
    try {
        if (const auto* packet = std::get_if<ClipPacket>(&item)) {
            writePacket(*packet);
            return;
        }
        const auto& frame = std::get<ClipFrame>(item);
        if (mEncoder == nullptr) {
            open(frame);
        }
        writeFrame(frame);
    } catch (const std::exception&) {
        rethrowWithPrefix(errorPrefix());
    }
}

void VideoWriter::writePacket(const ClipPacket& packet) {
    if (mEncoder == nullptr) {
        mWaiting.push_back(packet);
    } else if (mCopier) {
        mCopier->write(packet);
    }
}

void VideoWriter::open(const ClipFrame& first) {
    openEncoder(first);
    if (mCopier && mIsPartial) {
        mCopier->advanceTimecodes(first.index);
    }
    mMuxer->writeHeader(*mEncoder);
    mOffset = mIsPartial ? first.time : 0;
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
    const VideoCodec& codec =
        chooseCodec(mContainer, mOutput.codec, mOwnCodec, carriesAlpha(sourceFormat));
    if (mOutput.quality && codec.qualityOption == nullptr) {
        mOutput.warn(std::string(codec.name) + " has no quality to choose");
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
        mOutput.warn("a size of " + sizeText(width, height) + " goes into " + codec.name +
                     " as yuv444p only, which some players don't show");
    }
    const AVCodec* encoder = avcodec_find_encoder_by_name(codec.encoder);
    mEncoder = owned(avcodec_alloc_context3(encoder));
    mEncoder->width = width;
    mEncoder->height = height;
    mEncoder->pix_fmt = format;
    mEncoder->sample_aspect_ratio = source.sample_aspect_ratio;
    mEncoder->framerate = rational(mClip.frameRate);
    const bool countsFrames = (mMuxer->context().oformat->flags & AVFMT_NOTIMESTAMPS) != 0 ||
                              std::string_view(mContainer.name) == "yuv4mpegpipe";
    mTimeBase = countsFrames ? av_inv_q(mEncoder->framerate) : rational(mClip.timeBase);
    mEncoder->time_base = mTimeBase;
    mEncoder->thread_count = 0;
    if ((mMuxer->context().oformat->flags & AVFMT_GLOBALHEADER) != 0) {
        mEncoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    }
    setColours(*mEncoder, source, mContainer.saysColours);
    if (!codec.saysRange || !mContainer.saysRange) {
        mEncoder->color_range = AVCOL_RANGE_MPEG;
    }
    Dictionary options(encoderOptions(codec, mOutput.quality.value_or(defaultQuality)));
    checkResult(avcodec_open2(mEncoder.get(), encoder, options.pointer()));
    mAlphaIsLost = !carriesAlpha(format);
    mPictureSize = sizeText(width, height);
}

void VideoWriter::writeFrame(const ClipFrame& frame) {
    const World& world = frame.picture.world;
    if (sizeText(world.width(), world.height()) != mPictureSize) {
        throw Error("frame " + std::to_string(frame.number) + " has " +
                    sizeText(world.width(), world.height()) + " pixels, the frames before it " +
                    mPictureSize);
    }
    const AVFrame* source = frame.picture.source.get();
    const bool mayHaveAlpha =
        source == nullptr || carriesAlpha(static_cast<AVPixelFormat>(source->format));
    if (mAlphaIsLost && mayHaveAlpha && hasAlpha(world)) {
        mOutput.warn("the alpha of '" + mOutput.file.string() +
                     "' is lost: " + mEncoder->codec->name + " in " +
                     av_get_pix_fmt_name(mEncoder->pix_fmt) + " has none");
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
    if (av_cmp_q(mTimeBase, rational(mClip.timeBase)) != 0) {
        time = mIsWritten ? mLastTime + 1 : 0; // a format that counts frames
        noticeLostTimes(frame);
    }
    picture->pts = mIsWritten ? std::max(time, mLastTime + 1) : time;
    picture->pkt_duration = frame.duration;
    mLastTime = picture->pts;
    mIsWritten = true;
    mDurations[picture->pts] = frame.duration;
    checkResult(avcodec_send_frame(mEncoder.get(), picture.get()));
    drainEncoder();
}

// Frames that don't follow upon each other at the clip's rate.
void VideoWriter::noticeLostTimes(const ClipFrame& frame) {
    const AVRational step = av_inv_q(rational(mClip.frameRate));
    const std::int64_t since = frame.time - mTimeBefore;
    const double frames =
        static_cast<double>(since) * av_q2d(rational(mClip.timeBase)) / av_q2d(step);
    constexpr double tolerance = 0.5;
    if (mIsWritten && !mHasLostTimes && std::abs(frames - 1) > tolerance) {
        mHasLostTimes = true;
        mOutput.warn("." + std::string(mContainer.ending) +
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
        checkResult(received);
        if (const auto found = mDurations.find(packet->pts); found != mDurations.end()) {
            packet->duration = found->second;
            mDurations.erase(found);
        }
        mMuxer->write(*packet, mMuxer->picture(), mTimeBase);
    }
}

void VideoWriter::finish() {
    if (mEncoder == nullptr) {
        return; // not one frame
    }
    keepFirstLoggedError();
    try {
        checkResult(avcodec_send_frame(mEncoder.get(), nullptr));
        drainEncoder();
        mMuxer->finish();
    } catch (const std::exception&) {
        rethrowWithPrefix(errorPrefix());
    }
    if (mFile) {
        mFile->commit();
    }
}

std::string VideoWriter::errorPrefix() const {
    return "cannot write " + (mFile ? "'" + mOutput.file.string() + "'" : "to standard output") +
           ": ";
}

} // namespace Vexorel::PrismDrift::Host
