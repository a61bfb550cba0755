// What a host has current on the thread, and what becomes of our contexts at its hands.

#include "EffectTest.h"
#include "Support/HostContexts.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace Testing {
namespace {

class HostsContext : public ::testing::TestWithParam<HostApi> {};

TEST_P(HostsContext, IsCurrentAgainAfterEveryCommand) {
    std::string whyNot;
    const std::unique_ptr<HostContext> context = makeHostContext(GetParam(), whyNot);
    if (context == nullptr) {
        GTEST_SKIP() << whyNot;
    }
    const auto before = currentState();
    GLWatch watch;
    TestHost host;
    World8 input(16, 9);
    World8 output(16, 9);
    randomPicture(16, 9, Alpha::opaque, 2).copyTo(input);
    World8 none(0, 9);
    const auto step = [&](const char* what, PF_Err expected, PF_Cmd cmd, World8* source) {
        EXPECT_EQ(host.command(cmd, source == nullptr ? nullptr : source->layer(), output.layer()),
                  expected)
            << what;
        EXPECT_EQ(currentState(), before) << what;
        host.failCheckout = 0;
        host.noHandle = false;
        host.onCall = nullptr;
        host.refusedSuites.clear();
    };
    for (int round = 0; round < 2; ++round) {
        step("a frame without a set-up", 516, PF_Cmd_RENDER, &input);
        step("a set-down without a set-up", 0, PF_Cmd_GLOBAL_SETDOWN, nullptr);
        step("set-up", 0, PF_Cmd_GLOBAL_SETUP, nullptr);
        step("a second set-up", 0, PF_Cmd_GLOBAL_SETUP, nullptr);
        step("about", 0, PF_Cmd_ABOUT, nullptr);
        step("parameters", 0, PF_Cmd_PARAMS_SETUP, nullptr);
        step("the first frame", 0, PF_Cmd_RENDER, &input);
        EXPECT_EQ(Picture(output).pixels, Picture(input).pixels);
        step("a further frame", 0, PF_Cmd_RENDER, &input);
        host.failCheckout = 1;
        step("a failed checkout", 7, PF_Cmd_RENDER, &input);
        host.noHandle = true;
        step("no handle", 516, PF_Cmd_RENDER, &input);
        host.refusedSuites = {"PF Handle Suite"};
        step("no suite", 516, PF_Cmd_RENDER, &input);
        host.onCall = [](const std::string&) { throw std::runtime_error("from the host"); };
        step("an exception", 516, PF_Cmd_RENDER, &input);
        step("an empty frame", 516, PF_Cmd_RENDER, &none);
        step("an unknown command", 0, command(33), nullptr);
        step("set-down", 0, PF_Cmd_GLOBAL_SETDOWN, nullptr);
    }
    // With a frame bound that is half made, the way back makes no error either.
    EXPECT_EQ(GLWatch::sharedNames(), 0);
}

INSTANTIATE_TEST_SUITE_P(Of, HostsContext,
                         ::testing::Values(HostApi::eglDesktop, HostApi::eglEmbedded, HostApi::glx),
                         [](const auto& test) {
                             return test.param == HostApi::glx          ? "Glx"
                                    : test.param == HostApi::eglDesktop ? "EglDesktop"
                                                                        : "EglEmbedded";
                         });

class SharedDisplay : public EffectTest {};

TEST_F(SharedDisplay, MayBeEndedBySomeoneElse) {
#ifdef __SANITIZE_ADDRESS__
    // Ending a display while a context on it is current costs the driver a few bytes each time.
    const __lsan::ScopedDisabler driverLeaks;
#endif
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
    // The shared data context is the one that is current after a set-up, and no other exists.
    EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
    EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
    ASSERT_TRUE(terminateCurrentDisplay());
    expectSoundFrame();
    // A host that goes on with a set-down is answered as well.
    ASSERT_TRUE(terminateCurrentDisplay());
    EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
    EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
    expectSoundFrame();
}

// Where the host had nothing current, ours stays; it is no hindrance to a host that takes it away.
TEST_F(SharedDisplay, MayBeLeftBetweenTwoFrames) {
    expectSoundFrame();
    releaseCurrentEgl();
    expectSoundFrame();
}

} // namespace
} // namespace Testing
