#pragma once

/// GL's error flags, for those few places that look at them.

namespace Vexorel::PrismDrift {

/// Reads all error flags of the current context, which clears them, and gives whether one of them
/// said that the driver ran out of memory.
bool takeOutOfMemory();

} // namespace Vexorel::PrismDrift
