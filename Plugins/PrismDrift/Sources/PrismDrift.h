#pragma once

/// The one function that the plug-in exports.

#include "Platform/Effect/Effect.h"

/// Runs one command of the host. Unknown commands do nothing and return 0. Every exception inside
/// becomes PF_Err_BAD_CALLBACK_PARAM. On every way out, the context that the host had current on
/// the thread is current again. `extra` is never read.
///
/// Any thread may call it at any time; commands that touch GL run one after the other.
extern "C" __attribute__((visibility("default"))) PF_Err
EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
               PF_LayerDef* output, void* extra);
