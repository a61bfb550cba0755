#pragma once

/// A small effect that needs no OpenGL, to try the host with: it publishes the real effect's
/// parameters and draws a frame that each of them changes. Tests can make it fail.

#include "Platform/Effect/Effect.h"

#include <atomic>

struct FakeEffect {
    static PF_Err entry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef* params[],
                        PF_LayerDef* output, void* extra);

    /// Results to give instead of carrying out the command, 0 for none.
    static std::atomic<PF_Err> setUpResult, renderResult;
    /// A definition to publish before the others, null for none.
    static const PF_ParamDef* strangeParameter;
    static std::atomic<int> setUps, setDowns;
};
