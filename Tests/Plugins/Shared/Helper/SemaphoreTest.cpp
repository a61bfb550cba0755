#include "Shared/Helper/Semaphore.h"

#include "Tests/Platform/Kernel/Threads.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

namespace Vexorel::PrismDrift {
namespace {

static_assert(std::has_virtual_destructor_v<Semaphore>);
static_assert(!std::is_copy_constructible_v<Semaphore> && !std::is_copy_assignable_v<Semaphore>);
static_assert(std::is_same_v<decltype(Semaphore::mWaiting), std::atomic<std::int64_t>>);

TEST(Semaphore, LetsThroughAsManyAsItHasPermits) {
    const struct {
        unsigned int start;
        void (*give)(Semaphore&);
        unsigned int total;
    } rows[] = {{1, [](Semaphore&) {}, 1},
                {0, [](Semaphore& s) { s.signal(0); }, 0},
                {2, [](Semaphore& s) { s.signal(3); }, 5},
                {1, [](Semaphore& s) { s.signalAll(); }, 1}}; // permits stay what they were
    for (const auto& [start, give, total] : rows) {
        const TimeLimit limit;
        Semaphore semaphore(start);
        give(semaphore);
        for (unsigned int i = 0; i < total; ++i) {
            semaphore.wait();
        }
        Caller next([&] { semaphore.wait(); });
        EXPECT_TRUE(next.blocks()) << total;
        EXPECT_EQ(semaphore.mWaiting, 1);
        semaphore.signal();
        EXPECT_TRUE(next.returns());
        EXPECT_EQ(semaphore.mWaiting, 0);
    }
    Semaphore largest(std::numeric_limits<unsigned int>::max()); // more than the kernel holds
    EXPECT_NE(largest.mHandle, 0U);
}

TEST(Semaphore, WakesAsManyAsItIsTold) {
    const TimeLimit limit;
    Semaphore semaphore(0);
    std::vector<std::unique_ptr<Caller>> callers;
    const auto returned = [&] {
        return std::count_if(callers.begin(), callers.end(),
                             [](const auto& caller) { return caller->hasReturned(); });
    };
    for (int i = 0; i < 6; ++i) {
        callers.push_back(std::make_unique<Caller>([&] { semaphore.wait(); }));
        ASSERT_TRUE(callers.back()->blocks());
    }
    semaphore.signal(3);
    EXPECT_TRUE(comesTrue([&] { return returned() == 3; }));
    EXPECT_EQ(semaphore.mWaiting, 3);
    semaphore.signalAll();
    EXPECT_TRUE(comesTrue([&] { return returned() == 6; }));
    Caller late([&] { semaphore.wait(); });
    EXPECT_TRUE(late.blocks());
    semaphore.signal();
}

TEST(Semaphore, LosesAndInventsNoPermitUnderLoad) {
    const TimeLimit limit;
    constexpr unsigned int kBatches = 3000;
    Semaphore semaphore(0);
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (unsigned int batch = 0; batch < kBatches; ++batch) {
                semaphore.signal(batch % 4);
            }
        });
        threads.emplace_back([&] {
            for (unsigned int permit = 0; permit < kBatches / 4 * (1 + 2 + 3); ++permit) {
                semaphore.wait();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join(); // hangs if a permit is lost
    }
    Caller next([&] { semaphore.wait(); });
    EXPECT_TRUE(next.blocks()); // comes through if one was invented
    semaphore.signal();
}

} // namespace
} // namespace Vexorel::PrismDrift
