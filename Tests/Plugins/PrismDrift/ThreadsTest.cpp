// Frames from several threads, and threads that come and go.

#include "EffectTest.h"

#include "Shared/GL/AEOpenGLContextManager.h"
#include "Shared/Helper/Semaphore.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <pthread.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Testing {
namespace {

using Vexorel::PrismDrift::AEOpenGLContextManager;
using Vexorel::PrismDrift::Semaphore;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryIsOurs = false; // a sanitizer keeps freed memory back
#else
constexpr bool kMemoryIsOurs = true;
#endif

double residentMegabytes() {
    std::ifstream file("/proc/self/statm");
    double total = 0.0;
    double resident = 0.0;
    file >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

/// A thread that stays alive between the pieces of work that it is given.
class Worker {
public:
    Worker() : mThread([this] { run(); }) {}
    ~Worker() {
        perform(nullptr);
        mThread.join();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Returns when the work is done; null ends the thread.
    void perform(const std::function<void()>& work) {
        mWork = work;
        mGiven.signal();
        mDone.wait();
    }

private:
    void run() {
        for (bool more = true; more; mDone.signal()) {
            mGiven.wait();
            more = mWork != nullptr;
            if (more) {
                mWork();
            }
        }
    }

    std::function<void()> mWork;
    Semaphore mGiven{0}, mDone{0};
    std::thread mThread;
};

std::size_t renderContexts() {
    const Platform::MutexLock lock(AEOpenGLContextManager::mMapMutex);
    return AEOpenGLContextManager::mRenderContexts.size();
}

class Threads : public EffectTest {
protected:
    /// A frame of the calling thread's own host; a few sizes, so that they change between frames.
    static std::vector<std::uint8_t> frame(int number) {
        const int size = 8 + number % 3;
        TestHost own;
        Settings settings;
        settings.order = number % 6;
        settings.angle = number;
        settings.distance = number % 11;
        hand(own, settings);
        World8 input(size, 8);
        World8 output(size, 8);
        randomPicture(size, 8, Alpha::random, static_cast<std::uint32_t>(number)).copyTo(input);
        EXPECT_EQ(own.render(input, output), 0);
        return output.bytes();
    }
};

TEST_F(Threads, AThousandFramesOnEightAtOnceAreThoseOfOne) {
    constexpr int count = 125;
    std::vector<std::vector<std::uint8_t>> expected;
    for (int i = 0; i < count; ++i) {
        expected.push_back(frame(i));
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < count; ++i) {
                const int number = (i + 17 * t) % count;
                wrong += frame(number) == expected[static_cast<std::size_t>(number)] ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Threads, TakeTheirContextsWithThemAtTheirEnd) {
    const auto run = [&](int count) {
        for (int i = 0; i < count; ++i) {
            std::thread([&] { expectSoundFrame(); }).join();
            EXPECT_EQ(renderContexts(), 0U);
        }
        return residentMegabytes();
    };
    const double before = run(10);
    const double after = run(30);
    if (kMemoryIsOurs) {
        EXPECT_LT(after - before, 10.0); // a context that stays takes more than 2 each
    }
}

TEST_F(Threads, MayDrawInTurnAndTakeTheEffectDownFromAnywhere) {
    Worker drawing;
    Worker other;
    for (int round = 0; round < 3; ++round) {
        drawing.perform([&] { expectSoundFrame(); });
        other.perform([&] { frame(round); });
        drawing.perform([&] { expectSoundFrame(); });
        expectSoundFrame();
        EXPECT_EQ(renderContexts(), 3U);
        other.perform([&] { EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0); });
        EXPECT_EQ(GLWatch::sharedNames(), 0);
        EXPECT_EQ(AEOpenGLContextManager::getSharedDataContext(), nullptr);
        drawing.perform([&] {
            World8 world(4, 4);
            EXPECT_EQ(host.render(world, world), 516);
        });
        other.perform([&] { EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0); });
    }
}

TEST_F(Threads, MayBeCancelledInACallback) {
    expectSoundFrame();
    const int names = GLWatch::sharedNames();
    std::thread([] {
        TestHost own;
        own.onCall = [](const std::string& call) {
            if (call == "checkout 5") {
                pthread_exit(nullptr);
            }
        };
        World8 input(8, 8);
        World8 output(8, 8);
        own.render(input, output);
        ADD_FAILURE() << "the thread went on";
    }).join();
    EXPECT_EQ(GLWatch::sharedNames(), names);
    expectSoundFrame();
}

} // namespace
} // namespace Testing
