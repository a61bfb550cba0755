#pragma once

/// The times of a clip's frames in the video that is written. Internal to the media library.

#include "Host/Media/Clip.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/VideoFormats.h"

namespace Vexorel::PrismDrift::Host {

class OutputTimes {
public:
    /// `output` is warned where the frames have times of their own and the container has none.
    OutputTimes(const ClipProperties& clip, const Container& container, const ClipOutput& output);

    AVRational unit() const { return mUnit; }

    /// The time in the clip that becomes 0. It is 0 at first.
    void setStart(std::int64_t time) { mStart = time; }

    /// The time of the frame, in `unit`: its own, but at least 1 behind the frame before. Where the
    /// container has no times, the number of frames before it.
    std::int64_t timeOf(const ClipFrame& frame);

private:
    void warnOfLostTimes(const ClipFrame& frame);

    const ClipOutput& mOutput;
    const Container& mContainer;
    AVRational mClipUnit, mFrameRate, mUnit;
    std::int64_t mStart = 0;
    std::optional<std::int64_t> mLast; // time that was given
    std::int64_t mLastInClip = 0;      // the same frame's time in the clip
    bool mHasWarned = false;
};

} // namespace Vexorel::PrismDrift::Host
