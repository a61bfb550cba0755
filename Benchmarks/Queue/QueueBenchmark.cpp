// The work queue and its semaphore, each beside a rival that is timed in turns with it, so that a
// busy machine disturbs both alike. The counters are medians over the turns: `ours` and `rival` in
// seconds for one operation, `ratio` the one over the other.

#include "Shared/Helper/IdleQueue.h"

#include <benchmark/benchmark.h>
#include <semaphore.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <mutex>
#include <semaphore>
#include <thread>
#include <vector>

namespace {

using Vexorel::PrismDrift::IdleQueue;
using Vexorel::PrismDrift::Semaphore;

// The same queue as a developer would write it without the semaphore.
class MutexQueue {
public:
    void async(const std::function<void()>& task) {
        std::function<void()> copy = task;
        const std::lock_guard<std::mutex> lock(mMutex);
        mQueue.push_back(std::move(copy));
    }

    void updateQueue() {
        std::function<void()> task;
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            if (mQueue.empty()) {
                return;
            }
            task.swap(mQueue.front());
            mQueue.pop_front();
        }
        task();
    }

private:
    std::mutex mMutex;
    std::deque<std::function<void()>> mQueue;
};

struct OurSemaphore {
    explicit OurSemaphore(unsigned int count) : semaphore(count) {}
    void wait() { semaphore.wait(); }
    void signal() { semaphore.signal(); }
    Semaphore semaphore;
};

struct KernelSemaphore {
    explicit KernelSemaphore(unsigned int count) {
        semaphore_create(mach_task_self(), &name, SYNC_POLICY_LIFO, static_cast<int>(count));
    }
    ~KernelSemaphore() { semaphore_destroy(mach_task_self(), name); }
    void wait() { semaphore_wait(name); }
    void signal() { semaphore_signal(name); }
    semaphore_t name = 0;
};

struct StandardSemaphore {
    explicit StandardSemaphore(unsigned int count)
        : semaphore(static_cast<std::ptrdiff_t>(count)) {}
    void wait() { semaphore.acquire(); }
    void signal() { semaphore.release(); }
    std::counting_semaphore<> semaphore;
};

struct PosixSemaphore {
    explicit PosixSemaphore(unsigned int count) { sem_init(&semaphore, 0, count); }
    ~PosixSemaphore() { sem_destroy(&semaphore); }
    void wait() { sem_wait(&semaphore); }
    void signal() { sem_post(&semaphore); }
    sem_t semaphore{};
};

double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

template <typename Work>
double secondsOf(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Times `ours` and `rival`, which make `operations` of them each, in turns.
template <typename Ours, typename Rival>
void compare(benchmark::State& state, int operations, Ours ours, Rival rival) {
    std::vector<double> ourTimes;
    std::vector<double> rivalTimes;
    for ([[maybe_unused]] auto turn : state) {
        ourTimes.push_back(secondsOf(ours) / operations);
        rivalTimes.push_back(secondsOf(rival) / operations);
    }
    state.counters["ours"] = median(ourTimes);
    state.counters["rival"] = median(rivalTimes);
    state.counters["ratio"] = state.counters["ours"] / state.counters["rival"];
}

template <typename Ours, typename Rival>
void pair(benchmark::State& state) {
    constexpr int kPairs = 10000;
    const auto count = static_cast<unsigned int>(state.range(0));
    Ours ours(count);
    Rival rival(count);
    const auto run = [](auto& semaphore) {
        for (int i = 0; i < kPairs; ++i) {
            semaphore.wait();
            semaphore.signal();
        }
    };
    compare(
        state, kPairs, [&] { run(ours); }, [&] { run(rival); });
}

// Two threads that let each other through in turns.
template <typename Ours, typename Rival>
void pingPong(benchmark::State& state) {
    constexpr int kRounds = 500;
    const auto run = [](auto& ping, auto& pong) {
        std::thread partner([&] {
            for (int i = 0; i < kRounds; ++i) {
                ping.wait();
                pong.signal();
            }
        });
        for (int i = 0; i < kRounds; ++i) {
            ping.signal();
            pong.wait();
        }
        partner.join();
    };
    Ours ourPing(0), ourPong(0);
    Rival rivalPing(0), rivalPong(0);
    compare(
        state, kRounds, [&] { run(ourPing, ourPong); }, [&] { run(rivalPing, rivalPong); });
}

void alone(benchmark::State& state) {
    constexpr int kTasks = 10000;
    const auto run = [](auto& queue) {
        int ran = 0;
        const std::function<void()> task = [&ran] { ++ran; };
        for (int i = 0; i < kTasks; ++i) {
            queue.async(task);
            queue.updateQueue();
        }
        benchmark::DoNotOptimize(ran);
    };
    IdleQueue ours;
    MutexQueue rival;
    compare(
        state, kTasks, [&] { run(ours); }, [&] { run(rival); });
}

void fourProducers(benchmark::State& state) {
    constexpr int kEach = 5000;
    constexpr int kThreads = 4;
    const auto run = [](auto& queue) {
        int ran = 0; // by this thread alone
        const std::function<void()> task = [&ran] { ++ran; };
        std::array<std::thread, kThreads> producers;
        for (std::thread& producer : producers) {
            producer = std::thread([&] {
                for (int i = 0; i < kEach; ++i) {
                    queue.async(task);
                }
            });
        }
        while (ran < kThreads * kEach) {
            queue.updateQueue();
        }
        for (std::thread& producer : producers) {
            producer.join();
        }
    };
    IdleQueue ours;
    MutexQueue rival;
    compare(
        state, kThreads * kEach, [&] { run(ours); }, [&] { run(rival); });
}

// With one permit the standard library's release wakes the kernel each time; with two it does not.
BENCHMARK(pair<OurSemaphore, StandardSemaphore>)->Name("SemaphorePair")->Arg(1)->Arg(2);
BENCHMARK(pair<KernelSemaphore, StandardSemaphore>)->Name("KernelCallPair")->Arg(1)->Arg(2);
// The standard library's semaphore spins for a while before it sleeps; POSIX's sleeps, as ours
// does.
BENCHMARK(pingPong<OurSemaphore, StandardSemaphore>)->Name("PingPongToSpinning")->UseRealTime();
BENCHMARK(pingPong<OurSemaphore, PosixSemaphore>)->Name("PingPongToPosix")->UseRealTime();
BENCHMARK(alone)->Name("QueueAlone");
BENCHMARK(fourProducers)->Name("QueueFourProducers")->UseRealTime();

} // namespace

BENCHMARK_MAIN();
