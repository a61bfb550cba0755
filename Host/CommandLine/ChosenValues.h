#pragma once

/// The effect's values as the command line and its preset say.

#include "Host/CommandLine/Arguments.h"
#include "Host/Library/HostedEffect.h"

namespace Vexorel::PrismDrift::CommandLine {

/// The preset's values, and over them those on the line. Wrong usage is told before the preset is
/// opened. Throws UsageError and Error. Keyframes are left to be resolved.
Host::ParameterValues chosenValues(const Host::HostedEffect& effect, const Arguments& arguments);

} // namespace Vexorel::PrismDrift::CommandLine
