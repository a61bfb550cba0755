#pragma once

/// The effect's parameters as a frei0r host sees them: only those that hold a value, numbered from
/// 0 in the published order. A popup is a string; everything else is a double from 0 to 1 that
/// spans the published range.
///
/// Editors can show a number times a factor and with a unit, but none of them adds an offset, so a
/// position of 0.5 can't be shown as 0 degrees. After the others therefore comes one addend for
/// each number whose range has 0 in its middle: in the effect's own unit, added to what the
/// position gives, and 0 by default.

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
    /// The values at positions 0 and 1, or the ends of an addend. An angle has no published range:
    /// its position goes from -180 to 180, its addend a turn either way.
    double low = 0.0, high = 0.0;
    bool isAddend = false;

    bool isText() const { return parameter.kind == ParameterKind::Popup; }

    /// What a new filter is set to: the number of a choice, a position or an addend.
    double initialSetting() const;
    /// The nearest position or addend that there is; the default for NaN.
    double nearestSetting(double setting) const;
    /// The effect's value at a setting, where that of the controls before is `value`.
    double valueAt(double setting, double value) const;
    /// The popup's value for a label; 0 for an unknown label.
    int choiceOf(std::string_view label) const;
};

std::vector<Control> controlsOf(const std::vector<Parameter>& parameters);

} // namespace Vexorel::PrismDrift::Host
