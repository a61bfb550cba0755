#pragma once

/// The parameters that an effect publishes, and their values in its records.

#include "Platform/Effect/Effect.h"

#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

enum class ParameterKind { Popup, Angle, Slider, GroupStart, GroupEnd };

/// One published parameter.
struct Parameter {
    int index = 0; ///< that it is checked out by; the first published parameter has 1
    int id = 0;
    ParameterKind kind = ParameterKind::Slider;
    std::string name;
    std::string group;   ///< the name of its group, empty for none
    bool varies = false; ///< whether it may change over time
    /// The range of its values, ends included; only an angle stays below its maximum. A popup's
    /// value is the number of its choice, from 1; an angle's unit is the degree.
    double minimum = 0.0, maximum = 0.0, initial = 0.0;
    int precision = 0;                ///< decimals to show
    std::vector<std::string> choices; ///< of a popup
    std::string choiceText;           ///< the choices as the effect gave them, '|' between two

    /// True unless it is the start or the end of a group.
    bool hasValue() const;
    /// "Shift Angle" or, in a group, "Channel Scale, R Channel", since names repeat between groups.
    std::string fullName() const;
    bool accepts(double value) const;
    /// "a number from -1000 to 1000" or "RGB, RBG or GRB", for messages.
    std::string takes() const;
    /// A value as a user writes it: the name of a choice, or a number.
    std::string valueText(double value) const;
};

/// Reads the definition that the effect passes to add_param; the caller sets `index` and `group`.
/// Throws Error, with PF_Err_UNRECOGNIZED_PARAM_TYPE for an unknown type and with
/// PF_Err_BAD_CALLBACK_PARAM for a definition that contradicts itself.
Parameter parameterFromDefinition(const PF_ParamDef& definition);

/// The record that the effect gets when it checks the parameter out at this value. Angles are
/// rounded to the nearest 1/65536 degree. A popup's record points at the text in `parameter`.
PF_ParamDef definitionAt(const Parameter& parameter, double value);

} // namespace Vexorel::PrismDrift::Host
