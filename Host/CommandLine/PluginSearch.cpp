#include "Host/CommandLine/PluginSearch.h"

namespace Vexorel::PrismDrift::CommandLine {

PluginSearch findPlugin() {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path folder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    PluginSearch search;
    for (const char* place : {"PrismDrift.so", "../lib/prismdrift/PrismDrift.so",
                              "../../Plugins/PrismDrift/PrismDrift.so"}) {
        search.looked.push_back((folder / place).lexically_normal());
        if (!search.found && fs::is_regular_file(search.looked.back(), ignored)) {
            search.found = search.looked.back();
        }
    }
    return search;
}

} // namespace Vexorel::PrismDrift::CommandLine
