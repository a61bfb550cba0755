#include "EffectTest.h"

#include <algorithm>
#include <random>

namespace Testing {

World8 randomPicture(int width, int height, bool opaque, std::uint32_t seed) {
    std::mt19937 random(seed);
    World8 picture(width, height);
    for (int i = 0; i < width * height; ++i) {
        const auto bits = random();
        const auto any = static_cast<std::uint8_t>(bits);
        const std::uint8_t alphas[] = {255, 0, static_cast<std::uint8_t>(any % 8), any};
        picture.at(i % width, i / width) = {
            opaque ? alphas[0] : alphas[random() % 4], static_cast<std::uint8_t>(bits >> 8),
            static_cast<std::uint8_t>(bits >> 16), static_cast<std::uint8_t>(bits >> 24)};
    }
    return picture;
}

Settings with(int order, double angle, double distance, std::array<double, 3> scale,
              std::array<double, 3> lightness) {
    return {0, order + 1.0, angle,        distance,     0,           scale[0], scale[1], scale[2],
            0, 0,           lightness[0], lightness[1], lightness[2]};
}

void expectFrame(TestHost& host, World8& source, int width, int height) {
    SCOPED_TRACE(::testing::PrintToString(host.settings) + " for " +
                 std::to_string(source.width()) + " by " + std::to_string(source.height()));
    World8 output(width, height, 5);
    World8 expected(width, height, 5);
    const auto before = source.bytes();
    ASSERT_EQ(host.render(source, output), 0);
    EXPECT_EQ(source.bytes(), before);
    expectPixels(host, source, output);
    for (int y = 0; y < std::min(height, source.height()); ++y) {
        for (int x = 0; x < std::min(width, source.width()); ++x) {
            expected.at(x, y) = output.at(x, y);
        }
    }
    EXPECT_EQ(output.bytes(), expected.bytes()) << "beyond the picture";
}

void EffectTest::expectSoundFrame() {
    host.failing.clear();
    host.onCall = nullptr;
    host.settings = with(0, 30, 7, {90, 100, 110});
    expectFrame(host, randomPicture(37, 23, false, 5));
}

} // namespace Testing
