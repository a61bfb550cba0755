#pragma once

/// What draws frames: the effect itself, with OpenGL, or its equal in software. The one place where
/// that is decided.

#include <string>

namespace Vexorel::PrismDrift::Host {

enum class RendererChoice { Auto, OpenGL, Software };

/// What a user asked for.
struct RendererRequest {
    RendererChoice choice = RendererChoice::Auto;
    std::string by; ///< what asked for it, such as an option, for texts; unused for Auto
};

/// Reads "auto", "gl" or "software". Throws Error for another word, which names `source`, the
/// option or variable that the word was given to.
RendererRequest parseRenderer(const std::string& source, const std::string& word);

/// What the environment variable PRISMDRIFT_RENDERER asks for; Auto where it is missing or empty.
/// Throws Error as parseRenderer does.
RendererRequest rendererFromEnvironment();

struct RendererReport {
    bool isSoftware = false;
    std::string reason; ///< why it draws, to follow "since"
    /// Whether software draws the worlds that OpenGL doesn't take: those of more than 8 bits.
    bool sharesWithSoftware = false;
};

/// What draws for this request. Auto takes OpenGL where hardware draws, with software for worlds of
/// more than 8 bits, and software alone where OpenGL has only a software rasteriser, or there is
/// none. The first call for it finds that out, for the life of the process: a context is made only
/// where EGL lists hardware, and OpenGL is not started elsewhere. Leaves current on the thread what
/// was current before.
RendererReport chosenRenderer(const RendererRequest& request);

/// The same as a line for people: what draws, why, and on what device. For OpenGL it makes a
/// context to ask the driver, and says why where that fails.
std::string rendererText(const RendererRequest& request);

} // namespace Vexorel::PrismDrift::Host
