// The effect through its entry function: frames, threads, set-ups and set-downs.

#include "Plugins/PrismDrift/EffectTest.h"
#include "Soak/Meter.h"

#include "Shared/GL/MessageSink.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <cstdlib>
#include <random>
#include <thread>

namespace Testing {
namespace {

/// All names that there are, those of each context included.
int allNames() {
    return GLWatch::sharedNames() + GLWatch::names("Framebuffers") + GLWatch::names("VertexArrays");
}

/// A frame of an opaque picture with some settings, by a host of its own; compared with the
/// reference if `isChecked`.
void someFrame(std::uint32_t seed, int width, int height, bool isChecked) {
    std::mt19937 random(seed);
    const auto pick = [&](int low, int high) {
        return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
    };
    TestHost host;
    host.settings = with(pick(0, 5), pick(-720, 720), pick(-50, 50), {pick(0, 200) * 1.0, 100, 120},
                         {0, pick(-100, 100) * 1.0, 0});
    if (isChecked) {
        expectFrame(host, randomPicture(width, height, true, seed));
    } else {
        World8 input(width, height);
        World8 output(width, height);
        EXPECT_EQ(host.render(input, output), 0);
    }
}

class EffectSoak : public EffectTest {};

TEST_F(EffectSoak, Frames) {
    std::mt19937 random(7);
    for (Meter meter(10000, allNames); meter.next();) {
        const bool isLarge = meter.index() % 400 == 1;
        const int width = isLarge ? 1920 : 1 + static_cast<int>(random() % 320);
        const int height = isLarge ? 1080 : 1 + static_cast<int>(random() % 240);
        someFrame(static_cast<std::uint32_t>(random()), width, height,
                  meter.isChecked() && !isLarge);
        GLWatch::forgetMessages();
    }
}

// The C library takes blocks of this size from its heap, and may not use their places again.
// Without giving them back this would grow by up to 32 MiB a frame where other programs keep the
// processor busy.
TEST_F(EffectSoak, LargeFrames) {
    for (Meter meter(400, allNames, 400.0); meter.next();) {
        someFrame(static_cast<std::uint32_t>(meter.index()), 1920, 1080, false);
        GLWatch::forgetMessages();
    }
}

TEST_F(EffectSoak, Threads) {
    for (Meter meter(10000, allNames); meter.next();) {
        std::thread([&] {
            const int side = 8 + meter.index() % 50;
            someFrame(static_cast<std::uint32_t>(meter.index()), side, 16, meter.isChecked());
        }).join();
        GLWatch::forgetMessages();
    }
}

TEST_F(EffectSoak, SetUps) {
    for (Meter meter(1000, GLWatch::sharedNames); meter.next();) {
        someFrame(static_cast<std::uint32_t>(meter.index()), 32, 24, meter.isChecked());
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETDOWN), 0);
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
        GLWatch::forgetMessages();
    }
}

/// On Mesa's other rasteriser in software.
class SoftpipeSoak : public EffectTest {
protected:
    void SetUp() override {
        setenv("GALLIUM_DRIVER", "softpipe", 1);
        EffectTest::SetUp();
    }
};

TEST_F(SoftpipeSoak, Softpipe) {
    for (Meter meter(100, allNames); meter.next();) {
        someFrame(static_cast<std::uint32_t>(meter.index()), 32 + meter.index() % 9, 24, true);
    }
}

} // namespace
} // namespace Testing
