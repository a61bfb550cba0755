#include "Host/CommandLine/ModuleSearch.h"

#include <stdexcept>

namespace Vexorel::PrismDrift::CommandLine {

std::filesystem::path findModule(const std::string& name, const std::string& what,
                                 const std::string& advice) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path folder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    std::string looked;
    for (const char* place : {"", "../lib/prismdrift/", "../../Plugins/PrismDrift/"}) {
        fs::path file = (folder / place / name).lexically_normal();
        if (fs::is_regular_file(file, ignored)) {
            return file;
        }
        looked += (looked.empty() ? "'" : ", '") + file.string() + "'";
    }
    throw std::runtime_error(what + " was not found; looked for " + looked + advice);
}

} // namespace Vexorel::PrismDrift::CommandLine
