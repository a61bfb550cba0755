#pragma once

/// The two files that Shotcut makes a filter's entry and its panel of.

#include "Host/Editors/Fields.h"

namespace Vexorel::PrismDrift::Host {

/// meta.qml: the filter's name, its service in MLT, and what the panel of keyframes shows.
std::string shotcutMetadata(const std::string& service, const std::vector<Field>& fields);
/// ui.qml: a row for each field.
std::string shotcutPanel(const std::vector<Field>& fields);

} // namespace Vexorel::PrismDrift::Host
