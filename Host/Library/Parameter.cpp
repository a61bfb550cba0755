#include "Host/Library/Parameter.h"

#include "Host/Library/Error.h"
#include "Host/Library/Number.h"
#include "Host/Library/Text.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr double fixedOne = 65536.0;

void readPopup(const PF_PopupDef& popup, Parameter& parameter) {
    if (popup.u.namesptr != nullptr) {
        parameter.choiceText = popup.u.namesptr;
        const std::vector<std::string_view> names = split(parameter.choiceText, '|');
        parameter.choices.assign(names.begin(), names.end());
    }
    if (popup.num_choices < 1 ||
        parameter.choices.size() != static_cast<std::size_t>(popup.num_choices)) {
        throw Error("the popup \"" + parameter.name + "\" announces " +
                        std::to_string(popup.num_choices) + " choices and names " +
                        std::to_string(parameter.choices.size()),
                    PF_Err_BAD_CALLBACK_PARAM);
    }
    parameter.minimum = 1;
    parameter.maximum = popup.num_choices;
    parameter.initial = popup.dephault;
}

void readSlider(const PF_FloatSliderDef& slider, Parameter& parameter) {
    parameter.minimum = slider.valid_min;
    parameter.maximum = slider.valid_max;
    parameter.initial = slider.dephault;
    parameter.precision = slider.precision;
}

void readAngle(const PF_AngleDef& angle, Parameter& parameter) {
    parameter.maximum = -(std::numeric_limits<PF_Fixed>::min() / fixedOne);
    parameter.minimum = -parameter.maximum;
    parameter.initial = angle.dephault / fixedOne;
}

PF_Fixed fixedFrom(double value) {
    constexpr double low = std::numeric_limits<PF_Fixed>::min();
    constexpr double high = std::numeric_limits<PF_Fixed>::max();
    return static_cast<PF_Fixed>(std::clamp(std::round(value * fixedOne), low, high));
}

ParameterKind kindOf(PF_ParamType type) {
    switch (type) {
    case PF_Param_POPUP:
        return ParameterKind::Popup;
    case PF_Param_ANGLE:
        return ParameterKind::Angle;
    case PF_Param_FLOAT_SLIDER:
        return ParameterKind::Slider;
    case PF_Param_GROUP_START:
        return ParameterKind::GroupStart;
    case PF_Param_GROUP_END:
        return ParameterKind::GroupEnd;
    default:
        throw Error("a parameter has the unknown type " + std::to_string(type),
                    PF_Err_UNRECOGNIZED_PARAM_TYPE);
    }
}

PF_ParamType typeOf(ParameterKind kind) {
    switch (kind) {
    case ParameterKind::Popup:
        return PF_Param_POPUP;
    case ParameterKind::Angle:
        return PF_Param_ANGLE;
    case ParameterKind::Slider:
        return PF_Param_FLOAT_SLIDER;
    case ParameterKind::GroupStart:
        return PF_Param_GROUP_START;
    case ParameterKind::GroupEnd:
        break;
    }
    return PF_Param_GROUP_END;
}

} // namespace

bool Parameter::hasValue() const {
    return kind != ParameterKind::GroupStart && kind != ParameterKind::GroupEnd;
}

std::string Parameter::fullName() const {
    return group.empty() ? name : group + ", " + name;
}

bool Parameter::accepts(double value) const {
    if (!hasValue() || !(value >= minimum && value <= maximum)) {
        return false;
    }
    switch (kind) {
    case ParameterKind::Popup:
        return value == std::floor(value);
    case ParameterKind::Angle:
        return value < maximum;
    default:
        return true;
    }
}

std::string Parameter::takes() const {
    if (kind == ParameterKind::Popup) {
        std::string text;
        for (std::size_t i = 0; i < choices.size(); ++i) {
            text += i == 0 ? "" : (i + 1 == choices.size() ? " or " : ", ");
            text += choices[i];
        }
        return text;
    }
    return "a number from " + numberText(minimum) +
           (kind == ParameterKind::Angle ? " up to, not including, " : " to ") +
           numberText(maximum);
}

std::string Parameter::valueText(double value) const {
    if (kind == ParameterKind::Popup && accepts(value)) {
        return choices[static_cast<std::size_t>(value) - 1];
    }
    return numberText(value);
}

Parameter parameterFromDefinition(const PF_ParamDef& definition) {
    Parameter parameter;
    parameter.id = definition.uu.id;
    parameter.kind = kindOf(definition.param_type);
    parameter.name.assign(definition.name, strnlen(definition.name, sizeof definition.name));
    parameter.varies =
        parameter.hasValue() && (definition.flags & PF_ParamFlag_CANNOT_TIME_VARY) == 0;
    switch (parameter.kind) {
    case ParameterKind::Popup:
        readPopup(definition.u.pd, parameter);
        break;
    case ParameterKind::Angle:
        readAngle(definition.u.ad, parameter);
        break;
    case ParameterKind::Slider:
        readSlider(definition.u.fs_d, parameter);
        break;
    default:
        return parameter;
    }
    if (!parameter.accepts(parameter.initial)) {
        throw Error("the default of \"" + parameter.name + "\" lies outside its range",
                    PF_Err_BAD_CALLBACK_PARAM);
    }
    return parameter;
}

PF_ParamDef definitionAt(const Parameter& parameter, double value) {
    PF_ParamDef definition{};
    definition.uu.id = parameter.id;
    definition.param_type = typeOf(parameter.kind);
    parameter.name.copy(definition.name, sizeof definition.name - 1);
    definition.flags =
        parameter.hasValue() && !parameter.varies ? PF_ParamFlag_CANNOT_TIME_VARY : 0;
    switch (parameter.kind) {
    case ParameterKind::Popup:
        definition.u.pd.value = static_cast<std::int32_t>(std::lround(value));
        definition.u.pd.num_choices = static_cast<std::int16_t>(parameter.choices.size());
        definition.u.pd.dephault = static_cast<std::int16_t>(parameter.initial);
        definition.u.pd.u.namesptr = parameter.choiceText.c_str();
        break;
    case ParameterKind::Angle:
        definition.u.ad.value = fixedFrom(value);
        definition.u.ad.dephault = fixedFrom(parameter.initial);
        break;
    case ParameterKind::Slider: {
        PF_FloatSliderDef& slider = definition.u.fs_d;
        slider.value = value;
        slider.valid_min = slider.slider_min = static_cast<float>(parameter.minimum);
        slider.valid_max = slider.slider_max = static_cast<float>(parameter.maximum);
        slider.dephault = static_cast<float>(parameter.initial);
        slider.precision = static_cast<std::int16_t>(parameter.precision);
        break;
    }
    default:
        break;
    }
    return definition;
}

} // namespace Vexorel::PrismDrift::Host
