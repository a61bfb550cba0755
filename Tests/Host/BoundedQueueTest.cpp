#include "Host/CommandLine/BoundedQueue.h"

#include "Host/Library/Error.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace Vexorel::PrismDrift::CommandLine;
using namespace Vexorel::PrismDrift::Host;

namespace {

TEST(BoundedQueueTest, KeepsOrderAndBoundAndLetsBothSidesGo) {
    BoundedQueue<int> queue(3);
    std::atomic<int> pushed = 0;
    std::thread producer([&] {
        for (int i = 0; i < 100; ++i) {
            queue.push(i);
            ++pushed;
        }
        queue.end(std::make_exception_ptr(Error("over")));
    });
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(queue.pop(), i);
        EXPECT_LE(pushed, i + 1 + 3 + 1);
    }
    EXPECT_THROW(queue.pop(), Error);
    producer.join();

    BoundedQueue<int> full(1);
    full.push(1);
    std::thread waiting([&] { EXPECT_FALSE(full.push(2)); });
    full.close();
    waiting.join();
    EXPECT_EQ(full.pop(), std::nullopt);

    BoundedQueue<int> weights(4);
    weights.push(1, 9); // alone, it passes
    weights.end();
    EXPECT_EQ(weights.pop(), 1);
    EXPECT_EQ(weights.pop(), std::nullopt);
}

} // namespace
