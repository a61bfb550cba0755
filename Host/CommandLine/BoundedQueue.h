#pragma once

/// Hands items from one thread to another, a bounded number at a time.

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <utility>

namespace Vexorel::PrismDrift::CommandLine {

template <typename Item>
class BoundedQueue {
public:
    /// The items inside weigh no more than `capacity` together, but for a single one that does.
    explicit BoundedQueue(std::size_t capacity) : mCapacity(capacity) {}

    /// Waits for room. False, and the item is dropped, once the other side has closed.
    bool push(Item item, std::size_t weight = 1) {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock,
                      [&] { return mIsClosed || mItems.empty() || mWeight + weight <= mCapacity; });
        if (mIsClosed) {
            return false;
        }
        mItems.emplace_back(std::move(item), weight);
        mWeight += weight;
        mChanged.notify_all();
        return true;
    }

    /// No more comes. With an error, `pop` throws it after the last item.
    void end(std::exception_ptr error = nullptr) {
        const std::lock_guard lock(mMutex);
        mIsEnded = true;
        mError = std::move(error);
        mChanged.notify_all();
    }

    /// Waits for an item; nothing at the end, or once closed.
    std::optional<Item> pop() {
        std::unique_lock lock(mMutex);
        mChanged.wait(lock, [&] { return mIsClosed || mIsEnded || !mItems.empty(); });
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
        const std::lock_guard lock(mMutex);
        return mIsClosed;
    }

    /// Nothing more is taken: both sides are let go.
    void close() {
        const std::lock_guard lock(mMutex);
        mIsClosed = true;
        mChanged.notify_all();
    }

private:
    const std::size_t mCapacity;
    mutable std::mutex mMutex; // guards what follows
    std::condition_variable mChanged;
    std::deque<std::pair<Item, std::size_t>> mItems;
    std::size_t mWeight = 0;
    std::exception_ptr mError;
    bool mIsEnded = false, mIsClosed = false;
};

} // namespace Vexorel::PrismDrift::CommandLine
