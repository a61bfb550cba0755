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

/// The error text of the last script that this thread ran; empty if that script ended well. For
/// those who get the result from a helper that tells no more than that there is none.
const std::string& lastScriptError();

} // namespace Vexorel::PrismDrift::Host
