#include "Shared/Helper/IdleQueue.h"

#include "Tests/Platform/Kernel/Threads.h"

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace Vexorel::PrismDrift {
namespace {

using testing::Each;
using testing::ElementsAre;

static_assert(std::has_virtual_destructor_v<IdleQueue>);
static_assert(!std::is_copy_constructible_v<IdleQueue> && !std::is_copy_assignable_v<IdleQueue>);
static_assert(std::is_same_v<decltype(IdleQueue::mQueue), std::deque<std::function<void()>>>);

class IdleQueueTest : public testing::Test {
protected:
    std::function<void()> logs(int number) {
        return [this, number] { log.push_back(number); };
    }

    TimeLimit limit;
    std::vector<int> log;
    IdleQueue queue;
};

TEST_F(IdleQueueTest, RunsOneTaskATurnInTheirOrder) {
    queue.updateQueue(); // of nothing
    queue.async([this] {
        queue.async(logs(3));
        log.push_back(1);
        EXPECT_TRUE(queue.hasTask());
        queue.updateQueue(); // runs the next one, from inside
    });
    queue.async(logs(2));
    EXPECT_THAT(log, ElementsAre());
    queue.updateQueue();
    EXPECT_THAT(log, ElementsAre(1, 2));
    EXPECT_TRUE(queue.hasTask());
    queue.updateQueue();
    EXPECT_THAT(log, ElementsAre(1, 2, 3));
    EXPECT_FALSE(queue.hasTask());
}

TEST_F(IdleQueueTest, EndsEachTaskOnceWhateverBecomesOfIt) {
    const auto held = std::make_shared<int>(0);
    queue.async([held] { throw std::runtime_error("out of film"); });
    queue.async(std::function<void()>());
    queue.async([this, held] { queue.clearAsyncQueue(); });
    queue.async([this, held] { log.push_back(1); });
    EXPECT_EQ(held.use_count(), 4);
    EXPECT_THROW(queue.updateQueue(), std::runtime_error);
    EXPECT_EQ(held.use_count(), 3);
    EXPECT_THROW(queue.updateQueue(), std::bad_function_call);
    queue.updateQueue();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_FALSE(queue.hasTask());
    auto doomed = std::make_unique<IdleQueue>();
    doomed->async([&doomed, held] { doomed.reset(); });
    doomed->async([this, held] { log.push_back(2); });
    doomed->updateQueue();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_THAT(log, ElementsAre());
}

// A task each of whose copies and ends uses the queue: under the queue's lock it would hang.
struct Meddler {
    explicit Meddler(IdleQueue& target) : queue(&target) {}
    Meddler(const Meddler& other) : queue(other.queue), failing(other.failing) {
        queue->hasTask();
        if (failing) {
            throw std::bad_alloc();
        }
    }
    Meddler& operator=(const Meddler&) = delete;
    ~Meddler() { queue->hasTask(); }
    void operator()() const { queue->hasTask(); }

    IdleQueue* queue;
    bool failing = false;
};

TEST_F(IdleQueueTest, RunsNoCodeOfATaskUnderItsLock) {
    std::function<void()> task = Meddler(queue);
    queue.async(task);
    queue.async(task);
    queue.updateQueue();
    EXPECT_TRUE(queue.hasTask());
    queue.clearAsyncQueue();
    EXPECT_FALSE(queue.hasTask());
    task.target<Meddler>()->failing = true;
    EXPECT_THROW(queue.async(task), std::bad_alloc);
    EXPECT_FALSE(queue.hasTask());
}

TEST_F(IdleQueueTest, ManyThreadsRunEachTaskOnce) {
    constexpr int kThreads = 4;
    constexpr int kTasks = 25000; // of each producer
    std::vector<std::vector<int>> runs(kThreads, std::vector<int>(kTasks));
    std::atomic<int> total{0};
    std::vector<std::thread> threads;
    for (std::vector<int>& mine : runs) {
        threads.emplace_back([&] {
            for (int& slot : mine) {
                // Not atomic: the queue's lock carries it over to whoever runs the task.
                slot = -1;
                queue.async([&slot, &total] {
                    slot += 2;
                    ++total;
                });
            }
        });
        threads.emplace_back([&] {
            while (total < kThreads * kTasks) {
                queue.updateQueue();
                if (!queue.hasTask()) {
                    std::this_thread::yield();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(runs, Each(Each(1)));
    EXPECT_FALSE(queue.hasTask());
}

TEST_F(IdleQueueTest, ClearingBesideOtherThreadsEndsEachTaskOnce) {
    const auto held = std::make_shared<int>(0);
    std::atomic<bool> done{false};
    std::thread producer([&] {
        for (int i = 0; i < 20000; ++i) {
            queue.async([held] {});
        }
        done = true;
    });
    std::thread runner([&] {
        while (!done) {
            queue.updateQueue();
        }
    });
    while (!done) {
        queue.clearAsyncQueue();
    }
    producer.join();
    runner.join();
    queue.clearAsyncQueue();
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
} // namespace Vexorel::PrismDrift
