#pragma once

/// What an effect publishes about its parameters, as a host shows it.

#include "Platform/Effect/Effect.h"

#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

enum class ParameterKind { Popup, Angle, Slider, GroupStart, GroupEnd };

/// One published parameter.
struct Parameter {
    int index = 0; ///< the one to check it out by: 1 is the first published
    int id = 0;
    ParameterKind kind = ParameterKind::Slider;
    std::string name;
    std::string group; ///< the name of the group it stands in, empty outside
    bool varies = false;
    /// The values it takes, both ends included, but for the angle, which stays below its maximum.
    /// A popup's value is its choice, counted from 1; an angle's unit is the degree.
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
    /// A value as the user would write it: a choice's label or a number.
    std::string valueText(double value) const;
};

/// Reads the definition that the effect hands to add_param. Throws Error for an unknown type, with
/// PF_Err_UNRECOGNIZED_PARAM_TYPE, and for a definition that contradicts itself, with
/// PF_Err_BAD_CALLBACK_PARAM. `index` and `group` are left to the caller.
Parameter parameterFromDefinition(const PF_ParamDef& definition);

/// The definition that the effect gets when it checks the parameter out at this value. The choices
/// refer to the text in `parameter`.
PF_ParamDef definitionAt(const Parameter& parameter, double value);

} // namespace Vexorel::PrismDrift::Host
