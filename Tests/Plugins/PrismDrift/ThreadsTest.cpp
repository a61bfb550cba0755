// Frames from several threads, threads that come and go, and what others in the process do to our
// contexts.

#include "EffectTest.h"
#include "Support/HostContexts.h"

#include "Platform/OpenGL/OpenGLContext.h"
#include "PrismDrift/Sources/Frame.h"

#include <EGL/egl.h>
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <malloc.h>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace Testing {
namespace {

using Vexorel::PrismDrift::GLCommand;

bool isLeakCheckOff = false; // for the rest of the process

class Threads : public EffectTest {
protected:
    void restart() {
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
    }
};

/// A frame of the calling thread's own host; a few sizes, so that they change between frames.
void expectFrame(int number) {
    TestHost own;
    own.settings = with(number % 6, number, number % 11);
    expectFrame(own, randomPicture(8 + number % 3, 8, false, static_cast<std::uint32_t>(number)));
}

// The threads keep their contexts; now and then two of them take the effect down and set it up
// again, while all others wait.
TEST_F(Threads, DrawEightAtOnceThroughSetDowns) {
    pthread_barrier_t barrier;
    pthread_barrier_init(&barrier, nullptr, 8);
    std::vector<std::future<void>> threads;
    for (int t = 0; t < 8; ++t) {
        threads.push_back(std::async(std::launch::async, [&, t] {
            for (int i = 0; i < 128; ++i) {
                expectFrame(i + 17 * t);
                if (i % 32 == 31) {
                    pthread_barrier_wait(&barrier);
                    t == 7 ? restart() : void(); // its thread has the shared data context then
                    pthread_barrier_wait(&barrier);
                    if (t == 6) {
                        expectFrame(i);
                        restart();
                        EXPECT_EQ(GLWatch::sharedNames(), 0);
                    }
                    pthread_barrier_wait(&barrier);
                }
            }
        }));
    }
    threads.clear(); // waits for them
    pthread_barrier_destroy(&barrier);
}

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

/// A thread ends with its context current, or one that a set-down took, while another draws.
/// Drivers crash on a context that is destroyed beside a frame.
TEST_F(Threads, EndWithinAFrameAndLeaveTheirContextsToTheNext) {
    for (const bool isSetDown : {false, true}) {
        SCOPED_TRACE(isSetDown);
        CGLContextObj context;
        const auto lives = [&] {
            EGLint type = 0;
            return eglQueryContext(context.display, context.context, EGL_CONTEXT_CLIENT_TYPE,
                                   &type) == EGL_TRUE;
        };
        std::promise<void> hasDrawn, mayEnd;
        std::thread thread([&] {
            expectFrame(1);
            context = CGLGetCurrentContext();
            hasDrawn.set_value();
            mayEnd.get_future().wait();
        });
        hasDrawn.get_future().wait();
        isSetDown ? restart() : void();
        host.onCall = [&](const std::string& call) {
            if (call == "checkout 5") {
                mayEnd.set_value();
                thread.join();
                EXPECT_TRUE(lives());
            }
        };
        World8 world(8, 8);
        EXPECT_EQ(host.render(world, world), 0);
        host.onCall = nullptr;
        expectSoundFrame();
        EXPECT_EQ(lives(), !isSetDown);
        std::thread([&] {
            expectFrame(2);
            EXPECT_EQ(CGLGetCurrentContext().number == context.number, !isSetDown);
        }).join();
    }
}

// The address sanitizer counts nothing here.
TEST_F(Threads, KeepNothingOfALargeFrameAfterASmallOne) {
    const auto allocated = [] {
        const struct mallinfo2 memory = mallinfo2();
        return static_cast<double>(memory.uordblks + memory.hblkhd) / (1 << 20);
    };
    expectSoundFrame();
    const double before = allocated();
    for (int i = 0; i < 3; ++i) {
        World8 large(1500, 1000);
        // No step may begin beside another, even where it happened to keep nothing.
        EXPECT_THAT(GLWatch::callsDuring([&] { EXPECT_EQ(host.render(large, large), 0); },
                                         "Finish TexSubImage2D DrawArrays BlitFramebuffer"),
                    ::testing::MatchesRegex("Finish.*TexSubImage2D.*Finish.*DrawArrays.*Finish.*"
                                            "BlitFramebuffer.*Finish.*DrawArrays.*"));
    }
    expectSoundFrame();
    EXPECT_LT(allocated() - before, 4.0) << "MiB; the source alone had 23";
}

TEST_F(Threads, DrawOnWhenSomeoneElseEndsTheDisplay) {
    // Ending a display while a context on it is current costs the driver a few bytes each time.
    isLeakCheckOff = true;
    watch.allowLostNames();
    watch.allowErrorsOf("glDeleteProgram"); // of programs that went with their contexts
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

// In a process of its own, which is about to end.
TEST(ProcessEndDeathTest, RefusesCommandsAndWaitsOnlySoLongForAFrame) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto endsInTime = [] {
        std::promise<void> inFrame;
        std::thread([&] {
            TestHost own;
            own.onCall = [&](const std::string& call) {
                if (call == "checkout 5") {
                    inFrame.set_value();
                    sleep(30); // as a host that waits for the thread that ends the process
                }
            };
            World8 world(8, 8);
            EXPECT_EQ(own.command(PF_Cmd_GLOBAL_SETUP), 0);
            own.render(world, world);
        }).detach();
        inFrame.get_future().wait();
        const auto begin = std::chrono::steady_clock::now();
        GLCommand::close();
        const auto waited = std::chrono::steady_clock::now() - begin;
        return waited > std::chrono::seconds(1) && waited < std::chrono::seconds(20);
    };
    EXPECT_EXIT(_exit(endsInTime() ? 0 : 1), ::testing::ExitedWithCode(0), "");
    const auto answer = [] {
        GLCommand::close();
        return TestHost().command(PF_Cmd_GLOBAL_SETUP);
    };
    EXPECT_EXIT(_exit(answer() == 516 ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace Testing

/// The leak checker asks at the end of the process.
extern "C" [[gnu::visibility("default")]] int __lsan_is_turned_off() {
    return Testing::isLeakCheckOff ? 1 : 0;
}
