#include "Host/Stills/TemporaryFile.h"

#include "Host/Library/Error.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace Vexorel::PrismDrift::Host {

namespace fs = std::filesystem;

TemporaryFile::TemporaryFile(const std::string& ending) {
    std::error_code ignored;
    std::string name = (fs::temp_directory_path(ignored) / "prismdrift-XXXXXX").string() + ending;
    const int descriptor = mkstemps(name.data(), static_cast<int>(ending.size()));
    if (descriptor < 0) {
        throw Error("the temporary file '" + name + "': " + std::generic_category().message(errno));
    }
    close(descriptor);
    mPath = name;
}

TemporaryFile::~TemporaryFile() {
    std::error_code ignored;
    fs::remove(mPath, ignored);
}

std::vector<std::uint8_t> TemporaryFile::bytes() const {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(fs::file_size(mPath)));
    std::ifstream stream(mPath, std::ios::binary);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        throw Error("the temporary file '" + mPath.string() + "' can't be read");
    }
    return bytes;
}

} // namespace Vexorel::PrismDrift::Host
