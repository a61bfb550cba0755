#pragma once

/// The limits of the targets that read files: small, so that no picture or frame takes long.

#include <cstddef>
#include <cstdint>

namespace Fuzz {

constexpr std::int64_t mostPixels = 1 << 16;
constexpr std::int64_t mostMetadata = 1 << 14;

/// Beside the limits, the largest piece of memory that FFmpeg's libraries get before a file is
/// open.
constexpr std::size_t largestBlock = 2U << 20U;

} // namespace Fuzz
