#include "Tests/Host/FakeEffect.h"

#include "PrismDrift/Sources/Parameters.h"
#include "Shared/Helper/SuiteScoper.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

using Vexorel::PrismDrift::SuiteScoper;

std::atomic<PF_Err> FakeEffect::setUpResult{0}, FakeEffect::renderResult{0};
const PF_ParamDef* FakeEffect::strangeParameter = nullptr;
std::atomic<int> FakeEffect::setUps{0}, FakeEffect::setDowns{0};

namespace {

// The parameters of the real effect, behind the strange one.
PF_Err publish(PF_InData* in, PF_OutData* out) {
    PF_Err result = 0;
    if (FakeEffect::strangeParameter != nullptr) {
        PF_ParamDef definition = *FakeEffect::strangeParameter;
        result = in->inter.add_param(in->effect_ref, -1, &definition);
    }
    return result == 0 ? Vexorel::PrismDrift::publishParameters(in, out) : result;
}

double valueOf(const PF_ParamDef& parameter) {
    return parameter.param_type == PF_Param_POPUP   ? parameter.u.pd.value * 100.0
           : parameter.param_type == PF_Param_ANGLE ? parameter.u.ad.value / 65536.0
                                                    : parameter.u.fs_d.value;
}

// Adds to `sum` all values, the order weighing 100 and the distance divided by the downsample
// factor. The values have to be those in the records as well.
PF_Err addValues(PF_InData* in, PF_ParamDef* params[], double& sum) {
    for (const std::int32_t index : {1, 2, 3, 5, 6, 7, 10, 11, 12}) {
        PF_ParamDef value{};
        const PF_Err result = in->inter.checkout_param(in->effect_ref, index, in->current_time,
                                                       in->time_step, in->time_scale, &value);
        if (result != 0 || valueOf(value) != valueOf(*params[index])) {
            return result != 0 ? result : PF_Err_BAD_CALLBACK_PARAM;
        }
        sum += valueOf(value) / (index == 3 ? in->downsample_x.den : 1);
        in->inter.checkin_param(in->effect_ref, &value);
    }
    return 0;
}

// Copies the picture and adds the sum of all values, kept in a handle, to the red of each pixel.
PF_Err render(PF_InData* in, PF_ParamDef* params[], PF_LayerDef& output) {
    PF_LayerDef& input = params[0]->u.ld;
    const SuiteScoper<PF_HandleSuite1> handles(in, "PF Handle Suite", 2);
    PF_Handle handle = handles->host_new_handle(sizeof(double));
    if (handle == nullptr) {
        return PF_Err_OUT_OF_MEMORY;
    }
    double& sum = *new (handles->host_lock_handle(handle)) double(0.0);
    const PF_Err result = addValues(in, params, sum);
    PF_Pixel8 *from = nullptr, *to = nullptr;
    in->utils->get_pixel_data8(&input, nullptr, &from);
    in->utils->get_pixel_data8(&output, nullptr, &to);
    for (std::ptrdiff_t y = 0; result == 0 && y < output.height; ++y) {
        for (std::ptrdiff_t x = 0; x < output.width; ++x) {
            PF_Pixel8 pixel = from[y * input.rowbytes / 4 + x];
            pixel.red = static_cast<std::uint8_t>(pixel.red + static_cast<int>(sum));
            to[y * output.rowbytes / 4 + x] = pixel;
        }
    }
    handles->host_unlock_handle(handle);
    handles->host_dispose_handle(handle);
    return result;
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
    default:
        std::puts("the fake effect renders");
        return renderResult != 0 ? renderResult.load() : render(in, params, *output);
    }
}

#ifdef FAKE_EFFECT_PLUGIN
extern "C" __attribute__((visibility("default"))) PF_Err
EntryPointFunc(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
               PF_LayerDef* output, void* extra) {
    if (const char* result = std::getenv("FAKE_EFFECT_RENDER_RESULT")) {
        FakeEffect::renderResult = std::atoi(result);
    }
    static PF_ParamDef strange{};
    if (const char* name = std::getenv("FAKE_EFFECT_PARAMETER")) {
        strange.param_type = PF_Param_FLOAT_SLIDER;
        std::strncpy(strange.name, name, sizeof strange.name - 1);
        strange.u.fs_d.valid_max = strange.u.fs_d.slider_max = 9;
        FakeEffect::strangeParameter = &strange;
    }
    const PF_Err error = FakeEffect::entry(cmd, in, out, params, output, extra);
    out->num_params +=
        cmd == PF_Cmd_PARAMS_SETUP && FakeEffect::strangeParameter != nullptr ? 1 : 0;
    return error;
}
#endif
