#pragma once

/// OpenImageIO's classes, and what their results mean. Internal to the library of stills.

#include <OpenImageIO/imageio.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

using OIIO::ImageInput;
using OIIO::ImageOutput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

/// Pixels as a file stores them: those of each row one behind the other, the channels of each in
/// the file's order and types.
using StoredBytes = std::vector<std::byte>;

/// An error's text as one line without a full stop and without advice for programmers.
std::string tidied(const std::string& text);

/// Throws Error with this text and, in brackets, the input's or output's own one.
[[noreturn]] void throwErrorOf(const ImageInput& input, const std::string& text);
[[noreturn]] void throwErrorOf(const ImageOutput& output, const std::string& text);

/// The bytes from one of the file's pixels to the next, and from a pixel's start to its channel.
std::size_t storedPixelBytes(const ImageSpec& spec);
std::size_t offsetOf(const ImageSpec& spec, int channel);

} // namespace Vexorel::PrismDrift::Host
