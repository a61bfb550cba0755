#pragma once

/// Writes a clip into a video file or pipe, with what else the clip's file holds. Internal to the
/// media library.

#include "Host/Library/ReplaceFile.h"
#include "Host/Media/Clip.h"
#include "Host/Media/Muxer.h"
#include "Host/Media/OutputTimes.h"
#include "Host/Media/StreamCopier.h"
#include "Host/Media/VideoEncoder.h"

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
    void writeFrame(const ClipFrame& frame);
    void writePacket(const ClipPacket& packet);
    void open(const ClipFrame& first);
    void writeEncoded();

    const ClipOutput mOutput;
    const bool mIsPartial;
    const AVRational mFrameRate;
    AVCodecID mClipCodec = AV_CODEC_ID_NONE;
    OutputTimes mTimes;
    std::optional<NewFile> mFile; // none for a pipe
    std::optional<Muxer> mMuxer;
    std::optional<StreamCopier> mCopier;  // none for a clip of pictures
    std::optional<VideoEncoder> mEncoder; // none until the first frame
    std::vector<ClipPacket> mWaiting;     // until the first frame
};

} // namespace Vexorel::PrismDrift::Host
