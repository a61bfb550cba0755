#pragma once

/// The contact sheet: one picture with different settings, so that a look is chosen with the eyes.

#include "Host/CommandLine/Sheet/SheetArguments.h"
#include "Host/Library/HostedEffect.h"

namespace Vexorel::PrismDrift::CommandLine {

/// Reads the frame, draws it with each of the settings, and writes the sheet, whole or not at all.
/// Throws UsageError for a value that an option doesn't take, and Error.
void makeSheet(Host::HostedEffect& effect, const std::vector<ParameterOption>& options,
               const SheetArguments& arguments);

} // namespace Vexorel::PrismDrift::CommandLine
