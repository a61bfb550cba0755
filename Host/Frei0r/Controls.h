#pragma once

/// The effect's parameters as a frei0r host sees them: only those that hold a value, numbered from
/// 0 in the published order. A popup is a string; everything else is a double from 0 to 1 that
/// spans the published range.

#include "Host/Library/ParameterValues.h"

#include <string>
#include <string_view>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct Control {
    Parameter parameter;
    /// Unique, since hosts name properties after it: in a group it starts with the group's name.
    std::string name;
    std::string explanation;
    /// The values at positions 0 and 1. An angle has no published range and goes from -180 to 180.
    double low = 0.0, high = 0.0;

    bool isText() const { return parameter.kind == ParameterKind::Popup; }

    /// The default in the effect's own unit.
    double initial() const { return parameter.initial; }
    /// The effect's value at a position from 0 to 1. A position outside is clamped; NaN gives the
    /// default.
    double valueAt(double position) const;
    /// The position at which valueAt() gives this value.
    double positionOf(double value) const;
    /// The popup's value for a label; 0 for an unknown label.
    int choiceOf(std::string_view label) const;
};

std::vector<Control> controlsOf(const std::vector<Parameter>& parameters);

} // namespace Vexorel::PrismDrift::Host
