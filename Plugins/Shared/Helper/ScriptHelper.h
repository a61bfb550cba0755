#pragma once

/// Runs scripts in the host's scripting engine and trims the text that they give.

#include "Platform/Effect/Suites.h"

#include <string>

namespace Vexorel::PrismDrift {

class ScriptHelper {
public:
    /// Runs `script`, zero-terminated UTF-8, and gives the text of its result as the script
    /// produced it, up to its first zero byte. Empty where the host leaves no text, as for a script
    /// that fails: the error text is not reported. Throws the `int` 13 if the host lacks
    /// "AEGP Utility Suite" 11 or "AEGP Memory Suite" 1. Suites and texts of the host are given
    /// back on every way out.
    ///
    ///     const std::string name = ScriptHelper::TrimStringWhiteSpaces(
    ///         ScriptHelper::RunSriptAndGetStringResult(in_data->pica_basicP, "app.project.name"));
    static std::string RunSriptAndGetStringResult(SPBasicSuite* basic, const char* script);

    /// `text` without the white space at both ends; inner white space stays. White space is what
    /// `isspace` takes for it among the ASCII characters; a byte above 127, part of a UTF-8
    /// character, never is.
    static std::string TrimStringWhiteSpaces(const std::string& text);
};

} // namespace Vexorel::PrismDrift
