#pragma once

/// What the program says on standard error while it works: how far it is, and warnings.

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

/// Bar for a terminal, lines otherwise, key=value blocks for other programs.
enum class ProgressStyle { None, Bar, Lines, KeyValue };

/// The style for a terminal, or for what else standard error is.
ProgressStyle automaticProgress();

class Progress {
public:
    using Clock = std::chrono::steady_clock;

    /// `total` is the number of frames to come, where that is known.
    Progress(ProgressStyle style, bool showWarnings, std::optional<std::int64_t> total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// One more frame is done; it is shown for so many seconds of the clip until `clipTime`.
    void frameDone(double clipTime);

    /// The last word; `complete` says that no frame is left.
    void finish(bool complete);

    /// One line. From any thread.
    void warn(const std::string& text);

    std::int64_t frames() const { return mFrames; }

private:
    void show(bool last);
    std::string barLine() const;
    std::string plainLine() const;
    std::string block(bool last) const;
    std::string rate() const;
    std::string left() const;
    double seconds() const;

    const ProgressStyle mStyle;
    const bool mShowWarnings;
    std::optional<std::int64_t> mTotal;
    const Clock::time_point mStart = Clock::now();
    Clock::time_point mShown = mStart;
    std::int64_t mFrames = 0;
    double mClipTime = 0;

    std::mutex mMutex; // guards what is on the screen
    bool mHasBar = false, mIsFinished = false;
};

} // namespace Vexorel::PrismDrift::CommandLine
