#include "Host/CommandLine/RunScript.h"

#include "Host/Library/Error.h"
#include "Host/Library/ScriptEngine.h"
#include "Host/Library/Suites.h"
#include "Shared/Helper/ScriptHelper.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace {

using Vexorel::PrismDrift::ScriptHelper;
using Vexorel::PrismDrift::Host::basicSuite;
using Vexorel::PrismDrift::Host::Error;
using Vexorel::PrismDrift::Host::lastScriptError;

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string readAll(const std::filesystem::path& path) {
    const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rb"));
    std::string text;
    std::array<char, 65536> part{};
    std::size_t count = 0;
    while (file && (count = std::fread(part.data(), 1, part.size(), file.get())) > 0) {
        text.append(part.data(), count);
    }
    if (!file || std::ferror(file.get()) != 0) {
        throw Error("cannot read the script '" + path.string() +
                    "': " + std::generic_category().message(errno));
    }
    return text;
}

} // namespace

std::string runScript(const std::filesystem::path& file) {
    const std::string script = readAll(file);
    if (script.find('\0') != std::string::npos) {
        throw Error("the script '" + file.string() + "' is no text: it holds a zero byte");
    }
    const std::string result =
        ScriptHelper::RunSriptAndGetStringResult(basicSuite(), script.c_str());
    if (!lastScriptError().empty()) {
        throw Error("the script '" + file.string() + "' failed: " + lastScriptError());
    }
    return ScriptHelper::TrimStringWhiteSpaces(result);
}
