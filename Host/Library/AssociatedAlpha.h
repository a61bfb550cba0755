#pragma once

/// Colours that are multiplied by their pixel's alpha ("associated"), as compositors store them,
/// and as worlds don't.

#include "Host/Library/World.h"

namespace Vexorel::PrismDrift::Host {

/// Divides each colour by its pixel's alpha, in a world of 8 bits, where a result is rounded and
/// white at most, or of floats. Where alpha is 0 the colour stays; gives whether there was such a
/// one, light without cover, which no colour under alpha can stand for. Throws Error for another
/// format.
bool divideByAlpha(World& world);

/// What to say where there was such light.
constexpr const char* bareLightLoss = "light that covers nothing, colour at an alpha of 0, is lost";

/// Multiplies each colour by its pixel's alpha, in a world of floats. Throws Error for another
/// format.
void multiplyByAlpha(World& world);

} // namespace Vexorel::PrismDrift::Host
