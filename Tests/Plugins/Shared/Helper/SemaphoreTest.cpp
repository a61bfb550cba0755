#include "Shared/Helper/Semaphore.h"

#include "Tests/Platform/Kernel/BlockingTest.h"

#include <type_traits>

namespace Vexorel::PrismDrift {
namespace {

static_assert(std::has_virtual_destructor_v<Semaphore>);
static_assert(std::is_same_v<decltype(Semaphore::mWaiting), std::atomic<std::int64_t>>);

class SemaphoreTest : public BlockingTest {};

TEST_F(SemaphoreTest, LetsThroughAsManyAsItHasPermits) {
    Semaphore semaphore(2);
    semaphore.signal(3);
    semaphore.signal(0);
    semaphore.signalAll(); // free permits stay
    for (int i = 0; i < 5; ++i) {
        semaphore.wait();
    }
    std::future<void> waits[6];
    for (auto& wait : waits) {
        wait = sleepIn([&] { semaphore.wait(); });
    }
    EXPECT_EQ(semaphore.mWaiting, 6);
    semaphore.signal(3);
    waits[3].get(), waits[4].get(), waits[5].get();
    EXPECT_EQ(semaphore.mWaiting, 3);
    semaphore.signalAll();
    waits[0].get(), waits[1].get(), waits[2].get();
    EXPECT_EQ(semaphore.mWaiting, 0);
    EXPECT_NE(Semaphore(~0U).mHandle, 0U) << "more than the kernel counts";
}

} // namespace
} // namespace Vexorel::PrismDrift
