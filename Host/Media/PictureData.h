#pragma once

/// Looks at the packets of a codec before they are decoded, and at what comes with its frames.
/// Internal to the media library.

#include "Host/Media/Clip.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/PngChunks.h"
#include "Host/Media/StoredLayout.h"

namespace Vexorel::PrismDrift::Host {

/// Calls the limits' `warn`, if there is one, of what was left out of the file.
void warnOfLargeMetadata(const std::filesystem::path& file, const ReadLimits& limits);
void warnOfDamagedMetadata(const std::filesystem::path& file, const ReadLimits& limits);

/// Of one stream. Its functions throw Error, with the reason alone, for what the decoder would show
/// wrong without an error, or take too much memory for.
class PictureData {
public:
    PictureData(AVCodecID codec, ClipKind kind, const ClipInput& input);

    /// Leaves large and damaged metadata out of what the decoder is opened with.
    void limit(AVCodecContext& context);

    /// The packet to decode: this one, or one without its large and damaged metadata that is
    /// valid until the next call.
    const AVPacket& checked(const AVPacket& packet);

    /// Leaves large metadata out of a decoded frame, but not how it lies.
    void limit(AVFrame& frame);

    /// How the frame of the last packet is to be shown.
    StoredLayout layoutOf(const AVFrame& frame) const;

private:
    bool isPng() const { return mCodec == AV_CODEC_ID_PNG || mCodec == AV_CODEC_ID_APNG; }
    // Something of the file that was left out.
    struct Loss {
        bool isThere = false, isTold = false;
    };

    bool note(const std::optional<SmallerPng>& png);
    void noteMetadata(const std::uint8_t* data, std::size_t size);
    void warn();

    const AVCodecID mCodec;
    const ClipKind mKind;
    const std::filesystem::path mFile; // for messages
    const ReadLimits mLimits;
    const bool mHasOtherReader;          // for the metadata and for JPEGs of inks
    std::vector<std::uint8_t> mPngStart; // of an APNG
    StoredLayout mTiff;                  // of the last packet
    FFmpegPtr<AVPacket> mSmaller;
    Loss mLarge, mDamaged, mUnknown, mMetadata;
};

} // namespace Vexorel::PrismDrift::Host
