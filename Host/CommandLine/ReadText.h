#pragma once

/// Small files that the program reads as a whole, or standard input, called "-".

#include <cstddef>
#include <filesystem>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

/// "'name'", or "on standard input".
std::string nameOf(const std::filesystem::path& file);

/// All of the file, which may be a pipe, or a little more than `limit` bytes of a longer one.
/// `what` is what the message calls it: "the script". Throws Host::Error.
std::string readText(const std::filesystem::path& file, const std::string& what,
                     std::size_t limit = static_cast<std::size_t>(-1));

} // namespace Vexorel::PrismDrift::CommandLine
