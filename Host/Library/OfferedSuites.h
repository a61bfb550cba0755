#pragma once

/// The suites that the host offers its effects, by name and version. They are the process's, not
/// one effect's, since their calls carry nothing that tells the caller apart. Offered from the
/// start: "PF ANSI Suite" 1, "PF iterateFloat Suite" 1, "PF Handle Suite" 2, "AEGP Memory Suite" 1,
/// "AEGP Utility Suite" 11.
///
/// Every operation may be called from any thread.

#include "Platform/Effect/Suites.h"

namespace Vexorel::PrismDrift::Host {

/// The way in, for PF_InData::pica_basicP. A suite that isn't offered is refused with
/// PF_Err_BAD_CALLBACK_PARAM and a null pointer; so is the release of one that nobody holds.
SPBasicSuite* basicSuite();

/// Offers one more suite. `table` must live as long as the process; a suite offered again under
/// the same name and version is replaced for those who acquire it from then on.
void offerSuite(const char* name, std::int32_t version, const void* table);

/// How many holders the suite has: acquired and not yet released, 0 for one that isn't offered.
int suiteReferences(const char* name, std::int32_t version);

} // namespace Vexorel::PrismDrift::Host
