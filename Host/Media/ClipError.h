#pragma once

/// What is wrong with a clip, in a form that a host can read, so that it can tell its users which
/// of its own options, fields or buttons would help.

#include "Host/Library/Error.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// A field of ClipInput or ClipOutput that is not the file.
enum class ClipSetting {
    InputFormat,
    VideoSize,
    InputPixelFormat,
    FrameRate,
    Missing,
    Layer,
    Frames,
    MaxPixels,
    MaxMetadata,
    OutputFormat,
    Codec,
    OutputPixelFormat,
    Quality,
    EncoderPreset
};

enum class ClipReason {
    SettingNotTaken, ///< the input or output has no use for the settings: leave them out
    SettingNeeded,   ///< the input or output can't do without the settings
    ValueNotTaken,   ///< the settings have values that are unknown, or that don't go together
    FrameMissing,    ///< the sequence lacks a picture, which `Missing` can skip or hold
    TooManyFrames,   ///< the output holds one picture, which `Frames` can choose
    BeyondLimit      ///< the input takes more than the settings allow
};

/// The text says in words what is wrong and can be shown as it is.
class ClipError : public Error {
public:
    ClipError(ClipReason reason, std::vector<ClipSetting> settings, const std::string& text)
        : Error(text), mReason(reason), mSettings(std::move(settings)) {}

    ClipReason reason() const { return mReason; }
    /// At least one.
    const std::vector<ClipSetting>& settings() const { return mSettings; }

private:
    ClipReason mReason;
    std::vector<ClipSetting> mSettings;
};

/// A file in messages, "-" being standard input: "'name'".
std::string nameOf(const std::filesystem::path& input);

/// How errors of a file begin, "-" being standard input or output: "cannot read 'name': ".
std::string cannotRead(const std::filesystem::path& file);
std::string cannotWrite(const std::filesystem::path& file);

/// Throws the error that is being handled again, with `prefix` before its text: a ClipError as a
/// ClipError, an Error as an Error, and a lack of memory as an Error that says so.
[[noreturn]] void rethrowWithPrefix(const std::string& prefix);

} // namespace Vexorel::PrismDrift::Host
