// The module prismdrift_stills.so.

#include "Host/Stills/ReadStill.h"
#include "Host/Stills/StillExtras.h"
#include "Host/Stills/WriteStill.h"

namespace Vexorel::PrismDrift::Host {
namespace {

std::string stillsVersion() {
    return "OpenImageIO " + std::string(OIIO::get_string_attribute("version"));
}

constexpr StillFunctions functions = {&readStill, &encodedStill, &lossesIn, &stillsVersion};

} // namespace
} // namespace Vexorel::PrismDrift::Host

extern "C" [[gnu::visibility("default")]] const Vexorel::PrismDrift::Host::StillFunctions*
prismdriftStills() {
    OIIO::attribute("debug", 0); // which prints what it leaves out of a file
    OIIO::attribute("try_all_readers", 0);
    OIIO::attribute("threads", 1); // readers and writers have threads of their own
    OIIO::attribute("exr_threads", 1);
    return &Vexorel::PrismDrift::Host::functions;
}
