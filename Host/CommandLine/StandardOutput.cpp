#include "Host/CommandLine/StandardOutput.h"

#include "Host/Library/Error.h"
#include "Host/Library/ReplaceFile.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace Vexorel::PrismDrift::CommandLine {

using Host::Error;

namespace {

[[noreturn]] void fail(int error) {
    throw Error("cannot write to standard output: " + std::generic_category().message(error));
}

} // namespace

StandardOutput::StandardOutput(bool showPlugin)
    : mDescriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
    mOpenError = mDescriptor < 0 ? errno : 0;
    // A closed one would be given to the next file that is opened.
    int null = open("/dev/null", O_RDWR);
    while (null >= 0 && null <= STDERR_FILENO) {
        null = open("/dev/null", O_RDWR);
    }
    const int error =
        null < 0 || dup2(showPlugin ? STDERR_FILENO : null, STDOUT_FILENO) < 0 ? errno : 0;
    close(null);
    if (error != 0) { // what the plug-in prints would get between the pictures
        throw Error("cannot open /dev/null: " + std::generic_category().message(error));
    }
}

StandardOutput::~StandardOutput() {
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
}

void StandardOutput::write(std::string_view text) const {
    if (mOpenError != 0) {
        fail(mOpenError);
    }
    const int error = Host::writeAll(mDescriptor, text.data(), text.size());
    if (error != 0) {
        fail(error);
    }
}

} // namespace Vexorel::PrismDrift::CommandLine
