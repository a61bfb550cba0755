#pragma once

/// What draws, as the command line and the environment ask for.

#include "Host/CommandLine/Arguments.h"
#include "Host/CommandLine/ParseLine.h"
#include "Host/Rendering/Renderer.h"

namespace Vexorel::PrismDrift::CommandLine {

/// What --renderer asks for, else --plugin, which is drawn with OpenGL, else PRISMDRIFT_RENDERER.
/// Throws UsageError for a word that isn't known, and for a plug-in that software is to draw.
Host::RendererRequest rendererRequest(const ParsedLine& line);

/// The renderer that the arguments ask for. With --verbose, a line on standard error names it.
std::unique_ptr<Host::Renderer> rendererFor(Host::HostedEffect& effect, const Arguments& arguments);

/// The worlds to read pictures into, for this renderer: as deep as they are or shall become. Throws
/// UsageError where the arguments ask for more than the renderer takes.
Host::WorldDepth worldsFor(const Arguments& arguments, const Host::Renderer& renderer);

} // namespace Vexorel::PrismDrift::CommandLine
