#pragma once

/// Writes a clip into a video file or pipe, with what else the clip's file holds. Internal to the
/// media library.

#include "Host/Library/ReplaceFile.h"
#include "Host/Media/Clip.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/StreamCopier.h"
#include "Host/Media/VideoFormats.h"

#include <map>
#include <vector>

namespace Vexorel::PrismDrift::Host {

class VideoWriter : public ClipWriter {
public:
    /// `isPartial` says that not all frames of the input come.
    VideoWriter(const ClipOutput& output, const Container& container, const ClipReader& reader,
                bool isPartial);

    void write(ClipItem&& item) override;
    void finish() override;

private:
    void open(const ClipFrame& first);
    void openEncoder(const ClipFrame& first);
    void writeFrame(const ClipFrame& frame);
    void noticeLostTimes(const ClipFrame& frame);
    void writePacket(const ClipPacket& packet);
    void drainEncoder();
    std::string errorPrefix() const;

    ClipOutput mOutput;
    const Container& mContainer;
    ClipProperties mClip; // its container in the constructor only
    bool mIsPartial;
    AVCodecID mOwnCodec = AV_CODEC_ID_NONE;

    std::optional<NewFile> mFile; // none on a pipe
    std::optional<Muxer> mMuxer;
    std::optional<StreamCopier> mCopier; // none for pictures
    FFmpegPtr<AVCodecContext> mEncoder;  // null until the first frame
    std::vector<ClipPacket> mWaiting;    // packets before the first frame

    PixelConverter mConverter;
    AVRational mTimeBase{1, 1}; // of the frames' times
    std::int64_t mOffset = 0;   // of the first frame
    std::int64_t mLastTime = 0;
    std::map<std::int64_t, std::int64_t> mDurations; // by time, of the frames in the encoder
    std::string mPictureSize;
    std::int64_t mTimeBefore = 0; // of the frame before, as the input has it
    bool mAlphaIsLost = false, mIsWritten = false, mHasLostTimes = false;
};

} // namespace Vexorel::PrismDrift::Host
