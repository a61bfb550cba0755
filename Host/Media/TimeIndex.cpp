#include "Host/Media/TimeIndex.h"

#include "Host/Media/Demuxer.h"

#include <algorithm>
#include <cmath>

namespace Vexorel::PrismDrift::Host {

TimeIndex::TimeIndex(const ClipInput& input, const ClipProperties& clip, std::int64_t start)
    : mFrameRate(clip.frameRate),
      mUnit(static_cast<double>(clip.timeBase.numerator) / clip.timeBase.denominator),
      mStart(static_cast<double>(start)) {
    if (isPlainFile(input.file)) {
        readTimes(input, clip.videoStream);
        std::sort(mTimes.begin(), mTimes.end());
    }
}

void TimeIndex::readTimes(const ClipInput& input, int stream) {
    const auto opened = Demuxer::openAlone(input);
    Demuxer& demuxer = *opened;
    demuxer.findStreams();
    for (unsigned i = 0; i < demuxer.context().nb_streams; ++i) {
        AVStream& other = *demuxer.context().streams[i];
        other.discard = other.index == stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    auto packet = owned(av_packet_alloc());
    bool hasStarted = !demuxer.mayStartBroken();
    while (demuxer.read(*packet)) {
        hasStarted = hasStarted || (packet->flags & AV_PKT_FLAG_KEY) != 0;
        const bool isShown = (packet->flags & AV_PKT_FLAG_DISCARD) == 0;
        if (packet->stream_index == stream && hasStarted && isShown) {
            mTimes.push_back(packet->pts);
        }
        av_packet_unref(packet.get());
    }
}

std::optional<std::int64_t> TimeIndex::frameCount() const {
    return mTimes.empty() ? std::nullopt : std::optional(static_cast<std::int64_t>(mTimes.size()));
}

std::int64_t TimeIndex::frameAt(double seconds) const {
    if (mTimes.empty() || mTimes.front() == AV_NOPTS_VALUE) {
        return nearestFrame(seconds, mFrameRate);
    }
    const double time = seconds / mUnit + mStart;
    const auto later =
        std::lower_bound(mTimes.begin(), mTimes.end(), time, [](std::int64_t left, double right) {
            return static_cast<double>(left) < right;
        });
    if (later == mTimes.end()) {
        const double secondsOver = (time - static_cast<double>(mTimes.back())) * mUnit;
        return std::llrint(static_cast<double>(mTimes.size() - 1) +
                           secondsOver * mFrameRate.numerator / mFrameRate.denominator);
    }
    const std::int64_t index = later - mTimes.begin();
    if (index == 0) {
        return 0;
    }
    const double before = time - static_cast<double>(*(later - 1));
    const double after = static_cast<double>(*later) - time;
    const bool isEven = index % 2 == 0;
    return after < before || (after == before && isEven) ? index : index - 1;
}

} // namespace Vexorel::PrismDrift::Host
