#pragma once

/// The scripting engine that effects reach through "AEGP Utility Suite": ECMAScript, version 5 with
/// parts of later ones, without objects of the host or access to files.
///
/// Each script runs in an engine of its own, so scripts share nothing, and any number of threads
/// may run them at once. A script that never ends is not stopped.

#include "Platform/Effect/Suites.h"

#include <string>

namespace Vexorel::PrismDrift::Host {

/// "AEGP Utility Suite", version 11. Scripts are UTF-8; the platform's encoding is the same.
///
/// A script that succeeds leaves its value as text, converted as by the language's String()
/// ("undefined" for no value), and an empty error text. One that fails leaves a null result and an
/// error text with the line, and the call gives PF_Err_BAD_CALLBACK_PARAM. A null argument gives
/// that code too, too little memory PF_Err_OUT_OF_MEMORY, both with two null handles.
const AEGP_UtilitySuite5& utilitySuite();

/// Runs a script as an effect does, through that suite and its handles, and gives the value's text
/// up to the first zero byte. Throws Error with the error text if the script fails.
std::string evaluateScript(const std::string& script);

} // namespace Vexorel::PrismDrift::Host
