#include "Host/Library/Text.h"
#include "Host/Library/Number.h"

#include <gtest/gtest.h>

using namespace Vexorel::PrismDrift::Host;

namespace {

TEST(TextTest, NumbersAreWholeTextsAndFinite) {
    const std::pair<const char*, double> good[] = {{"1", 1},    {"-30", -30},  {"+5", 5},
                                                   {".5", 0.5}, {"1e3", 1000}, {"-.25", -0.25}};
    for (const auto& [text, number] : good) {
        EXPECT_EQ(parseNumber(text), number) << text;
    }
    for (const char* text : {"", "+", "-", "+-5", "++5", "1,5", " 1", "1 ", "0x10", "inf", "nan",
                             "1e999", "5px", "--5"}) {
        EXPECT_EQ(parseNumber(text), std::nullopt) << text;
    }
    EXPECT_EQ(numberText(-0.5), "-0.5");
    EXPECT_EQ(parseWholeNumber("1e1", 1, 10), 10);
    for (const char* text : {"0", "11", "1.5", "", "x"}) {
        EXPECT_EQ(parseWholeNumber(text, 1, 10), std::nullopt) << text;
    }
}

TEST(TextTest, DigitsAreTakenFromTheFront) {
    std::string_view text = "007-x";
    EXPECT_EQ(takeDigits(text), 7);
    for (const std::string_view rest : {"-x", "x", "", "+1", "-1", "9223372036854775808"}) {
        text = rest;
        EXPECT_EQ(takeDigits(text), std::nullopt);
        EXPECT_EQ(text, rest);
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
