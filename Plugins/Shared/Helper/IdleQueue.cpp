#include "Shared/Helper/IdleQueue.h"

#include <utility>

namespace Vexorel::PrismDrift {

namespace {

class PRISMDRIFT_THREAD_ATTRIBUTE(scoped_lockable) SemaphoreLock {
public:
    explicit SemaphoreLock(Semaphore* semaphore) PRISMDRIFT_ACQUIRE(semaphore)
        : mSemaphore(semaphore) {
        mSemaphore->wait();
    }
    ~SemaphoreLock() PRISMDRIFT_RELEASE() { mSemaphore->signal(); }

    SemaphoreLock(const SemaphoreLock&) = delete;
    SemaphoreLock& operator=(const SemaphoreLock&) = delete;

private:
    Semaphore* mSemaphore;
};

} // namespace

IdleQueue::IdleQueue() : mSemaphore(new Semaphore(1)) {}

IdleQueue::~IdleQueue() {
    delete mSemaphore;
}

void IdleQueue::async(const std::function<void()>& task) {
    std::function<void()> copy = task;
    const SemaphoreLock lock(mSemaphore);
    mQueue.push_back(std::move(copy));
}

bool IdleQueue::hasTask() const {
    const SemaphoreLock lock(mSemaphore);
    return !mQueue.empty();
}

void IdleQueue::updateQueue() {
    std::function<void()> task;
    {
        const SemaphoreLock lock(mSemaphore);
        if (mQueue.empty()) {
            return;
        }
        task.swap(mQueue.front());
        mQueue.pop_front();
    }
    task();
}

void IdleQueue::clearAsyncQueue() {
    // Destroyed after the lock is given back. Swapped, not moved: a deque that is moved from
    // allocates, and this one allocates before the lock is taken.
    std::deque<std::function<void()>> dropped;
    {
        const SemaphoreLock lock(mSemaphore);
        mQueue.swap(dropped);
    }
}

} // namespace Vexorel::PrismDrift
