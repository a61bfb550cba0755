#pragma once

/// Which of FFmpeg's libraries pictures and video are read and written with.

#include <string>

namespace Vexorel::PrismDrift::Host {

/// "libavformat 59.27.100, …, under the GPL version 2 or later": those that are loaded, which may
/// be newer than those that the program was built with.
std::string mediaVersions();

} // namespace Vexorel::PrismDrift::Host
