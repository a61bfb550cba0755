#pragma once

/// The OpenGL driver that an effect draws with on this machine, for reports and for the choice of
/// what draws.

#include <string>

namespace Vexorel::PrismDrift::Host {

/// What the driver says about itself; all three are empty where there is none.
struct GraphicsDriver {
    std::string vendor, renderer, version;
    std::string failure; ///< why there is none, in one line; empty if there is one
};

/// Asks a context that is made for the question, as an effect would make one. The context that was
/// current on this thread is current again afterwards.
GraphicsDriver graphicsDriver();

} // namespace Vexorel::PrismDrift::Host
