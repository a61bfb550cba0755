#include "Host/CommandLine/ReadText.h"

#include "Host/Library/Error.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

} // namespace

std::string nameOf(const std::filesystem::path& file) {
    return file == "-" ? "on standard input" : "'" + file.string() + "'";
}

std::string readText(const std::filesystem::path& path, const std::string& what,
                     std::size_t limit) {
    const std::unique_ptr<std::FILE, Close> file(path == "-" ? fdopen(dup(STDIN_FILENO), "rb")
                                                             : std::fopen(path.c_str(), "rb"));
    std::string text;
    std::array<char, 65536> part{};
    std::size_t count = 0;
    while (file && text.size() <= limit &&
           (count = std::fread(part.data(), 1, part.size(), file.get())) > 0) {
        text.append(part.data(), count);
    }
    if (!file || std::ferror(file.get()) != 0) {
        throw Host::Error("cannot read " + what + " " + nameOf(path) + ": " +
                          std::generic_category().message(errno));
    }
    return text;
}

} // namespace Vexorel::PrismDrift::CommandLine
