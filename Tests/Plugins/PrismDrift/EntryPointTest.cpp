// The entry function: what it answers, what it calls, and what it leaves alone.

#include "EffectTest.h"

#include <glbinding/gl33core/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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

using Sizes = std::vector<std::pair<int, int>>;

class EntryPoint : public EffectTest {
protected:
    /// A frame that has to give 516 and leave the output as it was.
    void expectRefusal(PF_LayerDef* input) {
        World8 output(16, 16);
        const auto before = output.bytes();
        EXPECT_EQ(host.command(PF_Cmd_RENDER, input, output.layer()), 516);
        EXPECT_EQ(output.bytes(), before);
        EXPECT_EQ(host.held, 0);
    }
};

TEST_F(EntryPoint, SaysWhatTheEffectIsAndIgnoresWhatItDoesNotKnow) {
    std::memset(&host.outData, 0x5A, sizeof host.outData);
    PF_OutData expected = host.outData;
    for (int number = -3; number <= 40; ++number) {
        if (number != 0 && number != 1 && number != 3 && number != 4 && number != 11) {
            EXPECT_EQ(host.command(command(number)), 0) << number;
        }
    }
    EXPECT_EQ(host.command(command(INT32_MIN)) + host.command(command(INT32_MAX)), 0);
    EXPECT_EQ(std::memcmp(&expected, &host.outData, sizeof expected), 0);
    expected.my_version = 0x80001;
    expected.out_flags = expected.out_flags2 = 0;
    EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
    EXPECT_EQ(std::memcmp(&expected, &host.outData, sizeof expected), 0);
    EXPECT_THAT(host.calls, IsEmpty());

    std::strcpy(expected.return_msg, "Prism Drift v1.0\rPrism Drift");
    EXPECT_EQ(host.command(PF_Cmd_ABOUT), 0);
    EXPECT_EQ(std::memcmp(&expected, &host.outData, sizeof expected), 0);
    EXPECT_THAT(host.calls, ElementsAre("acquire PF ANSI Suite 1", "release PF ANSI Suite 1"));
    host.failing = {{"acquire PF ANSI Suite 1", 1}};
    std::memset(&host.outData, 0x5A, sizeof host.outData);
    expected = host.outData;
    EXPECT_EQ(host.command(PF_Cmd_ABOUT), 516);
    EXPECT_EQ(std::memcmp(&expected, &host.outData, sizeof expected), 0);
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

TEST_F(EntryPoint, PublishesThirteenParametersUpToTheFirstRefusal) {
    PF_ParamDef popup = published(1, 7, "Channel Order");
    popup.flags = 0x46;
    popup.u.pd.value = 1;
    popup.u.pd.dephault = 1;
    popup.u.pd.num_choices = 6;
    ASSERT_EQ(host.command(PF_Cmd_PARAMS_SETUP), 0);
    EXPECT_EQ(host.outData.num_params, 14);
    ASSERT_EQ(host.added.size(), 13U);
    popup.u.pd.u.namesptr = host.added[0].u.pd.u.namesptr;
    EXPECT_STREQ(popup.u.pd.u.namesptr, "RGB|RBG|GRB|GBR|BRG|BGR");
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
    for (int id = 1; id <= 13; ++id) {
        const auto i = static_cast<std::size_t>(id - 1);
        EXPECT_EQ(std::memcmp(&host.added[i], &expected[i], sizeof popup), 0) << id;
        TestHost refusing;
        refusing.failing["add " + std::to_string(id)] = 700 + id;
        EXPECT_EQ(refusing.command(PF_Cmd_PARAMS_SETUP), 700 + id);
        EXPECT_EQ(refusing.outData.num_params, 14);
        EXPECT_EQ(refusing.calls.size(), i + 1);
    }
}

/// In the order in which a frame reads them.
const std::vector<std::string> kIndices{"2", "3", "10", "11", "12", "5", "6", "7", "1"};

/// The calls of a frame whose checkout or check-in fails at a place in that order, 9 for none: what
/// is behind it is only checked in.
std::vector<std::string> frameCalls(std::size_t failed, bool atCheckin, const char* bytes) {
    std::vector<std::string> calls;
    for (std::size_t i = 0; i < kIndices.size(); ++i) {
        if (i <= failed) {
            calls.push_back("checkout " + kIndices[i]);
        }
        const bool out = i < failed || (i == failed && atCheckin);
        calls.push_back("checkin " + (out ? kIndices[i] : "-"));
    }
    for (const char* call : {"acquire PF Handle Suite 2", bytes, "lock", "unlock", "dispose",
                             "release PF Handle Suite 2"}) {
        calls.emplace_back(call);
    }
    return calls;
}

/// What is left of the settings when only so many parameters could be read.
Settings settingsUntil(std::size_t count, Settings s) {
    double* const inOrder[] = {&s.angle,        &s.distance, &s.lightness[0], &s.lightness[1],
                               &s.lightness[2], &s.scale[0], &s.scale[1],     &s.scale[2]};
    for (std::size_t i = count; i < 8; ++i) {
        *inOrder[i] = 0.0;
    }
    s.order = count < 9 ? -1 : s.order;
    return s;
}

TEST_F(EntryPoint, DrawsTheFrameBehindAFailedCheckoutOrCheckin) {
    const Picture source = randomPicture(31, 22, Alpha::opaque, 8);
    const Settings whole{4, 25, 6, {80, 90, 120}, {10, -20, 30}, 2};
    hand(host, whole);
    for (std::size_t i = 0; i <= 9; ++i) {
        for (const bool atCheckin : {false, true}) {
            SCOPED_TRACE((atCheckin ? "check-in " : "checkout ") + std::to_string(i));
            World8 input(31, 22);
            World8 output(31, 22);
            source.copyTo(input);
            host.calls.clear();
            host.failing = {{"checkin -", 42}}; // a later error never stands over the first one
            if (i < 9) {
                host.failing[(atCheckin ? "checkin " : "checkout ") + kIndices[i]] = 41;
            }
            EXPECT_EQ(host.render(input, output), i < 9 ? 41 : 0);
            EXPECT_EQ(host.calls, frameCalls(i, atCheckin, "new 2728"));
            expectPicture(Picture(output), reference(source, settingsUntil(i + atCheckin, whole)),
                          "failed-parameter");
        }
    }
}

TEST_F(EntryPoint, CleansUpBehindAFrameThatBreaksOff) {
    World8 input(20, 10);
    randomPicture(20, 10, Alpha::random, 2).copyTo(input);
    expectSoundFrame();
    const int names = GLWatch::sharedNames();
    const auto throwAt = [&](const char* at, auto what) {
        return [this, at, what] {
            host.onCall = [at, what](const std::string& call) {
                if (call == at) {
                    throw what;
                }
            };
        };
    };
    const auto failAt = [&](const char* at) { return [this, at] { host.failing[at] = 1; }; };
    const std::function<void()> breaks[] = {
        failAt("acquire PF Handle Suite 2"),
        failAt("new 800"),
        failAt("lock"),
        throwAt("lock", 3),
        throwAt("checkout 2", 3),
        throwAt("checkin 1", 3),
        throwAt("checkout 12", std::runtime_error("from the host")),
        throwAt("acquire PF Handle Suite 2", std::bad_alloc()),
        throwAt("new 800", "text"),
    };
    for (const auto& prepare : breaks) {
        SCOPED_TRACE(&prepare - breaks);
        prepare();
        expectRefusal(input.layer());
        EXPECT_EQ(GLWatch::sharedNames(), names);
        expectSoundFrame();
        EXPECT_EQ(GLWatch::sharedNames(), names);
    }
}

TEST_F(EntryPoint, RefusesFramesBeyondTheLimits) {
    expectSoundFrame();
    const int names = GLWatch::sharedNames();
    gl::GLint largest = 0; // of the driver
    gl33core::glGetIntegerv(gl33core::GL_MAX_TEXTURE_SIZE, &largest);
    World8 pixels(16, 16);
    for (const auto& [width, height] : Sizes{{0, 16},
                                             {16, 0},
                                             {0, 0},
                                             {-1, 16},
                                             {16, -5},
                                             {INT32_MIN, INT32_MIN},
                                             {65536, 1},
                                             {1, 65536},
                                             {65537, 65537},
                                             {INT32_MAX, INT32_MAX},
                                             {largest + 1, 1},
                                             {1, largest + 1},
                                             {largest, largest}}) {
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        PF_LayerDef input = *pixels.layer();
        input.width = width;
        input.height = height;
        expectRefusal(&input);
        EXPECT_EQ(GLWatch::sharedNames(), names);
        expectSoundFrame();
    }
}

TEST_F(EntryPoint, WritesWhatBothWorldsHave) {
    const Picture source = randomPicture(12, 9, Alpha::opaque, 4);
    World8 input(12, 9);
    source.copyTo(input);
    for (const auto& [width, height] :
         Sizes{{12, 9}, {5, 9}, {12, 4}, {20, 15}, {3, 30}, {30, 3}, {1, 1}, {12, 0}, {0, 9}}) {
        SCOPED_TRACE(std::to_string(width) + " by " + std::to_string(height));
        World8 output(width, height);
        World8 expected(width, height);
        for (int y = 0; y < std::min(height, 9); ++y) {
            std::memcpy(&expected.at(0, y), &source.pixels[source.index(0, y)],
                        4 * static_cast<std::size_t>(std::min(width, 12)));
        }
        ASSERT_EQ(host.render(input, output), 0);
        EXPECT_EQ(output.bytes(), expected.bytes());
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
    for (int round = 0; round < 3; ++round) {
        expectSoundFrame();
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
        EXPECT_EQ(GLWatch::sharedNames(), 0);
        host.calls.clear();
        expectRefusal(input.layer());
        EXPECT_THAT(host.calls, IsEmpty());
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0); // without a setup
        EXPECT_EQ(host.command(PF_Cmd_ABOUT), 0);
        EXPECT_EQ(host.command(PF_Cmd_PARAMS_SETUP), 0);
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
    }
}

TEST_F(EntryPoint, KeepsItsObjectsFromFrameToFrame) {
    const auto counts = [] {
        return std::vector<int>{GLWatch::sharedNames(), GLWatch::callsOf("glGenFramebuffers"),
                                GLWatch::callsOf("glLinkProgram")};
    };
    expectSoundFrame();
    const auto before = counts();
    expectSoundFrame();
    EXPECT_EQ(counts(), before);
    for (int i = 1; i < 60; ++i) {
        expectFrame(host, randomPicture(i, 61 - i, Alpha::opaque, 3), {}, "changing-size");
    }
    EXPECT_EQ(GLWatch::sharedNames(), before[0]);
    EXPECT_LE(GLWatch::names("Framebuffers"), 3);
    EXPECT_LE(GLWatch::names("VertexArrays"), 2);
}

} // namespace
} // namespace Testing
