#include "Host/Frei0r/Controls.h"

#include "Host/Library/Number.h"

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
                          numberText(control.high) + (isAngle ? " degrees" : "");
    return control;
}

} // namespace

double Control::valueAt(double position) const {
    if (std::isnan(position)) {
        return initial();
    }
    return low + std::clamp(position, 0.0, 1.0) * (high - low);
}

double Control::positionOf(double value) const {
    return (value - low) / (high - low);
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
    return controls;
}

} // namespace Vexorel::PrismDrift::Host
