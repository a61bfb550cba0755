#include "Host/CommandLine/RunScript.h"

#include "Host/Library/Error.h"
#include "Host/Library/ScriptEngine.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace {

namespace Host = Vexorel::PrismDrift::Host;
using Host::Error;

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
    std::string result;
    try {
        result = Host::runScript(script);
    } catch (const Error& error) {
        throw Error("the script '" + file.string() + "' failed: " + error.what());
    }
    const char* whiteSpace = " \t\n\v\f\r";
    result.erase(result.find_last_not_of(whiteSpace) + 1);
    result.erase(0, result.find_first_not_of(whiteSpace));
    return result;
}
