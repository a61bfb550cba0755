#pragma once

/// The frames of a video file or pipe, with what else the file holds. Internal to the media
/// library.

#include "Host/Media/Clip.h"
#include "Host/Media/Demuxer.h"
#include "Host/Media/Orientation.h"
#include "Host/Media/PixelConversion.h"

#include <vector>

namespace Vexorel::PrismDrift::Host {

class VideoReader : public ClipReader {
public:
    /// Throws Error, which names the file and the reason.
    explicit VideoReader(const ClipInput& input);

    const ClipProperties& properties() const override { return mProperties; }
    std::optional<ClipItem> next() override;
    std::optional<std::int64_t> frameCount() override;
    std::int64_t frameAt(double seconds) override;
    void stop() override { mDemuxer->stop(); }

private:
    void openStream();
    void openDecoder();
    void describe();
    std::optional<ClipItem> readItem();
    std::optional<ClipItem> takeDecoded();
    std::string endError() const;
    bool isBeginning() const;
    void sendToDecoder(const AVPacket* packet);
    std::optional<ClipItem> frameItem();
    void stamp(ClipFrame& frame);
    Picture picture();
    void scan();
    std::string place() const;
    std::string errorPrefix() const;

    AVStream& stream() { return *mDemuxer->context().streams[mProperties.videoStream]; }

    ClipInput mInput;
    ClipProperties mProperties;
    std::unique_ptr<Demuxer> mDemuxer;
    FFmpegPtr<AVCodecContext> mDecoder;
    FFmpegPtr<AVFrame> mFrame = owned(av_frame_alloc());
    FFmpegPtr<AVPacket> mPacket = owned(av_packet_alloc());
    PixelConverter mConverter;
    Orientation mOrientation;
    std::int64_t mStart = 0; // of the file's times, in the stream's unit
    std::int64_t mIndex = 0; // of the next frame
    std::int64_t mEndOfLast = 0;
    std::int64_t mPlace = 0;   // in the file, behind the last packet
    std::string mEarlyMessage; // what FFmpeg complained of when it looked into the file
    std::string mEndError;     // why its end isn't one, empty for none
    bool mAtEnd = false;       // of the packets
    bool mIsRefusedHere = false;

    bool mIsScanned = false;
    std::vector<std::int64_t> mTimes; // of all frames, in the stream's unit, once scanned
};

} // namespace Vexorel::PrismDrift::Host
