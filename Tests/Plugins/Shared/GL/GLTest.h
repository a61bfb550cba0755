#pragma once

/// The frame around a test of the GL runtime: one watched context, current on the thread.

#include "Support/GLWatch.h"
#include "Support/TestHost.h"

#include "Shared/GL/AEOpenGLContext.h"

#include <glbinding/gl33core/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace Testing {

class GLTest : public ::testing::Test {
protected:
    void SetUp() override {
        context = std::make_unique<Vexorel::PrismDrift::AEOpenGLContext>(nullptr);
        ASSERT_TRUE(context->isCurrent());
    }

    GLWatch watch;
    TestHost host;
    std::unique_ptr<Vexorel::PrismDrift::AEOpenGLContext> context;
};

inline gl::GLint integer(gl::GLenum name) {
    gl::GLint value = 0;
    gl33core::glGetIntegerv(name, &value);
    return value;
}

using FloatPixel = std::array<float, 4>;

/// A level of a texture, or its first pixel.
inline std::vector<FloatPixel> contents(gl::GLuint texture, std::size_t pixels) {
    using namespace gl33core;
    std::vector<FloatPixel> read(pixels);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, read.data());
    glBindTexture(GL_TEXTURE_2D, 0);
    return read;
}

inline gl::GLint textureParameter(gl::GLuint texture, gl::GLenum name) {
    using namespace gl33core;
    GLint value = 0;
    glBindTexture(GL_TEXTURE_2D, texture);
    if (name == GL_TEXTURE_WIDTH || name == GL_TEXTURE_HEIGHT ||
        name == GL_TEXTURE_INTERNAL_FORMAT) {
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, name, &value);
    } else {
        glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
    }
    glBindTexture(GL_TEXTURE_2D, 0);
    return value;
}

/// A frame buffer of the test with a texture attached, bound for its life.
class BoundTexture {
public:
    explicit BoundTexture(gl::GLuint texture) {
        using namespace gl33core;
        glGenFramebuffers(1, &mName);
        glBindFramebuffer(GL_FRAMEBUFFER, mName);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    }
    ~BoundTexture() { gl33core::glDeleteFramebuffers(1, &mName); }
    BoundTexture(const BoundTexture&) = delete;
    BoundTexture& operator=(const BoundTexture&) = delete;

private:
    gl::GLuint mName = 0;
};

} // namespace Testing
