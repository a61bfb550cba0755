#pragma once

/// Which OpenGL an effect would draw with here, for people who have to tell one machine from
/// another.

#include <string>

namespace Vexorel::PrismDrift::Host {

/// What the driver says about itself; all three are empty where there is none.
struct GraphicsDriver {
    std::string vendor, renderer, version;
    std::string failure; ///< why there is none, in one line; empty if there is one
};

/// Makes a context for a moment, as an effect would. What was current on this thread is so again
/// afterwards.
GraphicsDriver graphicsDriver();

} // namespace Vexorel::PrismDrift::Host
