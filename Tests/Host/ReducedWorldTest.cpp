#include "Host/Library/ReducedWorld.h"
#include "Host/Library/Error.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace Vexorel::PrismDrift::Host {
namespace {

PF_PixelFloat* floatsOf(World& world, int y) {
    return reinterpret_cast<PF_PixelFloat*>(world.row(y));
}

const PF_Pixel8* bytesOf(const World& world, int y) {
    return reinterpret_cast<const PF_Pixel8*>(world.row(y));
}

TEST(ReducedWorld, LevelsStayAndOthersBecomeTheNearest) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::pair<float, int> rows[] = {
        {0.5F, 128},        {127.49F / 255, 127}, {127.51F / 255, 128}, {-0.2F, 0},
        {1.7F, 255},        {infinity, 255},      {-infinity, 0},       {1e30F, 255},
        {std::nanf(""), 0}, {254.6F / 255, 255},  {0.49F / 255, 0}};
    World world(256 + static_cast<int>(std::size(rows)), 1, PF_PixelFormat_ARGB128);
    for (int x = 0; x < world.width(); ++x) {
        const float value = x < 256 ? static_cast<float>(x) / 255 : rows[x - 256].first;
        floatsOf(world, 0)[x] = {value, value, 0, value};
    }
    const World plain = reducedTo8Bits(world, false);
    const World dithered = reducedTo8Bits(world, true);
    for (int x = 0; x < world.width(); ++x) {
        const int expected = x < 256 ? x : rows[x - 256].second;
        EXPECT_EQ(bytesOf(plain, 0)[x].red, expected) << x;
        EXPECT_EQ(bytesOf(plain, 0)[x].alpha, expected) << x;
        EXPECT_EQ(bytesOf(dithered, 0)[x].alpha, expected) << x;
        if (x < 256) {
            EXPECT_EQ(bytesOf(dithered, 0)[x].blue, expected) << x;
        }
    }
    EXPECT_THROW(reducedTo8Bits(plain, true), Error);
}

TEST(ReducedWorld, DitherKeepsTheMeanOfEveryAreaInAPatternWithoutRuns) {
    World world(64, 48, PF_PixelFormat_ARGB128);
    for (const float level : {100.F, 100.03F, 100.25F, 100.5F, 100.8F, 0.3F, 254.9F}) {
        for (int y = 0; y < world.height(); ++y) {
            std::fill_n(floatsOf(world, y), 64, PF_PixelFloat{1, level / 255, 0, 1});
        }
        const World dithered = reducedTo8Bits(world, true);
        int sum = 0; // at half a level no two neighbours in a row are equal
        for (int y = 8; y < 16; ++y) {
            for (int x = 24; x < 32; ++x) {
                sum += bytesOf(dithered, y)[x].red;
                EXPECT_TRUE(level != 100.5F ||
                            bytesOf(dithered, y)[x].red != bytesOf(dithered, y)[x + 1].red);
                EXPECT_EQ(bytesOf(dithered, y)[x].green, 0);
                EXPECT_EQ(bytesOf(dithered, y)[x].blue, 255);
            }
        }
        EXPECT_NEAR(sum / 64.0, level, 0.51 / 64) << level;
    }
}

} // namespace
} // namespace Vexorel::PrismDrift::Host
