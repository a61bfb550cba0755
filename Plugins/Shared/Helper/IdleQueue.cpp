#include "Shared/Helper/IdleQueue.h"

#include <utility>

namespace Vexorel::PrismDrift {

namespace {

class SemaphoreLock {
public:
    explicit SemaphoreLock(Semaphore& semaphore) : mSemaphore(semaphore) { mSemaphore.wait(); }
    ~SemaphoreLock() { mSemaphore.signal(); }

    SemaphoreLock(const SemaphoreLock&) = delete;
    SemaphoreLock& operator=(const SemaphoreLock&) = delete;

private:
    Semaphore& mSemaphore;
};

} // namespace

IdleQueue::IdleQueue() : mSemaphore(new Semaphore(1)) {}

IdleQueue::~IdleQueue() {
    delete mSemaphore;
}

void IdleQueue::async(const std::function<void()>& task) {
    std::function<void()> copy = task;
    const SemaphoreLock lock(*mSemaphore);
    mQueue.push_back(std::move(copy));
}

bool IdleQueue::hasTask() const {
    const SemaphoreLock lock(*mSemaphore);
    return !mQueue.empty();
}

void IdleQueue::updateQueue() {
    std::function<void()> task;
    {
        const SemaphoreLock lock(*mSemaphore);
        if (mQueue.empty()) {
            return;
        }
        task.swap(mQueue.front());
        mQueue.pop_front();
    }
    task();
}

void IdleQueue::clearAsyncQueue() {
    // Swapped, not moved from: what this deque allocates is allocated before the lock is taken,
    // and the tasks are destroyed after it is given back.
    std::deque<std::function<void()>> dropped;
    {
        const SemaphoreLock lock(*mSemaphore);
        mQueue.swap(dropped);
    }
}

} // namespace Vexorel::PrismDrift
