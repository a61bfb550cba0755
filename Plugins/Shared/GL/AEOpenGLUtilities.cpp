#include "Shared/GL/AEOpenGLUtilities.h"

#include "Shared/GL/GLErrors.h"
#include "Shared/GL/ScopedName.h"
#include "Shared/Helper/SuiteScoper.h"

#include <glbinding/gl33core/gl.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

namespace Vexorel::PrismDrift {

using namespace gl33core;

namespace {

[[noreturn]] void refuse() {
    throw int{PF_Err_BAD_CALLBACK_PARAM};
}

/// The texture of an upload: bound and the caller's to keep, or gone, with the row length back at
/// its default either way.
class UploadScope {
public:
    UploadScope() : mTexture(generate(), glDeleteTextures) {
        glBindTexture(GL_TEXTURE_2D, mTexture.get());
    }
    ~UploadScope() {
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glBindTexture(GL_TEXTURE_2D, 0);
    }
    UploadScope(const UploadScope&) = delete;
    UploadScope& operator=(const UploadScope&) = delete;

    unsigned int keep() { return mTexture.release(); }

private:
    static GLuint generate() {
        GLuint texture = 0;
        glGenTextures(1, &texture);
        return texture;
    }

    ScopedName mTexture;
};

/// A block of the host's memory, locked.
class HandleScope {
public:
    HandleScope(PF_HandleSuite1& suite, std::size_t size)
        : HandleScope(suite, suite.host_new_handle(size)) {
        mMemory = mSuite.host_lock_handle(mHandle);
        if (mMemory == nullptr) {
            throw int{PF_Err_OUT_OF_MEMORY};
        }
    }
    ~HandleScope() {
        if (mMemory != nullptr) {
            mSuite.host_unlock_handle(mHandle);
        }
        mSuite.host_dispose_handle(mHandle);
    }
    HandleScope(const HandleScope&) = delete;
    HandleScope& operator=(const HandleScope&) = delete;

    void* memory() const { return mMemory; }

private:
    /// Apart from the locking, so that a lock that fails disposes of the handle.
    HandleScope(PF_HandleSuite1& suite, PF_Handle handle) : mSuite(suite), mHandle(handle) {
        if (mHandle == nullptr) {
            throw int{PF_Err_OUT_OF_MEMORY};
        }
    }

    PF_HandleSuite1& mSuite;
    PF_Handle mHandle;
    void* mMemory = nullptr;
};

/// The first pixel of a world, by way of the host.
template <typename Pixel>
Pixel* firstPixel(PF_Err (*getPixelData)(PF_LayerDef*, void*, Pixel**), PF_LayerDef* world) {
    Pixel* pixel = nullptr;
    const PF_Err err = getPixelData(world, nullptr, &pixel);
    if (err != PF_Err_NONE || pixel == nullptr) {
        refuse();
    }
    return pixel;
}

void sendPixels(const PF_LayerDef& world, GLenum type, const void* pixels) {
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, world.width, world.height, GL_RGBA, type, pixels);
}

/// Lets the host call `copy` for each pixel of `source`.
void iterate(PF_InData* in_data, PF_LayerDef* source, void* refcon, PF_IteratePixelFloatFunc copy,
             PF_LayerDef* destination) {
    const SuiteScoper<PF_iterateFloatSuite1> suite(in_data, "PF iterateFloat Suite", 1);
    const PF_Err err =
        suite->iterate(in_data, 0, source->height, source, nullptr, refcon, copy, destination);
    if (err != PF_Err_NONE) {
        throw int{err};
    }
}

void uploadFloat(PF_LayerDef* source, PF_InData* in_data) {
    const std::unique_ptr<PF_PixelFloat[]> pixels(
        new PF_PixelFloat[static_cast<std::size_t>(source->width) *
                          static_cast<std::size_t>(source->height)]);
    PixelCopyRefcon refcon{pixels.get(), source};
    iterate(in_data, source, &refcon, AEOpenGLUtilities::CopyPixelFloatIn, source);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, source->width);
    sendPixels(*source, GL_FLOAT, pixels.get());
}

/// What GL gave, in rows of `width` pixels.
struct ReadBack {
    void* pixels;
    unsigned int width;
    unsigned int height;
};

/// Copies the rows and columns that both have. The host is asked for the first pixel at every row
/// anew.
template <typename Pixel>
void copyRows(const ReadBack& from, PF_Err (*getPixelData)(PF_LayerDef*, void*, Pixel**),
              PF_LayerDef* output) {
    const std::int64_t rows = std::min<std::int64_t>(output->height, from.height);
    const std::int64_t columns = std::min<std::int64_t>(output->width, from.width);
    const auto* pixels = static_cast<const Pixel*>(from.pixels);
    for (std::int64_t y = 0; y < rows && columns > 0; ++y) {
        Pixel* first = firstPixel(getPixelData, output);
        const std::int64_t offset =
            (y * output->rowbytes) & ~static_cast<std::int64_t>(sizeof(Pixel) - 1);
        std::memcpy(reinterpret_cast<char*>(first) + offset, pixels + y * from.width,
                    static_cast<std::size_t>(columns) * sizeof(Pixel));
    }
}

/// A float download that has to be clipped, since a host may call for pixels that the picture or
/// the output doesn't have.
struct ClippedCopy {
    PixelCopyRefcon copy; ///< first, so that this refcon is one of CopyPixelFloatOut as well
    std::int64_t columns;
    std::int64_t rows;
};

PF_Err copyPixelClipped(void* refcon, int x, int y, PF_PixelFloat* in, PF_PixelFloat* out) {
    auto& clipped = *static_cast<ClippedCopy*>(refcon);
    return x < clipped.columns && y < clipped.rows
               ? AEOpenGLUtilities::CopyPixelFloatOut(&clipped.copy, x, y, in, out)
               : PF_Err_NONE;
}

/// Copies the rows and columns that both have, by way of the host. A row of the picture is taken to
/// be as long as `input` is wide, or as the picture is where that is narrower.
void downloadFloat(const ReadBack& from, PF_LayerDef* input, PF_LayerDef* output,
                   PF_InData* in_data) {
    PF_LayerDef narrowed = *input;
    narrowed.width = static_cast<std::int32_t>(std::min<std::int64_t>(input->width, from.width));
    PF_LayerDef* const stride = narrowed.width == input->width ? input : &narrowed;
    const std::int64_t rows = stride->width > 0
                                  ? std::int64_t{from.width} * from.height / stride->width
                                  : std::int64_t{0};
    const bool allFit = stride == input && rows >= input->height && output->width == input->width &&
                        output->height == input->height;
    // CopyPixelFloatOut reads the row length off a world's width.
    ClippedCopy clipped{{static_cast<PF_PixelFloat*>(from.pixels), stride},
                        std::min(stride->width, output->width),
                        std::min<std::int64_t>(rows, output->height)};
    iterate(in_data, input, &clipped,
            allFit ? AEOpenGLUtilities::CopyPixelFloatOut : copyPixelClipped, output);
}

} // namespace

unsigned int AEOpenGLUtilities::UploadTexture(int format, PF_LayerDef* source, PF_LayerDef*,
                                              PF_InData* in_data, unsigned long& pixelSize,
                                              gl::GLenum& pixelType, float& multiplier,
                                              bool mipmap) {
    UploadScope texture;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                    mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR);
    if (!mipmap) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(GL_RGBA32F), source->width, source->height, 0,
                 GL_RGBA, GL_FLOAT, nullptr);
    multiplier = 1.0F;
    switch (format) {
    case PF_PixelFormat_ARGB32:
        pixelType = GL_UNSIGNED_BYTE;
        pixelSize = sizeof(PF_Pixel8);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, source->rowbytes >> 2);
        sendPixels(*source, pixelType, firstPixel(in_data->utils->get_pixel_data8, source));
        break;
    case PF_PixelFormat_ARGB64:
        // GL takes 65535 as full, the host 32768.
        multiplier = 65535.0F / 32768.0F;
        pixelType = GL_UNSIGNED_SHORT;
        pixelSize = sizeof(PF_Pixel16);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, source->rowbytes >> 3);
        sendPixels(*source, pixelType, firstPixel(in_data->utils->get_pixel_data16, source));
        break;
    case PF_PixelFormat_ARGB128:
        pixelType = GL_FLOAT;
        pixelSize = sizeof(PF_PixelFloat);
        uploadFloat(source, in_data);
        break;
    default:
        refuse();
    }
    return texture.keep();
}

void AEOpenGLUtilities::DownloadTexture(unsigned int width, unsigned int height, PF_LayerDef* input,
                                        PF_LayerDef* output, PF_InData* in_data, int format,
                                        unsigned long pixelSize, gl::GLenum pixelType) {
    const SuiteScoper<PF_HandleSuite1> handles(in_data, "PF Handle Suite", 2);
    const std::uint64_t pixelCount = std::uint64_t{width} * height;
    if (pixelCount > std::numeric_limits<std::uint32_t>::max()) {
        throw int{PF_Err_OUT_OF_MEMORY};
    }
    const HandleScope handle(*handles.get(), pixelCount * pixelSize);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glReadPixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), GL_RGBA,
                 pixelType, handle.memory());
    if (takeOutOfMemory()) {
        throw int{PF_Err_OUT_OF_MEMORY};
    }
    const ReadBack pixels{handle.memory(), width, height};
    switch (format) {
    case PF_PixelFormat_ARGB32:
        copyRows(pixels, in_data->utils->get_pixel_data8, output);
        break;
    case PF_PixelFormat_ARGB64:
        copyRows(pixels, in_data->utils->get_pixel_data16, output);
        break;
    case PF_PixelFormat_ARGB128:
        downloadFloat(pixels, input, output, in_data);
        break;
    default:
        refuse();
    }
}

PF_Err AEOpenGLUtilities::CopyPixelFloatIn(void* refcon, int x, int y, PF_PixelFloat* in,
                                           PF_PixelFloat*) {
    const auto& copy = *static_cast<const PixelCopyRefcon*>(refcon);
    copy.pixels[static_cast<std::ptrdiff_t>(y) * copy.world->width + x] = *in;
    return PF_Err_NONE;
}

PF_Err AEOpenGLUtilities::CopyPixelFloatOut(void* refcon, int x, int y, PF_PixelFloat*,
                                            PF_PixelFloat* out) {
    const auto& copy = *static_cast<const PixelCopyRefcon*>(refcon);
    *out = copy.pixels[static_cast<std::ptrdiff_t>(y) * copy.world->width + x];
    return PF_Err_NONE;
}

std::string AEOpenGLUtilities::CheckFramebufferStatus() {
    switch (glCheckFramebufferStatus(GL_FRAMEBUFFER)) {
    case GL_FRAMEBUFFER_COMPLETE:
        return "OK";
    case GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT:
        return "Framebuffer incomplete, incomplete attachment!";
    case GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT:
        return "Framebuffer incomplete, missing attachment!";
    case GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER:
        return "Framebuffer incomplete, missing draw buffer!";
    case GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER:
        return "Framebuffer incomplete, missing read buffer!";
    case GL_FRAMEBUFFER_UNSUPPORTED:
        return "Unsupported framebuffer format!";
    default:
        return "Unknown error!";
    }
}

} // namespace Vexorel::PrismDrift
