#pragma once

/// The one effect that all instances of the module share. The module is a guest in its host's
/// process: it prints nothing to standard output, leaves the host's OpenGL context current, and
/// reports failures on standard error.

#include "Host/Frei0r/Controls.h"
#include "Host/Library/HostedEffect.h"
#include "Host/Rendering/Renderer.h"
#include "Platform/Threads/Mutex.h"

namespace Vexorel::PrismDrift::Host {

/// Every operation may be called from any thread. Never destroyed, since the host's threads may
/// outlive static objects.
class SharedEffect {
public:
    /// The first call makes it and asks the effect for its parameters, which needs no OpenGL.
    static SharedEffect& get();

    const std::vector<Control>& controls() const { return mControls; }
    ParameterValues defaultValues() const { return mEffect.defaultValues(); }

    /// Counts the uses. When the last one ends the renderer is set down; a surplus `end` is
    /// ignored.
    void begin();
    void end();

    /// Draws a frame. The first one chooses the renderer, with the environment variable
    /// PRISMDRIFT_RENDERER. Leaves the thread with the context that the host had, or with none.
    /// Returns false after a failure, whose reason is then on standard error.
    bool render(const World& input, World& output, const ParameterValues& values);

private:
    SharedEffect();
    Renderer& renderer();

    HostedEffect mEffect;
    const std::vector<Control> mControls;
    Platform::Mutex mMutex;                                            // not held over a frame
    std::unique_ptr<Renderer> mRenderer PRISMDRIFT_GUARDED_BY(mMutex); // kept once it is made
    int mUses PRISMDRIFT_GUARDED_BY(mMutex) = 0;
};

/// Writes a line to standard error, unless the process has written the same one before.
void warnOnce(const std::string& text) noexcept;

} // namespace Vexorel::PrismDrift::Host
