#pragma once

/// The suites that the host offers its effects, by name and version: "PF ANSI Suite" 1,
/// "PF iterateFloat Suite" 1, "PF Handle Suite" 2, "AEGP Memory Suite" 1 and "AEGP Utility Suite"
/// 11. All effects of the process share them, since their calls don't say which effect is calling.

#include "Platform/Effect/Suites.h"

namespace Vexorel::PrismDrift::Host {

/// Acquires and releases the suites, for PF_InData::pica_basicP; from any thread. Each suite counts
/// its holders. A suite that isn't offered is refused with PF_Err_BAD_CALLBACK_PARAM and a null
/// pointer; so is the release of one that nobody holds.
SPBasicSuite* basicSuite();

} // namespace Vexorel::PrismDrift::Host
