#pragma once

/// Which library reads a picture's file. Internal to the media library.

#include <filesystem>
#include <string>

namespace Vexorel::PrismDrift::Host {

/// The name of the format by which OpenImageIO reads the file, decided by its first bytes; empty
/// where FFmpeg reads it: pipes and video, animated pictures, bare PNGs of 8 bits, which must not
/// wait for another library, formats that OpenImageIO doesn't know or reads worse, and what can't
/// be opened.
std::string openImageIOFormat(const std::filesystem::path& file);

} // namespace Vexorel::PrismDrift::Host
