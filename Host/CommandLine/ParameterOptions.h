#pragma once

/// The options of the effect's parameters, made from what it publishes.

#include "Host/Library/ParameterValues.h"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

/// A parameter and the value that it is to get.
struct ParameterSetting {
    int index = 0; ///< the parameter's
    std::variant<double, Host::Keyframes> value;

    void apply(Host::ParameterValues& values) const;
};

/// An option for one parameter, or for all parameters of a group.
struct ParameterOption {
    std::string name;    ///< with the two dashes: "--channel-scale"
    std::string takes;   ///< how its value is written: "R,G,B"
    std::string meaning; ///< for the help
    std::vector<const Host::Parameter*> members;

    /// What a text sets the members to: a number or keyframes for each, with ',' between them, or
    /// one of these for all. Throws UsageError, which names the option and what it takes; for wrong
    /// keyframes, two more lines show where.
    std::vector<ParameterSetting> parse(std::string_view text) const;

    /// Parses the text and sets the members' values.
    void apply(std::string_view text, Host::ParameterValues& values) const;
};

/// In the published order. The options refer to the parameters. One whose name the program has
/// taken begins with "--effect-".
std::vector<ParameterOption> parameterOptions(const std::vector<Host::Parameter>& parameters);

/// A table of the parameters for people to read, one a line, in aligned columns.
std::string parameterTable(const std::vector<Host::Parameter>& parameters);

} // namespace Vexorel::PrismDrift::CommandLine
