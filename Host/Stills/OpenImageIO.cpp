#include "Host/Stills/OpenImageIO.h"

#include "Host/Library/Error.h"

#include <algorithm>

namespace Vexorel::PrismDrift::Host {

std::string tidied(const std::string& text) {
    std::string line = text.substr(0, text.find('\n'));
    while (!line.empty() && (line.back() == '.' || line.back() == ' ')) {
        line.pop_back();
    }
    return line;
}

void throwErrorOf(const ImageInput& input, const std::string& text) {
    const std::string own = tidied(input.geterror());
    throw Error(own.empty() ? text : text + " (" + own + ")");
}

void throwErrorOf(const ImageOutput& output, const std::string& text) {
    const std::string own = tidied(output.geterror());
    throw Error(own.empty() ? text : text + " (" + own + ")");
}

std::size_t storedPixelBytes(const ImageSpec& spec) {
    return spec.pixel_bytes(true);
}

std::size_t offsetOf(const ImageSpec& spec, int channel) {
    return spec.pixel_bytes(0, channel, true);
}

} // namespace Vexorel::PrismDrift::Host
