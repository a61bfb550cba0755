#pragma once

/// Looks into a HEIF or AVIF file for its depth, of which OpenImageIO 2.4 reads 8 bits without
/// saying so. Internal to the media library.

#include <filesystem>

namespace Vexorel::PrismDrift::Host {

/// The bits a channel of the file's deepest picture; 8 where it doesn't say.
int heifBits(const std::filesystem::path& file);

} // namespace Vexorel::PrismDrift::Host
