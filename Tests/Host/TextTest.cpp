#include "Host/Library/Text.h"
#include "Host/Library/Number.h"

#include <gtest/gtest.h>

using namespace Vexorel::PrismDrift::Host;

namespace {

TEST(TextTest, NumbersAreWholeTextsAndFinite) {
    const std::pair<const char*, double> good[] = {
        {"-30", -30}, {"+5", 5}, {".5", 0.5}, {"1e3", 1e3}};
    for (const auto& [text, number] : good) {
        EXPECT_EQ(parseNumber(text), number) << text;
    }
    for (const std::string_view text :
         split(",+,-,+-5,++5,--5, 1,1 ,0x10,inf,nan,1e999,5px", ',')) {
        EXPECT_EQ(parseNumber(text), std::nullopt) << text;
        EXPECT_EQ(parseWholeNumber(text, -9, 9), std::nullopt) << text;
    }
    EXPECT_EQ(numberText(-0.5), "-0.5");
    EXPECT_TRUE(parseWholeNumber("1e1", 10, 10) && !parseWholeNumber("9.5", 0, 10));
    EXPECT_FALSE(parseWholeNumber("9", 10, 11) || parseWholeNumber("12", 10, 11));
    std::string_view text = "007-x";
    EXPECT_EQ(takeDigits(text), 7);
    for (const std::string_view rest : {"-x", "x", "", "+1", "-1", "9223372036854775808"}) {
        text = rest;
        EXPECT_TRUE(!takeDigits(text) && text == rest) << rest;
    }
}

TEST(TextTest, PartsAndEndsAreFound) {
    EXPECT_EQ(split(",a,,b", ','), (std::vector<std::string_view>{"", "a", "", "b"}));
    EXPECT_EQ(split("", ','), std::vector<std::string_view>{""});
    EXPECT_EQ(trimmed("\t a b\r\n"), "a b");
    EXPECT_EQ(trimmed(" \n"), "");
    EXPECT_EQ(lowerCase("[AZ\xC3\x84@"), "[az\xC3\x84@");
    EXPECT_TRUE(equalIgnoringCase("rGb", "RGB") && !equalIgnoringCase("RG", "RGB"));
}

} // namespace
