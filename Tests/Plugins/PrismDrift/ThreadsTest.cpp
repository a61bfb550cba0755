// Frames from several threads, threads that come and go, and what others in the process do to our
// contexts.

#include "EffectTest.h"
#include "Support/HostContexts.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <atomic>
#include <fstream>
#include <future>
#include <pthread.h>
#include <thread>

namespace Testing {
namespace {

class Threads : public EffectTest {
protected:
    /// A frame of the calling thread's own host; a few sizes, so that they change between frames.
    static std::vector<std::uint8_t> frame(int number, PF_Err answer = 0) {
        TestHost own;
        own.settings = with(number % 6, number, number % 11);
        World8 input = randomPicture(8 + number % 3, 8, false, static_cast<std::uint32_t>(number));
        World8 output(input.width(), 8);
        EXPECT_EQ(own.render(input, output), answer);
        return output.bytes();
    }
};

// The threads keep their contexts; now and then one of them takes the effect down and sets it up
// again, while all others wait.
TEST_F(Threads, EightAtOnceDrawTheFramesOfOneThroughSetDowns) {
    constexpr int count = 125;
    std::vector<std::vector<std::uint8_t>> expected;
    for (int i = 0; i < count; ++i) {
        expected.push_back(frame(i));
    }
    std::atomic<int> wrong{0};
    pthread_barrier_t barrier;
    pthread_barrier_init(&barrier, nullptr, 8);
    const auto body = [&](int t) {
        for (int i = 0; i < count; ++i) {
            const int number = (i + 17 * t) % count;
            wrong += frame(number) == expected[static_cast<std::size_t>(number)] ? 0 : 1;
            if (i % 40 != 39) {
                continue;
            }
            pthread_barrier_wait(&barrier);
            if (t == 7) { // on which the shared data context stays current
                EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
                EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
            }
            pthread_barrier_wait(&barrier);
            if (t == 6) {
                frame(1);
                EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
                EXPECT_EQ(GLWatch::sharedNames(), 0);
                frame(1, 516);
                EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
            }
            pthread_barrier_wait(&barrier);
        }
    };
    std::vector<std::future<void>> threads;
    for (int t = 0; t < 8; ++t) {
        threads.push_back(std::async(std::launch::async, body, t));
    }
    threads.clear(); // waits for them
    pthread_barrier_destroy(&barrier);
    EXPECT_EQ(wrong, 0);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which keep freed memory
TEST_F(Threads, TakeTheirContextsWithThemAtTheirEnd) {
    const auto residentPages = [&](int count) {
        for (int i = 0; i < count; ++i) {
            std::thread([&] { expectSoundFrame(); }).join();
        }
        std::ifstream file("/proc/self/statm");
        long pages = 0;
        file >> pages >> pages;
        return pages;
    };
    const long before = residentPages(10);
    EXPECT_LT(residentPages(30) - before, 2500); // a context that stays takes more than 500
}
#endif

TEST_F(Threads, MayEndInACallbackOrBeCancelledBehindTheFrame) {
    expectSoundFrame();
    const int names = GLWatch::sharedNames();
    for (const bool ends : {true, false}) {
        bool drawn = false;
        std::thread([&] {
            TestHost own;
            own.onCall = [&](const std::string& call) {
                if (call == "checkout 5") {
                    ends ? pthread_exit(nullptr) : (void)pthread_cancel(pthread_self());
                    pthread_testcancel();
                }
            };
            World8 world(8, 8);
            drawn = own.render(world, world) == 0;
            pthread_testcancel();
            ADD_FAILURE() << "the thread went on";
        }).join();
        EXPECT_EQ(drawn, !ends);
        EXPECT_EQ(GLWatch::sharedNames(), names);
        expectSoundFrame();
    }
}

TEST_F(Threads, DrawOnWhenSomeoneElseEndsTheDisplay) {
#ifdef __SANITIZE_ADDRESS__
    // Ending a display while a context on it is current costs the driver a few bytes each time.
    const __lsan::ScopedDisabler driverLeaks;
#endif
    watch.allowLostNames();
    watch.allowErrorsOf("glDeleteProgram"); // of programs that went with their contexts
    const auto restart = [&] {
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
    };
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        expectSoundFrame();
        std::thread([&] { expectSoundFrame(); }).join();
        ASSERT_TRUE(terminateCurrentDisplay());
        if (round == 1) {
            std::thread([&] { expectSoundFrame(); }).join();
        }
        expectSoundFrame();
    }
    restart(); // now only the shared data context exists
    ASSERT_TRUE(terminateCurrentDisplay());
    expectSoundFrame();
    ASSERT_TRUE(terminateCurrentDisplay());
    restart(); // a host that goes on with a set-down is answered as well
    expectSoundFrame();
    releaseCurrentEgl(); // where the host had nothing current, ours stays: it may take it away
    expectSoundFrame();
}

} // namespace
} // namespace Testing
