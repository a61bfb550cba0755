#pragma once

/// Internal to the library of stills.

#include "Host/Stills/OpenImageIO.h"
#include "Host/Stills/Still.h"

namespace Vexorel::PrismDrift::Host {

/// As StillFunctions says.
Still readStill(const StillRequest& request);

/// Whether in a file of OpenImageIO's format the part's alpha, if it has any, is multiplied into
/// its colours.
bool isAlphaAssociated(const std::string& format, const ImageSpec& spec);

} // namespace Vexorel::PrismDrift::Host
