#pragma once

/// Which frame of a video is shown at a time. Internal to the media library.

#include "Host/Media/Clip.h"

#include <vector>

namespace Vexorel::PrismDrift::Host {

class TimeIndex {
public:
    /// Reads through the file's packets, without decoding them. A pipe is left alone. Times in the
    /// file are counted from `start`, in the clip's unit. Throws Error with the reason alone.
    TimeIndex(const ClipInput& input, const ClipProperties& clip, std::int64_t start);

    /// Nothing for a pipe.
    std::optional<std::int64_t> frameCount() const;

    /// The frame nearest to the time, of two as near the even one. After the end, and where the
    /// frames have no times, by the clip's frame rate.
    std::int64_t frameAt(double seconds) const;

private:
    void readTimes(const ClipInput& input, int stream);

    std::vector<std::int64_t> mTimes; // of all frames, in the order they are shown
    Ratio mFrameRate;
    double mUnit; // of the times, in seconds
    double mStart;
};

} // namespace Vexorel::PrismDrift::Host
