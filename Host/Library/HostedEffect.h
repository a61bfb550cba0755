#pragma once

/// An effect as a host uses it: loads its entry function or takes one that is linked in, sends it
/// the commands in the order that it expects, and serves its callbacks.

#include "Host/Library/ParameterValues.h"
#include "Host/Library/World.h"
#include "Platform/Threads/Mutex.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// A frame's time and scale.
struct FrameSettings {
    FrameTime time;
    /// The picture stands for one N times as large on both axes: the downsample factor is 1/N.
    std::uint32_t downsample = 1;
};

/// Several may live at once, of one plug-in too. Every operation may be called from any thread, and
/// `render` from several at the same time: it leaves it to the effect to take turns.
class HostedEffect {
public:
    /// An effect that is linked in. Asks it for its parameters, which needs no OpenGL. Throws Error
    /// if it refuses or publishes parameters that contradict each other. `render` and `setDown`
    /// leave the calling thread with the OpenGL context that it had before, and with none where it
    /// had none or where that one has died.
    explicit HostedEffect(PF_EffectMain entry);
    /// An effect in a plug-in file. Throws Error too if the file can't be loaded or has no
    /// EntryPointFunc. `render` and `setDown` put back the context that the thread had; where it
    /// had none, the effect's own may stay current.
    explicit HostedEffect(const std::filesystem::path& plugin);
    HostedEffect(const HostedEffect&) = delete;
    HostedEffect& operator=(const HostedEffect&) = delete;
    /// Sets the effect down as `setDown` does; a failure is ignored.
    ~HostedEffect();

    /// The effect's description of itself, with line breaks as '\n'.
    std::string about() const;

    /// In the published order, `Parameter::index` counting from 1.
    const std::vector<Parameter>& parameters() const { return *mParameters; }
    /// The defaults, to be changed and given to `render`.
    ParameterValues defaultValues() const { return ParameterValues(mParameters); }

    /// Draws one frame, after PF_Cmd_GLOBAL_SETUP where no object with the same entry function has
    /// sent it. The worlds must have the 8-bit format and should have the same size. Throws Error
    /// with the effect's code if it fails; the output then holds whatever the effect left there.
    void render(const World& input, World& output, const ParameterValues& values,
                const FrameSettings& settings = {});

    /// Sends PF_Cmd_GLOBAL_SETDOWN if this is the last object that has the effect set up. No frame
    /// of this object may be under way. A later `render` sets the effect up again.
    void setDown();

private:
    void setUp();

    std::shared_ptr<void> mModule; // the plug-in file, while loaded
    PF_EffectMain mEntry;
    std::shared_ptr<const std::vector<Parameter>> mParameters;

    Platform::Mutex mSetUpMutex;
    bool mIsSetUp PRISMDRIFT_GUARDED_BY(mSetUpMutex) = false;
};

} // namespace Vexorel::PrismDrift::Host
