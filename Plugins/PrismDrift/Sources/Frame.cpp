#include "PrismDrift/Sources/Frame.h"

#include "PrismDrift/Sources/Parameters.h"
#include "Shared/GL/AEOpenGLUtilities.h"
#include "Shared/GL/AEOpenglMainFrameBuffer.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace Vexorel::PrismDrift {

using namespace gl33core;

namespace {

/// Whether a command holds the lock; guarded by it.
bool gInCommand = false;

/// Deletes what a frame that broke off has left on the stack of targets.
class TargetScope {
public:
    explicit TargetScope(AEOpenglMainFrameBuffer& frameBuffer) : mFrameBuffer(frameBuffer) {
        mFrameBuffer.beginDrawing();
    }
    ~TargetScope() { mFrameBuffer.clearStack(); }
    TargetScope(const TargetScope&) = delete;
    TargetScope& operator=(const TargetScope&) = delete;

private:
    AEOpenglMainFrameBuffer& mFrameBuffer;
};

/// Owns the source texture of a frame.
class SourceTexture {
public:
    explicit SourceTexture(GLuint name) : mName(name) {}
    ~SourceTexture() { release(); }
    SourceTexture(const SourceTexture&) = delete;
    SourceTexture& operator=(const SourceTexture&) = delete;

    GLuint name() const { return mName; }
    void release() {
        const GLuint name = std::exchange(mName, 0U);
        if (name != 0) {
            glDeleteTextures(1, &name);
        }
    }

private:
    GLuint mName;
};

GLint limit(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// Whether the driver says that it could hold the source, the largest texture of a frame.
bool driverTakes(std::int32_t width, std::int32_t height) {
    glTexImage2D(GL_PROXY_TEXTURE_2D, 0, static_cast<GLint>(GL_RGBA32F), width, height, 0, GL_RGBA,
                 GL_FLOAT, nullptr);
    GLint taken = 0;
    glGetTexLevelParameteriv(GL_PROXY_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &taken);
    return taken == width;
}

void requireRenderable(std::int32_t width, std::int32_t height) {
    const std::int32_t largest =
        std::min({limit(GL_MAX_TEXTURE_SIZE), limit(GL_MAX_RENDERBUFFER_SIZE), 65535});
    const bool fits =
        width > 0 && height > 0 && width <= largest && height <= largest &&
        std::int64_t{width} * height * 4 <= std::numeric_limits<std::uint32_t>::max() &&
        driverTakes(width, height);
    if (!fits) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
}

void clearErrors() {
    // A driver keeps a handful of error flags at the most.
    for (int i = 0; i < 16 && glGetError() != GL_NO_ERROR; ++i) {
    }
}

/// The frame's objects are made without a look at each: one question, before the output is touched.
/// After a no they are made anew, since one of them has no storage.
void requireMemory(AEOpenglMainFrameBuffer& frameBuffer) {
    if (glGetError() == GL_OUT_OF_MEMORY) {
        frameBuffer.destory();
        throw int{PF_Err_OUT_OF_MEMORY};
    }
}

} // namespace

GLCommand::GLCommand() : mLock(AEOpenGLContextManager::mMutex) {
    if (gInCommand) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
    gInCommand = true;
    mSaver.init();
}

GLCommand::~GLCommand() {
    mSaver.restore();
    gInCommand = false;
}

PF_Err renderFrame(PF_InData* in_data, PF_LayerDef* input, PF_LayerDef* output,
                   PrismDriftRender& renderer) {
    clearErrors();
    requireRenderable(input->width, input->height);
    AEOpenglMainFrameBuffer& frameBuffer = *AEOpenglMainFrameBuffer::mainFrameBuffer();
    frameBuffer.prepare(input->width, input->height, true);
    const TargetScope target(frameBuffer);

    ParameterValues values;
    const PF_Err err = readParameters(in_data, values);

    float multiplier = 1.0F;
    unsigned long pixelSize = sizeof(PF_Pixel8);
    gl::GLenum pixelType = GL_UNSIGNED_BYTE;
    SourceTexture texture(AEOpenGLUtilities::UploadTexture(
        PF_PixelFormat_ARGB32, input, output, in_data, pixelSize, pixelType, multiplier, false));
    applyParameters(in_data, values, renderer);
    renderer.draw(texture.name(), multiplier);
    texture.release();
    frameBuffer.endDrawing(multiplier);
    requireMemory(frameBuffer);
    AEOpenGLUtilities::DownloadTexture(static_cast<unsigned int>(input->width),
                                       static_cast<unsigned int>(input->height), input, output,
                                       in_data, PF_PixelFormat_ARGB32, pixelSize, pixelType);
    return err;
}

} // namespace Vexorel::PrismDrift
