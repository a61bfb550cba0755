#include "Host/Media/StillsModuleLoader.h"

#include "Host/Library/Error.h"

#include <dlfcn.h>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

constexpr const char* moduleName = "prismdrift_stills.so";

// The folder of the module or program that this function is in.
fs::path ownFolder() {
    Dl_info info{};
    std::error_code ignored;
    const auto* address = reinterpret_cast<const void*>(&ownFolder);
    // A program's own name may be any.
    if (dladdr(address, &info) != 0 && info.dli_fname != nullptr) {
        const fs::path file = fs::canonical(info.dli_fname, ignored);
        if (!file.empty()) {
            return file.parent_path();
        }
    }
    return fs::read_symlink("/proc/self/exe", ignored).parent_path();
}

struct Search {
    fs::path file; // empty where there is none
    std::string looked;
};

// Beside the object that asks, in an installed tree, or in the build tree, seen from the tests'
// programs there.
Search search() {
    std::error_code ignored;
    Search result;
    const fs::path folder = ownFolder();
    for (const char* place :
         {"", "../lib/prismdrift/", "../../Host/CommandLine/", "../Host/CommandLine/"}) {
        fs::path file = (folder / place / moduleName).lexically_normal();
        if (fs::is_regular_file(file, ignored)) {
            result.file = file;
            return result;
        }
        result.looked += (result.looked.empty() ? "'" : ", '") + file.string() + "'";
    }
    return result;
}

// OpenImageIO brings in about 260 other libraries, and the loader looks for each name that one of
// them uses in all. All take a third less time if the ones with the most names are loaded before,
// on their own. One that is not there is not needed.
void loadLargest() {
    for (const char* library : {"libgdal.so.32", "libopenvdb.so.10.0"}) {
        dlopen(library, RTLD_LAZY | RTLD_LOCAL);
    }
}

const StillFunctions& load() {
    const Search found = search();
    const std::string what = "the module for pictures by OpenImageIO, ";
    if (found.file.empty()) {
        throw Error(what + "'" + moduleName + "', was not found; looked for " + found.looked);
    }
    loadLargest();
    void* module = dlopen(found.file.c_str(), RTLD_LAZY | RTLD_LOCAL);
    void* entry = module != nullptr ? dlsym(module, "prismdriftStills") : nullptr;
    if (entry == nullptr) {
        throw Error(what + "'" + found.file.string() + "', can't be loaded: " + dlerror());
    }
    return *reinterpret_cast<StillEntry>(entry)();
}

} // namespace

const StillFunctions& stills() {
    static const StillFunctions& functions = load();
    return functions;
}

std::string reasonWithoutStills() {
    try {
        stills();
        return "";
    } catch (const Error& error) {
        return error.what();
    }
}

bool hasStills() {
    static const bool isThere = !search().file.empty();
    return isThere;
}

} // namespace Vexorel::PrismDrift::Host
