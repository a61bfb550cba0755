#include "Host/CommandLine/BoundedQueue.h"

#include "Host/Library/Error.h"

#include <chrono>
#include <future>
#include <gtest/gtest.h>

using namespace Vexorel::PrismDrift::CommandLine;
using Vexorel::PrismDrift::Host::Error;

namespace {

// Another thread's push, which must still wait when this returns.
std::future<bool> pushWaiting(BoundedQueue<int>& queue, int item) {
    auto pushed = std::async(std::launch::async, [&queue, item] { return queue.push(item); });
    EXPECT_EQ(pushed.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    return pushed;
}

TEST(BoundedQueueTest, KeepsOrderAndThrowsAfterTheLastItem) {
    BoundedQueue<int> queue(3);
    const auto producer = std::async(std::launch::async, [&] {
        for (int i = 0; i < 100; ++i) {
            queue.push(i);
        }
        queue.end(std::make_exception_ptr(Error("over")));
    });
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(queue.pop(), i);
    }
    EXPECT_THROW(queue.pop(), Error);
}

TEST(BoundedQueueTest, WaitsForRoomUntilClosed) {
    BoundedQueue<int> queue(3);
    queue.push(1);
    queue.push(2, 2);
    auto late = pushWaiting(queue, 3);
    EXPECT_EQ(queue.pop(), 1);
    EXPECT_TRUE(late.get());
    late = pushWaiting(queue, 4);
    queue.close();
    EXPECT_FALSE(late.get());
    EXPECT_EQ(queue.pop(), std::nullopt);

    BoundedQueue<int> heavy(4);
    heavy.push(1, 9); // alone, it passes
    heavy.end();
    EXPECT_EQ(heavy.pop(), 1);
    EXPECT_EQ(heavy.pop(), std::nullopt);
}

} // namespace
