#pragma once

/// Draws frames of an effect for all hosts, which don't know with what.

#include "Host/Library/HostedEffect.h"
#include "Host/Rendering/RendererChoice.h"

namespace Vexorel::PrismDrift::Host {

/// Every operation may be called from any thread, and from several at the same time. Frames that
/// several threads render are drawn at once or in turns.
class Renderer {
public:
    Renderer() = default;
    Renderer(const Renderer&) = delete;
    Renderer& operator=(const Renderer&) = delete;
    virtual ~Renderer() = default;

    /// Draws one frame, in worlds of one format that it takes and that should have the same size.
    /// Leaves the thread the OpenGL context that it had; where it had none, the one of an effect
    /// that was loaded from a file may stay current. Throws Error if it fails.
    virtual void render(const World& input, World& output, const ParameterValues& values,
                        const FrameSettings& settings = {}) = 0;

    virtual bool takes(PF_PixelFormat format) const = 0;

    /// Whether `render` would copy every pixel of the input to the bit, so that the frame can be
    /// left alone. False says nothing: never true for 8 bits.
    virtual bool changesNothing(const World& input, const ParameterValues& values,
                                const FrameSettings& settings = {}) const = 0;

    /// Gives up what was made for drawing, after the frames that are under way. A later `render`
    /// makes it again.
    virtual void setDown() = 0;
};

/// The renderer for this effect, which must outlive it, as `chosenRenderer` decides. Software draws
/// no other effect than Prism Drift: throws Error where it is to draw all of one, and leaves out
/// the formats that OpenGL doesn't take.
std::unique_ptr<Renderer> makeRenderer(HostedEffect& effect, const RendererReport& chosen);
std::unique_ptr<Renderer> makeRenderer(HostedEffect& effect, const RendererRequest& request);

} // namespace Vexorel::PrismDrift::Host
