#include "Host/CommandLine/RunScript.h"

#include "Host/CommandLine/ReadText.h"
#include "Host/Library/Error.h"
#include "Host/Library/ScriptEngine.h"

#include <string>

namespace Vexorel::PrismDrift::CommandLine {

using Host::Error;

std::string runScript(const std::filesystem::path& file) {
    const std::string script = readText(file, "the script");
    if (script.find('\0') != std::string::npos) {
        throw Error("the script '" + file.string() + "' is no text: it holds a zero byte");
    }
    std::string result;
    try {
        result = Host::evaluateScript(script);
    } catch (const Error& error) {
        throw Error("the script '" + file.string() + "' failed: " + error.what());
    }
    const char* whiteSpace = " \t\n\v\f\r";
    result.erase(result.find_last_not_of(whiteSpace) + 1);
    result.erase(0, result.find_first_not_of(whiteSpace));
    return result;
}

} // namespace Vexorel::PrismDrift::CommandLine
