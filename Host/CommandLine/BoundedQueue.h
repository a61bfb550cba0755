#pragma once

/// Hands items from one thread to another and bounds how many wait in between.

#include "Platform/Threads/Mutex.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <optional>
#include <utility>

namespace Vexorel::PrismDrift::CommandLine {

template <typename Item>
class BoundedQueue {
public:
    /// The weights of the items in the queue add up to `capacity` at most. A single item may weigh
    /// more.
    explicit BoundedQueue(std::size_t capacity) : mCapacity(capacity) {}

    /// Waits for room. False, and the item is dropped, once the queue is closed.
    bool push(Item item, std::size_t weight = 1) {
        Platform::MutexLock lock(mMutex);
        while (!mIsClosed && !mItems.empty() && mWeight + weight > mCapacity) {
            mChanged.wait(lock.standard());
        }
        if (mIsClosed) {
            return false;
        }
        mItems.emplace_back(std::move(item), weight);
        mWeight += weight;
        mChanged.notify_all();
        return true;
    }

    /// No more items come. An error is thrown by `pop` after the last item.
    void end(std::exception_ptr error = nullptr) {
        const Platform::MutexLock lock(mMutex);
        mIsEnded = true;
        mError = std::move(error);
        mChanged.notify_all();
    }

    /// Waits for an item. Nothing after the last one, or once the queue is closed.
    std::optional<Item> pop() {
        Platform::MutexLock lock(mMutex);
        while (!mIsClosed && !mIsEnded && mItems.empty()) {
            mChanged.wait(lock.standard());
        }
        if (mIsClosed) {
            return std::nullopt;
        }
        if (mItems.empty()) {
            if (mError) {
                std::rethrow_exception(mError);
            }
            return std::nullopt;
        }
        auto [item, weight] = std::move(mItems.front());
        mItems.pop_front();
        mWeight -= weight;
        mChanged.notify_all();
        return std::move(item);
    }

    bool isClosed() const {
        const Platform::MutexLock lock(mMutex);
        return mIsClosed;
    }

    /// Neither side waits any longer, and nothing more goes through. From any thread.
    void close() {
        const Platform::MutexLock lock(mMutex);
        mIsClosed = true;
        mChanged.notify_all();
    }

private:
    const std::size_t mCapacity;
    mutable Platform::Mutex mMutex;
    std::condition_variable mChanged;
    std::deque<std::pair<Item, std::size_t>> mItems PRISMDRIFT_GUARDED_BY(mMutex);
    std::size_t mWeight PRISMDRIFT_GUARDED_BY(mMutex) = 0;
    std::exception_ptr mError PRISMDRIFT_GUARDED_BY(mMutex);
    bool mIsEnded PRISMDRIFT_GUARDED_BY(mMutex) = false;
    bool mIsClosed PRISMDRIFT_GUARDED_BY(mMutex) = false;
};

} // namespace Vexorel::PrismDrift::CommandLine
