#pragma once

/// The host's memory as an effect gets it: blocks behind handles, which are locked to reach their
/// bytes. Both suites that give such handles out live here, with their accounts.
///
/// Every operation may be called from any thread.

#include "Platform/Effect/Suites.h"

#include <cstddef>
#include <string_view>

namespace Vexorel::PrismDrift::Host {

/// The state of one suite's blocks, over the whole process.
struct MemoryCounts {
    std::size_t blocks = 0;  ///< handles that are out
    std::size_t bytes = 0;   ///< their sizes, summed
    std::size_t locks = 0;   ///< locks taken and not given back, of those handles
    std::size_t misuses = 0; ///< calls so far with a handle that isn't one, or not locked
};

/// "PF Handle Suite", version 2. A handle that isn't one of its own is refused: locking it gives
/// null. Disposing of a locked handle is allowed.
const PF_HandleSuite1& handleSuite();
MemoryCounts handleCounts();

/// "AEGP Memory Suite", version 1. Refuses the same with PF_Err_BAD_CALLBACK_PARAM and a null
/// pointer. Freeing a locked handle is allowed.
const AEGP_MemorySuite1& memorySuite();
MemoryCounts memoryCounts();

/// A handle of the memory suite that holds `text` and a zero behind it, for the caller to free
/// with that suite; null if there is no memory.
AEGP_MemHandle newTextHandle(std::string_view text);

} // namespace Vexorel::PrismDrift::Host
