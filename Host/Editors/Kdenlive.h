#pragma once

/// The description of an effect that Kdenlive makes its panel of.

#include "Host/Editors/Fields.h"

namespace Vexorel::PrismDrift::Host {

/// `service` is what MLT calls the effect, `name` what the list of effects shows.
std::string kdenliveEffect(const std::string& service, const std::string& name,
                           const std::vector<Field>& fields);

} // namespace Vexorel::PrismDrift::Host
