#pragma once

/// The frame around a test of the entry function: a watched, set-up effect and pictures for it.

#include "Support/GLWatch.h"
#include "Support/Reference.h"
#include "Support/TestHost.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace Testing {

/// Any 32-bit command number.
inline PF_Cmd command(int number) {
    return static_cast<PF_Cmd>(number);
}

/// What a random picture's alpha is like.
enum class Alpha { opaque, random };

Picture randomPicture(int width, int height, Alpha alpha, std::uint32_t seed);

/// Gives the host these settings to hand out.
void hand(TestHost& host, const Settings& settings);

/// Renders and compares with the reference; pictures are written where they disagree.
void expectFrame(TestHost& host, const Picture& source, const Settings& settings,
                 const std::string& name);

class EffectTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
        host.calls.clear();
    }
    /// The effect goes, the watch then looks at what is left.
    void TearDown() override { EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0); }

    /// A frame that shows whether the effect still works.
    void expectSoundFrame();

    GLWatch watch;
    TestHost host;
};

} // namespace Testing
