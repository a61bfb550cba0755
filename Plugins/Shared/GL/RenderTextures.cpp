// The texture factories of the main frame buffer.

#include "Platform/Effect/Effect.h"
#include "Shared/GL/AEOpenglMainFrameBuffer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

namespace Vexorel::PrismDrift {

using namespace gl33core;

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// A side as GL takes it, truncated to a whole number; refused if that is negative or too large.
GLsizei truncated(double side) {
    const double whole = std::trunc(side);
    if (!(whole >= 0.0 && whole <= std::numeric_limits<GLsizei>::max())) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
    return static_cast<GLsizei>(whole);
}

/// The filter for a picture that is drawn smaller. The one for a larger one is set only without mip
/// levels; otherwise it stays GL's own, which is linear.
void setFilters(bool linear, bool mipmap) {
    if (mipmap) {
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                        linear ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR_MIPMAP_NEAREST);
        return;
    }
    const GLenum filter = linear ? GL_LINEAR : GL_NEAREST;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
}

/// `bytes` is the size of the zeros that fill the texture.
unsigned int makeTexture(GLsizei width, GLsizei height, double bytes, GLenum format, bool linear,
                         bool mipmap) {
    if (bytes > std::numeric_limits<std::uint32_t>::max()) {
        throw int{PF_Err_OUT_OF_MEMORY};
    }
    // One byte more, since for none at all null is an answer too.
    const std::unique_ptr<void, Free> zeros(std::calloc(static_cast<std::size_t>(bytes) + 1, 1));
    if (zeros == nullptr) {
        throw std::bad_alloc();
    }
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    setFilters(linear, mipmap);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, zeros.get());
    glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

unsigned int makeTexture(const Vec2& size, GLenum format, bool linear, bool mipmap) {
    const GLsizei width = truncated(size.x);
    const GLsizei height = truncated(size.y);
    // A side that truncates to 0 may be negative, and so may the product.
    const double bytes = std::max(size.x * size.y * 4.0, 0.0);
    return makeTexture(width, height, bytes, format, linear, mipmap);
}

} // namespace

unsigned int AEOpenglMainFrameBuffer::createRenderTexture(bool mipmap) {
    return createRenderTexture(Vec2(mWidth, mHeight), mipmap);
}

unsigned int AEOpenglMainFrameBuffer::createRenderTexture(const Vec2& size, bool mipmap) {
    return makeTexture(size, GL_RGBA, true, mipmap);
}

unsigned int AEOpenglMainFrameBuffer::createFloatRenderTexture(bool linear, bool mipmap) {
    return createFloatRenderTexture(Vec2(mWidth, mHeight), linear, mipmap);
}

unsigned int AEOpenglMainFrameBuffer::createFloatRenderTexture(const Vec2& size, bool linear,
                                                               bool mipmap) {
    return makeTexture(size, GL_RGBA32F, linear, mipmap);
}

} // namespace Vexorel::PrismDrift
