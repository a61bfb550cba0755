// The pixels of the effect, against a computation of its own.

#include "EffectTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace Testing {
namespace {

class Pixels : public EffectTest {};

Settings with(int order, double angle, double distance,
              std::array<double, 3> scale = {100, 100, 100},
              std::array<double, 3> lightness = {0, 0, 0}, std::uint32_t downsample = 1) {
    return {order, angle, distance, scale, lightness, downsample};
}

TEST_F(Pixels, NeutralSettingsGiveAnOpaquePictureBackToTheBit) {
    for (int order = -1; order < 6; ++order) {
        const Picture source = randomPicture(61, 47, Alpha::opaque, 1);
        World8 input(61, 47);
        World8 output(61, 47);
        source.copyTo(input);
        hand(host, with(order, 77.5, 0));
        ASSERT_EQ(host.render(input, output), 0);
        EXPECT_EQ(Picture(output).pixels, source.pixels) << order;
    }
}

// What the random ones below hardly come to.
TEST_F(Pixels, FollowTheReferenceInChosenCases) {
    const struct {
        const char* name;
        int width, height;
        Alpha alpha;
        Settings settings;
    } cases[] = {
        {"each-letter-moves", 64, 48, Alpha::opaque, with(0, 0, 10)},
        {"down-the-rows", 64, 48, Alpha::opaque, with(0, 90, 10)},
        {"half-pixel", 64, 48, Alpha::random, with(3, 0, 6.5)},
        {"all-alike", 40, 30, Alpha::random, with(-1, 45, 9)},
        {"scale-0", 41, 31, Alpha::opaque, with(0, 20, 6, {0, 0, 0})},
        {"white-black", 64, 48, Alpha::random, with(0, 0, 3, {100, 100, 100}, {100, -100, 100})},
        {"one-pixel", 1, 1, Alpha::opaque, with(0, 60, 5, {150, 100, 50})},
        {"4096-wide", 4096, 3, Alpha::opaque, with(0, 10, 900, {100, 120, 80})},
        {"4096-wide-scaled", 4096, 5, Alpha::opaque, with(0, 0, -321.5, {10, 200, 10.5})},
    };
    for (const auto& c : cases) {
        expectFrame(host, randomPicture(c.width, c.height, c.alpha, 11), c.settings, c.name);
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
    for (int i = 0; i < 400; ++i) {
        const int width = static_cast<int>(1 + random() % 90);
        const int height = static_cast<int>(1 + random() % 90);
        Settings s;
        s.order = static_cast<int>(random() % 6);
        s.angle =
            std::floor(between(-3000, 3000) * 256) / 256; // which the host's fixed point holds
        s.distance = pick(0, between(-20, 20), between(-1000, 1000));
        for (double& scale : s.scale) {
            scale = pick(0, 10, 100, 200, between(10, 200));
        }
        for (double& lightness : s.lightness) {
            lightness = pick(0, 0, -100, 100, between(-100, 100));
        }
        s.downsample = 1 + random() % 4;
        expectFrame(host,
                    randomPicture(width, height, i % 2 == 0 ? Alpha::opaque : Alpha::random,
                                  static_cast<std::uint32_t>(i)),
                    s, "random-" + std::to_string(i));
        if (HasFailure()) {
            break;
        }
    }
}

// A comparison that lets visibly different pictures pass would be worth nothing.
TEST(PixelLimit, TellsNearPicturesApart) {
    const Picture source = randomPicture(64, 48, Alpha::opaque, 3);
    const Settings base = with(0, 20, 9);
    const Expected expected = reference(source, base);
    ASSERT_EQ(countBreaches(expected.picture, expected), 0U);
    const Settings near[] = {with(5, 20, 9), with(0, 21, 9), with(0, 20, 9.5),
                             with(0, 20, 9, {100, 101, 100}),
                             with(0, 20, 9, {100, 100, 100}, {1.5, 0, 0})};
    for (const Settings& other : near) {
        EXPECT_GT(countBreaches(reference(source, other).picture, expected),
                  source.pixels.size() / 4)
            << describe(other);
    }
    Picture faint = expected.picture;
    faint.pixels[325][0] = 254;
    EXPECT_EQ(countBreaches(faint, expected), 1U);
    Picture moved = expected.picture;
    std::rotate(moved.pixels.begin(), moved.pixels.begin() + 1, moved.pixels.end());
    EXPECT_GT(countBreaches(moved, expected), source.pixels.size());
}

} // namespace
} // namespace Testing
