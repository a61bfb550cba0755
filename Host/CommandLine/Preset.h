#pragma once

/// Presets: files in JSON that keep the values of an effect's parameters under their published
/// names, keyframes as they were written.

#include "Host/Library/ParameterValues.h"

#include <filesystem>

namespace Vexorel::PrismDrift::CommandLine {

/// Overwrites `values` with the file's values; parameters that it leaves out stay. Throws
/// Host::Error in one line that names the file, the key and what it takes, and changes nothing
/// then.
void loadPreset(const std::filesystem::path& file, Host::ParameterValues& values);

/// Writes the values of all parameters, in the published order; the file appears whole or not at
/// all. Throws Host::Error.
void savePreset(const std::filesystem::path& file, const Host::ParameterValues& values);

} // namespace Vexorel::PrismDrift::CommandLine
