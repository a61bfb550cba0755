#pragma once

/// What runs here, for a report that someone else has to understand.

#include "Host/Library/HostedEffect.h"

#include <string>

namespace Vexorel::PrismDrift::CommandLine {

/// The versions of the program, the effect and FFmpeg's libraries, and the renderer, a line each.
/// For a null effect its line says why it is missing.
std::string versionText(const Host::HostedEffect* effect, const std::string& whyNot,
                        const std::string& renderer);

} // namespace Vexorel::PrismDrift::CommandLine
