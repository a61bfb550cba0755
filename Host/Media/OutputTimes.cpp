#include "Host/Media/OutputTimes.h"

#include <algorithm>
#include <cmath>

namespace Vexorel::PrismDrift::Host {

OutputTimes::OutputTimes(const ClipProperties& clip, const Container& container,
                         const ClipOutput& output)
    : mOutput(output),
      mContainer(container),
      mClipUnit(rational(clip.timeBase)),
      mFrameRate(rational(clip.frameRate)),
      mUnit(container.countsFrames ? av_inv_q(mFrameRate) : mClipUnit) {}

std::int64_t OutputTimes::timeOf(const ClipFrame& frame) {
    const bool countsFrames = av_cmp_q(mUnit, mClipUnit) != 0;
    if (countsFrames) {
        warnOfLostTimes(frame);
    }
    std::int64_t time = countsFrames ? 0 : frame.time - mStart;
    if (mLast) {
        time = std::max(time, *mLast + 1);
    }
    mLast = time;
    mLastInClip = frame.time;
    return time;
}

void OutputTimes::warnOfLostTimes(const ClipFrame& frame) {
    const auto units = static_cast<double>(frame.time - mLastInClip);
    const double frames = units * av_q2d(mClipUnit) * av_q2d(mFrameRate);
    constexpr double tolerance = 0.5;
    if (mLast && !mHasWarned && std::abs(frames - 1) > tolerance) {
        mHasWarned = true;
        mOutput.warn("." + std::string(mContainer.ending) +
                     " has one frame rate: the frames' own times are lost");
    }
}

} // namespace Vexorel::PrismDrift::Host
