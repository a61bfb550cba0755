#pragma once

/// The module for stills by OpenImageIO. Internal to the media library.

#include "Host/Stills/Still.h"

namespace Vexorel::PrismDrift::Host {

/// The module's functions. The first call loads it, which takes a tenth of a second. Throws Error,
/// which names the module and the reason, where it or a library that it needs is missing.
const StillFunctions& stills();

/// Why the module can't be loaded; empty where it can, and then it is.
std::string reasonWithoutStills();

/// Whether the module's file is there. Doesn't load it.
bool hasStills();

} // namespace Vexorel::PrismDrift::Host
