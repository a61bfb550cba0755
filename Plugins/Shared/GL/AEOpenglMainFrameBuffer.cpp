#include "Shared/GL/AEOpenglMainFrameBuffer.h"

#include "Shared/GL/ScopedName.h"

#include <algorithm>

namespace Vexorel::PrismDrift {

using namespace gl33core;

namespace {

GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// The samples of a multisampled target, unless the driver offers fewer.
constexpr GLsizei kSamples = 8;

GLsizei sampleCount() {
    return std::min(kSamples, integer(GL_MAX_SAMPLES));
}

GLsizei asSize(std::uint32_t side) {
    return static_cast<GLsizei>(side);
}

void attachColour(GLenum target, GLuint renderBuffer) {
    glFramebufferRenderbuffer(target, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderBuffer);
}

void attachStencil(GLenum target, GLuint renderBuffer) {
    glFramebufferRenderbuffer(target, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, renderBuffer);
}

/// Binds a new frame buffer with the texture attached, and clears it. No field records its name:
/// the pop deletes the frame buffer that is bound.
void pushTextureTarget(GLuint texture, GLint level) {
    GLuint frameBuffer = 0;
    glGenFramebuffers(1, &frameBuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, level);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
}

} // namespace

AEOpenglMainFrameBuffer* AEOpenglMainFrameBuffer::mainFrameBuffer() {
    static AEOpenglMainFrameBuffer* const kSharedMainFrameBuffer = new AEOpenglMainFrameBuffer;
    return kSharedMainFrameBuffer;
}

AEOpenglMainFrameBuffer::AEOpenglMainFrameBuffer() : mScreenRender(new ScreenRender) {}

AEOpenglMainFrameBuffer::~AEOpenglMainFrameBuffer() {
    destory();
}

void AEOpenglMainFrameBuffer::prepare(long width, long height, bool multisample) {
    if (mScreenRender == nullptr) {
        mScreenRender = new ScreenRender;
    }
    if (mWidth == width && mHeight == height) {
        if (mMainRenderBuffer != 0) {
            generateFrameBuffers();
        }
        return;
    }
    unprepare();
    mWidth = 0;
    mHeight = 0;
    mMultisample = multisample;
    generateFrameBuffers();
    glGenRenderbuffers(1, &mMainRenderBuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, mMainRenderBuffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA, static_cast<GLsizei>(width),
                          static_cast<GLsizei>(height));
    // Last, so that a size is on record only once everything of it is there.
    mWidth = static_cast<std::uint32_t>(width);
    mHeight = static_cast<std::uint32_t>(height);
}

void AEOpenglMainFrameBuffer::generateFrameBuffers() {
    mSingleFrameBuffer.generate(glGenFramebuffers);
    if (mMultisample) {
        mResolveFrameBuffer.generate(glGenFramebuffers);
        mMultisampleFrameBuffer.generate(glGenFramebuffers);
    }
}

void AEOpenglMainFrameBuffer::unprepare() {
    mResolveFrameBuffer.remove(glDeleteFramebuffers);
    mSingleFrameBuffer.remove(glDeleteFramebuffers);
    mMultisampleFrameBuffer.remove(glDeleteFramebuffers);
    if (mMainRenderBuffer != 0) {
        glDeleteRenderbuffers(1, &mMainRenderBuffer);
        mMainRenderBuffer = 0;
    }
    clearStack();
}

void AEOpenglMainFrameBuffer::destory() {
    unprepare();
    mWidth = 0;
    mHeight = 0;
    delete mScreenRender;
    mScreenRender = nullptr;
}

void AEOpenglMainFrameBuffer::clearStack() {
    if (!mRenderBufferStack.empty()) {
        detachTarget();
    }
    for (const GLuint colour : mRenderBufferStack) {
        deleteTarget(colour);
    }
    mRenderBufferStack.clear();
}

/// Deletes a colour buffer and the stencil buffer that was made with it.
void AEOpenglMainFrameBuffer::deleteTarget(GLuint colour) {
    glDeleteRenderbuffers(1, &colour);
    const auto stencil = mStencilBuffers.find(colour);
    if (stencil != mStencilBuffers.end()) {
        const GLuint name = stencil->second;
        mStencilBuffers.erase(stencil);
        glDeleteRenderbuffers(1, &name);
    }
}

/// Detaches the target from the drawing frame buffer, which need not be bound. Deleting a render
/// buffer detaches it from bound frame buffers only; attached to another one it would live on.
void AEOpenglMainFrameBuffer::detachTarget() const {
    const GLuint drawing = drawingFrameBuffer();
    if (drawing == 0) {
        return;
    }
    const auto bound = static_cast<GLuint>(integer(GL_READ_FRAMEBUFFER_BINDING));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, drawing);
    attachColour(GL_READ_FRAMEBUFFER, 0);
    if (!mStencilBuffers.empty()) {
        attachStencil(GL_READ_FRAMEBUFFER, 0);
    }
    glBindFramebuffer(GL_READ_FRAMEBUFFER, bound);
}

const PerContextName& AEOpenglMainFrameBuffer::drawingFrameBuffer() const {
    return mMultisample ? mMultisampleFrameBuffer : mSingleFrameBuffer;
}

bool AEOpenglMainFrameBuffer::isOwnFrameBuffer(GLuint name) const {
    return name == mResolveFrameBuffer || name == mSingleFrameBuffer ||
           name == mMultisampleFrameBuffer;
}

void AEOpenglMainFrameBuffer::beginDrawing() {
    // Bound first: glDrawBuffer(GL_COLOR_ATTACHMENT0) is an error on frame buffer 0.
    glBindFramebuffer(GL_FRAMEBUFFER, drawingFrameBuffer());
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glDisable(GL_BLEND);
    if (mMultisample) {
        glEnable(GL_MULTISAMPLE);
    }
    pushRenderContext(false, false);
    glViewport(0, 0, asSize(mWidth), asSize(mHeight));
}

/// A render buffer of the frame's size, multisampled as the targets are, and bound.
GLuint AEOpenglMainFrameBuffer::makeRenderBuffer(GLenum format) const {
    GLuint buffer = 0;
    glGenRenderbuffers(1, &buffer);
    glBindRenderbuffer(GL_RENDERBUFFER, buffer);
    if (mMultisample) {
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, sampleCount(), format, asSize(mWidth),
                                         asSize(mHeight));
    } else {
        glRenderbufferStorage(GL_RENDERBUFFER, format, asSize(mWidth), asSize(mHeight));
    }
    return buffer;
}

void AEOpenglMainFrameBuffer::pushRenderContext(bool, bool stencil) {
    mRenderBufferStack.reserve(mRenderBufferStack.size() + 1);
    const GLuint colour = makeRenderBuffer(GL_RGBA);
    mRenderBufferStack.push_back(colour);
    glBindFramebuffer(GL_FRAMEBUFFER, drawingFrameBuffer());
    attachColour(GL_FRAMEBUFFER, colour);
    if (stencil) {
        GLuint& buffer = mStencilBuffers[colour];
        buffer = makeRenderBuffer(GL_STENCIL_INDEX8);
        attachStencil(GL_FRAMEBUFFER, buffer);
    } else if (!mStencilBuffers.empty()) {
        attachStencil(GL_FRAMEBUFFER, 0); // that of the target below
    }
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
}

unsigned int AEOpenglMainFrameBuffer::popRenderContext() {
    if (mRenderBufferStack.empty()) {
        return 0;
    }
    const GLuint texture = createRenderTexture(false);
    const GLsizei w = asSize(mWidth);
    const GLsizei h = asSize(mHeight);
    if (mMultisample) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, mMultisampleFrameBuffer);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, mResolveFrameBuffer);
        glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture,
                               0);
        glBlitFramebuffer(0, 0, w, h, 0, 0, w, h, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        // A texture that stays attached here would outlive its deletion.
        glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
    } else {
        glBindTexture(GL_TEXTURE_2D, texture);
        glCopyTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 0, 0, w, h, 0);
    }
    detachTarget();
    const GLuint colour = mRenderBufferStack.back();
    mRenderBufferStack.pop_back();
    deleteTarget(colour);
    if (!mRenderBufferStack.empty()) {
        attachTop();
    }
    return texture;
}

/// Directs drawing to the top of the stack.
void AEOpenglMainFrameBuffer::attachTop() const {
    const GLuint top = mRenderBufferStack.back();
    glBindRenderbuffer(GL_RENDERBUFFER, top);
    glBindFramebuffer(GL_FRAMEBUFFER, drawingFrameBuffer());
    attachColour(GL_FRAMEBUFFER, top);
    const auto stencil = mStencilBuffers.find(top);
    if (stencil != mStencilBuffers.end()) {
        attachStencil(GL_FRAMEBUFFER, stencil->second);
    }
}

void AEOpenglMainFrameBuffer::endDrawing(float multiplier) {
    const ScopedName texture(popRenderContext(), glDeleteTextures);
    if (texture.get() == 0) {
        return;
    }
    glFinish(); // or a driver that draws in software keeps the target for many frames to come
    glBindFramebuffer(GL_FRAMEBUFFER, mSingleFrameBuffer);
    attachColour(GL_FRAMEBUFFER, mMainRenderBuffer);
    glDisable(GL_BLEND);
    glDisable(GL_MULTISAMPLE);
    glClear(GL_COLOR_BUFFER_BIT);
    mScreenRender->draw(texture.get(), multiplier);
}

void AEOpenglMainFrameBuffer::pushNormalRenderContext(unsigned int texture) {
    pushTextureTarget(texture, 0);
}

void AEOpenglMainFrameBuffer::pushNormalRenderContext(unsigned int texture, const Vec2& size,
                                                      int level) {
    pushTextureTarget(texture, level);
    glViewport(0, 0, static_cast<GLsizei>(size.x), static_cast<GLsizei>(size.y));
}

void AEOpenglMainFrameBuffer::popNormalRenderContext() {
    const auto bound = static_cast<GLuint>(integer(GL_FRAMEBUFFER_BINDING));
    if (bound != 0 && !isOwnFrameBuffer(bound)) {
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
        glBindRenderbuffer(GL_RENDERBUFFER, 0);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDeleteFramebuffers(1, &bound);
    }
    if (!mRenderBufferStack.empty()) {
        attachTop();
        constexpr GLenum drawBuffer = GL_COLOR_ATTACHMENT0;
        glDrawBuffers(1, &drawBuffer);
        glViewport(0, 0, asSize(mWidth), asSize(mHeight));
    }
}

} // namespace Vexorel::PrismDrift
