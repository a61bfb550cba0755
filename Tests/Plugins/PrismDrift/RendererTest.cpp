// The renderer's values and transforms to the bit, which need no context.

#include "PrismDrift/Sources/Parameters.h"
#include "PrismDrift/Sources/PrismDriftRender.h"
#include "Shared/GL/AEOpenglMainFrameBuffer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Testing {
namespace {

using namespace Vexorel::PrismDrift;

class Renderer : public ::testing::Test {
protected:
    void TearDown() override { resize(0, 0); }

    /// The frame's size without its objects.
    static void resize(std::uint32_t width, std::uint32_t height) {
        AEOpenglMainFrameBuffer::mainFrameBuffer()->mWidth = width;
        AEOpenglMainFrameBuffer::mainFrameBuffer()->mHeight = height;
    }
    void compose(int order, float distance, float angle) {
        renderer.setOrder(static_cast<ChannelOrder>(order));
        renderer.setShiftDistance(distance);
        renderer.setShiftAngle(angle);
        renderer.composeTransform();
    }
    static void expectTransform(const Affine& t, double scale, double e, double f) {
        EXPECT_TRUE(t.a == scale && t.d == scale && t.b == 0.0 && t.c == 0.0);
        EXPECT_EQ(t.e, e);
        EXPECT_EQ(t.f, f);
    }

    PrismDriftRender renderer;
};

TEST_F(Renderer, ComposesItsTransformsInTheirPrecision) {
    resize(100, 60);
    for (const int order : {-1, 6}) { // no order: all alike
        compose(order, 0.1F, 0);
        for (const Affine& t : {renderer.mRTransform, renderer.mGTransform, renderer.mBTransform}) {
            expectTransform(t, 1, 50.0 + double{0.1F} - 50.0, 0);
        }
    }
    resize(101, 35);
    renderer.setChannelScale(0.0F, 2.0F, 0.3F);
    compose(RGB, 4, 0);
    expectTransform(renderer.mRTransform, 0, 50.5 - 4, 17.5); // a single point
    expectTransform(renderer.mGTransform, 0.5, 25.25, 8.75);
    const double inverse = static_cast<float>(1.0 / double{0.3F});
    expectTransform(renderer.mBTransform, inverse, 54.5 - inverse * 50.5, 17.5 - inverse * 17.5);
    resize(65536 + 6, 65536 * 3 + 2); // sizes count modulo 65536
    compose(RGB, 0, 0);
    expectTransform(renderer.mRTransform, 0, 3, 1);
    renderer.setChannelScale(std::numeric_limits<float>::quiet_NaN(), 1, 1);
    compose(RGB, 0, 0);
    EXPECT_TRUE(std::isnan(renderer.mRTransform.a));
}

TEST_F(Renderer, ReceivesTheHostsValuesInItsOwnUnits) {
    PF_InData in{};
    FrameParameters values;
    values.distance = 10;
    values.order = 5;
    values.scale[1] = 33.3;
    values.lightness[1] = 12.7;
    values.lightness[2] = -100;
    const struct {
        std::int32_t fixed;
        float angle;
        std::uint32_t denominator;
        float distance;
    } rows[] = {{45 * 65536, 45.0F, 2, 5.0F},
                {std::numeric_limits<std::int32_t>::min(), -32768.0F, 3, 10.0F / 3.0F},
                {1, 1.0F / 65536.0F, 0xFFFFFFFF, 10.0F / 4294967296.0F}}; // without a sign
    for (const auto& [fixed, angle, denominator, distance] : rows) {
        values.angle = fixed;
        in.downsample_x = {5, denominator};
        applyParameters(&in, values, renderer);
        EXPECT_EQ(renderer.mShiftAngle, angle);
        EXPECT_EQ(renderer.mShiftDistance, distance);
    }
    EXPECT_EQ(renderer.mOrder, BGR);
    EXPECT_EQ(renderer.mChannelScale.y, double{static_cast<float>(33.3 / 100.0)});
    EXPECT_EQ(renderer.mChannelOpacity.y, double{static_cast<float>(12.7 / 100.0)});
    EXPECT_EQ(renderer.mChannelOpacity.z, -1.0);
}

} // namespace
} // namespace Testing
