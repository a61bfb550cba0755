#pragma once

/// Where the program looks for the files that it loads while it runs.

#include <filesystem>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

/// A file beside the program, in ../lib/prismdrift seen from there (an installed tree), or in the
/// build tree that the program was made in. Throws std::runtime_error, which says that `what` was
/// not found and where it was looked for, and ends in `advice`. It is no Error, which would be
/// about the input or the output.
std::filesystem::path findModule(const std::string& name, const std::string& what,
                                 const std::string& advice = "");

} // namespace Vexorel::PrismDrift::CommandLine
