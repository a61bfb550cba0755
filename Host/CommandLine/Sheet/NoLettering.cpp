// Text in pictures, in a build without the library for it.

#include "Host/CommandLine/Sheet/Lettering.h"
#include "Host/Library/Error.h"

namespace Vexorel::PrismDrift::CommandLine {
namespace {

[[noreturn]] void refuse() {
    throw Host::Error(
        "this build of the program draws no text, and so no sheets: it was made without "
        "pangocairo (Debian's libpango1.0-dev)");
}

} // namespace

void checkLettering() {
    refuse();
}

bool canShow(const std::string& /*text*/) {
    refuse();
}

int textHeight(const std::string& /*text*/, int /*width*/, const TextStyle& /*style*/) {
    refuse();
}

void drawText(Host::World& /*world*/, int /*x*/, int /*y*/, int /*width*/,
              const std::string& /*text*/, const TextStyle& /*style*/) {
    refuse();
}

} // namespace Vexorel::PrismDrift::CommandLine
