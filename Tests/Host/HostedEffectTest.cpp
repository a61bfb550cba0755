// The host with effects that are linked in: what they publish, the values they get, their errors.

#include "Host/Library/HostedEffect.h"

#include "Platform/Effect/Suites.h"
#include "Tests/Host/ErrorOf.h"
#include "Tests/Host/FakeEffect.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <thread>

using namespace Vexorel::PrismDrift::Host;
using testing::HasSubstr;

namespace {

struct HostedEffectTest : testing::Test {
    ~HostedEffectTest() override {
        FakeEffect::setUpResult = FakeEffect::renderResult = 0;
        FakeEffect::strangeParameter = nullptr;
    }
};

// Red of the last pixel, which holds the sum of all values.
int renderedSum(HostedEffect& effect, const ParameterValues& values,
                const FrameSettings& settings = {}) {
    const World input(3, 2);
    World output(3, 2);
    effect.render(input, output, values, settings);
    return output.row(1)[9];
}

TEST_F(HostedEffectTest, PublishesItsParametersAsTheyAre) {
    const HostedEffect effect(&FakeEffect::entry);
    const auto& parameters = effect.parameters();
    ASSERT_EQ(parameters.size(), 13U);
    EXPECT_EQ(parameters[0].takes(), "RGB, RBG, GRB, GBR, BRG or BGR");
    EXPECT_EQ(parameters[1].takes(), "a number from -32768 up to, not including, 32768");
    EXPECT_TRUE(parameters[1].varies && !parameters[0].varies);
    EXPECT_EQ(parameters[6].fullName(), "Channel Scale, B Channel");
    EXPECT_EQ(parameters[2].group + parameters[8].group, "");
    for (const Parameter& parameter : parameters) {
        const Parameter again = parameterFromDefinition(definitionAt(parameter, 1));
        EXPECT_TRUE(again.id == parameter.id && again.name == parameter.name &&
                    again.kind == parameter.kind && again.varies == parameter.varies &&
                    again.minimum == parameter.minimum && again.maximum == parameter.maximum &&
                    again.initial == parameter.initial && again.choices == parameter.choices &&
                    again.precision == parameter.precision)
            << parameter.id;
    }
    EXPECT_EQ(effect.about(), "Fake v2\nfor tests");
}

PF_ParamDef definitionOf(PF_ParamType type, int id = 99, float maximum = 1, float initial = 0) {
    PF_ParamDef definition{{id}, type, "", 0, {}};
    std::memset(definition.name, 'x', sizeof definition.name); // without a zero
    if (type == PF_Param_POPUP) {
        definition.u.pd = {1, 2, 1, {"a|b|c"}};
    } else if (type == PF_Param_FLOAT_SLIDER) {
        definition.u.fs_d = {0, 0, maximum, 0, 0, initial, 0, 0, 0, 0};
    }
    return definition;
}

TEST_F(HostedEffectTest, RefusesParametersThatContradictThemselves) {
    const std::pair<PF_ParamDef, const char*> rows[] = {
        {definitionOf(77), "unknown type 77 [514]"},
        {definitionOf(PF_Param_FLOAT_SLIDER, 1), "two parameters have the id 1 [516]"},
        {definitionOf(PF_Param_FLOAT_SLIDER, 99, 1, 5), "outside its range [516]"},
        {definitionOf(PF_Param_FLOAT_SLIDER, 99, NAN), "outside its range [516]"},
        {definitionOf(PF_Param_ANGLE), "announces 14 parameters, the input among them"},
        {definitionOf(PF_Param_GROUP_END), "group ends that didn't start [516]"},
        {definitionOf(PF_Param_GROUP_START), "stands inside another [516]"},
        {definitionOf(PF_Param_POPUP), "2 choices and names 3 [516]"},
    };
    for (const auto& [definition, what] : rows) {
        FakeEffect::strangeParameter = &definition;
        EXPECT_THAT(errorOf([] { HostedEffect{&FakeEffect::entry}; }), HasSubstr(what));
    }
}

TEST_F(HostedEffectTest, GivesTheValuesOfTheFramesTimeAndScale) {
    HostedEffect effect(&FakeEffect::entry);
    ParameterValues values = effect.defaultValues();
    EXPECT_EQ(renderedSum(effect, values), (100 + 300) % 256);
    values.set(1, 6);
    values.set(2, -30.0);
    values.set(3, 8.0);
    values.set(5, Keyframes::parse("0=0;20=10", effect.parameters()[4]));
    values.resolve({});
    EXPECT_EQ(renderedSum(effect, values, {{500, 50, 600}, 4}), (600 - 30 + 2 + 5 + 200) % 256);
}

TEST_F(HostedEffectTest, RefusesValuesThatAParameterDoesNotTake) {
    const HostedEffect effect(&FakeEffect::entry);
    ParameterValues values = effect.defaultValues();
    const std::pair<int, double> rows[] = {{1, 0},   {1, 7}, {1, 1.5}, {2, 32768}, {3, 1000.5},
                                           {3, NAN}, {4, 0}, {0, 0},   {14, 0},    {2, -32768.5}};
    for (const auto& [index, value] : rows) {
        EXPECT_THROW(values.set(index, value), Error) << index << " " << value;
    }
    EXPECT_EQ(errorOf([&] { values.set(5, 201.0); }),
              "\"R Channel\" takes a number from 0 to 200, not 201");
    EXPECT_EQ(values.at(5, {}), 100.0);
    // The largest angle of the fixed point is the last below 32768.
    EXPECT_EQ(definitionAt(effect.parameters()[1], 32767.9999999).u.ad.value, INT32_MAX);
    EXPECT_EQ(definitionAt(effect.parameters()[1], -0.5 / 65536 - 1e-9).u.ad.value, -1);
}

TEST_F(HostedEffectTest, SetsUpOnceForAllInstancesAndDownWithTheLast) {
    FakeEffect::setUps = FakeEffect::setDowns = 0;
    {
        HostedEffect first(&FakeEffect::entry);
        for (int i = 0; i < 2; ++i) {
            HostedEffect second(&FakeEffect::entry);
            EXPECT_EQ(FakeEffect::setUps, i);
            renderedSum(first, first.defaultValues());
            renderedSum(second, second.defaultValues());
        }
        EXPECT_TRUE(FakeEffect::setUps == 1 && FakeEffect::setDowns == 0);
        first.setDown();
        EXPECT_EQ(FakeEffect::setDowns, 1);
        renderedSum(first, first.defaultValues());
    }
    EXPECT_TRUE(FakeEffect::setUps == 2 && FakeEffect::setDowns == 2);
}

TEST_F(HostedEffectTest, SaysWhyTheEffectFailed) {
    FakeEffect::setUpResult = 7;
    HostedEffect effect(&FakeEffect::entry);
    const auto render = [&] { renderedSum(effect, effect.defaultValues()); };
    EXPECT_EQ(errorOf(render), "the effect could not be set up: it gave the error 7 [7]");
    FakeEffect::setUpResult = 0;
    FakeEffect::renderResult = 4;
    EXPECT_THAT(errorOf(render), HasSubstr("a frame of 3x2 pixels: there is not enough memory"));
    EXPECT_THAT(errorOf([] { HostedEffect(std::filesystem::path("/nonexistent.so")); }),
                HasSubstr("cannot load the plug-in '/nonexistent.so'"));
    World wide(2, 2, PF_PixelFormat_ARGB64);
    EXPECT_THAT(errorOf([&] { effect.render(wide, wide, effect.defaultValues()); }),
                HasSubstr("8 bits a channel"));
}

// An effect without parameters that calls back in every wrong way.
PF_Err misuseCallbacks(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                       PF_LayerDef* output, void* /*extra*/) {
    const auto [checkout, checkin, add] = in->inter;
    PF_ParamDef value{};
    PF_Pixel16* wide = nullptr;
    out->num_params = 1;
    if (cmd == PF_Cmd_ABOUT) {
        out->out_flags = PF_OutFlag_DISPLAY_ERROR_MESSAGE;
        in->utils->ansi.strcpy(out->return_msg, "no words");
        return 5;
    }
    if (cmd == PF_Cmd_RENDER) {
        EXPECT_TRUE(in->time_scale == 600 && in->downsample_y.den == 4);
        EXPECT_EQ(checkout(in->effect_ref, 0, 0, 1, 1, &value), 0);
        EXPECT_EQ(value.u.ld.data, params[0]->u.ld.data);
        EXPECT_EQ(checkin(in->effect_ref, params[0]), 0); // never checked out
        output->rowbytes = output->width * 8 - 1;
        EXPECT_EQ(in->utils->get_pixel_data16(output, nullptr, &wide), 516);
        EXPECT_EQ(checkout(in->effect_ref, 0, 0, 1, 0, &value), 516);
        EXPECT_EQ(add(in->effect_ref, -1, &value), 516);
        return checkout(in->effect_ref, 1, 0, 1, 1, &value);
    }
    EXPECT_EQ(add(in->effect_ref, 0, &value) + checkout(in->effect_ref, 0, 0, 1, 1, &value), 1032);
    return 0;
}

TEST_F(HostedEffectTest, RefusesCallbacksThatMakeNoSense) {
    HostedEffect effect(&misuseCallbacks);
    EXPECT_EQ(errorOf([&] { effect.about(); }),
              "the effect could not describe itself: no words [5]");
    EXPECT_THAT(errorOf([&] {
                    renderedSum(effect, effect.defaultValues(), {{500, 50, 600}, 4});
                }),
                HasSubstr("pixels: the effect has no parameter with a value at index 1 [516]"));
}

TEST_F(HostedEffectTest, RendersOnEightThreadsAtOnce) {
    HostedEffect effect(&FakeEffect::entry);
    std::vector<std::thread> threads;
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
}

} // namespace
