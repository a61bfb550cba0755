#include "Host/Stills/WriteStill.h"

#include "Host/Library/Error.h"

namespace Vexorel::PrismDrift::Host {

StillFile encodedStill(const StillPicture& /*picture*/, const std::string& ending,
                       std::optional<Depth> /*depth*/, bool /*dithers*/) {
    throw Error("'" + ending + "' is no format of stills");
}

} // namespace Vexorel::PrismDrift::Host
