#include "Tests/Host/FakeEffect.h"

#include "Plugins/Shared/Helper/SuiteScoper.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

using Vexorel::PrismDrift::SuiteScoper;

std::atomic<PF_Err> FakeEffect::setUpResult{0}, FakeEffect::renderResult{0};
const PF_ParamDef* FakeEffect::strangeParameter = nullptr;
std::atomic<int> FakeEffect::setUps{0}, FakeEffect::setDowns{0};

namespace {

// The parameters by their ids, which count from 1.
constexpr struct {
    PF_ParamType type;
    const char* name;
    float low = 0, high = 0, initial = 0;
} parameters[] = {
    {PF_Param_POPUP, "Channel Order"},
    {PF_Param_ANGLE, "Shift Angle"},
    {PF_Param_FLOAT_SLIDER, "Shift Distance", -1000, 1000, 0},
    {PF_Param_GROUP_START, "Channel Scale"},
    {PF_Param_FLOAT_SLIDER, "R Channel", 0, 200, 100},
    {PF_Param_FLOAT_SLIDER, "G Channel", 0, 200, 100},
    {PF_Param_FLOAT_SLIDER, "B Channel", 0, 200, 100},
    {PF_Param_GROUP_END, ""},
    {PF_Param_GROUP_START, "Channel Lightness"},
    {PF_Param_FLOAT_SLIDER, "R Channel", -100, 100, 0},
    {PF_Param_FLOAT_SLIDER, "G Channel", -100, 100, 0},
    {PF_Param_FLOAT_SLIDER, "B Channel", -100, 100, 0},
    {PF_Param_GROUP_END, ""},
};

PF_Err publish(PF_InData* in, PF_OutData* out) {
    out->num_params = 14;
    PF_Err result = 0;
    std::int32_t id = 0;
    for (const auto& [type, name, low, high, initial] : parameters) {
        PF_ParamDef definition{};
        definition.uu.id = ++id;
        definition.param_type = type;
        in->utils->ansi.strcpy(definition.name, name);
        if (type == PF_Param_POPUP) {
            definition.flags = PF_ParamFlag_CANNOT_TIME_VARY;
            definition.u.pd = {1, 6, 1, {"RGB|RBG|GRB|GBR|BRG|BGR"}};
        } else if (type == PF_Param_FLOAT_SLIDER) {
            definition.u.fs_d = {initial, low, high, low, high, initial, 0.05F, 2, 0, 0};
        }
        result = result == 0 ? in->inter.add_param(in->effect_ref, -1, &definition) : result;
        if (FakeEffect::strangeParameter != nullptr && id == 1 && result == 0) {
            definition = *FakeEffect::strangeParameter;
            result = in->inter.add_param(in->effect_ref, -1, &definition);
        }
    }
    return result;
}

// The sum of all values, the order weighing 100 and the distance divided by the downsample factor.
PF_Err sumOfValues(PF_InData* in, double& sum) {
    std::int32_t index = 0;
    for (const auto& parameter : parameters) {
        ++index;
        if (parameter.type == PF_Param_GROUP_START || parameter.type == PF_Param_GROUP_END) {
            continue;
        }
        PF_ParamDef value{};
        const PF_Err result = in->inter.checkout_param(in->effect_ref, index, in->current_time,
                                                       in->time_step, in->time_scale, &value);
        if (result != 0) {
            return result;
        }
        sum += parameter.type == PF_Param_POPUP   ? value.u.pd.value * 100.0
               : parameter.type == PF_Param_ANGLE ? value.u.ad.value / 65536.0
               : index == 3                       ? value.u.fs_d.value / in->downsample_x.den
                                                  : value.u.fs_d.value;
        in->inter.checkin_param(in->effect_ref, &value);
    }
    return 0;
}

// Copies the picture through a handle and adds the sum of all values to the red of each pixel.
PF_Err render(PF_InData* in, PF_LayerDef& input, PF_LayerDef& output) {
    double sum = 0.0;
    if (const PF_Err result = sumOfValues(in, sum)) {
        return result;
    }
    const SuiteScoper<PF_HandleSuite1> handles(in, "PF Handle Suite", 2);
    PF_Pixel8 *from = nullptr, *to = nullptr;
    in->utils->get_pixel_data8(&input, nullptr, &from);
    in->utils->get_pixel_data8(&output, nullptr, &to);
    const auto width = static_cast<std::size_t>(output.width);
    PF_Handle handle = handles->host_new_handle(width * sizeof(PF_Pixel8));
    auto* pixels = static_cast<PF_Pixel8*>(handles->host_lock_handle(handle));
    for (std::ptrdiff_t y = 0; y < output.height; ++y) {
        std::memcpy(pixels, reinterpret_cast<char*>(from) + y * input.rowbytes, width * 4);
        for (std::size_t x = 0; x < width; ++x) {
            pixels[x].red = static_cast<std::uint8_t>(pixels[x].red + static_cast<int>(sum));
        }
        std::memcpy(reinterpret_cast<char*>(to) + y * output.rowbytes, pixels, width * 4);
    }
    handles->host_unlock_handle(handle);
    handles->host_dispose_handle(handle);
    return 0;
}

} // namespace

PF_Err FakeEffect::entry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                         PF_LayerDef* output, void* /*extra*/) {
    switch (cmd) {
    case PF_Cmd_ABOUT:
        SuiteScoper<PF_ANSICallbacksSuite1>(in, "PF ANSI Suite", 1)
            ->sprintf(out->return_msg, "%s v%d\r%s", "Fake", 2, "for tests");
        return 0;
    case PF_Cmd_GLOBAL_SETUP:
        ++setUps;
        return setUpResult;
    case PF_Cmd_GLOBAL_SETDOWN:
        ++setDowns;
        return 0;
    case PF_Cmd_PARAMS_SETUP:
        return publish(in, out);
    case PF_Cmd_RENDER:
        std::puts("the fake effect renders");
        return renderResult != 0 ? renderResult.load() : render(in, params[0]->u.ld, *output);
    default:
        return 0;
    }
}

#ifdef FAKE_EFFECT_PLUGIN
extern "C" __attribute__((visibility("default"))) PF_Err
EntryPointFunc(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
               PF_LayerDef* output, void* extra) {
    if (const char* result = std::getenv("FAKE_EFFECT_RENDER_RESULT")) {
        FakeEffect::renderResult = std::atoi(result);
    }
    return FakeEffect::entry(cmd, in, out, params, output, extra);
}
#endif
