// Binds the renderer to the parameters that the effect publishes.

#include "Host/Library/Error.h"
#include "Host/Software/Software.h"

#include <algorithm>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr std::array<std::int32_t, 9> numbers{kChannelOrder, kShiftAngle, kShiftDistance,
                                              kScaleR,       kScaleG,     kScaleB,
                                              kLightnessR,   kLightnessG, kLightnessB};

ParameterKind kindOf(std::int32_t number) {
    return number == kChannelOrder ? ParameterKind::Popup
           : number == kShiftAngle ? ParameterKind::Angle
                                   : ParameterKind::Slider;
}

// The value as the effect would check it out.
PF_ParamDef definition(const ParameterValues& values, std::int32_t number, const FrameTime& time) {
    const std::vector<Parameter>& all = values.parameters();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Parameter& parameter) {
        return parameter.id == number && parameter.kind == kindOf(number);
    });
    if (found == all.end()) {
        throw Error("the effect is not Prism Drift: its parameter " + std::to_string(number) +
                    " is missing or of another kind");
    }
    return definitionAt(*found, values.at(found->index, time));
}

} // namespace

SoftwareSettings softwareSettings(const ParameterValues& values, const FrameSettings& frame) {
    const auto hasValue = [](const Parameter& parameter) { return parameter.hasValue(); };
    const std::vector<Parameter>& all = values.parameters();
    if (std::count_if(all.begin(), all.end(), hasValue) != std::ssize(numbers)) {
        throw Error("the effect is not Prism Drift: it has other parameters");
    }
    const auto get = [&](std::int32_t number) { return definition(values, number, frame.time).u; };
    FrameParameters parameters;
    parameters.order = get(kChannelOrder).pd.value - 1;
    parameters.angle = get(kShiftAngle).ad.value;
    parameters.distance = static_cast<float>(get(kShiftDistance).fs_d.value);
    for (std::int32_t i = 0; i < 3; ++i) {
        parameters.scale[i] = get(kScaleR + i).fs_d.value;
        parameters.lightness[i] = get(kLightnessR + i).fs_d.value;
    }
    return {channelValues(parameters, frame.downsample)};
}

} // namespace Vexorel::PrismDrift::Host
