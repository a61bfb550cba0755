#pragma once

/// Where the program looks for its plug-in.

#include <filesystem>
#include <optional>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

struct PluginSearch {
    std::optional<std::filesystem::path> found;
    std::vector<std::filesystem::path> looked; ///< all places, in the order they were tried
};

/// Beside the program, in ../lib/prismdrift seen from there (an installed tree), and in the build
/// tree that the program was made in.
PluginSearch findPlugin();

} // namespace Vexorel::PrismDrift::CommandLine
