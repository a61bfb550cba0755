#pragma once

/// The effect's way in: the one function that the plug-in exports.

#include "Platform/Effect/Effect.h"

/// Runs one command of the host. Unknown commands do nothing and give 0; whatever is thrown inside
/// becomes PF_Err_BAD_CALLBACK_PARAM. The context that the host has current on the thread is
/// current again on every way out. `extra` is never read.
///
/// Commands may come on any thread, also at once: those that touch GL run one after the other.
extern "C" __attribute__((visibility("default"))) PF_Err
EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
               PF_LayerDef* output, void* extra);
