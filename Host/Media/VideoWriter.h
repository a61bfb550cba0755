#pragma once

/// Writes a clip into a video file or pipe, with what else the clip's file holds. Internal to the
/// media library.

#include "Host/Library/ReplaceFile.h"
#include "Host/Media/Clip.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/VideoFormats.h"

#include <map>
#include <vector>

namespace Vexorel::PrismDrift::Host {

inline AVRational rational(const Ratio& ratio) {
    return {ratio.numerator, ratio.denominator};
}

class VideoWriter : public ClipWriter {
public:
    /// `partial` says that not all frames of the input come.
    VideoWriter(const ClipOutput& output, const Container& container, const ClipReader& reader,
                bool partial);
    ~VideoWriter() override;

    void write(ClipItem&& item) override;
    void finish() override;

private:
    struct Descriptor; // what FFmpeg writes to, and how that went
    struct MuxerEnd {
        void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    };

    void openMuxer();
    void copyTheRest();
    void addCopiedStreams();
    void addCopiedStream(const AVStream& from);
    void copyChapters();
    void open(const ClipFrame& first);
    void openEncoder(const ClipFrame& first);
    void writeHeader();
    void writeFrame(const ClipFrame& frame);
    void advanceTimecode(AVDictionary*& metadata, std::int64_t frames) const;
    void noticeLostTimes(const ClipFrame& frame);
    void writePacket(const ClipPacket& packet);
    void drainEncoder();
    void mux(AVPacket& packet);
    void check(int result) const;
    [[noreturn]] void refuse(const std::string& reason) const;
    std::string errorPrefix() const;
    void warn(const std::string& text) const;

    ClipOutput mOutput;
    const Container& mContainer;
    ClipProperties mSource; // its container in the constructor only
    bool mPartial;
    std::vector<AVRational> mUnits; // of time, of the input's streams
    AVCodecID mOwnCodec = AV_CODEC_ID_NONE;
    std::int64_t mStart = 0; // of the input's times, in microseconds

    std::unique_ptr<NewFile> mFile; // null on a pipe
    std::unique_ptr<Descriptor> mDescriptor;
    std::unique_ptr<AVFormatContext, MuxerEnd> mMuxer;
    FFmpegPtr<AVCodecContext> mEncoder; // null until the first frame
    AVStream* mStream = nullptr;
    std::map<int, int> mStreams;      // the input's, to ours, of those that are handed on
    std::vector<ClipPacket> mWaiting; // packets before the first frame

    PixelConverter mConverter;
    AVRational mTimeBase{1, 1}; // of the frames' times
    std::int64_t mOffset = 0;   // of the first frame
    std::int64_t mLastTime = 0;
    std::map<std::int64_t, std::int64_t> mDurations; // by time, of the frames in the encoder
    std::string mPictureSize;
    std::int64_t mTimeBefore = 0; // of the frame before, as the input has it
    bool mAlphaIsLost = false, mIsWritten = false, mHasLostTimes = false, mHasLateStream = false;
};

} // namespace Vexorel::PrismDrift::Host
