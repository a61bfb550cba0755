#pragma once

/// Presets: files in JSON that keep the values of an effect's parameters under their published
/// names, keyframes as they were written.

#include "Host/Library/ParameterValues.h"

#include <filesystem>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

/// Overwrites `values` with those of the file, "-" being standard input; parameters that it leaves
/// out stay. Throws Host::Error in one line that names the file, the key and what it takes, and
/// changes nothing then.
void loadPreset(const std::filesystem::path& file, Host::ParameterValues& values);

/// The text of a preset with the values of all parameters, in the published order.
std::string presetText(const Host::ParameterValues& values);

} // namespace Vexorel::PrismDrift::CommandLine
