#include "Platform/Kernel/KernelSemaphore.h"

#include "Tests/Platform/Kernel/BlockingTest.h"

#include <atomic>
#include <functional>
#include <limits>

namespace {

const task_t kSelf = mach_task_self();

class KernelSemaphore : public BlockingTest {
protected:
    ~KernelSemaphore() override { semaphore_destroy(kSelf, name); }
    static semaphore_t create(int value) {
        semaphore_t created = 0;
        EXPECT_EQ(semaphore_create(kSelf, &created, SYNC_POLICY_LIFO, value), KERN_SUCCESS);
        return created;
    }

    const semaphore_t name = create(0);
    const std::function<kern_return_t()> wait = [this] { return semaphore_wait(name); };
};

TEST_F(KernelSemaphore, RefusesWhatItCannotDo) {
    semaphore_t none = 77;
    EXPECT_EQ(semaphore_create(kSelf + 1, &none, SYNC_POLICY_LIFO, 1), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(semaphore_create(kSelf, nullptr, SYNC_POLICY_LIFO, 1), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(semaphore_create(kSelf, &none, SYNC_POLICY_LIFO + 1, 1), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(semaphore_create(kSelf, &none, SYNC_POLICY_LIFO, -1), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(none, 77U);
    const semaphore_t full = create(std::numeric_limits<int>::max());
    EXPECT_EQ(semaphore_signal(full), KERN_RESOURCE_SHORTAGE);
    EXPECT_EQ(semaphore_wait(full), KERN_SUCCESS);
    EXPECT_EQ(semaphore_signal(full), KERN_SUCCESS);
    EXPECT_EQ(semaphore_destroy(kSelf + 1, full), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(semaphore_destroy(kSelf, full), KERN_SUCCESS);
    for (const semaphore_t unused : {semaphore_t{0}, full, ~name}) {
        for (const auto call : {semaphore_wait, semaphore_signal, semaphore_signal_all}) {
            EXPECT_EQ(call(unused), KERN_INVALID_ARGUMENT) << unused;
        }
        EXPECT_EQ(semaphore_destroy(kSelf, unused), KERN_INVALID_ARGUMENT) << unused;
    }
}

TEST_F(KernelSemaphore, WakesTheLastToComeFirstOrAllThatWait) {
    std::future<kern_return_t> waits[5];
    for (auto& result : waits) {
        result = sleepIn(wait);
    }
    for (const int next : {4, 3}) {
        semaphore_signal(name);
        EXPECT_EQ(waits[next].get(), KERN_SUCCESS); // hangs if another was woken
    }
    semaphore_signal_all(name);
    for (const int other : {0, 1, 2}) {
        EXPECT_EQ(waits[other].get(), KERN_SUCCESS);
    }
    for (int round = 0; round < 100; ++round) {
        const auto woken = sleepIn(wait); // blocks: the round before left no permit
        semaphore_signal(name);
        semaphore_signal_all(name); // most likely before the thread has woken
    }
    auto last = sleepIn(wait);
    semaphore_destroy(kSelf, name);
    EXPECT_EQ(last.get(), KERN_TERMINATED);
}

TEST_F(KernelSemaphore, WaitsOnWhenItsThreadIsCancelled) {
    auto result = sleepIn([this] {
        pthread_cancel(pthread_self());
        return wait();
    });
    semaphore_signal(name);
    EXPECT_EQ(result.get(), KERN_SUCCESS);
}

TEST_F(KernelSemaphore, MayBeDestroyedByWhoeverTookTheLastPermit) {
    constexpr int kRounds = 20000;
    std::atomic<semaphore_t> shared{0};
    const auto signals = std::async(std::launch::async, [&] {
        for (int given = 0; given < kRounds;) {
            const semaphore_t taken = shared.exchange(0);
            given += taken != 0 && semaphore_signal(taken) == KERN_SUCCESS ? 1 : 0;
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        const semaphore_t own = create(0);
        shared = own;
        semaphore_wait(own);
        EXPECT_EQ(semaphore_destroy(kSelf, own), KERN_SUCCESS);
    }
}

} // namespace
