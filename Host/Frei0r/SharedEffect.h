#pragma once

/// The one effect that all instances of the module share, and what is owed to the process that it
/// is a guest of: its standard output, its current context, and a word when something fails.

#include "Host/Frei0r/Controls.h"
#include "Host/Library/HostedEffect.h"

#include <shared_mutex>

namespace Vexorel::PrismDrift::Host {

/// Every operation may be called from any thread. Lives until the process ends, since threads of
/// the host's may outlive static objects.
class SharedEffect {
public:
    /// Made at first use, which asks the effect for its parameters and needs no OpenGL.
    static SharedEffect& get();

    const std::vector<Control>& controls() const { return mControls; }
    ParameterValues defaultValues() const { return mEffect.defaultValues(); }

    /// Uses are counted. As the last one ends the effect is set down; an `end` too many is ignored.
    void begin();
    void end();

    /// Draws a frame, with the set-up where it has not been done. Leaves the thread with the
    /// context that the host had, or none. False if it fails; the reason is on standard error then.
    bool render(const World& input, World& output, const ParameterValues& values);

private:
    SharedEffect();

    std::shared_mutex mMutex; // shared by frames, held alone to set down
    HostedEffect mEffect;
    const std::vector<Control> mControls;
    int mUses = 0; // guarded by mMutex
};

/// One line on standard error, the first time that the process has this to say.
void warnOnce(const std::string& text) noexcept;

} // namespace Vexorel::PrismDrift::Host
