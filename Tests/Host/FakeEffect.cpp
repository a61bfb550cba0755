#include "Tests/Host/FakeEffect.h"

#include "Plugins/Shared/Helper/SuiteScoper.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using Vexorel::PrismDrift::SuiteScoper;

std::atomic<PF_Err> FakeEffect::setUpResult{0}, FakeEffect::renderResult{0};
const PF_ParamDef* FakeEffect::strangeParameter = nullptr;
bool FakeEffect::keepCheckedOut = false;
std::atomic<int> FakeEffect::setUps{0}, FakeEffect::setDowns{0};

namespace {

PF_ParamDef named(PF_InData* in, std::int32_t id, PF_ParamType type, const char* name) {
    PF_ParamDef definition{};
    definition.uu.id = id;
    definition.param_type = type;
    in->utils->ansi.strcpy(definition.name, name);
    return definition;
}

PF_Err publish(PF_InData* in, PF_OutData* out) {
    out->num_params = 14;
    PF_Err result = 0;
    const auto add = [&](PF_ParamDef definition) {
        if (result == 0) {
            result = in->inter.add_param(in->effect_ref, -1, &definition);
        }
    };
    PF_ParamDef popup = named(in, 1, PF_Param_POPUP, "Channel Order");
    popup.flags = PF_ParamFlag_CANNOT_TIME_VARY;
    popup.u.pd = {1, 6, 1, {"RGB|RBG|GRB|GBR|BRG|BGR"}};
    add(popup);
    if (FakeEffect::strangeParameter != nullptr) {
        add(*FakeEffect::strangeParameter);
    }
    add(named(in, 2, PF_Param_ANGLE, "Shift Angle"));
    const auto slider = [&](std::int32_t id, const char* name, float low, float high,
                            float initial) {
        PF_ParamDef definition = named(in, id, PF_Param_FLOAT_SLIDER, name);
        definition.u.fs_d = {initial, low, high, low, high, initial, 0.05F, 2, 0, 0};
        add(definition);
    };
    slider(3, "Shift Distance", -1000, 1000, 0);
    for (const int first : {4, 9}) {
        add(named(in, first, PF_Param_GROUP_START,
                  first == 4 ? "Channel Scale" : "Channel Lightness"));
        for (int i = 1; i <= 3; ++i) {
            const char* const names[] = {"R Channel", "G Channel", "B Channel"};
            slider(first + i, names[i - 1], first == 4 ? 0 : -100, first == 4 ? 200 : 100,
                   first == 4 ? 100 : 0);
        }
        add(named(in, first + 4, PF_Param_GROUP_END, ""));
    }
    return result;
}

// Copies the picture and adds to each pixel's red the sum of all values, the order weighing 100 and
// the distance divided by the downsample factor; through a handle, as the real one goes.
PF_Err render(PF_InData* in, PF_ParamDef* params[], PF_LayerDef* output) {
    double sum = 0.0;
    for (const int index : {1, 2, 3, 5, 6, 7, 10, 11, 12}) {
        PF_ParamDef definition{};
        const PF_Err result = in->inter.checkout_param(in->effect_ref, index, in->current_time,
                                                       in->time_step, in->time_scale, &definition);
        if (result != 0) {
            return result;
        }
        sum += index == 1   ? definition.u.pd.value * 100.0
               : index == 2 ? definition.u.ad.value / 65536.0
               : index == 3 ? definition.u.fs_d.value / in->downsample_x.den
                            : definition.u.fs_d.value;
        if (!FakeEffect::keepCheckedOut) {
            in->inter.checkin_param(in->effect_ref, &definition);
        }
    }
    const SuiteScoper<PF_HandleSuite1> handles(in, "PF Handle Suite", 2);
    PF_LayerDef& input = params[0]->u.ld;
    PF_Pixel8 *from = nullptr, *to = nullptr;
    in->utils->get_pixel_data8(&input, nullptr, &from);
    in->utils->get_pixel_data8(output, nullptr, &to);
    const std::size_t row = static_cast<std::size_t>(output->width) * sizeof(PF_Pixel8);
    PF_Handle handle = handles->host_new_handle(row);
    auto* pixels = static_cast<PF_Pixel8*>(handles->host_lock_handle(handle));
    for (std::int32_t y = 0; y < output->height; ++y) {
        std::memcpy(pixels, reinterpret_cast<char*>(from) + std::ptrdiff_t{y} * input.rowbytes,
                    row);
        std::for_each(pixels, pixels + output->width, [&](PF_Pixel8& pixel) {
            pixel.red = static_cast<std::uint8_t>(pixel.red + static_cast<int>(sum));
        });
        std::memcpy(reinterpret_cast<char*>(to) + std::ptrdiff_t{y} * output->rowbytes, pixels,
                    row);
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
        return renderResult != 0 ? renderResult.load() : render(in, params, output);
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
