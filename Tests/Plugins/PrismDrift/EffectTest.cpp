#include "EffectTest.h"

#include <cmath>
#include <random>

namespace Testing {

Picture randomPicture(int width, int height, Alpha alpha, std::uint32_t seed) {
    std::mt19937 random(seed);
    Picture picture(width, height);
    for (Pixel& pixel : picture.pixels) {
        const auto bits = random();
        for (std::size_t c = 0; c < 4; ++c) {
            pixel.at(c) = static_cast<std::uint8_t>(bits >> (8 * c));
        }
        // A quarter each: opaque, transparent, faint, anything.
        const auto kind = random() % 4;
        if (alpha == Alpha::opaque || kind == 0) {
            pixel[0] = 255;
        } else if (kind == 1) {
            pixel[0] = 0;
        } else if (kind == 2) {
            pixel[0] = pixel[0] % 8;
        }
    }
    return picture;
}

void hand(TestHost& host, const Settings& settings) {
    const auto& scale = settings.scale;
    const auto& lightness = settings.lightness;
    host.values = {0.0,
                   settings.order + 1.0,
                   std::round(settings.angle * 65536.0),
                   settings.distance,
                   0.0,
                   scale[0],
                   scale[1],
                   scale[2],
                   0.0,
                   0.0,
                   lightness[0],
                   lightness[1],
                   lightness[2]};
    host.inData.downsample_x.den = settings.downsample;
}

void expectFrame(TestHost& host, const Picture& source, const Settings& settings,
                 const std::string& name) {
    SCOPED_TRACE(name + ", " + std::to_string(source.width) + " by " +
                 std::to_string(source.height) + ", " + describe(settings));
    World8 input(source.width, source.height);
    World8 output(source.width, source.height, 5);
    source.copyTo(input);
    const auto inputBefore = input.bytes();
    hand(host, settings);
    ASSERT_EQ(host.render(input, output), 0);
    EXPECT_EQ(input.bytes(), inputBefore);
    expectPicture(Picture(output), reference(source, settings), name);
    World8 untouched(source.width, source.height, 5);
    source.copyTo(untouched);
    source.copyTo(output);
    EXPECT_EQ(output.bytes(), untouched.bytes()) << "between the rows";
}

void EffectTest::expectSoundFrame() {
    host.failing.clear();
    host.onCall = nullptr;
    expectFrame(host, randomPicture(37, 23, Alpha::random, 5), {0, 30, 7, {90, 100, 110}},
                "sound-frame");
}

} // namespace Testing
