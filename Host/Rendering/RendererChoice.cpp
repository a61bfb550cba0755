#include "Host/Rendering/RendererChoice.h"

#include "Host/Library/Error.h"
#include "Host/Library/GraphicsDriver.h"
#include "Host/Library/Text.h"
#include "Host/Software/Software.h"
#include "Platform/OpenGL/GraphicsHardware.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr const char* variable = "PRISMDRIFT_RENDERER";

// By the names that drivers give for what draws. One that hands the work on names that, too.
bool drawsInSoftware(const GraphicsDriver& driver) {
    const std::string renderer = lowerCase(driver.renderer);
    constexpr std::array<const char*, 5> names = {"llvmpipe", "softpipe", "swrast",
                                                  "software rasterizer", "swiftshader"};
    return std::any_of(names.begin(), names.end(),
                       [&](const char* name) { return renderer.find(name) != std::string::npos; });
}

RendererReport decide() {
    const std::string missing = Platform::missingHardware();
    if (!missing.empty()) {
        return {true, missing};
    }
    const GraphicsDriver driver = graphicsDriver();
    if (!driver.failure.empty()) {
        return {true, "no OpenGL 3.3 context could be made: " + driver.failure};
    }
    if (drawsInSoftware(driver)) {
        return {true, "the OpenGL driver draws in software, too: " + driver.renderer};
    }
    return {false, "graphics hardware draws", true};
}

std::string openGLText() {
    const GraphicsDriver driver = graphicsDriver();
    if (!driver.failure.empty()) {
        return "no OpenGL: " + driver.failure;
    }
    return "OpenGL " + driver.version + ", on " + driver.renderer + ", by " + driver.vendor;
}

} // namespace

RendererRequest parseRenderer(const std::string& source, const std::string& word) {
    if (word == "auto") {
        return {RendererChoice::Auto, source};
    }
    if (word == "gl") {
        return {RendererChoice::OpenGL, source};
    }
    if (word == "software") {
        return {RendererChoice::Software, source};
    }
    throw Error(source + " takes auto, gl or software, not '" + word + "'");
}

RendererRequest rendererFromEnvironment() {
    const char* word = std::getenv(variable);
    return word == nullptr || *word == '\0' ? RendererRequest() : parseRenderer(variable, word);
}

RendererReport chosenRenderer(const RendererRequest& request) {
    if (request.choice != RendererChoice::Auto) {
        return {request.choice == RendererChoice::Software, request.by + " asks for it"};
    }
    static const auto& decision = *new RendererReport(decide());
    return decision;
}

std::string rendererText(const RendererRequest& request) {
    const RendererReport chosen = chosenRenderer(request);
    if (chosen.isSoftware) {
        return "software, since " + chosen.reason + "; drawn with " + softwareUnit();
    }
    return "gl, since " + chosen.reason + "; " + openGLText() +
           (chosen.sharesWithSoftware
                ? "; more than 8 bits a channel in software, with " + softwareUnit()
                : "");
}

} // namespace Vexorel::PrismDrift::Host
