// The pixels of the effect, compared with an independent computation.

#include "EffectTest.h"

#include <cmath>
#include <random>

namespace Testing {
namespace {

class Pixels : public EffectTest {};

TEST_F(Pixels, NeutralSettingsGiveAnOpaquePictureBackToTheBit) {
    World8 input = randomPicture(61, 47, true, 1);
    for (int order = -1; order < 6; ++order) {
        World8 output(61, 47);
        host.settings = with(order, 77.5, 0);
        ASSERT_EQ(host.render(input, output), 0);
        EXPECT_EQ(output.bytes(), input.bytes()) << order;
    }
}

// Cases that the random ones below hardly ever reach.
TEST_F(Pixels, FollowTheReferenceInChosenCases) {
    const struct {
        int width, height;
        bool opaque;
        Settings settings;
    } cases[] = {
        {64, 48, true, with(0, 0, 10)},                                    // each letter
        {64, 48, true, with(0, 90, 10)},                                   // down the rows
        {64, 48, false, with(3, 0, 6.5)},                                  // half a pixel
        {40, 30, false, with(-1, 45, 9)},                                  // all alike
        {41, 31, true, with(0, 20, 6, {0, 0, 0})},                         // single points
        {64, 48, false, with(0, 0, 3, {100, 100, 100}, {100, -100, 100})}, // white, black
        {1, 1, true, with(0, 60, 5, {150, 100, 50})},                      // one pixel
        {4096, 3, true, with(0, 10, 900, {100, 120, 80})},                 // wide
        {4096, 5, true, with(0, 0, -321.5, {10, 200, 10.5})},
    };
    for (const auto& c : cases) {
        host.settings = c.settings;
        expectFrame(host, randomPicture(c.width, c.height, c.opaque, 11));
    }
}

TEST_F(Pixels, FollowTheReferenceAtRandom) {
    std::mt19937 random(20240607);
    const auto pick = [&](auto... choices) {
        const double all[] = {static_cast<double>(choices)...};
        return all[random() % (sizeof all / sizeof *all)];
    };
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (std::uint32_t i = 0; i < 400 && !HasFailure(); ++i) {
        const auto scale = [&] { return pick(0, 10, 100, 200, between(10, 200)); };
        const auto lightness = [&] { return pick(0, 0, -100, 100, between(-100, 100)); };
        const double angle = std::floor(between(-3000, 3000) * 256) / 256; // in fixed point too
        host.settings = with(static_cast<int>(random() % 6), angle,
                             pick(0, between(-20, 20), between(-1000, 1000)),
                             {scale(), scale(), scale()}, {lightness(), lightness(), lightness()});
        host.inData.downsample_x.den = 1 + random() % 4;
        expectFrame(host, randomPicture(static_cast<int>(1 + random() % 90),
                                        static_cast<int>(1 + random() % 90), i % 2 == 0, i));
    }
}

TEST_F(Pixels, FillWhatBothWorldsHave) {
    World8 source = randomPicture(12, 9, true, 4);
    for (const auto& [width, height] :
         {std::pair(5, 9), {12, 4}, {20, 15}, {3, 30}, {30, 3}, {1, 1}, {12, 0}, {0, 9}}) {
        expectFrame(host, source, width, height);
    }
}

} // namespace
} // namespace Testing
