#pragma once

/// The host's side of the callbacks: what an effect's calls do while a command is under way.
/// Internal to the host library.

#include "Host/Library/ParameterValues.h"

#include <string>
#include <vector>

/// One command under way, which is what effect_ref leads the callbacks back to. It lives as long as
/// the command and is used by its thread only.
struct PF_ProgressInfo {
    /// Where add_param appends, while the effect publishes its parameters; else null.
    std::vector<Vexorel::PrismDrift::Host::Parameter>* published = nullptr;
    /// What checkout_param hands out while a frame is rendered; else null.
    const Vexorel::PrismDrift::Host::ParameterValues* values = nullptr;
    const PF_LayerDef* input = nullptr;

    std::vector<const PF_ParamDef*> checkedOut; // by the record that the value went to
    std::uint64_t grants = 0, returns = 0, unmatched = 0;
    std::string openGroup; // of the parameters published so far
    std::string refusal;   // why a callback said no, for the message
};

namespace Vexorel::PrismDrift::Host {

/// The record for a command: the callbacks, the suites and `command` as effect_ref. The time and
/// the scale are those of a still picture, for the caller to change.
PF_InData makeInData(PF_ProgressInfo& command);

} // namespace Vexorel::PrismDrift::Host
