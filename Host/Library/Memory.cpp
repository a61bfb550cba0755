#include "Host/Library/Memory.h"

#include "Platform/Threads/Mutex.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <sanitizer/asan_interface.h> // whose macros do nothing in other builds
#include <unordered_map>

namespace Vexorel::PrismDrift::Host {
namespace {

struct Free {
    void operator()(void* data) const { std::free(data); }
};

struct Block {
    void* address = nullptr; // first: a PF_Handle points to it
    std::unique_ptr<void, Free> data;
    std::size_t size = 0;
    std::size_t locks = 0;
};

// The blocks of one suite, found by their handles. The address sanitizer reports whoever touches
// the bytes of a block that isn't locked.
class BlockTable {
public:
    // The new block's handle, null if there is no memory.
    void* add(std::size_t size) noexcept try {
        auto block = std::make_unique<Block>();
        block->data.reset(std::malloc(size == 0 ? 1 : size));
        if (!block->data) {
            return nullptr;
        }
        block->address = block->data.get();
        block->size = size;
        ASAN_POISON_MEMORY_REGION(block->address, size);
        void* handle = &block->address;
        const Platform::MutexLock guard(mMutex);
        mBlocks.emplace(handle, std::move(block));
        return handle;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }

    void* lock(const void* handle) {
        const Platform::MutexLock guard(mMutex);
        const auto found = mBlocks.find(handle);
        if (found == mBlocks.end()) {
            return nullptr;
        }
        Block& block = *found->second;
        ++block.locks;
        ASAN_UNPOISON_MEMORY_REGION(block.address, block.size);
        return block.address;
    }

    void unlock(const void* handle) {
        const Platform::MutexLock guard(mMutex);
        const auto found = mBlocks.find(handle);
        if (found == mBlocks.end() || found->second->locks == 0) {
            return;
        }
        Block& block = *found->second;
        if (--block.locks == 0) {
            ASAN_POISON_MEMORY_REGION(block.address, block.size);
        }
    }

    bool remove(const void* handle) {
        std::unique_ptr<Block> removed; // destroyed after the mutex is let go
        const Platform::MutexLock guard(mMutex);
        const auto found = mBlocks.find(handle);
        if (found == mBlocks.end()) {
            return false;
        }
        removed = std::move(found->second);
        mBlocks.erase(found);
        return true;
    }

private:
    Platform::Mutex mMutex;
    std::unordered_map<const void*, std::unique_ptr<Block>> mBlocks PRISMDRIFT_GUARDED_BY(mMutex);
};

// Never destroyed: a thread that outlives the static objects may still hold a handle.
BlockTable& handles() {
    static auto* table = new BlockTable;
    return *table;
}

BlockTable& memory() {
    static auto* table = new BlockTable;
    return *table;
}

} // namespace

const PF_HandleSuite1& handleSuite() {
    static const PF_HandleSuite1 suite = {
        [](std::size_t size) { return static_cast<PF_Handle>(handles().add(size)); },
        [](PF_Handle handle) { return handles().lock(handle); },
        [](PF_Handle handle) { handles().unlock(handle); },
        [](PF_Handle handle) { handles().remove(handle); },
    };
    return suite;
}

const AEGP_MemorySuite1& memorySuite() {
    static const AEGP_MemorySuite1 suite = {
        [](AEGP_MemHandle handle, void** pointer) -> PF_Err {
            if (pointer == nullptr) {
                return PF_Err_BAD_CALLBACK_PARAM;
            }
            *pointer = memory().lock(handle);
            return *pointer == nullptr ? PF_Err_BAD_CALLBACK_PARAM : PF_Err_NONE;
        },
        [](AEGP_MemHandle handle) -> PF_Err {
            return memory().remove(handle) ? PF_Err_NONE : PF_Err_BAD_CALLBACK_PARAM;
        },
    };
    return suite;
}

AEGP_MemHandle newTextHandle(std::string_view text) {
    auto* handle = static_cast<AEGP_MemHandle>(memory().add(text.size() + 1));
    if (handle != nullptr) {
        auto* characters = static_cast<char*>(memory().lock(handle));
        std::memcpy(characters, text.data(), text.size());
        characters[text.size()] = '\0';
        memory().unlock(handle);
    }
    return handle;
}

} // namespace Vexorel::PrismDrift::Host
