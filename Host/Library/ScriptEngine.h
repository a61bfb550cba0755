#pragma once

/// The scripting engine that effects reach through "AEGP Utility Suite": ECMAScript, version 5 with
/// parts of later ones, without objects of the host or access to files.
///
/// Each script runs in an engine of its own, so scripts share nothing, and any number of threads
/// may run them at once. A script that never ends is not stopped.

#include "Platform/Effect/Suites.h"

#include <string>

namespace Vexorel::PrismDrift::Host {

/// "AEGP Utility Suite", version 11. Scripts are UTF-8, in the platform's encoding too, which is
/// the same here.
///
/// A script that ends well leaves its value as text, the way the language's String() makes one of
/// it ("undefined" for no value), and an empty error text. One that fails leaves a null result, its
/// error as text with the line, and the call gives PF_Err_BAD_CALLBACK_PARAM; so it does, and
/// leaves two nulls, where an argument is null. Without memory for the texts it gives
/// PF_Err_OUT_OF_MEMORY and two nulls.
const AEGP_UtilitySuite5& utilitySuite();

/// Runs a script as an effect does, through that suite and the handles that it leaves, and gives
/// the value's text up to its first zero byte. Throws Error with the error's text if it fails.
std::string evaluateScript(const std::string& script);

} // namespace Vexorel::PrismDrift::Host
