#pragma once

/// The host's memory as an effect gets it: blocks behind handles, which are locked to reach their
/// bytes. Both suites that give out such handles live here, each with handles of its own.
///
/// Every operation may be called from any thread. A handle that isn't the suite's, or was disposed
/// of, is refused. In a build with the address sanitizer, touching the bytes of a block that isn't
/// locked is an error.

#include "Platform/Effect/Suites.h"

#include <string_view>

namespace Vexorel::PrismDrift::Host {

/// "PF Handle Suite", version 2. Locks are counted. A refused handle locks to null; unlocking or
/// disposing of one does nothing. Disposing of a locked handle is allowed.
const PF_HandleSuite1& handleSuite();

/// "AEGP Memory Suite", version 1. Refuses with PF_Err_BAD_CALLBACK_PARAM and a null pointer.
/// Freeing a locked handle is allowed.
const AEGP_MemorySuite1& memorySuite();

/// A handle of the memory suite that holds `text` and a zero behind it, for the caller to free
/// with that suite; null if there is no memory.
AEGP_MemHandle newTextHandle(std::string_view text);

} // namespace Vexorel::PrismDrift::Host
