#pragma once

/// Whether a picture of a size may be decoded. Internal to the media library.

#include "Host/Media/FFmpeg.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace Vexorel::PrismDrift::Host {

/// Of one stream. Its functions throw Error with the reason alone.
class SizeLimit {
public:
    /// With at most so many pixels a frame, or fewer where the machine has no memory for them.
    SizeLimit(AVCodecID codec, std::int64_t mostPixels);

    /// The most pixels that a frame may have.
    std::int64_t pixels() const { return mPixels; }

    /// Throws for a picture of more pixels.
    void check(int width, int height) const;

    /// Counts what is about to be decoded.
    void add(const AVPacket& packet);

    /// Whether the packets so far can hold so large a frame.
    bool allows(const AVFrame& frame);

    /// After the decoder has failed: throws if the reason is a frame's size.
    void throwIfRefused() const;

private:
    [[noreturn]] void refuse(const std::string& size) const;

    AVCodecID mCodec;
    std::int64_t mWantedPixels, mPixels;
    std::int64_t mBytes = 0; // so far
    // How much of the picture the last frame stores, where that may be a part.
    std::optional<std::pair<int, int>> mStoredSize;
    std::string mRefusal;
};

} // namespace Vexorel::PrismDrift::Host
