#pragma once

/// A file or a pipe, opened by FFmpeg's libraries, and nothing that it refers to. Internal to the
/// media library.

#include "Host/Media/Clip.h"
#include "Host/Media/FFmpeg.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>

namespace Vexorel::PrismDrift::Host {

/// Throws Error, with the reason alone, where a file can't be opened, is a directory or is empty.
void checkReadable(const std::filesystem::path& file);

/// The pixels of a picture that is still taken for one: more would not fit into the machine's
/// memory several times over.
std::int64_t largestPixelCount();

/// Whether FFmpeg takes the file for a single picture. False where it can't tell.
bool isStillPicture(const std::filesystem::path& file);

class Demuxer {
public:
    /// Opens the input's file with its format, size, pixel format and frame rate. Throws Error,
    /// with the reason alone.
    explicit Demuxer(const ClipInput& input);
    explicit Demuxer(const std::filesystem::path& file);
    Demuxer(const Demuxer&) = delete;
    Demuxer& operator=(const Demuxer&) = delete;
    ~Demuxer() = default;

    AVFormatContext& context() { return *mFormat; }
    const AVFormatContext& context() const { return *mFormat; }

    /// Ends a wait for a pipe at the next signal, with an error. From any thread.
    void stop() { mIsStopped = true; }

private:
    std::string mUrl;
    std::atomic<bool> mIsStopped = false;
    FFmpegPtr<AVFormatContext> mFormat;
};

} // namespace Vexorel::PrismDrift::Host
