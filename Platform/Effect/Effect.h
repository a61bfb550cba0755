#pragma once

/// The host's effect interface: the commands, records and callbacks through which a host drives an
/// effect. It replaces the headers of the host's kit and declares only what this code base uses of
/// them, with the interface's names and numbers. A build with the real kit uses that instead of
/// this folder.

#include <cstdint>

struct SPBasicSuite;

/// A result: 0 is success, everything else is a PF_Err_… or a host's own code.
using PF_Err = std::int32_t;

enum : PF_Err {
    PF_Err_NONE = 0,
    PF_Err_OUT_OF_MEMORY = 4,
    PF_Err_UNRECOGNIZED_PARAM_TYPE = 514,
    PF_Err_BAD_CALLBACK_PARAM = 516
};

/// What the host asks of the effect. The type is fixed because any 32-bit value may arrive.
enum PF_Cmd : std::int32_t {
    PF_Cmd_ABOUT = 0,
    PF_Cmd_GLOBAL_SETUP = 1,
    PF_Cmd_GLOBAL_SETDOWN = 3,
    PF_Cmd_PARAMS_SETUP = 4,
    PF_Cmd_RENDER = 11
};

/// Bits of PF_OutData::out_flags.
enum : std::int32_t { PF_OutFlag_DISPLAY_ERROR_MESSAGE = 1 << 8 };

/// Bits of PF_ParamDef::flags.
enum : std::int32_t {
    PF_ParamFlag_CANNOT_TIME_VARY = 0x02,
    PF_ParamFlag_CANNOT_INTERP = 0x04,
    PF_ParamFlag_SUPERVISE = 0x40
};

using PF_ParamType = std::int32_t;

enum : PF_ParamType {
    PF_Param_LAYER = 0,
    PF_Param_ANGLE = 3,
    PF_Param_POPUP = 7,
    PF_Param_FLOAT_SLIDER = 10,
    PF_Param_GROUP_START = 13,
    PF_Param_GROUP_END = 14
};

/// How the pixels of a world are stored. The four bytes of a code, in memory order, are characters.
using PF_PixelFormat = std::int32_t;

enum : PF_PixelFormat {
    PF_PixelFormat_ARGB32 = 0x62677261, ///< "argb": 8 bits a channel
    PF_PixelFormat_ARGB64 = 0x36316561, ///< "ae16": 16 bits a channel, 32768 is full
    PF_PixelFormat_ARGB128 = 0x32336561 ///< "ae32": 32-bit float a channel
};

/// A fixed-point number with 16 fractional bits.
using PF_Fixed = std::int32_t;

struct PF_Pixel8 {
    std::uint8_t alpha, red, green, blue;
};

struct PF_Pixel16 {
    std::uint16_t alpha, red, green, blue;
};

struct PF_PixelFloat {
    float alpha, red, green, blue;
};

/// A picture, called a world by the interface. Its rows start at the top and lie `rowbytes` apart,
/// which may be more than a row's pixels take. `data` is the host's; an effect gets the pixels
/// through PF_UtilCallbacks.
struct PF_LayerDef {
    void* data;
    std::int32_t rowbytes;
    std::int32_t width;
    std::int32_t height;
};

struct PF_PopupDef {
    std::int32_t value; ///< 1 is the first choice
    std::int16_t num_choices;
    std::int16_t dephault;
    union {
        const char* namesptr; ///< the choices, separated by '|'
    } u;
};

/// Degrees, in fixed point.
struct PF_AngleDef {
    PF_Fixed value;
    PF_Fixed dephault;
};

struct PF_FloatSliderDef {
    double value;
    float valid_min, valid_max;
    float slider_min, slider_max;
    float dephault;
    float curve_tolerance;
    std::int16_t precision;
    std::uint16_t display_flags;
    std::uint32_t fs_flags;
};

/// One parameter: its definition at PF_Cmd_PARAMS_SETUP, its value at a time when checked out.
struct PF_ParamDef {
    union {
        std::int32_t id;
    } uu;
    PF_ParamType param_type;
    char name[32];
    std::int32_t flags;
    union {
        PF_LayerDef ld;
        PF_PopupDef pd;
        PF_AngleDef ad;
        PF_FloatSliderDef fs_d;
    } u;
};

/// The host's reference to the effect, which the effect passes to the host's callbacks.
struct PF_ProgressInfo;
using PF_ProgPtr = PF_ProgressInfo*;

struct PF_RationalScale {
    std::int32_t num;
    std::uint32_t den;
};

/// Callbacks for the effect's parameters.
struct PF_InteractCallbacks {
    PF_Err (*checkout_param)(PF_ProgPtr effect_ref, std::int32_t index, std::int32_t what_time,
                             std::int32_t time_step, std::uint32_t time_scale, PF_ParamDef* param);
    PF_Err (*checkin_param)(PF_ProgPtr effect_ref, PF_ParamDef* param);
    PF_Err (*add_param)(PF_ProgPtr effect_ref, std::int32_t index, PF_ParamDef* param);
};

/// Text functions of the C library, provided by the host.
struct PF_ANSICallbacks {
    int (*sprintf)(char* buffer, const char* format, ...);
    char* (*strcpy)(char* destination, const char* source);
};

struct PF_UtilCallbacks {
    PF_ANSICallbacks ansi;
    /// If `pixels` is null, gives the address of the world's first pixel.
    PF_Err (*get_pixel_data8)(PF_LayerDef* world, void* pixels, PF_Pixel8** pixel);
    PF_Err (*get_pixel_data16)(PF_LayerDef* world, void* pixels, PF_Pixel16** pixel);
};

/// What the host tells the effect at every command.
struct PF_InData {
    PF_InteractCallbacks inter;
    PF_UtilCallbacks* utils;
    PF_ProgPtr effect_ref;
    std::int32_t current_time; ///< in units of 1/time_scale seconds
    std::int32_t time_step;
    std::uint32_t time_scale;
    PF_RationalScale downsample_x;
    PF_RationalScale downsample_y;
    SPBasicSuite* pica_basicP;
};

/// What the effect tells the host.
struct PF_OutData {
    std::uint32_t my_version;
    std::int32_t num_params; ///< the input layer included
    std::int32_t out_flags;
    std::int32_t out_flags2;
    char return_msg[256];
};

/// The one function that an effect exports.
using PF_EffectMain = PF_Err (*)(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data,
                                 PF_ParamDef* params[], PF_LayerDef* output, void* extra);
