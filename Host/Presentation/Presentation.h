#pragma once

/// What other programs show and store of the effect's parameters, beside what it publishes itself.

#include "Host/Library/Parameter.h"

#include <memory>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// What the effect is called, who made it, and what it does in a sentence without its full stop.
constexpr const char* effectName = "Prism Drift";
constexpr const char* effectAuthor = "Vexorel";
constexpr const char* effectSummary = "Moves the red, green and blue channels apart, each with a "
                                      "scale and a lightness of its own";

/// What projects store the OpenFX plug-in under: never to be changed.
constexpr const char* openFxIdentifier = "net.vexorel.PrismDrift";

/// What the effect publishes. Needs neither OpenGL nor the script engine. Never destroyed, since a
/// host's threads may outlive static objects.
const std::shared_ptr<const std::vector<Parameter>>& effectParameters();

/// What projects store a parameter or a group under: never to be changed. Throws Error for one that
/// has none.
const char* identifierOf(const Parameter& parameter);

/// A sentence about the parameter, without its full stop.
std::string hintOf(const Parameter& parameter);

struct Unit {
    const char* name;   ///< "degrees"; empty for none
    const char* suffix; ///< what follows a number: "°" or " px"; in UTF-8
};

Unit unitOf(const Parameter& parameter);

} // namespace Vexorel::PrismDrift::Host
