#pragma once

/// Encodes the frames of a clip. Internal to the media library.

#include "Host/Media/Clip.h"
#include "Host/Media/FrameLosses.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/VideoFormats.h"

#include <map>

namespace Vexorel::PrismDrift::Host {

struct EncoderSettings {
    const ClipOutput& output; ///< outlives the encoder
    const Container& container;
    AVCodecID clipCodec = AV_CODEC_ID_NONE; ///< what the clip itself is encoded in
    AVRational frameRate{0, 1}, timeUnit{0, 1};
    bool hasGlobalHeader = false; ///< the container keeps the codec's header apart
};

struct Encoding {
    const VideoCodec& codec;
    AVPixelFormat format;
};

/// Its functions throw Error with the reason alone.
class VideoEncoder {
public:
    /// Chooses the codec, the pixel format and the colours by the output's settings and the first
    /// frame, which is not encoded yet. Warns of settings that are of no use.
    VideoEncoder(const EncoderSettings& settings, const ClipFrame& first);

    const AVCodecContext& context() const { return *mContext; }

    /// The frame has the size of the first. Warns once of each kind of thing that gets lost.
    void send(const ClipFrame& frame, std::int64_t time);

    /// No more frames come.
    void end();

    /// Gives the next packet. False if there is none until more frames come, or none at all.
    bool receive(AVPacket& packet);

private:
    void checkSize(const ClipFrame& frame) const;

    const Encoding mEncoding;
    FFmpegPtr<AVCodecContext> mContext;
    WorldToFrame mConverter;
    std::map<std::int64_t, std::int64_t> mDurations; // by time, of the frames in the encoder
    std::int64_t mSent = 0;                          // frames
    FrameLosses mLosses;
};

} // namespace Vexorel::PrismDrift::Host
