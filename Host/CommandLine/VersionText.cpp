#include "Host/CommandLine/VersionText.h"

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

} // namespace

std::string versionText(const Host::HostedEffect* effect, const std::string& whyNot,
                        const std::string& renderer) {
    return "prismdrift " PRISMDRIFT_VERSION "\n" + effectLine(effect, whyNot) + "\n" +
           librariesLine() + "\nrenderer: " + renderer + "\n";
}

} // namespace Vexorel::PrismDrift::CommandLine
