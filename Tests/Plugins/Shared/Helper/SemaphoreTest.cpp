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
static_assert(sizeof(semaphore_t) == 4);

struct Permits {
    const char* name;
    unsigned int start;
    void (*give)(Semaphore&);
    unsigned int total;
};

class SemaphorePermits : public testing::TestWithParam<Permits> {};

TEST_P(SemaphorePermits, LetThroughThatManyAndNoMore) {
    const TimeLimit limit;
    Semaphore semaphore(GetParam().start);
    GetParam().give(semaphore);
    for (unsigned int i = 0; i < GetParam().total; ++i) {
        semaphore.wait();
    }
    Caller next([&] { semaphore.wait(); });
    EXPECT_TRUE(next.blocks());
    EXPECT_EQ(semaphore.mWaiting, 1);
    semaphore.signal();
    EXPECT_TRUE(next.returns());
    EXPECT_EQ(semaphore.mWaiting, 0);
}

INSTANTIATE_TEST_SUITE_P(
    , SemaphorePermits,
    testing::Values(Permits{"NoneAtStart", 0, [](Semaphore&) {}, 0},
                    Permits{"OneAtStart", 1, [](Semaphore&) {}, 1},
                    Permits{"SignalOfNone", 0, [](Semaphore& s) { s.signal(0); }, 0},
                    Permits{"SignalOfThree", 2, [](Semaphore& s) { s.signal(3); }, 5},
                    Permits{"ThreeSignals", 0,
                            [](Semaphore& s) {
                                s.signal();
                                s.signal();
                                s.signal();
                            },
                            3},
                    Permits{"SignalAllWithNoOne", 1, [](Semaphore& s) { s.signalAll(); }, 1}),
    [](const auto& row) { return row.param.name; });

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
    EXPECT_EQ(semaphore.mWaiting, 0);
}

TEST(Semaphore, TakesACountBeyondWhatTheKernelHolds) {
    const TimeLimit limit;
    Semaphore semaphore(std::numeric_limits<unsigned int>::max());
    EXPECT_NE(semaphore.mHandle, 0U);
    semaphore.wait();
}

TEST(Semaphore, LosesAndInventsNoPermitUnderLoad) {
    const TimeLimit limit;
    constexpr int kPairs = 3;
    constexpr unsigned int kBatches = 3000;
    Semaphore semaphore(0);
    std::vector<std::thread> threads;
    for (int i = 0; i < kPairs; ++i) {
        threads.emplace_back([&] {
            for (unsigned int batch = 0; batch < kBatches; ++batch) {
                semaphore.signal(batch % 4);
            }
        });
        threads.emplace_back([&] {
            for (unsigned int batch = 0; batch < kBatches; ++batch) {
                for (unsigned int permit = 0; permit < batch % 4; ++permit) {
                    semaphore.wait();
                }
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
