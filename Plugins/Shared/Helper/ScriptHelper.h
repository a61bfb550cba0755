#pragma once

/// Runs scripts in the host's scripting engine and trims their results.

#include "Platform/Effect/Suites.h"

#include <string>

namespace Vexorel::PrismDrift {

class ScriptHelper {
public:
    /// Runs `script`, zero-terminated UTF-8, and returns the text of its result as the script
    /// produced it, up to its first zero byte. Returns an empty string where the host leaves no
    /// text, as for a script that fails; the error text is not reported. Throws the `int` 13 if the
    /// host lacks "AEGP Utility Suite" 11 or "AEGP Memory Suite" 1. Suites are released and texts
    /// freed in every case.
    ///
    ///     const std::string name = ScriptHelper::TrimStringWhiteSpaces(
    ///         ScriptHelper::RunSriptAndGetStringResult(in_data->pica_basicP, "app.project.name"));
    static std::string RunSriptAndGetStringResult(SPBasicSuite* basic, const char* script);

    /// `text` without the white space at both ends; inner white space stays. White space is the
    /// `isspace` of the ASCII characters; bytes above 127, which belong to UTF-8 characters, are
    /// none.
    static std::string TrimStringWhiteSpaces(const std::string& text);
};

} // namespace Vexorel::PrismDrift
