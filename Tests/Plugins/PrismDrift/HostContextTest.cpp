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
    const struct {
        PF_Cmd cmd;
        World8* source;
        const char* failing;
        PF_Err expected;
    } steps[] = {
        {PF_Cmd_RENDER, &input, "", 516}, // without a set-up
        {PF_Cmd_GLOBAL_SETDOWN, &input, "", 0},
        {PF_Cmd_GLOBAL_SETUP, &input, "", 0},
        {PF_Cmd_GLOBAL_SETUP, &input, "", 0},
        {PF_Cmd_ABOUT, &input, "", 0},
        {PF_Cmd_PARAMS_SETUP, &input, "", 0},
        {PF_Cmd_RENDER, &input, "checkout 2", 7},
        {PF_Cmd_RENDER, &input, "new 576", 516},
        {PF_Cmd_RENDER, &input, "acquire PF Handle Suite 2", 516},
        {PF_Cmd_RENDER, &input, "throw", 516},
        {PF_Cmd_RENDER, &none, "", 516},
        {PF_Cmd_RENDER, &input, "", 0},
        {command(33), &input, "", 0},
        {PF_Cmd_GLOBAL_SETDOWN, &input, "", 0},
    };
    for (int round = 0; round < 2; ++round) {
        for (const auto& step : steps) {
            SCOPED_TRACE(&step - steps);
            host.failing = {{step.failing, 7}};
            host.onCall = [&](const std::string&) {
                if (step.failing == std::string("throw")) {
                    throw std::runtime_error("from the host");
                }
            };
            EXPECT_EQ(host.command(step.cmd, step.source->layer(), output.layer()), step.expected);
            EXPECT_EQ(currentState(), before);
        }
        EXPECT_EQ(Picture(output).pixels, Picture(input).pixels);
        EXPECT_EQ(GLWatch::sharedNames(), 0);
    }
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
