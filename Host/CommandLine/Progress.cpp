#include "Host/CommandLine/Progress.h"

#include "Host/Library/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds barPace{100};
constexpr milliseconds linePace{5000};
constexpr milliseconds blockPace{500};

template <typename... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), format, values...); // NOLINT(cert-err33-c)
    return text.data();
}

std::string clock(double seconds) {
    const auto whole = static_cast<long long>(std::ceil(seconds));
    constexpr long long hour = 3600;
    constexpr long long minute = 60;
    return whole >= hour ? formatted("%lld:%02lld:%02lld", whole / hour, whole / minute % minute,
                                     whole % minute)
                         : formatted("%lld:%02lld", whole / minute, whole % minute);
}

std::size_t terminalWidth() {
    winsize size = {};
    constexpr std::size_t usual = 80;
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

} // namespace

ProgressStyle automaticProgress() {
    return isatty(STDERR_FILENO) != 0 ? ProgressStyle::Bar : ProgressStyle::Lines;
}

Progress::Progress(ProgressStyle style, bool showWarnings, std::optional<std::int64_t> total)
    : mStyle(style), mShowWarnings(showWarnings), mTotal(total) {}

Progress::~Progress() {
    const Platform::MutexLock lock(mMutex);
    if (mHasBar) { // an error follows, on a line of its own
        std::cerr << "\n";
    }
}

void Progress::frameDone(double clipTime) {
    ++mFrames;
    mClipTime = std::max(mClipTime, clipTime);
    const milliseconds pace = mStyle == ProgressStyle::Bar     ? barPace
                              : mStyle == ProgressStyle::Lines ? linePace
                                                               : blockPace;
    if (Clock::now() - mShown >= pace) {
        mShown = Clock::now();
        show(false);
    }
}

void Progress::finish(bool complete) {
    if (complete) {
        mTotal = mFrames; // whatever was expected
    }
    if (mStyle != ProgressStyle::Lines && !std::exchange(mIsFinished, true)) {
        show(true);
    }
}

void Progress::warn(const std::string& text) {
    if (!mShowWarnings) {
        return;
    }
    const Platform::MutexLock lock(mMutex);
    std::cerr << (mHasBar ? "\r\033[K" : "") << "prismdrift: warning: " << Host::printable(text)
              << "\n";
}

void Progress::show(bool last) {
    const Platform::MutexLock lock(mMutex);
    if (mStyle == ProgressStyle::Bar && (mHasBar || !last)) {
        std::cerr << "\r" << barLine() << "\033[K" << (last ? "\n" : "") << std::flush;
        mHasBar = !last;
    } else if (mStyle == ProgressStyle::Lines) {
        std::cerr << plainLine() << "\n";
    } else if (mStyle == ProgressStyle::KeyValue) {
        std::cerr << block(last) << std::flush;
    }
}

double Progress::seconds() const {
    return std::max(1e-3, std::chrono::duration<double>(Clock::now() - mStart).count());
}

std::string Progress::rate() const {
    return formatted("%.1f frames/s", static_cast<double>(mFrames) / seconds());
}

std::string Progress::left() const {
    const auto remaining = static_cast<double>(std::max<std::int64_t>(0, *mTotal - mFrames));
    return clock(seconds() / static_cast<double>(std::max<std::int64_t>(1, mFrames)) * remaining) +
           " left";
}

std::string Progress::barLine() const {
    if (!mTotal || *mTotal <= 0) {
        return std::to_string(mFrames) + " frames  " + rate();
    }
    const double part = std::min(1.0, static_cast<double>(mFrames) / static_cast<double>(*mTotal));
    const std::string numbers = formatted(" %3.0f%%  ", std::floor(part * 100)) +
                                std::to_string(mFrames) + "/" + std::to_string(*mTotal) + "  " +
                                rate() + "  " + left();
    constexpr std::size_t longest = 40;
    const std::size_t room = terminalWidth() > numbers.size() + 3
                                 ? std::min(longest, terminalWidth() - numbers.size() - 3)
                                 : 0;
    const auto filled = static_cast<std::size_t>(part * static_cast<double>(room));
    return "[" + std::string(filled, '#') + std::string(room - filled, '.') + "]" + numbers;
}

std::string Progress::plainLine() const {
    std::string line = "prismdrift: " + std::to_string(mFrames);
    if (mTotal) {
        line += " of " + std::to_string(*mTotal);
    }
    line += " frames, " + rate();
    return mTotal ? line + ", " + left() : line;
}

// The keys that ffmpeg's progress has and that mean something here.
std::string Progress::block(bool last) const {
    const auto microseconds = static_cast<long long>(std::llround(mClipTime * 1e6));
    constexpr long long second = 1000000;
    const long long whole = microseconds / second;
    return "frame=" + std::to_string(mFrames) + "\n" +
           formatted("fps=%.2f\n", static_cast<double>(mFrames) / seconds()) +
           "out_time_us=" + std::to_string(microseconds) + "\n" +
           "out_time_ms=" + std::to_string(microseconds) + "\n" +
           formatted("out_time=%02lld:%02lld:%02lld.%06lld\n", whole / 3600, whole / 60 % 60,
                     whole % 60, microseconds % second) +
           "dup_frames=0\ndrop_frames=0\n" + formatted("speed=%.3gx\n", mClipTime / seconds()) +
           (last ? "progress=end\n" : "progress=continue\n");
}

} // namespace Vexorel::PrismDrift::CommandLine
