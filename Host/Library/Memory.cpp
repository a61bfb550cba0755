#include "Host/Library/Memory.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
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

// The blocks of one suite, found by their handles.
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
        void* handle = &block->address;
        const std::lock_guard guard(mMutex);
        mBlocks.emplace(handle, std::move(block));
        return handle;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }

    void* lock(const void* handle) {
        const std::lock_guard guard(mMutex);
        Block* block = find(handle);
        if (block == nullptr) {
            return nullptr;
        }
        ++block->locks;
        return block->address;
    }

    void unlock(const void* handle) {
        const std::lock_guard guard(mMutex);
        Block* block = find(handle);
        if (block != nullptr && block->locks == 0) {
            ++mMisuses;
        } else if (block != nullptr) {
            --block->locks;
        }
    }

    bool remove(const void* handle) {
        std::unique_ptr<Block> removed; // freed after the mutex
        const std::lock_guard guard(mMutex);
        if (find(handle) == nullptr) {
            return false;
        }
        const auto found = mBlocks.find(handle);
        removed = std::move(found->second);
        mBlocks.erase(found);
        return true;
    }

    MemoryCounts counts() {
        const std::lock_guard guard(mMutex);
        MemoryCounts counts;
        counts.blocks = mBlocks.size();
        counts.misuses = mMisuses;
        for (const auto& entry : mBlocks) {
            counts.bytes += entry.second->size;
            counts.locks += entry.second->locks;
        }
        return counts;
    }

private:
    Block* find(const void* handle) {
        const auto found = mBlocks.find(handle);
        if (found == mBlocks.end()) {
            ++mMisuses;
            return nullptr;
        }
        return found->second.get();
    }

    std::mutex mMutex;
    std::unordered_map<const void*, std::unique_ptr<Block>> mBlocks; // guarded by mMutex
    std::size_t mMisuses = 0;                                        // guarded by mMutex
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

MemoryCounts handleCounts() {
    return handles().counts();
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

MemoryCounts memoryCounts() {
    return memory().counts();
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
