#pragma once

#include <dlfcn.h>
#include <link.h>

namespace Testing {

/// Keeps all that is loaded where it is: a leak check at the end can't name what it finds in a
/// driver that has been unloaded by then, nor see what such a driver still holds.
inline void keepLibraries() {
    auto* library = static_cast<link_map*>(dlopen(nullptr, RTLD_LAZY));
    for (; library != nullptr; library = library->l_next) {
        dlopen(library->l_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    }
}

} // namespace Testing
