#include "Host/Library/OfferedSuites.h"

#include "Host/Library/Memory.h"
#include "Host/Library/ScriptEngine.h"
#include "Platform/Threads/Mutex.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace Vexorel::PrismDrift::Host {
namespace {

template <typename Pixel>
Pixel* pixelAt(const PF_LayerDef& world, std::int32_t x, std::int32_t y) {
    auto* row = static_cast<unsigned char*>(world.data) + std::ptrdiff_t{y} * world.rowbytes;
    return reinterpret_cast<Pixel*>(row) + x;
}

// Walks the pixels that both worlds have and `area` holds, row by row.
PF_Err iterateFloat(PF_InData* /*in_data*/, std::int32_t /*progress_base*/,
                    std::int32_t /*progress_final*/, PF_LayerDef* source, const PF_Rect* area,
                    void* refcon, PF_IteratePixelFloatFunc function, PF_LayerDef* destination) {
    if (source == nullptr || destination == nullptr || function == nullptr) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    PF_Rect part = {0, 0, std::min(source->width, destination->width),
                    std::min(source->height, destination->height)};
    if (area != nullptr) {
        part = {std::max(part.left, area->left), std::max(part.top, area->top),
                std::min(part.right, area->right), std::min(part.bottom, area->bottom)};
    }
    for (std::int32_t y = part.top; y < part.bottom; ++y) {
        for (std::int32_t x = part.left; x < part.right; ++x) {
            const PF_Err result = function(refcon, x, y, pixelAt<PF_PixelFloat>(*source, x, y),
                                           pixelAt<PF_PixelFloat>(*destination, x, y));
            if (result != PF_Err_NONE) {
                return result;
            }
        }
    }
    return PF_Err_NONE;
}

const PF_ANSICallbacksSuite1 ansiSuite = {&std::sprintf};
const PF_iterateFloatSuite1 iterateFloatSuite = {&iterateFloat};

class Registry {
public:
    const void* acquire(const char* name, std::int32_t version) {
        const Platform::MutexLock guard(mMutex);
        Entry* entry = find(name, version);
        if (entry == nullptr) {
            return nullptr;
        }
        ++entry->references;
        return entry->table;
    }

    bool release(const char* name, std::int32_t version) {
        const Platform::MutexLock guard(mMutex);
        Entry* entry = find(name, version);
        if (entry == nullptr || entry->references == 0) {
            return false;
        }
        --entry->references;
        return true;
    }

private:
    struct Entry {
        const char* name;
        std::int32_t version;
        const void* table;
        int references = 0;
    };

    Entry* find(const char* name, std::int32_t version) PRISMDRIFT_REQUIRES(mMutex) {
        for (Entry& entry : mEntries) {
            if (name != nullptr && entry.version == version && std::strcmp(entry.name, name) == 0) {
                return &entry;
            }
        }
        return nullptr;
    }

    Platform::Mutex mMutex;
    std::array<Entry, 5> mEntries PRISMDRIFT_GUARDED_BY(mMutex) = {{
        {"PF ANSI Suite", 1, &ansiSuite},
        {"PF iterateFloat Suite", 1, &iterateFloatSuite},
        {"PF Handle Suite", 2, &handleSuite()},
        {"AEGP Memory Suite", 1, &memorySuite()},
        {"AEGP Utility Suite", 11, &utilitySuite()},
    }};
};

// Never destroyed: an effect may release a suite while the process ends.
Registry& registry() {
    static auto* suites = new Registry;
    return *suites;
}

} // namespace

SPBasicSuite* basicSuite() {
    static SPBasicSuite suite = {
        [](const char* name, std::int32_t version, void** table) -> std::int32_t {
            if (table == nullptr) {
                return PF_Err_BAD_CALLBACK_PARAM;
            }
            *table = const_cast<void*>(registry().acquire(name, version));
            return *table == nullptr ? PF_Err_BAD_CALLBACK_PARAM : PF_Err_NONE;
        },
        [](const char* name, std::int32_t version) -> std::int32_t {
            return registry().release(name, version) ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
        },
    };
    return &suite;
}

} // namespace Vexorel::PrismDrift::Host
