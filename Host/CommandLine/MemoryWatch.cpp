#include "Host/CommandLine/MemoryWatch.h"

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <new>

namespace {

std::atomic<bool> hasLacked = false;

} // namespace

// The C library's functions that FFmpeg allocates with: those of the program come before them for
// all libraries. Sanitizers have their own in this place.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

template <typename Function>
Function* following(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

[[gnu::visibility("default")]] int posix_memalign(void** memory, std::size_t alignment,
                                                  std::size_t size) noexcept {
    static auto* const next = following<decltype(posix_memalign)>("posix_memalign");
    const int result = next(memory, alignment, size);
    hasLacked = hasLacked || result != 0;
    return result;
}

[[gnu::visibility("default")]] void* realloc(void* memory, std::size_t size) noexcept {
    static auto* const next = following<decltype(realloc)>("realloc");
    void* result = next(memory, size);
    hasLacked = hasLacked || (result == nullptr && size != 0);
    return result;
}

} // extern "C"

#endif

namespace Vexorel::PrismDrift::CommandLine {

void checkMemory() {
    if (hasLacked) {
        throw std::bad_alloc();
    }
}

} // namespace Vexorel::PrismDrift::CommandLine
