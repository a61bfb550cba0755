#include "Host/Stills/TemporaryFile.h"

#include "Host/Library/Error.h"

#include <cerrno>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Vexorel::PrismDrift::Host {
namespace {

[[noreturn]] void refuse(const std::string& what) {
    throw Error("a file in memory can't be " + what + ": " +
                std::generic_category().message(errno));
}

} // namespace

TemporaryFile::TemporaryFile() : mDescriptor(memfd_create("prismdrift", MFD_CLOEXEC)) {
    if (mDescriptor < 0) {
        refuse("made");
    }
}

TemporaryFile::~TemporaryFile() {
    close(mDescriptor);
}

std::string TemporaryFile::name() const {
    return "/proc/self/fd/" + std::to_string(mDescriptor);
}

std::vector<std::uint8_t> TemporaryFile::bytes() const {
    struct stat status = {};
    if (fstat(mDescriptor, &status) != 0) {
        refuse("read");
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(status.st_size));
    std::size_t at = 0;
    while (at < bytes.size()) {
        const ssize_t count =
            pread(mDescriptor, bytes.data() + at, bytes.size() - at, static_cast<off_t>(at));
        if (count <= 0) {
            refuse("read");
        }
        at += static_cast<std::size_t>(count);
    }
    return bytes;
}

} // namespace Vexorel::PrismDrift::Host
