#pragma once

/// The formats that stills are written in. Internal to the library of stills.

#include "Host/Library/Depth.h"

#include <optional>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

enum class Alpha { None, Straight, Associated };

struct StillFormat {
    const char* ending;
    const char* format; ///< OpenImageIO's name
    const char* name;   ///< for messages
    std::vector<Depth> depths;
    Alpha alpha = Alpha::None;
    bool hasExif = false;  ///< with XMP and IPTC
    bool hasTexts = false; ///< a description, names and the like
    bool hasProfile = false;
    const char* compression = "";
};

/// The format with this ending. Throws Error where there is none.
const StillFormat& stillFormat(const std::string& ending);

/// The format's depth that is as deep as `wanted`, else the deepest.
Depth nearestDepth(const StillFormat& format, const Depth& wanted);

} // namespace Vexorel::PrismDrift::Host
