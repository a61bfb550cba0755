#include "Host/Library/HostedEffect.h"

#include "Host/Library/Error.h"
#include "Host/Library/Memory.h"
#include "Host/Library/Number.h"
#include "Host/Library/OfferedSuites.h"
#include "Host/Library/Text.h"
#include "Tests/Host/FakeEffect.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <thread>

using namespace Vexorel::PrismDrift::Host;
using testing::HasSubstr;

namespace {

class EffectTest : public testing::Test {
protected:
    void TearDown() override {
        FakeEffect::setUpResult = FakeEffect::renderResult = 0;
        FakeEffect::strangeParameter = nullptr;
        FakeEffect::keepCheckedOut = false;
        EXPECT_EQ(handleCounts().blocks, 0U);
        EXPECT_EQ(handleCounts().misuses, mMisusesBefore);
        EXPECT_EQ(suiteReferences("PF Handle Suite", 2), 0);
        EXPECT_EQ(suiteReferences("PF ANSI Suite", 1), 0);
    }

    const std::size_t mMisusesBefore = handleCounts().misuses;

    // Red of the first pixel, which holds the sum of all values.
    static int renderedSum(HostedEffect& effect, const ParameterValues& values,
                           const FrameSettings& settings = {}) {
        const World input(3, 2);
        World output(3, 2);
        effect.render(input, output, values, settings);
        return output.row(0)[1];
    }

    static std::string whatOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const Error& error) {
            return error.what();
        }
        return "nothing thrown";
    }
};

TEST_F(EffectTest, PublishesItsParametersAsTheyAre) {
    const HostedEffect effect(&FakeEffect::entry);
    const auto& parameters = effect.parameters();
    ASSERT_EQ(parameters.size(), 13U);
    EXPECT_EQ(parameters[0].choices,
              (std::vector<std::string>{"RGB", "RBG", "GRB", "GBR", "BRG", "BGR"}));
    EXPECT_FALSE(parameters[0].varies);
    EXPECT_TRUE(parameters[1].varies);
    EXPECT_EQ(parameters[1].takes(), "a number from -32768 up to, not including, 32768");
    EXPECT_FALSE(parameters[1].accepts(32768.0));
    const Parameter& blue = parameters[6];
    EXPECT_TRUE(blue.index == 7 && blue.name == "B Channel" && blue.maximum == 200.0);
    EXPECT_EQ(blue.group, "Channel Scale");
    EXPECT_EQ(parameters[2].group, "");
    EXPECT_EQ(effect.about(), "Fake v2\nfor tests");
}

TEST_F(EffectTest, RefusesParametersThatMakeNoSense) {
    struct Case {
        const char* what;
        void (*change)(PF_ParamDef&);
        PF_Err code;
    };
    const Case cases[] = {
        {"unknown type 77", [](PF_ParamDef& d) { d.param_type = 77; }, 514},
        {"two parameters have the id 1", [](PF_ParamDef& d) { d.uu.id = 1; }, 516},
        {"outside its range", [](PF_ParamDef& d) { d.u.fs_d.dephault = 5; }, 516},
        {"outside its range", [](PF_ParamDef& d) { d.u.fs_d.valid_max = NAN; }, 516},
        {"announces 14", [](PF_ParamDef& d) { d.param_type = PF_Param_ANGLE; }, 0},
        {"group ends", [](PF_ParamDef& d) { d.param_type = PF_Param_GROUP_END; }, 516},
        {"2 choices and names 3",
         [](PF_ParamDef& d) {
             d.param_type = PF_Param_POPUP;
             d.u.pd = {1, 2, 1, {"a|b|c"}};
         },
         516},
    };
    for (const Case& row : cases) {
        PF_ParamDef definition{};
        definition.uu.id = 99;
        definition.param_type = PF_Param_FLOAT_SLIDER;
        std::memset(definition.name, 'x', sizeof definition.name); // without a zero
        definition.u.fs_d.valid_max = 1;
        row.change(definition);
        FakeEffect::strangeParameter = &definition;
        try {
            const HostedEffect effect(&FakeEffect::entry);
            ADD_FAILURE() << row.what;
        } catch (const Error& error) {
            EXPECT_THAT(error.what(), HasSubstr(row.what));
            EXPECT_EQ(error.code(), row.code);
        }
    }
}

TEST_F(EffectTest, HandsOutTheValuesOfTheFramesTime) {
    HostedEffect effect(&FakeEffect::entry);
    ParameterValues values = effect.defaultValues();
    EXPECT_EQ(renderedSum(effect, values), (100 + 300) % 256);
    values.set(1, 6);
    values.set(2, -30.0);
    values.set(3, 8.0);
    values.set(5, [](const FrameTime& time) { return 0.5 * time.value / time.step; });
    values.set(10, [](const FrameTime&) { return 1e9; }); // overshoots: 100
    const FrameSettings settings{{500, 50, 600}, 4};
    EXPECT_EQ(renderedSum(effect, values, settings), (600 - 30 + 2 + 5 + 200 + 100) % 256);
    EXPECT_EQ(values.at(5, {100, 50, 600}), 1.0);
    const CheckoutCounts counts = effect.checkouts();
    EXPECT_EQ(counts.checkedOut, 18U);
    EXPECT_EQ(counts.checkedIn, 18U);
    EXPECT_EQ(counts.outstanding + counts.unmatched, 0U);
    FakeEffect::keepCheckedOut = true;
    renderedSum(effect, values);
    EXPECT_EQ(effect.checkouts().outstanding, 9U);
}

TEST_F(EffectTest, RefusesValuesThatAParameterDoesNotTake) {
    const HostedEffect effect(&FakeEffect::entry);
    ParameterValues values = effect.defaultValues();
    const std::pair<int, double> cases[] = {{1, 0},   {1, 7}, {1, 1.5}, {2, 32768}, {3, 1000.5},
                                            {3, NAN}, {4, 0}, {0, 0},   {14, 0},    {2, -32768.5}};
    for (const auto& [index, value] : cases) {
        EXPECT_THROW(values.set(index, value), Error) << index << " " << value;
    }
    EXPECT_THROW(values.set(1, [](const FrameTime&) { return 1.0; }), Error);
    EXPECT_EQ(whatOf([&] { values.set(5, 201.0); }),
              "\"R Channel\" takes a number from 0 to 200, not 201");
    EXPECT_EQ(values.at(5, {}), 100.0);
    // The largest angle of the fixed point is the last below 32768.
    EXPECT_EQ(definitionAt(effect.parameters()[1], 32767.9999999).u.ad.value, INT32_MAX);
    EXPECT_EQ(definitionAt(effect.parameters()[1], -0.5 / 65536 - 1e-9).u.ad.value, -1);
}

TEST_F(EffectTest, SetsUpOnceForAllInstancesAndDownWithTheLast) {
    FakeEffect::setUps = FakeEffect::setDowns = 0;
    {
        HostedEffect first(&FakeEffect::entry);
        EXPECT_EQ(FakeEffect::setUps, 0);
        {
            HostedEffect second(&FakeEffect::entry);
            first.setUp();
            renderedSum(second, second.defaultValues());
            first.setUp();
            EXPECT_EQ(FakeEffect::setUps, 1);
        }
        EXPECT_EQ(FakeEffect::setDowns, 0);
        first.setDown();
        EXPECT_EQ(FakeEffect::setDowns, 1);
        renderedSum(first, first.defaultValues());
        EXPECT_EQ(FakeEffect::setUps, 2);
    }
    EXPECT_EQ(FakeEffect::setDowns, 2);
}

TEST_F(EffectTest, TurnsTheEffectsErrorsIntoItsOwn) {
    FakeEffect::setUpResult = 7;
    HostedEffect effect(&FakeEffect::entry);
    EXPECT_EQ(whatOf([&] { effect.setUp(); }),
              "the effect could not be set up: it gave the error 7");
    FakeEffect::setUpResult = 0;
    FakeEffect::renderResult = 4;
    EXPECT_THAT(whatOf([&] { renderedSum(effect, effect.defaultValues()); }),
                HasSubstr("render a frame of 3x2 pixels: there is not enough memory"));
    EXPECT_THAT(
        whatOf([] { const HostedEffect missing(std::filesystem::path("/nonexistent.so")); }),
        HasSubstr("cannot load the plug-in '/nonexistent.so'"));
    World wide(2, 2, PF_PixelFormat_ARGB64);
    EXPECT_THROW(effect.render(wide, wide, effect.defaultValues()), Error);
}

TEST_F(EffectTest, RendersOnEightThreadsAtOnce) {
    HostedEffect effect(&FakeEffect::entry);
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&effect, thread] {
            HostedEffect own(&FakeEffect::entry);
            for (int frame = 0; frame < 50; ++frame) {
                HostedEffect& used = frame % 2 == 0 ? effect : own;
                ParameterValues values = used.defaultValues();
                values.set(3, thread);
                EXPECT_EQ(renderedSum(used, values), (400 + thread) % 256);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(effect.checkouts().checkedIn, 8U * 25U * 9U);
}

TEST(NumberTest, TakesWholeFiniteNumbersOnly) {
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
    for (const std::string_view rest : {"-x", "x", "", "+1", "9223372036854775808"}) {
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
