#pragma once

/// Progress and warnings on standard error.

#include "Platform/Threads/Mutex.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

/// Bars are for terminals, key=value blocks for other programs.
enum class ProgressStyle { None, Bar, Lines, KeyValue };

/// A bar if standard error is a terminal, lines if not.
ProgressStyle automaticProgress();

class Progress {
public:
    using Clock = std::chrono::steady_clock;

    /// `total` is the number of frames to come, if that is known.
    Progress(ProgressStyle style, bool showWarnings, std::optional<std::int64_t> total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// Counts a frame, which ends at `clipTime`, in seconds from the clip's start.
    void frameDone(double clipTime);

    /// Ends the report; `complete` if all frames are done.
    void finish(bool complete);

    /// Prints a warning in a line of its own. From any thread.
    void warn(const std::string& text);

    std::int64_t frames() const { return mFrames; }

private:
    void show(bool last) PRISMDRIFT_EXCLUDES(mMutex);
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

    bool mIsFinished = false;

    Platform::Mutex mMutex;                             // of standard error
    bool mHasBar PRISMDRIFT_GUARDED_BY(mMutex) = false; // the cursor stands behind it
};

} // namespace Vexorel::PrismDrift::CommandLine
