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
    const World plain = reducedTo8Bits(world);
    for (int x = 0; x < world.width(); ++x) {
        const int expected = x < 256 ? x : rows[x - 256].second;
        EXPECT_EQ(bytesOf(plain, 0)[x].red, expected) << x;
        EXPECT_EQ(bytesOf(plain, 0)[x].alpha, expected) << x;
    }
    EXPECT_THROW(reducedTo8Bits(plain), Error);
}

} // namespace
} // namespace Vexorel::PrismDrift::Host
