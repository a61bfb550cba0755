#pragma once

/// The options that stand for an effect's parameters, made from what it publishes.

#include "Host/Library/ParameterValues.h"

#include <string>
#include <string_view>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

/// One option: for a parameter of its own, or for all of a group, with a value for each.
struct ParameterOption {
    std::string name;    ///< with the two dashes: "--channel-scale"
    std::string takes;   ///< how its value is written: "R,G,B"
    std::string meaning; ///< for the help
    std::vector<const Host::Parameter*> members;

    /// Puts what the user wrote into the values of all members: a number or keyframes for each,
    /// with
    /// ',' between them, or one of these for all. Throws UsageError, which names the option and
    /// what it takes, and shows below it where keyframes are wrong.
    void apply(std::string_view text, Host::ParameterValues& values) const;
};

/// In the published order. The options refer to the parameters.
std::vector<ParameterOption> parameterOptions(const std::vector<Host::Parameter>& parameters);

/// A table of the parameters for people to read, one a line, in aligned columns.
std::string parameterTable(const std::vector<Host::Parameter>& parameters);

} // namespace Vexorel::PrismDrift::CommandLine
