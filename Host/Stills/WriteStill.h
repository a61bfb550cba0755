#pragma once

/// Internal to the library of stills.

#include "Host/Stills/Still.h"

namespace Vexorel::PrismDrift::Host {

/// As StillFunctions says.
StillFile encodedStill(const StillPicture& picture, const std::string& ending,
                       std::optional<Depth> depth, bool dithers);

} // namespace Vexorel::PrismDrift::Host
