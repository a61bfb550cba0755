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

/// Static operations only. They need a context current. A failure is thrown as an `int`, or as
/// std::bad_alloc where there is no memory for a float upload; the texture, handle and suites of
/// the failed call are gone then. Every upload, failed or not, ends with no texture bound and
/// GL_UNPACK_ROW_LENGTH 0; no other value of the pixel store is touched.
class AEOpenGLUtilities {
public:
    AEOpenGLUtilities() = delete;

    /// Makes a texture of 32-bit floats from `source`, whose pixels are in `format`; it belongs to
    /// the caller. `pixelSize` (bytes) and `pixelType` are for DownloadTexture, and are written for
    /// a known format only. `multiplier`, always written, is for the passes: the factor that makes
    /// the texture's full scale 1. `output` isn't read. Throws PF_Err_BAD_CALLBACK_PARAM for an
    /// unknown format, or where the host gives no first pixel; 13 where the host lacks a suite; and
    /// an error of the host's iterator as it came.
    static unsigned int UploadTexture(int format, PF_LayerDef* source, PF_LayerDef* output,
                                      PF_InData* in_data, unsigned long& pixelSize,
                                      gl::GLenum& pixelType, float& multiplier, bool mipmap);

    /// Reads `width` by `height` pixels of the bound frame buffer and copies those that `output`
    /// has too; the gap behind its rows is left alone. A float transfer goes through the host's
    /// iteration over `input`, whose width is its row stride too. Throws like UploadTexture, and
    /// PF_Err_OUT_OF_MEMORY for 2^32 pixels or more, and where the host can't give or lock a handle
    /// or the driver has no memory.
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
