#pragma once

/// The effect's parameters as frei0r has them: those that hold a value, numbered from 0 in the
/// published order. A popup is a string, all else a double from 0 to 1 over the published range.

#include "Host/Library/ParameterValues.h"

#include <string>
#include <string_view>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct Control {
    Parameter parameter;
    /// Unique, as hosts make properties of it: a group's name stands before its members'.
    std::string name;
    std::string explanation;
    /// What 0 and 1 stand for. An angle, which has no published range, goes from -180 to 180.
    double low = 0.0, high = 0.0;

    bool isText() const { return parameter.kind == ParameterKind::Popup; }

    /// The default in the effect's own unit.
    double initial() const { return parameter.initial; }
    /// The effect's value for a position from 0 to 1: what lies outside becomes the nearest end, a
    /// NaN the default.
    double valueAt(double position) const;
    /// The position that a value of the effect's has.
    double positionOf(double value) const;
    /// The popup's value for a label; 0 for a text that is none.
    int choiceOf(std::string_view label) const;
};

std::vector<Control> controlsOf(const std::vector<Parameter>& parameters);

} // namespace Vexorel::PrismDrift::Host
