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

TEST(TextTest, WhatATerminalWouldObeyIsWrittenOut) {
    const std::pair<std::string_view, const char*> cases[] = {
        {"Größe 😀\\n\uFFFD\u00A0", "Größe 😀\\n\uFFFD\u00A0"},
        {{"a\0\t\n\x1B[2J\x7F", 9}, "a\\x00\\t\\n\\x1b[2J\\x7f"},
        {"\xC2\x9B|\xC2\xA0|\u2029|\u202E|\u202F|\u2066|\u2069|\u206A",
         "\\u009b|\xC2\xA0|\\u2029|\\u202e|\u202F|\\u2066|\\u2069|\u206A"},
        // A stray byte, overlong forms, half a pair, beyond the last code, cut off.
        {"\x80|\xC1\x8A|\xE0\x80\x8A", "\\x80|\\xc1\\x8a|\\xe0\\x80\\x8a"},
        {"\xED\xA0\x80|\xF4\x90\x80\x80", "\\xed\\xa0\\x80|\\xf4\\x90\\x80\\x80"},
        {"\xF8\x88|\xE2\x82", "\\xf8\\x88|\\xe2\\x82"},
    };
    for (const auto& [text, shown] : cases) {
        EXPECT_EQ(printable(text), shown);
    }
    EXPECT_EQ(printableLines("a\r\n\n\x1B\n"), "a\\r\n\n\\x1b\n");
}

} // namespace
