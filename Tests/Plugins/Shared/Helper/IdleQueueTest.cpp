#include "Shared/Helper/IdleQueue.h"

#include "Tests/Platform/Kernel/BlockingTest.h"

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

namespace Vexorel::PrismDrift {
namespace {

using testing::Each;
using testing::ElementsAre;

static_assert(std::has_virtual_destructor_v<IdleQueue>);
static_assert(std::is_same_v<decltype(IdleQueue::mQueue), std::deque<std::function<void()>>>);

class IdleQueueTest : public BlockingTest {
protected:
    std::vector<int> log;
    IdleQueue queue;
};

TEST_F(IdleQueueTest, RunsOneTaskATurnInTheirOrder) {
    queue.updateQueue(); // of nothing
    queue.async([this] {
        queue.async([this] { log.push_back(3); });
        log.push_back(1);
        EXPECT_TRUE(queue.hasTask());
        queue.updateQueue(); // runs the next one, from inside
    });
    queue.async([this] { log.push_back(2); });
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
    const auto never = [this, held] { log.push_back(1); };
    queue.async([held] { throw std::runtime_error("out of film"); });
    queue.async(std::function<void()>());
    queue.async([this, held] { queue.clearAsyncQueue(); });
    queue.async(never);
    EXPECT_THROW(queue.updateQueue(), std::runtime_error);
    EXPECT_EQ(held.use_count(), 4);
    EXPECT_THROW(queue.updateQueue(), std::bad_function_call);
    queue.updateQueue();
    EXPECT_FALSE(queue.hasTask());
    auto doomed = std::make_unique<IdleQueue>();
    doomed->async([&doomed, held] { doomed.reset(); });
    doomed->async(never);
    doomed->updateQueue();
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_THAT(log, ElementsAre());
}

/// Uses the queue whenever it is copied, called or destroyed: under the queue's lock that hangs.
struct Meddler {
    explicit Meddler(IdleQueue& target) : queue(&target) {}
    Meddler(const Meddler& other) : queue(other.queue), failing(other.failing) {
        queue->hasTask();
        if (failing) {
            throw std::bad_alloc();
        }
    }
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
    task.target<Meddler>()->failing = true;
    EXPECT_THROW(queue.async(task), std::bad_alloc);
    EXPECT_FALSE(queue.hasTask());
}

TEST_F(IdleQueueTest, WaitsForItsLockInEveryOperation) {
    const std::function<void()> uses[] = {
        [this] { queue.async([] {}); }, [this] { queue.hasTask(); },
        [this] { queue.updateQueue(); }, [this] { queue.clearAsyncQueue(); }};
    for (const std::function<void()>& use : uses) {
        queue.mSemaphore->wait();
        const auto blocked = sleepIn(use);
        queue.mSemaphore->signal();
    }
}

TEST_F(IdleQueueTest, ManyThreadsEndEachTaskOnce) {
    std::vector<int> runs(30000);
    std::atomic<std::size_t> ended{0};
    const auto append = [&](std::size_t first) {
        for (std::size_t i = first; i < runs.size(); i += 3) {
            runs[i] = -1; // not atomic: the queue's lock carries it over to the task's thread
            const std::shared_ptr<int> task(&runs[i], [&ended](int*) { ++ended; });
            queue.async([task] { *task += 2; });
        }
    };
    const auto run = [&] {
        while (ended < runs.size()) {
            queue.updateQueue();
            std::this_thread::yield();
        }
    };
    std::vector<std::future<void>> threads;
    for (const std::size_t first : {0U, 1U, 2U}) {
        threads.push_back(std::async(std::launch::async, append, first));
        threads.push_back(std::async(std::launch::async, run));
    }
    threads.clear(); // waits for them
    EXPECT_THAT(runs, Each(1));
}

} // namespace
} // namespace Vexorel::PrismDrift
