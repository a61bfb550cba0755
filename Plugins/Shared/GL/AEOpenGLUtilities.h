#pragma once

/// Pixels between the host's worlds and GL. Pixels go to GL in memory order and rows are never
/// flipped, so a texture's red, green, blue, alpha hold the host's alpha, red, green, blue, and row
/// y of the world is row y of the texture.

#include "Platform/Effect/Effect.h"

#include <glbinding/gl/types.h>

#include <string>

namespace Vexorel::PrismDrift {

/// What the callbacks of a float transfer work on.
struct PixelCopyRefcon {
    PF_PixelFloat* pixels; ///< a tight buffer, one row after another
    PF_LayerDef* world;    ///< its width is the buffer's row stride, in pixels
};

/// Static operations only. They need a context current, and throw an `int` on failure, with the
/// texture or handle of the failed call gone and the pixel store as it was.
class AEOpenGLUtilities {
public:
    AEOpenGLUtilities() = delete;

    /// Makes a texture of 32-bit floats from `source`, whose pixels are in `format`; it belongs to
    /// the caller. `pixelSize` (bytes) and `pixelType` are what DownloadTexture wants to be handed,
    /// `multiplier` is for the passes: the factor that makes the texture's full scale 1. It is
    /// written for every format, the other two for a known one. `output` isn't read. Throws
    /// PF_Err_BAD_CALLBACK_PARAM for an unknown format or a world without pixels, and an error of
    /// the host's iterator as it came.
    static unsigned int UploadTexture(int format, PF_LayerDef* source, PF_LayerDef* output,
                                      PF_InData* in_data, unsigned long& pixelSize,
                                      gl::GLenum& pixelType, float& multiplier, bool mipmap);

    /// Reads `width` by `height` pixels of the bound frame buffer and copies those that `output`
    /// has too; the gap behind its rows is left alone. `input` gives the row stride of a float
    /// transfer. Throws like UploadTexture, and PF_Err_OUT_OF_MEMORY if the host has no
    /// handle or the driver no memory.
    static void DownloadTexture(unsigned int width, unsigned int height, PF_LayerDef* input,
                                PF_LayerDef* output, PF_InData* in_data, int format,
                                unsigned long pixelSize, gl::GLenum pixelType);

    /// Callbacks of the host's float iterator. Both give 0.
    static PF_Err CopyPixelFloatIn(void* refcon, int x, int y, PF_PixelFloat* in,
                                   PF_PixelFloat* out);
    static PF_Err CopyPixelFloatOut(void* refcon, int x, int y, PF_PixelFloat* in,
                                    PF_PixelFloat* out);

    /// The state of the bound frame buffer in words, "OK" if it is complete.
    static std::string CheckFramebufferStatus();
};

} // namespace Vexorel::PrismDrift
