#include "Host/CommandLine/RunScript.h"

#include "Host/CommandLine/ReadText.h"
#include "Host/Library/Error.h"
#include "Host/Library/ScriptEngine.h"
#include "Host/Library/Text.h"

#include <string>

namespace Vexorel::PrismDrift::CommandLine {

using Host::Error;

std::string runScript(const std::filesystem::path& file) {
    const std::string script = readText(file, "the script");
    if (script.find('\0') != std::string::npos) {
        throw Error("the script " + nameOf(file) + " is not a text: it holds a zero byte");
    }
    try {
        return std::string(Host::trimmed(Host::evaluateScript(script)));
    } catch (const Error& error) {
        throw Error("the script " + nameOf(file) + " failed: " + error.what());
    }
}

} // namespace Vexorel::PrismDrift::CommandLine
