#include "Host/CommandLine/VersionText.h"

#include "Host/Library/GraphicsDriver.h"
#include "Host/Media/Versions.h"

namespace Vexorel::PrismDrift::CommandLine {
namespace {

std::string effectLine(const Host::HostedEffect* effect, const std::string& whyNot) {
    if (effect == nullptr) {
        return "no effect: " + whyNot;
    }
    const std::string about = effect->about();
    return "effect: " + about.substr(0, about.find('\n'));
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
    return "prismdrift " PRISMDRIFT_VERSION "\n" + effectLine(effect, whyNot) +
           "\nFFmpeg libraries: " + Host::mediaVersions() + "\n" + driverLine() + "\n";
}

} // namespace Vexorel::PrismDrift::CommandLine
