#pragma once

/// The effect's parameters as OpenFX hosts see them. Everything but the identifiers comes from what
/// the effect publishes.

#include "Host/Library/ParameterValues.h"
#include "Host/OpenFX/HostSuites.h"

namespace Vexorel::PrismDrift::Host {

/// Defines the parameters of an effect that is being described. Throws Refusal.
void defineControls(const Suites& suites, OfxImageEffectHandle effect);

/// An instance's values at a time. A number beyond its range counts as the nearer end, and an angle
/// is taken modulo a turn. Throws Refusal where the host gives none, and Error for a number or a
/// choice that is none.
ParameterValues controlValues(const Suites& suites, OfxImageEffectHandle instance, OfxTime time);

} // namespace Vexorel::PrismDrift::Host
