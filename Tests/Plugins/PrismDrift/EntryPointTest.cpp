// The entry function: its results, its calls to the host, what it must not touch, and the context
// that it leaves current on the thread.

#include "EffectTest.h"
#include "Support/HostContexts.h"

#include "Shared/GL/AEOpenglMainFrameBuffer.h"

#include <glbinding/gl33core/gl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <tuple>

namespace Testing {
namespace {

using namespace gl33core;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Vexorel::PrismDrift::AEOpenglMainFrameBuffer;

/// In a host that has a context of this kind current, or none.
class EntryPoint : public EffectTest, public ::testing::WithParamInterface<std::optional<HostApi>> {
protected:
    void SetUp() override {
        if (GetParam()) {
            std::string whyNot;
            context = makeHostContext(*GetParam(), whyNot);
            ASSERT_NE(context, nullptr) << whyNot;
            host.current = currentState();
        }
        EffectTest::SetUp();
    }

    /// A frame that has to give 516 and leave the output and GL's names as they were.
    void expectRefusal(PF_LayerDef* input, std::int32_t outputRowBytes = 76) {
        World8 output(16, 16);
        output.layer()->rowbytes = outputRowBytes;
        const auto before = output.bytes();
        const int names = GLWatch::sharedNames();
        EXPECT_EQ(host.command(PF_Cmd_RENDER, input, output.layer()), 516);
        EXPECT_EQ(output.bytes(), before);
        EXPECT_EQ(host.held, 0);
        EXPECT_EQ(GLWatch::sharedNames(), names);
    }

    /// Runs the command and compares all that it may have written.
    void expectOutData(int command, const PF_OutData& expected, PF_Err answer = 0) {
        EXPECT_EQ(host.command(command), answer);
        EXPECT_EQ(std::memcmp(&expected, &host.outData, sizeof expected), 0) << command;
    }

    std::unique_ptr<HostContext> context;
};

INSTANTIATE_TEST_SUITE_P(With, EntryPoint,
                         ::testing::Values(std::nullopt, HostApi::eglDesktop, HostApi::eglEmbedded,
                                           HostApi::glx));

TEST_P(EntryPoint, SaysWhatTheEffectIsAndIgnoresWhatItDoesNotKnow) {
    std::memset(&host.outData, 0x5A, sizeof host.outData);
    PF_OutData expected = host.outData;
    for (const int unknown : {INT32_MIN, -1, 2, 5, 6, 7, 8, 9, 10, 12, 40, INT32_MAX}) {
        expectOutData(unknown, expected);
    }
    expected.my_version = 0x80001;
    expected.out_flags = expected.out_flags2 = 0;
    expectOutData(PF_Cmd_GLOBAL_SETUP, expected);
    EXPECT_THAT(host.calls, IsEmpty());
    host.failing = {{"acquire PF ANSI Suite 1", 1}};
    expectOutData(PF_Cmd_ABOUT, expected, 516);
    host.failing.clear();
    host.calls.clear();
    std::strcpy(expected.return_msg, "Prism Drift v1.0\rPrism Drift");
    expectOutData(PF_Cmd_ABOUT, expected);
    EXPECT_THAT(host.calls, ElementsAre("acquire PF ANSI Suite 1", "release PF ANSI Suite 1"));
}

std::string_view bytesOf(const PF_ParamDef& def) {
    return {reinterpret_cast<const char*>(&def), sizeof def};
}

TEST_P(EntryPoint, PublishesThirteenParametersUpToTheFirstRefusal) {
    const std::int32_t types[] = {7, 3, 10, 13, 10, 10, 10, 14, 13, 10, 10, 10, 14};
    const char* const names[] = {"Channel Order",
                                 "Shift Angle",
                                 "Shift Distance",
                                 "Channel Scale",
                                 "R Channel",
                                 "G Channel",
                                 "B Channel",
                                 "",
                                 "Channel Lightness",
                                 "R Channel",
                                 "G Channel",
                                 "B Channel",
                                 ""};
    const float low[] = {0, 0, -1000, 0, 0, 0, 0, 0, 0, -100, -100, -100, 0};
    const float high[] = {0, 0, 1000, 0, 200, 200, 200, 0, 0, 100, 100, 100, 0};
    const float initial[] = {0, 0, 0, 0, 100, 100, 100, 0, 0, 0, 0, 0, 0};
    ASSERT_EQ(host.command(PF_Cmd_PARAMS_SETUP), 0);
    ASSERT_EQ(host.added.size(), 13U);
    for (std::size_t i = 0; i < 13; ++i) {
        PF_ParamDef expected;
        std::memset(&expected, 0, sizeof expected); // every other byte of the union too
        expected.uu.id = static_cast<std::int32_t>(i) + 1;
        expected.param_type = types[i];
        std::copy_n(names[i], std::strlen(names[i]), expected.name);
        if (types[i] == 7) {
            expected.flags = 0x46;
            expected.u.pd = {1, 6, 1, {host.added[i].u.pd.u.namesptr}};
            EXPECT_STREQ(expected.u.pd.u.namesptr, "RGB|RBG|GRB|GBR|BRG|BGR");
        } else if (types[i] == 10) {
            expected.u.fs_d = {initial[i], low[i],         high[i], low[i], high[i],
                               initial[i], 0x1.99999ap-5F, 2,       0,      0};
        }
        EXPECT_EQ(bytesOf(host.added[i]), bytesOf(expected)) << i;
        TestHost refusing;
        refusing.failing["add " + std::to_string(i + 1)] = 700;
        EXPECT_EQ(refusing.command(PF_Cmd_PARAMS_SETUP), 700);
        EXPECT_EQ(refusing.outData.num_params, 14);
        EXPECT_EQ(refusing.calls.size(), i + 1);
    }
}

TEST_P(EntryPoint, DrawsTheFrameBehindAFailedCheckoutOrCheckin) {
    const int order[] = {2, 3, 10, 11, 12, 5, 6, 7, 1}; // in which a frame reads the parameters
    World8 source = randomPicture(31, 22, true, 8);
    for (std::size_t failed = 0; failed <= 9; ++failed) { // 9: none
        for (const bool atCheckin : {false, true}) {
            SCOPED_TRACE((atCheckin ? "check-in " : "checkout ") + std::to_string(failed));
            host.settings = with(4, 25, 6, {80, 90, 120}, {10, -20, 30});
            Settings expected = host.settings;
            host.calls.clear();
            host.failing = {{"checkin -", 42}}; // a later error never stands over the first one
            std::vector<std::string> calls;
            for (std::size_t i = 0; i < 9; ++i) {
                const std::string index = std::to_string(order[i]);
                if (i <= failed) {
                    calls.push_back("checkout " + index);
                }
                if (i == failed) {
                    host.failing[(atCheckin ? "checkin " : "checkout ") + index] = 41;
                }
                const bool out = i < failed || (i == failed && atCheckin);
                calls.push_back("checkin " + (out ? index : "-"));
                expected.at(static_cast<std::size_t>(order[i])) *= out ? 1 : 0;
            }
            for (const char* call : {"acquire PF Handle Suite 2", "new 2728", "lock", "unlock",
                                     "dispose", "release PF Handle Suite 2"}) {
                calls.emplace_back(call);
            }
            World8 output(31, 22);
            EXPECT_EQ(host.render(source, output), failed < 9 ? 41 : 0);
            EXPECT_EQ(host.calls, calls);
            host.settings = expected;
            expectPixels(host, source, output);
        }
    }
}

TEST_P(EntryPoint, CleansUpBehindAFrameThatBreaksOff) {
    World8 input = randomPicture(37, 23, false, 2);
    const std::function<void()> raises[] = {
        [] {}, // and the call fails
        [] { throw 3; }, [] { throw std::runtime_error("from the host"); }, [] { throw "text"; }};
    for (const std::string at :
         {"acquire PF Handle Suite 2", "new 3404", "lock", "checkout 2", "checkin 1"}) {
        for (const auto& raise : raises) {
            if (&raise == raises && at[0] == 'c') {
                continue; // a frame goes on behind that
            }
            SCOPED_TRACE(at + std::to_string(&raise - raises));
            expectSoundFrame();
            host.failing[at] = 1;
            host.onCall = [&](const std::string& call) { call == at ? raise() : void(); };
            expectRefusal(input.layer());
        }
    }
    expectSoundFrame();
}

TEST_P(EntryPoint, RefusesFramesBeyondTheLimits) {
    expectSoundFrame();
    const int tried = GLWatch::callsOf("glTexImage2D");
    World8 pixels(16, 16);
    const auto refuse = [&](int width, int height) {
        PF_LayerDef input{pixels.layer()->data, pixels.layer()->rowbytes, width, height};
        expectRefusal(&input);
    };
    for (const int side : {INT32_MIN, -5, -1, 0, 65536, 65537, INT32_MAX}) {
        refuse(side, 1);
        refuse(1, side);
        refuse(side, side);
    }
    GLWatch::pretendLimit(GL_MAX_TEXTURE_SIZE, 65535); // of a driver for huge textures
    GLWatch::pretendLimit(GL_MAX_RENDERBUFFER_SIZE, 65535);
    refuse(32768, 32768);
    refuse(65535, 65535);
    EXPECT_EQ(GLWatch::callsOf("glTexImage2D"), tried);
    refuse(20000, 20000); // after asking the driver
    for (const int rowBytes : {INT32_MIN, -76, 0, 63}) {
        PF_LayerDef input{pixels.layer()->data, rowBytes, 16, 16};
        expectRefusal(&input);
        expectRefusal(pixels.layer(), rowBytes);
        for (const auto& [width, height] :
             {std::pair(0, 16), std::pair(16, 0), std::pair(-1, 16)}) {
            PF_LayerDef nothing{nullptr, rowBytes, width, height};
            EXPECT_EQ(host.command(PF_Cmd_RENDER, pixels.layer(), &nothing), 0);
        }
    }
    expectSoundFrame();
}

TEST_P(EntryPoint, ComesBackFromADriverWithoutMemory) {
    World8 input = randomPicture(37, 23, false, 2);
    World8 output(37, 23);
    const auto before = output.bytes();
    GLWatch::leaveErrors(true);
    for (const std::string at : {"checkin 1", "release PF Handle Suite 2"}) {
        const bool isAsked = at == "checkin 1"; // else the error flag stays for the next frame
        host.onCall = [&](const std::string& call) {
            if (call == at) {
                glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(GL_RGBA32F), 16384, 16384, 0,
                             GL_RGBA, GL_FLOAT, nullptr);
            }
            if (call == at && isAsked) { // and the frame's own buffer has no storage
                glBindRenderbuffer(GL_RENDERBUFFER,
                                   AEOpenglMainFrameBuffer::mainFrameBuffer()->mMainRenderBuffer);
                glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA, 0, 0);
            }
        };
        EXPECT_EQ(host.render(input, output), isAsked ? 516 : 0);
        EXPECT_EQ(output.bytes() == before, isAsked);
        expectSoundFrame(); // with objects that were made anew
    }
    GLWatch::leaveErrors(false);
}

TEST_P(EntryPoint, RefusesACommandWithinACommand) {
    World8 input = randomPicture(8, 8, true, 4);
    World8 output(8, 8);
    World8 inner(8, 8);
    const auto before = inner.bytes();
    std::vector<PF_Err> answers;
    host.onCall = [&](const std::string& call) {
        if (call == "checkout 3") {
            TestHost second;
            for (const int cmd : {11, 3, 1, 0, 4}) {
                answers.push_back(second.command(cmd, input.layer(), inner.layer()));
            }
        }
    };
    EXPECT_EQ(host.render(input, output), 0);
    EXPECT_THAT(answers, ElementsAre(516, 516, 516, 0, 0));
    EXPECT_EQ(inner.bytes(), before);
    EXPECT_EQ(output.bytes(), input.bytes());
}

TEST_P(EntryPoint, KeepsItsObjectsUntilTheSetDown) {
    World8 input = randomPicture(16, 16, true, 4);
    const auto made = [] {
        return std::tuple(GLWatch::sharedNames(), GLWatch::callsOf("glGenFramebuffers"),
                          GLWatch::callsOf("glLinkProgram"), GLWatch::messages());
    };
    for (int round = 0; round < 3; ++round) {
        expectSoundFrame();
        const auto before = made();
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0); // the second one keeps the first
        expectSoundFrame();
        EXPECT_EQ(made(), before);
        EXPECT_TRUE(AEOpenglMainFrameBuffer::mainFrameBuffer()->mMultisample);
        for (int i = 1; i < 20; ++i) {
            expectFrame(host, randomPicture(i, 21 - i, true, 3));
        }
        EXPECT_EQ(GLWatch::sharedNames(), std::get<0>(before));
        EXPECT_LE(GLWatch::names("Framebuffers"), 3 + 3 * round); // of contexts that are gone, too
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
        EXPECT_EQ(GLWatch::sharedNames(), 0);
        host.calls.clear();
        expectRefusal(input.layer());
        EXPECT_THAT(host.calls, IsEmpty());
        for (const int cmd : {3, 0, 4, 1}) {
            EXPECT_EQ(host.command(cmd), 0) << cmd;
        }
    }
}

} // namespace
} // namespace Testing
