// The entry function: what it answers, what it calls, and what it leaves alone.

#include "EffectTest.h"

#include <glbinding/gl33core/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::vector<int> kReadOrder{2, 3, 10, 11, 12, 5, 6, 7, 1};

/// The calls of a whole frame; what is behind `lastCheckout` is only checked in.
std::vector<std::string> frameCalls(std::size_t lastCheckout, bool lastWorked, std::size_t bytes) {
    std::vector<std::string> calls;
    for (std::size_t i = 0; i < kReadOrder.size(); ++i) {
        const std::string index = std::to_string(kReadOrder[i]);
        if (i <= lastCheckout) {
            calls.push_back("checkout " + index);
        }
        const bool out = i < lastCheckout || (i == lastCheckout && lastWorked);
        calls.push_back("checkin " + (out ? index : "-"));
    }
    for (const std::string& call :
         {std::string("acquire PF Handle Suite 2"), "new " + std::to_string(bytes),
          std::string("lock"), std::string("unlock"), std::string("dispose"),
          std::string("release PF Handle Suite 2")}) {
        calls.push_back(call);
    }
    return calls;
}

class EntryPoint : public EffectTest {
protected:
    /// A frame that has to give 516 and leave the output as it was.
    void expectRefusal(PF_LayerDef* input) {
        World8 output(16, 16);
        const auto before = output.bytes();
        EXPECT_EQ(host.command(PF_Cmd_RENDER, input, output.layer()), 516);
        EXPECT_EQ(output.bytes(), before);
    }
};

TEST_F(EntryPoint, IgnoresCommandsThatItDoesNotKnow) {
    std::memset(&host.outData, 0x5A, sizeof host.outData);
    const PF_OutData before = host.outData;
    for (int number = -3; number <= 40; ++number) {
        const bool known = number == 0 || number == 1 || number == 3 || number == 4 || number == 11;
        if (!known) {
            EXPECT_EQ(host.command(command(number)), 0) << number;
        }
    }
    EXPECT_EQ(host.command(command(INT32_MIN)), 0);
    EXPECT_EQ(host.command(command(INT32_MAX)), 0);
    EXPECT_EQ(std::memcmp(&before, &host.outData, sizeof before), 0);
    EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EntryPoint, AboutWritesItsTextAndReleasesTheSuite) {
    std::memset(host.outData.return_msg, 'x', sizeof host.outData.return_msg);
    EXPECT_EQ(host.command(PF_Cmd_ABOUT), 0);
    EXPECT_STREQ(host.outData.return_msg, "Prism Drift v1.0\rPrism Drift");
    EXPECT_EQ(host.outData.return_msg[29], 'x');
    EXPECT_THAT(host.calls, ElementsAre("acquire PF ANSI Suite 1", "release PF ANSI Suite 1"));

    host.calls.clear();
    host.refusedSuites = {"PF ANSI Suite"};
    std::strcpy(host.outData.return_msg, "as it was");
    host.outData.out_flags = 64;
    EXPECT_EQ(host.command(PF_Cmd_ABOUT), 516);
    EXPECT_STREQ(host.outData.return_msg, "as it was");
    EXPECT_EQ(host.outData.out_flags, 64);
    EXPECT_THAT(host.calls, ElementsAre("acquire PF ANSI Suite 1"));
}

TEST_F(EntryPoint, SetupSaysWhatTheEffectIs) {
    std::memset(&host.outData, 0x5A, sizeof host.outData);
    PF_OutData expected = host.outData;
    expected.my_version = 0x80001;
    expected.out_flags = expected.out_flags2 = 0;
    EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
    EXPECT_EQ(std::memcmp(&expected, &host.outData, sizeof expected), 0);
    EXPECT_THAT(host.calls, IsEmpty());
}

/// A parameter as it has to be published, all other bytes 0.
PF_ParamDef published(std::int32_t id, PF_ParamType type, const char* name) {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof def);
    def.uu.id = id;
    def.param_type = type;
    std::strcpy(def.name, name);
    return def;
}

PF_ParamDef slider(std::int32_t id, const char* name, float low, float high, float initial) {
    PF_ParamDef def = published(id, 10, name);
    def.u.fs_d.value = initial;
    def.u.fs_d.dephault = initial;
    def.u.fs_d.valid_min = def.u.fs_d.slider_min = low;
    def.u.fs_d.valid_max = def.u.fs_d.slider_max = high;
    def.u.fs_d.precision = 2;
    const std::uint32_t bits = 0x3d4ccccd;
    std::memcpy(&def.u.fs_d.curve_tolerance, &bits, sizeof bits);
    return def;
}

TEST_F(EntryPoint, PublishesThirteenParameters) {
    PF_ParamDef popup = published(1, 7, "Channel Order");
    popup.flags = 0x46;
    popup.u.pd.value = 1;
    popup.u.pd.dephault = 1;
    popup.u.pd.num_choices = 6;
    const PF_ParamDef expected[] = {popup,
                                    published(2, 3, "Shift Angle"),
                                    slider(3, "Shift Distance", -1000, 1000, 0),
                                    published(4, 13, "Channel Scale"),
                                    slider(5, "R Channel", 0, 200, 100),
                                    slider(6, "G Channel", 0, 200, 100),
                                    slider(7, "B Channel", 0, 200, 100),
                                    published(8, 14, ""),
                                    published(9, 13, "Channel Lightness"),
                                    slider(10, "R Channel", -100, 100, 0),
                                    slider(11, "G Channel", -100, 100, 0),
                                    slider(12, "B Channel", -100, 100, 0),
                                    published(13, 14, "")};
    ASSERT_EQ(host.command(PF_Cmd_PARAMS_SETUP), 0);
    EXPECT_EQ(host.outData.num_params, 14);
    ASSERT_EQ(host.added.size(), 13U);
    EXPECT_STREQ(host.added[0].u.pd.u.namesptr, "RGB|RBG|GRB|GBR|BRG|BGR");
    popup.u.pd.u.namesptr = host.added[0].u.pd.u.namesptr;
    EXPECT_EQ(std::memcmp(&host.added[0], &popup, sizeof popup), 0);
    for (std::size_t i = 1; i < 13; ++i) {
        EXPECT_EQ(std::memcmp(&host.added[i], &expected[i], sizeof popup), 0) << i;
    }
}

TEST_F(EntryPoint, StopsPublishingAtTheFirstRefusal) {
    for (int position = 1; position <= 13; ++position) {
        TestHost refusing;
        refusing.failAdd = position;
        refusing.failure = 700 + position;
        EXPECT_EQ(refusing.command(PF_Cmd_PARAMS_SETUP), 700 + position);
        EXPECT_EQ(refusing.outData.num_params, 14);
        EXPECT_EQ(refusing.added.size(), static_cast<std::size_t>(position - 1));
        EXPECT_EQ(refusing.calls.size(), static_cast<std::size_t>(position));
    }
}

TEST_F(EntryPoint, RendersThroughTheHostsCallsInOrder) {
    World8 input(9, 7);
    World8 output(9, 7);
    randomPicture(9, 7, Alpha::opaque, 1).copyTo(input);
    ASSERT_EQ(host.render(input, output), 0);
    EXPECT_EQ(host.calls, frameCalls(8, true, 9 * 7 * 4));
}

/// A frame whose parameters fail from one position on: drawn with what was read until then.
Settings settingsUntil(std::size_t position, const Settings& whole) {
    Settings s;
    s.order = -1;
    s.scale = s.lightness = {0, 0, 0};
    s.downsample = whole.downsample;
    for (std::size_t i = 0; i < position; ++i) {
        const int index = kReadOrder[i];
        if (index == 2) {
            s.angle = whole.angle;
        } else if (index == 3) {
            s.distance = whole.distance;
        } else if (index >= 10) {
            s.lightness.at(static_cast<std::size_t>(index - 10)) =
                whole.lightness.at(static_cast<std::size_t>(index - 10));
        } else if (index >= 5) {
            s.scale.at(static_cast<std::size_t>(index - 5)) =
                whole.scale.at(static_cast<std::size_t>(index - 5));
        } else {
            s.order = whole.order;
        }
    }
    return s;
}

TEST_F(EntryPoint, DrawsTheFrameBehindAFailedCheckoutOrCheckin) {
    const Picture source = randomPicture(31, 22, Alpha::opaque, 8);
    const Settings whole{4, 25, 6, {80, 90, 120}, {10, -20, 30}, 2};
    hand(host, whole);
    for (const bool atCheckin : {false, true}) {
        for (int position = 1; position <= 9; ++position) {
            SCOPED_TRACE((atCheckin ? "check-in " : "checkout ") + std::to_string(position));
            World8 input(31, 22);
            World8 output(31, 22);
            source.copyTo(input);
            host.calls.clear();
            host.failCheckout = atCheckin ? 0 : position;
            host.failCheckin = atCheckin ? position : 0;
            host.failure = 900 + position;
            EXPECT_EQ(host.render(input, output), 900 + position);
            const auto last = static_cast<std::size_t>(position - 1);
            EXPECT_EQ(host.calls, frameCalls(last, atCheckin, 31 * 22 * 4));
            const Picture actual(output);
            const Expected expected =
                reference(source, settingsUntil(atCheckin ? last + 1 : last, whole));
            EXPECT_EQ(countBreaches(actual, expected), 0U)
                << report(actual, expected, "failed-parameter");
        }
    }
    // A later error never stands over the first one.
    World8 input(31, 22);
    World8 output(31, 22);
    source.copyTo(input);
    host.failCheckout = 3;
    host.failCheckin = 5;
    host.onCall = [&](const std::string& call) { host.failure = call == "checkout 10" ? 41 : 42; };
    EXPECT_EQ(host.render(input, output), 41);
    expectSoundFrame();
}

TEST_F(EntryPoint, CleansUpBehindAFrameThatBreaksOff) {
    World8 input(20, 10);
    randomPicture(20, 10, Alpha::random, 2).copyTo(input);
    expectSoundFrame();
    const int names = GLWatch::sharedNames();
    struct Break {
        const char* name;
        std::function<void()> prepare;
    };
    const auto throwAt = [&](const std::string& at, auto what) {
        return [this, at, what] {
            host.onCall = [at, what](const std::string& call) {
                if (call == at) {
                    throw what;
                }
            };
        };
    };
    const Break breaks[] = {
        {"no handle suite", [&] { host.refusedSuites = {"PF Handle Suite"}; }},
        {"no handle", [&] { host.noHandle = true; }},
        {"a handle that can't be locked", [&] { host.noLock = true; }},
        {"a lock that throws", throwAt("lock", 3)},
        {"an int", throwAt("checkout 2", 3)},
        {"an int at the end of the parameters", throwAt("checkin 1", 3)},
        {"an exception", throwAt("checkout 12", std::runtime_error("from the host"))},
        {"no memory", throwAt("acquire PF Handle Suite 2", std::bad_alloc())},
        {"a text", throwAt("new 800", "text")},
    };
    for (const Break& b : breaks) {
        SCOPED_TRACE(b.name);
        b.prepare();
        expectRefusal(input.layer());
        EXPECT_EQ(host.suitesHeld, 0);
        EXPECT_EQ(host.handlesHeld, 0);
        expectSoundFrame();
        EXPECT_EQ(GLWatch::sharedNames(), names);
    }
}

TEST_F(EntryPoint, RefusesFramesBeyondTheLimits) {
    const int names = GLWatch::sharedNames();
    World8 pixels(16, 16);
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{{0, 16},
                                                                        {16, 0},
                                                                        {0, 0},
                                                                        {-1, 16},
                                                                        {16, -5},
                                                                        {INT32_MIN, INT32_MIN},
                                                                        {65536, 1},
                                                                        {1, 65536},
                                                                        {65537, 65537},
                                                                        {INT32_MAX, INT32_MAX}}) {
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        PF_LayerDef input = *pixels.layer();
        input.width = width;
        input.height = height;
        expectRefusal(&input);
        EXPECT_EQ(GLWatch::sharedNames(), names);
        expectSoundFrame();
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
    }
}

TEST_F(EntryPoint, RefusesFramesBeyondTheDriver) {
    World8 input(1, 1);
    gl::GLint largest = 0;
    input.at(0, 0) = {255, 1, 2, 3};
    World8 output(1, 1);
    ASSERT_EQ(host.render(input, output), 0); // whose context is current now
    gl33core::glGetIntegerv(gl33core::GL_MAX_TEXTURE_SIZE, &largest);
    for (const auto& [width, height] :
         {std::pair<int, int>{largest + 1, 1}, {1, largest + 1}, {largest, largest}}) {
        PF_LayerDef layer = *input.layer();
        layer.width = width;
        layer.height = height;
        expectRefusal(&layer);
    }
    expectSoundFrame();
}

TEST_F(EntryPoint, WritesWhatBothWorldsHave) {
    const Picture source = randomPicture(12, 9, Alpha::opaque, 4);
    World8 input(12, 9);
    source.copyTo(input);
    for (const auto& [width, height] : std::vector<std::pair<int, int>>{
             {12, 9}, {5, 9}, {12, 4}, {20, 15}, {3, 30}, {30, 3}, {1, 1}, {12, 0}, {0, 9}}) {
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        World8 output(width, height);
        World8 untouched(width, height);
        ASSERT_EQ(host.render(input, output), 0);
        EXPECT_TRUE(output.gapsUntouched());
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const bool common = x < 12 && y < 9;
                const void* wanted = common ? static_cast<const void*>(&source.at(x, y))
                                            : static_cast<const void*>(&untouched.at(x, y));
                ASSERT_EQ(std::memcmp(&output.at(x, y), wanted, 4), 0) << x << ' ' << y;
            }
        }
    }
}

TEST_F(EntryPoint, RefusesACommandWithinACommand) {
    World8 input(8, 8);
    World8 output(8, 8);
    World8 inner(8, 8);
    randomPicture(8, 8, Alpha::opaque, 4).copyTo(input);
    const auto before = inner.bytes();
    std::vector<PF_Err> answers;
    host.onCall = [&](const std::string& call) {
        if (call == "checkout 3") {
            TestHost second;
            answers = {second.render(input, inner), second.command(PF_Cmd_GLOBAL_SETDOWN),
                       second.command(PF_Cmd_GLOBAL_SETUP), second.command(PF_Cmd_ABOUT),
                       second.command(PF_Cmd_PARAMS_SETUP)};
        }
    };
    EXPECT_EQ(host.render(input, output), 0);
    EXPECT_THAT(answers, ElementsAre(516, 516, 516, 0, 0));
    EXPECT_EQ(inner.bytes(), before);
    EXPECT_EQ(Picture(output).pixels, Picture(input).pixels);
    expectSoundFrame();
}

TEST_F(EntryPoint, LivesThroughItsSetupsAndSetdowns) {
    World8 input(8, 8);
    randomPicture(8, 8, Alpha::opaque, 4).copyTo(input);
    expectSoundFrame();
    const std::string messages = GLWatch::messages();
    EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0); // the second one keeps the first
    EXPECT_EQ(GLWatch::messages(), messages);
    expectSoundFrame();
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
        EXPECT_EQ(GLWatch::sharedNames(), 0);
        expectRefusal(input.layer());
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0); // without a setup
        EXPECT_EQ(host.command(PF_Cmd_ABOUT), 0);
        EXPECT_EQ(host.command(PF_Cmd_PARAMS_SETUP), 0);
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
        expectSoundFrame();
    }
}

TEST_F(EntryPoint, KeepsItsObjectsFromFrameToFrame) {
    expectSoundFrame();
    const int names = GLWatch::sharedNames();
    const int frameBuffers = GLWatch::callsOf("glGenFramebuffers");
    const int built = GLWatch::callsOf("glLinkProgram");
    for (int i = 0; i < 5; ++i) {
        expectSoundFrame();
    }
    EXPECT_EQ(GLWatch::callsOf("glGenFramebuffers"), frameBuffers);
    EXPECT_EQ(GLWatch::callsOf("glLinkProgram"), built);
    for (int i = 1; i < 60; ++i) {
        expectFrame(host, randomPicture(i, 61 - i, Alpha::opaque, 3), {}, "changing-size");
    }
    EXPECT_EQ(GLWatch::sharedNames(), names);
    EXPECT_LE(GLWatch::names("Framebuffers"), 3);
    EXPECT_LE(GLWatch::names("VertexArrays"), 2);
}

TEST(EntryPointWithoutSetup, RefusesToRender) {
    const GLWatch watch;
    TestHost host;
    World8 input(4, 4);
    World8 output(4, 4);
    const auto before = output.bytes();
    EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
    EXPECT_EQ(host.render(input, output), 516);
    EXPECT_EQ(output.bytes(), before);
    EXPECT_THAT(host.calls, IsEmpty());
    EXPECT_EQ(GLWatch::messages(), "");
}

} // namespace
} // namespace Testing
