#pragma once

/// The versions of FFmpeg's libraries.

#include <string>

namespace Vexorel::PrismDrift::Host {

/// "libavformat 59.27.100, …, under the GPL version 2 or later", of the libraries that are loaded.
/// They may be newer than those that the program was built with.
std::string mediaVersions();

} // namespace Vexorel::PrismDrift::Host
