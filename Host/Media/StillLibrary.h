#pragma once

/// Which library reads a picture's file. Internal to the media library.

#include <filesystem>
#include <string>

namespace Vexorel::PrismDrift::Host {

struct StillLibrary {
    /// The name of the format by which OpenImageIO reads the file; empty where FFmpeg does: pipes
    /// and video, animated pictures, bare PNGs of 8 bits, which must not wait for another library,
    /// formats that OpenImageIO doesn't know or reads worse, and what can't be opened.
    std::string openImageIOFormat = {};
    /// Whether FFmpeg decodes the file first, since it finds damage that OpenImageIO passes over. A
    /// PNG's pixels are then FFmpeg's, as far as it has them all.
    bool isCheckedByFFmpeg = false;
};

/// Decided by the file's first bytes; by its name only where these say nothing.
StillLibrary libraryFor(const std::filesystem::path& file);

} // namespace Vexorel::PrismDrift::Host
