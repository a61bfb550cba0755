#pragma once

/// Runs a script of a file as an effect would have the host run it.

#include <filesystem>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

/// The text of the script's value, without white space at its ends. Throws Error, which names the
/// file, where it can't be read, is no text, or the script fails.
std::string runScript(const std::filesystem::path& file);

} // namespace Vexorel::PrismDrift::CommandLine
