// Colours from any text and from any channels.

#include "Shared/Math/Color.h"
#include "Tests/Fuzz/Target.h"

#include <stdexcept>

using Vexorel::PrismDrift::Color;

namespace {

void expectPrinted(Color color) {
    const std::string text = color.toHexString();
    EXPECT_TRUE(text.size() >= 4 && text.size() <= 33 && text[0] == '#') << text;
    EXPECT_EQ(text.find_first_not_of("0123456789ABCDEF", 1), std::string::npos) << text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const Color color{std::string(Fuzz::textOf(data, size))};
        for (const double channel : {color.mR, color.mG, color.mB, color.mA}) {
            EXPECT_TRUE(channel >= 0.0 && channel <= 1.0) << channel;
        }
        EXPECT_FALSE(color.isNil());
        EXPECT_EQ(color, color);
        expectPrinted(color);
    } catch (const std::invalid_argument&) { // no number behind the '#'
    } catch (const std::out_of_range&) {     // a number of more than 64 bits
    }
    Fuzz::Values values(data, size);
    const auto color = values.take<Color>();
    expectPrinted(color);
    expectPrinted(Color::lerp(color, values.take<Color>(), values.take<double>()));
    expectPrinted(Color(values.take<unsigned int>()));
    return 0;
}
