#pragma once

/// The frame around a test of the GL runtime: one watched context, current on the thread.

#include "Support/GLWatch.h"
#include "Support/TestHost.h"

#include "Shared/GL/AEOpenGLContext.h"

#include <glbinding/gl33core/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Testing {

using namespace gl33core;
using namespace Vexorel::PrismDrift;
using ::testing::Each;
using ::testing::ElementsAre;

class GLTest : public ::testing::Test {
protected:
    void SetUp() override {
        context = std::make_unique<AEOpenGLContext>(nullptr);
        ASSERT_TRUE(context->isCurrent());
    }

    GLWatch watch;
    TestHost host;
    std::unique_ptr<AEOpenGLContext> context;
};

/// What GL numbers or enumerates, to compare with what it gives.
template <typename Value>
GLint asInteger(Value value) {
    return static_cast<GLint>(value);
}

inline GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// A new name, as of a texture.
inline GLuint generate(void (*function)(GLsizei count, GLuint* names)) {
    GLuint name = 0;
    function(1, &name);
    return name;
}

using FloatPixel = std::array<float, 4>;

/// A level of a texture, or its first pixels.
inline std::vector<FloatPixel> contents(GLuint texture, std::size_t pixels, GLint level = 0) {
    std::vector<FloatPixel> read(pixels);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, level, GL_RGBA, GL_FLOAT, read.data());
    glBindTexture(GL_TEXTURE_2D, 0);
    return read;
}

/// Width, height and internal format of a texture, its filters for smaller and for larger pictures,
/// and its wrapping across and down.
inline std::array<GLint, 7> properties(GLuint texture) {
    std::array<GLint, 7> values{};
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &values[0]);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &values[1]);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &values[2]);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &values[3]);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &values[4]);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, &values[5]);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, &values[6]);
    glBindTexture(GL_TEXTURE_2D, 0);
    return values;
}

} // namespace Testing
