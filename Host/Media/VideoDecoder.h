#pragma once

/// Decodes a picture or the frames of a video. Internal to the media library.

#include "Host/Media/Clip.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/PictureData.h"
#include "Host/Media/SizeLimit.h"

namespace Vexorel::PrismDrift::Host {

/// Its functions throw Error with the reason alone, for damaged data too.
class VideoDecoder {
public:
    /// Decodes the packets of the input's `stream`: a still picture's, which must be whole to the
    /// last bit, or a video's. With `mayStartBroken`, packets that can't be decoded are skipped
    /// until the first frame.
    VideoDecoder(const AVStream& stream, ClipKind kind, const ClipInput& input,
                 bool mayStartBroken = false);
    VideoDecoder(const VideoDecoder&) = delete;
    VideoDecoder& operator=(const VideoDecoder&) = delete;
    ~VideoDecoder() = default;

    /// Takes a packet; null says that no more come.
    void send(const AVPacket* packet);

    /// The next frame, valid until the next call. Null if there is none until more packets come, or
    /// none at all; that there was not even one is an error.
    AVFrame* receive();

    /// How the last frame is to be shown, as far as the codec's own data says.
    StoredLayout layout() const { return mData.layoutOf(*mFrame); }

    /// Whether the last frame after the last packet has been given.
    bool hasEnded() const { return mHasEnded; }

private:
    static int newBuffer(AVCodecContext* context, AVFrame* frame, int flags);
    void check(int result) const;
    void checkWhole() const;
    bool isSkipped(int result) const;

    PictureData mData;
    SizeLimit mSize;
    bool mIsStill;
    bool mMayStartBroken;
    bool mIsEachFrameWhole = false; // each is written whole, with nothing of those before
    bool mHasGivenFrame = false, mHasEnded = false;
    FFmpegPtr<AVCodecContext> mContext;
    FFmpegPtr<AVFrame> mFrame = owned(av_frame_alloc());
};

} // namespace Vexorel::PrismDrift::Host
