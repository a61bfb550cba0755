#include "Host/CommandLine/VersionText.h"

#include "Host/Library/GraphicsDriver.h"
#include "Host/Media/Versions.h"

#include <stdexcept>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

std::string effectLine(const Host::HostedEffect* effect, const std::string& whyNot) {
    if (effect == nullptr) {
        return "no effect: " + whyNot;
    }
    const std::string about = effect->about();
    return "effect: " + about.substr(0, about.find('\n'));
}

std::string librariesLine() {
    try {
        return "FFmpeg libraries: " + Host::mediaVersions();
    } catch (const std::runtime_error& error) {
        return std::string("no FFmpeg libraries: ") + error.what();
    }
}

std::string driverLine() {
    const Host::GraphicsDriver driver = Host::graphicsDriver();
    if (!driver.failure.empty()) {
        return "no OpenGL: " + driver.failure;
    }
    return "OpenGL: " + driver.version + ", on " + driver.renderer + ", by " + driver.vendor;
}

} // namespace

std::string versionText(const Host::HostedEffect* effect, const std::string& whyNot) {
    return "prismdrift " PRISMDRIFT_VERSION "\n" + effectLine(effect, whyNot) + "\n" +
           librariesLine() + "\n" + driverLine() + "\n";
}

} // namespace Vexorel::PrismDrift::CommandLine
