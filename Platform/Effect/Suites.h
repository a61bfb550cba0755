#pragma once

/// The host's suites: tables of functions that an effect acquires by name and version and releases
/// after use. Each table declares only the functions that this code base calls.

#include "Platform/Effect/Effect.h"

#include <cstddef>

/// Gives access to all other suites. Both functions return 0 or an error.
struct SPBasicSuite {
    std::int32_t (*AcquireSuite)(const char* name, std::int32_t version, void** suite);
    std::int32_t (*ReleaseSuite)(const char* name, std::int32_t version);
};

/// "PF ANSI Suite", version 1.
struct PF_ANSICallbacksSuite1 {
    int (*sprintf)(char* buffer, const char* format, ...);
};

/// Called for each pixel; a result other than 0 ends the iteration.
using PF_IteratePixelFloatFunc = PF_Err (*)(void* refcon, std::int32_t x, std::int32_t y,
                                            PF_PixelFloat* in, PF_PixelFloat* out);

struct PF_Rect {
    std::int32_t left, top, right, bottom;
};

/// "PF iterateFloat Suite", version 1.
struct PF_iterateFloatSuite1 {
    /// Calls `function` for each pixel of `source`, or of the part of it that `area` gives.
    PF_Err (*iterate)(PF_InData* in_data, std::int32_t progress_base, std::int32_t progress_final,
                      PF_LayerDef* source, const PF_Rect* area, void* refcon,
                      PF_IteratePixelFloatFunc function, PF_LayerDef* destination);
};

/// A movable block of the host's memory.
using PF_Handle = void**;

/// "PF Handle Suite", version 2.
struct PF_HandleSuite1 {
    PF_Handle (*host_new_handle)(std::size_t size); ///< null when there is no memory
    void* (*host_lock_handle)(PF_Handle handle);
    void (*host_unlock_handle)(PF_Handle handle);
    void (*host_dispose_handle)(PF_Handle handle);
};

struct AEGP_MemBlock;
using AEGP_MemHandle = AEGP_MemBlock*;
using AEGP_PluginID = std::int32_t;

/// "AEGP Utility Suite", version 11.
struct AEGP_UtilitySuite5 {
    /// Runs a script. Its result and its error are zero-terminated texts in handles, which the
    /// caller frees. `platform_encoding` is false for UTF-8.
    PF_Err (*AEGP_ExecuteScript)(AEGP_PluginID plugin_id, const char* script,
                                 bool platform_encoding, AEGP_MemHandle* result,
                                 AEGP_MemHandle* error);
};

/// "AEGP Memory Suite", version 1.
struct AEGP_MemorySuite1 {
    PF_Err (*AEGP_LockMemHandle)(AEGP_MemHandle handle, void** pointer);
    PF_Err (*AEGP_FreeMemHandle)(AEGP_MemHandle handle);
};

/// The four drawing suites: "DRAWBOT Draw Suite" 1, "DRAWBOT Supplier Suite" 1,
/// "DRAWBOT Surface Suite" 2 and "DRAWBOT Path Suite" 1. Their tables are not declared here,
/// because this code base calls none of their functions.
struct DRAWBOT_Suites {
    void* draw;
    void* supplier;
    void* surface;
    void* path;
};
