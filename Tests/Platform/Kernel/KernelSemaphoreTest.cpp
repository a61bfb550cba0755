#include "Platform/Kernel/KernelSemaphore.h"

#include "Tests/Platform/Kernel/Threads.h"

#include <gmock/gmock.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <limits>
#include <memory>
#include <set>
#include <vector>

namespace {

using testing::ElementsAre;

constexpr int kMost = std::numeric_limits<int>::max();

semaphore_t create(int value) {
    semaphore_t name = 0;
    EXPECT_EQ(semaphore_create(mach_task_self(), &name, SYNC_POLICY_LIFO, value), KERN_SUCCESS);
    return name;
}

void destroy(semaphore_t name) {
    EXPECT_EQ(semaphore_destroy(mach_task_self(), name), KERN_SUCCESS);
}

TEST(KernelSemaphore, RefusesWhatItCannotMake) {
    const task_t self = mach_task_self();
    semaphore_t name = 77;
    EXPECT_EQ(semaphore_create(self + 1, &name, SYNC_POLICY_LIFO, 1), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(semaphore_create(self, nullptr, SYNC_POLICY_LIFO, 1), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(semaphore_create(self, &name, SYNC_POLICY_LIFO + 1, 1), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(semaphore_create(self, &name, SYNC_POLICY_LIFO, -1), KERN_INVALID_ARGUMENT);
    EXPECT_EQ(name, 77U);
    name = create(kMost);
    EXPECT_EQ(semaphore_signal(name), KERN_RESOURCE_SHORTAGE); // a permit more than it can count
    EXPECT_EQ(semaphore_wait(name), KERN_SUCCESS);
    EXPECT_EQ(semaphore_signal(name), KERN_SUCCESS);
    destroy(name);
}

TEST(KernelSemaphore, RefusesNamesThatAreNotInUse) {
    const TimeLimit limit;
    const semaphore_t stale = create(1);
    destroy(stale);
    const semaphore_t successor = create(1); // in the same place
    for (semaphore_t name : {semaphore_t{0}, stale, successor ^ 1U, ~semaphore_t{0}}) {
        ASSERT_NE(name, successor);
        EXPECT_EQ(semaphore_wait(name), KERN_INVALID_ARGUMENT) << name;
        EXPECT_EQ(semaphore_signal(name), KERN_INVALID_ARGUMENT) << name;
        EXPECT_EQ(semaphore_signal_all(name), KERN_INVALID_ARGUMENT) << name;
        EXPECT_EQ(semaphore_destroy(mach_task_self(), name), KERN_INVALID_ARGUMENT) << name;
    }
    EXPECT_EQ(semaphore_destroy(mach_task_self() + 1, successor), KERN_INVALID_ARGUMENT);
    // The successor still has the one permit that it started with.
    EXPECT_EQ(semaphore_wait(successor), KERN_SUCCESS);
    Caller second([&] { semaphore_wait(successor); });
    EXPECT_TRUE(second.blocks());
    EXPECT_EQ(semaphore_signal(successor), KERN_SUCCESS);
    EXPECT_TRUE(second.returns());
    destroy(successor);
}

TEST(KernelSemaphore, GivesEachItsOwnNameAndCount) {
    const TimeLimit limit;
    std::vector<semaphore_t> names(1000);
    std::generate(names.begin(), names.end(), [] { return create(1); });
    EXPECT_EQ(std::set<semaphore_t>(names.begin(), names.end()).size(), names.size());
    for (const semaphore_t name : names) {
        EXPECT_EQ(semaphore_wait(name), KERN_SUCCESS);
        destroy(name);
    }
    for (int i = 0; i < 10000; ++i) { // more often than a place has names
        destroy(create(1));
    }
}

TEST(KernelSemaphore, WakesTheLastToComeFirst) {
    const TimeLimit limit;
    const semaphore_t name = create(0);
    std::vector<int> order; // handed from one caller to the next by the semaphore's own signals
    std::vector<std::unique_ptr<Caller>> callers;
    for (int i = 0; i < 4; ++i) {
        callers.push_back(std::make_unique<Caller>([&order, name, i] {
            EXPECT_EQ(semaphore_wait(name), KERN_SUCCESS);
            order.push_back(i);
        }));
        ASSERT_TRUE(callers.back()->blocks());
    }
    for (int i = 3; i >= 0; --i) {
        semaphore_signal(name);
        EXPECT_TRUE(callers[static_cast<std::size_t>(i)]->returns());
    }
    callers.clear();
    EXPECT_THAT(order, ElementsAre(3, 2, 1, 0));
    std::atomic<kern_return_t> result{KERN_SUCCESS};
    Caller last([&] { result = semaphore_wait(name); });
    EXPECT_TRUE(last.blocks());
    destroy(name); // which tells whoever waits
    EXPECT_TRUE(last.returns());
    EXPECT_EQ(result, KERN_TERMINATED);
}

TEST(KernelSemaphore, SignalAllLeavesNoPermitThatAWokenThreadHadComing) {
    const TimeLimit limit;
    const semaphore_t name = create(0);
    for (int round = 0; round < 100; ++round) {
        Caller woken([&] { semaphore_wait(name); });
        ASSERT_TRUE(woken.blocks());
        semaphore_signal(name);
        semaphore_signal_all(name); // the thread is most likely still on its way
        ASSERT_TRUE(woken.returns());
    }
    Caller late([&] { semaphore_wait(name); });
    EXPECT_TRUE(late.blocks());
    semaphore_signal(name);
    EXPECT_TRUE(late.returns());
    destroy(name);
}

std::atomic<int> sHandlerRuns{0};

TEST(KernelSemaphore, GoesOnWaitingAfterASignalHandler) {
    const TimeLimit limit;
    sHandlerRuns = 0;
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) { ++sHandlerRuns; }; // and no SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    const semaphore_t name = create(0);
    {
        Caller caller([&] { EXPECT_EQ(semaphore_wait(name), KERN_SUCCESS); });
        for (int runs = 1; runs <= 3; ++runs) {
            EXPECT_TRUE(caller.blocks());
            caller.interrupt(SIGUSR1);
            EXPECT_TRUE(comesTrue([&] { return sHandlerRuns == runs; }));
        }
        EXPECT_TRUE(caller.blocks());
        semaphore_signal(name);
        EXPECT_TRUE(caller.returns());
    }
    destroy(name);
    sigaction(SIGUSR1, &before, nullptr);
}

// A sanitizer's own system calls would end the child as well.
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
TEST(KernelSemaphore, MakesNoSystemCallWhereNothingBlocks) {
    const TimeLimit limit;
    const semaphore_t name = create(1);
    const pid_t child = fork();
    if (child == 0) {
        // From here on the kernel kills the child for any call but read, write and exit.
        if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) != 0) {
            _exit(2);
        }
        for (int i = 0; i < 1000; ++i) {
            semaphore_wait(name);
            semaphore_signal(name);
            semaphore_signal_all(name);
        }
        syscall(SYS_exit, 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 2) {
        GTEST_SKIP() << "the kernel was built without seccomp";
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    destroy(name);
}
#endif

TEST(KernelSemaphore, MayBeDestroyedByWhoeverTookTheLastPermit) {
    const TimeLimit limit;
    constexpr int kRounds = 20000;
    std::atomic<semaphore_t> shared{0};
    std::thread giver([&] {
        for (int i = 0; i < kRounds; ++i) {
            semaphore_t name = 0;
            while ((name = shared.exchange(0)) == 0) {
                std::this_thread::yield();
            }
            EXPECT_EQ(semaphore_signal(name), KERN_SUCCESS);
        }
    });
    for (int i = 0; i < kRounds; ++i) {
        const semaphore_t name = create(0);
        shared = name;
        ASSERT_EQ(semaphore_wait(name), KERN_SUCCESS);
        destroy(name);
    }
    giver.join();
}

} // namespace
