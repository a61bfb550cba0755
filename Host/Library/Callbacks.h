#pragma once

/// The callbacks that an effect may call during a command, and the record that offers them.
/// Internal to the host library.

#include "Host/Library/ParameterValues.h"

#include <string>
#include <vector>

/// A command that is being carried out; effect_ref brings the callbacks back to it. It lives as
/// long as the command and is used by its thread only.
struct PF_ProgressInfo {
    /// Where add_param adds to while the effect publishes its parameters; else null.
    std::vector<Vexorel::PrismDrift::Host::Parameter>* published = nullptr;
    /// What checkout_param gives while a frame is rendered; else null.
    const Vexorel::PrismDrift::Host::ParameterValues* values = nullptr;
    const PF_LayerDef* input = nullptr;

    std::string openGroup; ///< the group that published parameters stand in now, empty for none
    std::string refusal;   ///< why the last refused callback was refused, for the error message
};

namespace Vexorel::PrismDrift::Host {

/// The record for a command: the callbacks, these suites and `command` as effect_ref. Time and
/// scale are those of a still picture; the caller may change them.
PF_InData makeInData(PF_ProgressInfo& command, SPBasicSuite* suites);

/// Throws the reason why a command failed: the effect's own message, else why the host refused a
/// callback, else what the code says. `what` is what the effect could not do.
[[noreturn]] void fail(const std::string& what, PF_Err code, const PF_OutData& out,
                       const std::string& refusal);

/// Gives the effect a command without pictures. Throws Error if it fails.
PF_OutData give(PF_EffectMain entry, PF_Cmd name, PF_ProgressInfo& command, SPBasicSuite* suites,
                const char* purpose);

} // namespace Vexorel::PrismDrift::Host
