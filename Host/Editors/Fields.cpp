#include "Host/Editors/Fields.h"

#include "Host/Frei0r/Controls.h"
#include "Host/Library/Error.h"
#include "Host/Library/Number.h"
#include "Host/Presentation/Presentation.h"

#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

Field fieldOf(const Parameter& parameter, std::string property) {
    Field field;
    field.property = std::move(property);
    field.name = parameter.fullName();
    field.hint = hintOf(parameter);
    field.varies = parameter.varies;
    if (parameter.kind == ParameterKind::Popup) {
        field.choices = parameter.choices;
        field.initial = parameter.initial - 1.0;
        return field;
    }
    const bool isAngle = parameter.kind == ParameterKind::Angle;
    field.low = isAngle ? -360.0 : parameter.minimum; // a turn either way
    field.high = isAngle ? 360.0 : parameter.maximum;
    field.initial = parameter.initial;
    field.decimals = isAngle ? 2 : parameter.precision;
    field.suffix = unitOf(parameter).suffix;
    return field;
}

// The control that shows this parameter without an offset: its addend, if it has one.
std::size_t shownControl(const std::vector<Control>& controls, const Parameter& parameter) {
    std::size_t shown = controls.size();
    for (std::size_t i = 0; i < controls.size(); ++i) {
        const Control& control = controls[i];
        if (control.parameter.index == parameter.index &&
            (control.isText() || control.isAddend || control.low == 0.0)) {
            shown = i;
        }
    }
    if (shown == controls.size()) {
        throw Error("editors can't show " + parameter.fullName() + " without an offset");
    }
    return shown;
}

} // namespace

std::string Field::stored() const {
    return isList() ? choices[static_cast<std::size_t>(initial)] : numberText(initial / factor);
}

std::vector<Field> frei0rFields() {
    const std::vector<Control> controls = controlsOf(*effectParameters());
    std::vector<Field> fields;
    for (const Parameter& parameter : *effectParameters()) {
        if (!parameter.hasValue()) {
            continue;
        }
        const std::size_t number = shownControl(controls, parameter);
        const Control& control = controls[number];
        Field field = fieldOf(parameter, std::to_string(number));
        if (!control.isText()) {
            field.low = control.low;
            field.high = control.high;
            field.factor = control.isAddend ? 1.0 : control.high;
        }
        fields.push_back(std::move(field));
    }
    return fields;
}

std::vector<Field> openFxFields() {
    std::vector<Field> fields;
    for (const Parameter& parameter : *effectParameters()) {
        if (parameter.hasValue()) {
            fields.push_back(fieldOf(parameter, identifierOf(parameter)));
        }
    }
    return fields;
}

} // namespace Vexorel::PrismDrift::Host
