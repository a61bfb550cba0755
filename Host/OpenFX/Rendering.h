#pragma once

/// The actions of an instance. Instances keep nothing: every action asks the host anew, so that any
/// number of them may run at once, in any order. All throw Refusal or Error.

#include "Host/OpenFX/HostSuites.h"

namespace Vexorel::PrismDrift::Host {

inline constexpr const char* sourceClip = "Source";
inline constexpr const char* outputClip = "Output";

/// Draws the render window of the output.
///
/// The effect's frame is the source's region of definition. The shift is a vector in square pixels
/// of the full resolution, so that it ends at the same place of the picture in every resolution,
/// and its angle is right where pixels are shown wider than high.
void render(const Suites& suites, OfxImageEffectHandle instance, const Properties& arguments);

/// Asks for all of the source, since channels that leave the frame come in again.
void askForRegions(const Suites& suites, OfxImageEffectHandle instance, const Properties& arguments,
                   const Properties& answers);

/// Names the source and gives true where drawing would copy every pixel to the bit. Bytes that are
/// not premultiplied are drawn as everywhere else, which rounds colours under a low alpha: never
/// true for them.
bool passesThrough(const Suites& suites, OfxImageEffectHandle instance, const Properties& arguments,
                   const Properties& answers);

} // namespace Vexorel::PrismDrift::Host
