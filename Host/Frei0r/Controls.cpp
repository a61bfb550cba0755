#include "Host/Frei0r/Controls.h"

#include "Host/Library/Number.h"
#include "Host/Presentation/Presentation.h"

#include <algorithm>
#include <cmath>

namespace Vexorel::PrismDrift::Host {
namespace {

Control controlOf(const Parameter& parameter) {
    Control control;
    control.parameter = parameter;
    control.name =
        parameter.group.empty() ? parameter.name : parameter.group + " " + parameter.name;
    if (control.isText()) {
        control.explanation = parameter.takes();
        return control;
    }
    const bool isAngle = parameter.kind == ParameterKind::Angle;
    control.low = isAngle ? -180.0 : parameter.minimum;
    control.high = isAngle ? 180.0 : parameter.maximum;
    control.explanation = "0 to 1 stand for " + numberText(control.low) + " to " +
                          numberText(control.high) + " " + unitOf(parameter).name;
    return control;
}

bool needsAddend(const Control& control) {
    return !control.isText() && control.low == -control.high && control.parameter.initial == 0.0;
}

Control addendOf(const Control& control) {
    Control addend = control;
    const std::string unit = unitOf(control.parameter).name;
    addend.isAddend = true;
    addend.name = control.name + " in " + unit;
    if (control.parameter.kind == ParameterKind::Angle) {
        addend.low = -360.0;
        addend.high = 360.0;
    }
    addend.explanation = numberText(addend.low) + " to " + numberText(addend.high) + " " + unit +
                         ", added to " + control.name;
    return addend;
}

} // namespace

double Control::initialSetting() const {
    if (isText()) {
        return parameter.initial;
    }
    return isAddend ? 0.0 : (parameter.initial - low) / (high - low);
}

double Control::nearestSetting(double setting) const {
    if (std::isnan(setting)) {
        return initialSetting();
    }
    return isAddend ? std::clamp(setting, low, high) : std::clamp(setting, 0.0, 1.0);
}

double Control::valueAt(double setting, double value) const {
    if (isText()) {
        return setting;
    }
    return isAddend ? std::clamp(value + setting, parameter.minimum, parameter.maximum)
                    : low + setting * (high - low);
}

int Control::choiceOf(std::string_view label) const {
    const auto& choices = parameter.choices;
    const auto found = std::find(choices.begin(), choices.end(), label);
    return found == choices.end() ? 0 : static_cast<int>(found - choices.begin()) + 1;
}

std::vector<Control> controlsOf(const std::vector<Parameter>& parameters) {
    std::vector<Control> controls;
    for (const Parameter& parameter : parameters) {
        if (parameter.hasValue()) {
            controls.push_back(controlOf(parameter));
        }
    }
    const std::size_t positions = controls.size();
    for (std::size_t i = 0; i < positions; ++i) {
        if (needsAddend(controls[i])) {
            controls.push_back(addendOf(controls[i]));
        }
    }
    return controls;
}

} // namespace Vexorel::PrismDrift::Host
