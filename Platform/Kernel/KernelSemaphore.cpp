#include "Platform/Kernel/KernelSemaphore.h"

#include "Platform/Threads/Mutex.h"

#include <algorithm>
#include <condition_variable>
#include <limits>
#include <new>
#include <optional>
#include <pthread.h>
#include <unordered_map>

namespace {

constexpr task_t kThisTask = 1;
constexpr std::uint32_t kMostPermits = std::numeric_limits<int>::max();

/// A thread that sleeps in semaphore_wait. It lies on that thread's stack, so it is notified under
/// the lock: after it, the thread may have returned.
struct Waiter {
    Waiter* next;                        ///< the thread that came before
    std::optional<kern_return_t> result; ///< set by whoever ends the wait without a permit
    std::condition_variable wakeUp;
};

struct SemaphoreState {
    std::uint32_t permits = 0;
    Waiter* waiters = nullptr; ///< the last to come is first
};

/// Guards every semaphore of the process.
Platform::Mutex sLock;
semaphore_t sLastName PRISMDRIFT_GUARDED_BY(sLock) = 0;

/// All semaphores by name. Never destroyed, since static objects may own some.
std::unordered_map<semaphore_t, SemaphoreState>& semaphores() PRISMDRIFT_REQUIRES(sLock) {
    static auto& all = *new std::unordered_map<semaphore_t, SemaphoreState>;
    return all;
}

/// Null for a name that is not in use.
SemaphoreState* find(semaphore_t name) PRISMDRIFT_REQUIRES(sLock) {
    const auto found = semaphores().find(name);
    return found != semaphores().end() ? &found->second : nullptr;
}

/// Keeps std::condition_variable::wait from being a cancellation point.
class CancellationDisabled {
public:
    CancellationDisabled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mBefore); }
    ~CancellationDisabled() { pthread_setcancelstate(mBefore, nullptr); }
    CancellationDisabled(const CancellationDisabled&) = delete;
    CancellationDisabled& operator=(const CancellationDisabled&) = delete;

private:
    int mBefore = 0;
};

kern_return_t sleepForPermit(SemaphoreState& semaphore, Platform::MutexLock& lock)
    PRISMDRIFT_REQUIRES(sLock) {
    const CancellationDisabled cancellationDisabled;
    Waiter self{semaphore.waiters, {}, {}};
    semaphore.waiters = &self;
    while (!self.result && semaphore.permits == 0) { // with a result, the semaphore may be gone
        self.wakeUp.wait(lock.standard());
    }
    if (self.result) {
        return *self.result;
    }
    Waiter** link = &semaphore.waiters;
    while (*link != &self) {
        link = &(*link)->next;
    }
    *link = self.next;
    --semaphore.permits;
    return KERN_SUCCESS;
}

void endAllWaits(SemaphoreState& semaphore, kern_return_t result) PRISMDRIFT_REQUIRES(sLock) {
    for (Waiter* waiter = semaphore.waiters; waiter != nullptr; waiter = waiter->next) {
        semaphore.permits -= std::min(semaphore.permits, 1U); // the one that it was woken for
        waiter->result = result;
        waiter->wakeUp.notify_one();
    }
    semaphore.waiters = nullptr;
}

} // namespace

task_t mach_task_self() {
    return kThisTask;
}

kern_return_t semaphore_create(task_t task, semaphore_t* semaphore, int policy, int value) {
    if (task != kThisTask || semaphore == nullptr || policy != SYNC_POLICY_LIFO || value < 0) {
        return KERN_INVALID_ARGUMENT;
    }
    const Platform::MutexLock lock(sLock);
    try {
        do {
            ++sLastName;
        } while (sLastName == 0 || find(sLastName) != nullptr);
        semaphores()[sLastName].permits = static_cast<std::uint32_t>(value);
    } catch (const std::bad_alloc&) {
        return KERN_RESOURCE_SHORTAGE;
    }
    *semaphore = sLastName;
    return KERN_SUCCESS;
}

kern_return_t semaphore_destroy(task_t task, semaphore_t semaphore) {
    const Platform::MutexLock lock(sLock);
    SemaphoreState* found = find(semaphore);
    if (task != kThisTask || found == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    endAllWaits(*found, KERN_TERMINATED);
    semaphores().erase(semaphore);
    return KERN_SUCCESS;
}

kern_return_t semaphore_wait(semaphore_t semaphore) {
    Platform::MutexLock lock(sLock);
    SemaphoreState* found = find(semaphore);
    if (found == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    if (found->permits == 0) {
        return sleepForPermit(*found, lock);
    }
    --found->permits;
    return KERN_SUCCESS;
}

kern_return_t semaphore_signal(semaphore_t semaphore) {
    const Platform::MutexLock lock(sLock);
    SemaphoreState* found = find(semaphore);
    if (found == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    if (found->permits == kMostPermits) {
        return KERN_RESOURCE_SHORTAGE;
    }
    // Each earlier permit that is still there has woken one of the first threads on the list.
    Waiter* waiter = found->waiters;
    for (std::uint32_t i = 0; i < found->permits && waiter != nullptr; ++i) {
        waiter = waiter->next;
    }
    ++found->permits;
    if (waiter != nullptr) {
        waiter->wakeUp.notify_one();
    }
    return KERN_SUCCESS;
}

kern_return_t semaphore_signal_all(semaphore_t semaphore) {
    const Platform::MutexLock lock(sLock);
    SemaphoreState* found = find(semaphore);
    if (found == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    endAllWaits(*found, KERN_SUCCESS);
    return KERN_SUCCESS;
}
