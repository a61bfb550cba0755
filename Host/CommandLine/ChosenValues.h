#pragma once

/// The effect's values from the preset and the options of the command line.

#include "Host/CommandLine/Arguments.h"
#include "Host/Library/HostedEffect.h"

namespace Vexorel::PrismDrift::CommandLine {

/// The preset's values, overridden by the options of the command line. These are parsed before the
/// preset is opened. Throws UsageError and Error. Keyframes are left to be resolved.
Host::ParameterValues chosenValues(const Host::HostedEffect& effect, const Arguments& arguments);

} // namespace Vexorel::PrismDrift::CommandLine
