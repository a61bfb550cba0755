#pragma once

/// The one effect that all instances of the module share. The module is a guest in its host's
/// process: it prints nothing to standard output, leaves the host's OpenGL context current, and
/// reports failures on standard error.

#include "Host/Frei0r/Controls.h"
#include "Host/Library/HostedEffect.h"
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

    /// Counts the uses. When the last one ends the effect is set down; a surplus `end` is ignored.
    void begin();
    void end();

    /// Draws a frame and sets the effect up first where that has not been done. Leaves the thread
    /// with the context that the host had, or with none. Returns false after a failure, whose
    /// reason is then on standard error. Frames are drawn one at a time, as the effect would do
    /// anyway.
    bool render(const World& input, World& output, const ParameterValues& values);

private:
    SharedEffect();

    Platform::Mutex mMutex; // over a frame and over the set-down
    HostedEffect mEffect;
    const std::vector<Control> mControls;
    int mUses PRISMDRIFT_GUARDED_BY(mMutex) = 0;
};

/// Writes a line to standard error, unless the process has written the same one before.
void warnOnce(const std::string& text) noexcept;

} // namespace Vexorel::PrismDrift::Host
