#pragma once

/// What the plug-in tells a host about itself. Both throw Refusal.

#include "Host/OpenFX/HostSuites.h"

namespace Vexorel::PrismDrift::Host {

void describe(const Suites& suites, OfxImageEffectHandle effect);

/// The clips and the parameters, which are the same in every context.
void describeInContext(const Suites& suites, OfxImageEffectHandle effect);

} // namespace Vexorel::PrismDrift::Host
