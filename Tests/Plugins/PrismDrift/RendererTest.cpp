// The renderer's values and transforms, to the bit. They need no context.

#include "PrismDrift/Sources/Frame.h"
#include "PrismDrift/Sources/PrismDriftRender.h"
#include "Shared/GL/AEOpenglMainFrameBuffer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Testing {
namespace {

using namespace Vexorel::PrismDrift;

TEST(Renderer, TurnsTheHostsValuesIntoTransforms) {
    PrismDriftRender renderer;
    AEOpenglMainFrameBuffer& frame = *AEOpenglMainFrameBuffer::mainFrameBuffer();
    /// For a frame of this size, whose objects aren't made.
    const auto compose = [&](const FrameParameters& values, std::uint32_t denominator,
                             std::uint32_t width, std::uint32_t height) {
        PF_InData in{};
        in.downsample_x = {5, denominator};
        applyParameters(&in, values, renderer);
        frame.mWidth = width;
        frame.mHeight = height;
        renderer.composeTransform();
        frame.mWidth = frame.mHeight = 0;
    };
    const auto expectTransform = [](const Affine& t, double scale, double e, double f) {
        EXPECT_TRUE(t.a == scale && t.d == scale && t.b == 0.0 && t.c == 0.0);
        EXPECT_TRUE(t.e == e && t.f == f) << t.e << ' ' << t.f;
    };
    for (const int order : {-1, 6}) { // no order: all alike
        compose({0, 0.1F, {}, {100, 100, 100}, order}, 1, 100, 60);
        for (const Affine& t : {renderer.mRTransform, renderer.mGTransform, renderer.mBTransform}) {
            expectTransform(t, 1, 50.0 + double{0.1F} - 50.0, 0);
        }
    }
    compose({0, 8, {0, 12.7, -100}, {0, 200, 33.3}, RGB}, 2, 101, 35);
    expectTransform(renderer.mRTransform, 0, 50.5 - 4, 17.5); // a single point
    expectTransform(renderer.mGTransform, 0.5, 25.25, 8.75);
    const double inverse = static_cast<float>(1.0 / double{static_cast<float>(33.3 / 100.0)});
    expectTransform(renderer.mBTransform, inverse, 54.5 - inverse * 50.5, 17.5 - inverse * 17.5);
    EXPECT_EQ(renderer.mChannelOpacity.y, double{static_cast<float>(12.7 / 100.0)});
    EXPECT_EQ(renderer.mChannelOpacity.z, -1.0);
    compose({0, 0, {}, {0, 100, 100}, RGB}, 1, 65536 + 6, 65536 * 3 + 2); // sizes modulo 65536
    expectTransform(renderer.mRTransform, 0, 3, 1);
    compose({1, 10, {}, {std::nan(""), 1, 1}, BGR}, 0xFFFFFFFF, 8, 8); // without a sign
    EXPECT_TRUE(std::isnan(renderer.mRTransform.a));
    EXPECT_EQ(renderer.mShiftDistance, 10.0F / 4294967296.0F);
    EXPECT_EQ(renderer.mShiftAngle, 1.0F / 65536.0F);
    compose({INT32_MIN, 10, {}, {}, BGR}, 3, 8, 8);
    EXPECT_EQ(renderer.mShiftDistance, 10.0F / 3.0F);
    EXPECT_EQ(renderer.mShiftAngle, -32768.0F);
}

} // namespace
} // namespace Testing
