#pragma once

/// An effect as a host holds it: its entry function, from a plug-in file or linked in, and the
/// commands of its life. The order of the commands, the records they take and the callbacks that
/// they lead to are looked after here.

#include "Host/Library/ParameterValues.h"
#include "Host/Library/World.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// What the effect is told about a frame beside its pixels.
struct FrameSettings {
    FrameTime time;
    /// The picture stands for one N times as large on both axes: the downsample factor is 1/N.
    std::uint32_t downsample = 1;
};

/// How the effect's checkouts went so far.
struct CheckoutCounts {
    std::uint64_t checkedOut = 0;  ///< granted
    std::uint64_t checkedIn = 0;   ///< of those
    std::uint64_t unmatched = 0;   ///< check-ins of something that wasn't checked out
    std::uint64_t outstanding = 0; ///< still out when their command ended
};

/// Several may live at once, of one plug-in too. `render`, `about` and the rest may be called from
/// any thread and at the same time; what the effect answers to that is the effect's matter.
class HostedEffect {
public:
    /// An effect that is linked in. Asks it for its parameters, which needs no OpenGL. Throws Error
    /// if it refuses or if what it publishes makes no sense. Where a thread had no context current,
    /// its commands leave none.
    explicit HostedEffect(PF_EffectMain entry);
    /// The same for a plug-in file. Throws Error if it can't be loaded or has no EntryPointFunc.
    explicit HostedEffect(const std::filesystem::path& plugin);
    HostedEffect(const HostedEffect&) = delete;
    HostedEffect& operator=(const HostedEffect&) = delete;
    /// Sets the effect down where this object has set it up; what it answers then is dropped.
    ~HostedEffect();

    /// The effect's own words, its line breaks as '\n'.
    std::string about() const;

    /// In the published order, `Parameter::index` counting from 1.
    const std::vector<Parameter>& parameters() const { return *mParameters; }
    /// The defaults, to be changed and given to `render`.
    ParameterValues defaultValues() const { return ParameterValues(mParameters); }

    /// PF_Cmd_GLOBAL_SETUP, once for all the objects that share an entry function. `render` does it
    /// where it has not been done.
    void setUp();
    /// PF_Cmd_GLOBAL_SETDOWN, once the last of them goes; nothing where this one isn't set up. No
    /// frame of this object may be under way. A later `setUp` starts anew.
    void setDown();

    /// Draws one frame. The worlds must have the effect's 8-bit format and should have one size.
    /// Throws Error with the effect's code if it fails; the output then holds whatever the effect
    /// left there.
    void render(const World& input, World& output, const ParameterValues& values,
                const FrameSettings& settings = {});

    CheckoutCounts checkouts() const;

private:
    void publish();

    std::shared_ptr<void> mModule; // the plug-in file, while loaded
    PF_EffectMain mEntry;
    std::shared_ptr<const std::vector<Parameter>> mParameters;

    std::mutex mSetUpMutex;
    bool mIsSetUp = false; // guarded by mSetUpMutex

    struct Counters {
        std::atomic<std::uint64_t> checkedOut{0}, checkedIn{0}, unmatched{0}, outstanding{0};
    };
    Counters mCounters;
};

} // namespace Vexorel::PrismDrift::Host
