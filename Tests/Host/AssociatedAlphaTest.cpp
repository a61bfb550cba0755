#include "Host/Library/AssociatedAlpha.h"
#include "Host/Library/Error.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace Vexorel::PrismDrift::Host {
namespace {

TEST(AssociatedAlpha, BytesAreDividedToTheNearestAndFloatsThereAndBack) {
    for (int alpha = 0; alpha < 256; ++alpha) {
        World world(256, 1);
        auto* pixels = reinterpret_cast<PF_Pixel8*>(world.row(0));
        for (int value = 0; value < 256; ++value) {
            const auto byte = static_cast<std::uint8_t>(value);
            pixels[value] = {static_cast<std::uint8_t>(alpha), byte, 0, byte};
        }
        EXPECT_EQ(divideByAlpha(world), alpha == 0);
        for (int value = 0; value < 256; ++value) {
            const double exact = alpha == 0 ? value : std::min(255.0, value * 255.0 / alpha);
            EXPECT_LE(std::abs(pixels[value].red - exact), 0.5) << value << " / " << alpha;
            EXPECT_EQ(pixels[value].green, 0);
            EXPECT_EQ(pixels[value].blue, pixels[value].red);
        }
    }
    constexpr float infinity = std::numeric_limits<float>::infinity();
    World floats(4, 2, PF_PixelFormat_ARGB128);
    auto* row = reinterpret_cast<PF_PixelFloat*>(floats.row(1));
    row[0] = {0.25F, 0.125F, 4, -1};
    row[1] = {1, infinity, 0.1F, 2};
    row[2] = {-0.5F, 1, 0, 0};
    EXPECT_FALSE(divideByAlpha(floats));
    EXPECT_EQ((std::array{row[0].red, row[0].green, row[0].blue}), (std::array{0.5F, 16.F, -4.F}));
    EXPECT_EQ((std::array{row[1].red, row[1].green, row[2].red}),
              (std::array{infinity, 0.1F, -2.F}));
    multiplyByAlpha(floats);
    EXPECT_EQ((std::array{row[0].red, row[0].green, row[0].blue}), (std::array{0.125F, 4.F, -1.F}));
    row[3] = {0, 0, 0, 3}; // shines without covering
    EXPECT_TRUE(divideByAlpha(floats));
    EXPECT_EQ(row[3].blue, 3);
    multiplyByAlpha(floats);
    EXPECT_EQ(row[3].blue, 0);
    World words(1, 1, PF_PixelFormat_ARGB64);
    EXPECT_THROW(divideByAlpha(words), Error);
    EXPECT_THROW(multiplyByAlpha(words), Error);
}

} // namespace
} // namespace Vexorel::PrismDrift::Host
