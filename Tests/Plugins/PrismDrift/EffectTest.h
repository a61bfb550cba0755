#pragma once

/// For tests of the entry function: a watched effect that is set up, and pictures for it.

#include "Support/GLWatch.h"
#include "Support/Reference.h"

namespace Testing {

/// Random colours. Alpha is 255 if opaque; else a quarter of the pixels each have 255, 0, less than
/// 8 and anything.
World8 randomPicture(int width, int height, bool opaque, std::uint32_t seed);

Settings with(int order, double angle, double distance,
              std::array<double, 3> scale = {100, 100, 100},
              std::array<double, 3> lightness = {0, 0, 0});

/// Renders into a world of this size and compares the rows and columns that both worlds have with
/// the reference. Everything else must stay as it was.
void expectFrame(TestHost& host, World8& source, int width, int height);

inline void expectFrame(TestHost& host, World8 source) {
    expectFrame(host, source, source.width(), source.height());
}

class EffectTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
        host.calls.clear();
    }
    /// Before the watch ends, which then reports the names that are left.
    void TearDown() override { EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0); }

    /// A frame that shows whether the effect still works.
    void expectSoundFrame();

    GLWatch watch;
    TestHost host;
};

} // namespace Testing
