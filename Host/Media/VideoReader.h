#pragma once

/// The frames of a video file or pipe, with what else the file holds. Internal to the media
/// library.

#include "Host/Library/Orientation.h"
#include "Host/Media/Clip.h"
#include "Host/Media/Demuxer.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/TimeIndex.h"
#include "Host/Media/VideoDecoder.h"

namespace Vexorel::PrismDrift::Host {

class VideoReader : public ClipReader {
public:
    /// Throws Error, which names the file and the reason.
    explicit VideoReader(const ClipInput& input);

    const ClipProperties& properties() const override { return mProperties; }
    std::optional<ClipItem> next() override;
    std::optional<std::int64_t> frameCount() override;
    std::int64_t frameAt(double seconds) override;
    void stop() override { mIsStopped = true; }

private:
    void openStream();
    void describe();
    std::optional<ClipItem> readItem();
    std::optional<ClipItem> frameItem(AVFrame& frame);
    Picture pictureOf(AVFrame& frame);
    const TimeIndex& timeIndex();
    std::string place() const;

    AVStream& stream() { return *mDemuxer->context().streams[mProperties.videoStream]; }

    std::atomic<bool> mIsStopped = false;
    ClipInput mInput;
    ClipProperties mProperties;
    std::unique_ptr<Demuxer> mDemuxer;
    std::optional<VideoDecoder> mDecoder;
    std::optional<FrameToWorld> mConverter; // for the layout of the frame before
    Orientation mOrientation;               // by the stream; frames may have one of their own
    std::int64_t mStart = 0;                // of the file's times, in the stream's unit
    std::int64_t mIndex = 0;                // of the next frame
    std::int64_t mEndOfLast = 0;            // the time at which the frame before ends
    std::optional<TimeIndex> mTimeIndex;    // once it was asked for
};

} // namespace Vexorel::PrismDrift::Host
