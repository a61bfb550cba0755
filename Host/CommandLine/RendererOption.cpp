#include "Host/CommandLine/RendererOption.h"

#include "Host/CommandLine/Usage.h"
#include "Host/Library/Error.h"
#include "Host/Library/Text.h"

#include <iostream>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

Host::RendererRequest readRequest(const ParsedLine& line) {
    if (line.has("--renderer")) {
        return Host::parseRenderer("--renderer", line.last("--renderer"));
    }
    return line.has("--plugin") ? Host::RendererRequest() : Host::rendererFromEnvironment();
}

} // namespace

Host::RendererRequest rendererRequest(const ParsedLine& line) {
    Host::RendererRequest request;
    try {
        request = readRequest(line);
    } catch (const Host::Error& error) {
        throw UsageError(error.what());
    }
    if (!line.has("--plugin")) {
        return request;
    }
    if (request.choice == Host::RendererChoice::Software) {
        throw UsageError("--renderer software draws without a plug-in; leave out --plugin, or say "
                         "--renderer gl");
    }
    return {Host::RendererChoice::OpenGL, "--plugin"};
}

std::unique_ptr<Host::Renderer> rendererFor(Host::HostedEffect& effect,
                                            const Arguments& arguments) {
    auto renderer = Host::makeRenderer(effect, arguments.renderer);
    if (arguments.verbose) {
        const std::string text = Host::rendererText(arguments.renderer); // drivers may print, too
        std::cerr << "prismdrift: renderer: " << Host::printable(text) << "\n";
    }
    return renderer;
}

Host::WorldDepth worldsFor(const Arguments& arguments, const Host::Renderer& renderer) {
    const bool becomesDeep = arguments.output.depth && arguments.output.depth->isDeep();
    if (!renderer.takes(PF_PixelFormat_ARGB128)) {
        if (arguments.linear || becomesDeep) {
            throw UsageError(std::string(arguments.linear ? "--linear" : "--depth") +
                             " takes the software renderer here, and " + arguments.renderer.by +
                             " asks for gl, which draws 8 bits");
        }
        return Host::WorldDepth::Bits8;
    }
    return arguments.linear || becomesDeep ? Host::WorldDepth::Floats : Host::WorldDepth::Stored;
}

} // namespace Vexorel::PrismDrift::CommandLine
