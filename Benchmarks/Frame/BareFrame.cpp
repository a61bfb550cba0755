#include "Frame/BareFrame.h"

#include "PrismDrift/Sources/PrismDriftRender.h"
#include "Shared/GL/ScreenRender.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace gl33core;
using Vexorel::PrismDrift::OpenglShader;

namespace {

/// The effect's own texts, since both have to do the same work.
GLuint link(const OpenglShader& texts) {
    const GLuint program = glCreateProgram();
    for (const auto& [type, text] : {std::pair{GL_VERTEX_SHADER, texts.mVertexSource},
                                     std::pair{GL_FRAGMENT_SHADER, texts.mFragmentSource}}) {
        const GLuint shader = glCreateShader(type);
        const GLchar* source = text.c_str();
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        glAttachShader(program, shader);
        glDeleteShader(shader);
    }
    glBindAttribLocation(program, 0, "position");
    glBindAttribLocation(program, 1, "input_uv");
    glLinkProgram(program);
    return program;
}

GLuint makeTexture(GLenum format, int width, int height, GLenum type, const void* pixels) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, GL_RGBA, type,
                 pixels);
    return texture;
}

GLint location(GLuint program, const char* name) {
    return glGetUniformLocation(program, name);
}

} // namespace

BareFrame::BareFrame(int width, int height)
    : mWidth(width),
      mHeight(height),
      mPixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
    mPassProgram = link(*Vexorel::PrismDrift::PrismDriftRender().mShader);
    mScreenProgram = link(Vexorel::PrismDrift::ScreenRender().mShader);
    constexpr std::array<float, 24> pass{1,  -1, 1, 0, 1,  1,  1, 1, -1, 1,  0, 1,
                                         -1, 1,  0, 1, -1, -1, 0, 0, 1,  -1, 1, 0};
    constexpr std::array<float, 30> screen{1,  -1, 0, 1, 0, 1,  1,  0, 1, 1, -1, 1,  0, 0, 1,
                                           -1, 1,  0, 0, 1, -1, -1, 0, 0, 0, 1,  -1, 0, 1, 0};
    makeVertices(mVertexArrays[0], mVertexBuffers[0], pass.data(), sizeof pass, 2);
    makeVertices(mVertexArrays[1], mVertexBuffers[1], screen.data(), sizeof screen, 3);
    glGenFramebuffers(3, mFrameBuffers.data());
    glGenRenderbuffers(1, &mMainRenderBuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, mMainRenderBuffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA, width, height);
}

BareFrame::~BareFrame() {
    glDeleteProgram(mPassProgram);
    glDeleteProgram(mScreenProgram);
    glDeleteVertexArrays(2, mVertexArrays.data());
    glDeleteBuffers(2, mVertexBuffers.data());
    glDeleteFramebuffers(3, mFrameBuffers.data());
    glDeleteRenderbuffers(1, &mMainRenderBuffer);
}

void BareFrame::makeVertices(GLuint& array, GLuint& buffer, const float* positions,
                             std::size_t size, int components) {
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(size), positions, GL_STATIC_DRAW);
    const auto stride =
        static_cast<GLsizei>((static_cast<std::size_t>(components) + 2) * sizeof(float));
    glEnableVertexAttribArray(0);
    glVertexAttribPointer(0, components, GL_FLOAT, GL_FALSE, stride, nullptr);
    glEnableVertexAttribArray(1);
    glVertexAttribPointer(
        1, 2, GL_FLOAT, GL_FALSE, stride,
        reinterpret_cast<const void*>(static_cast<std::size_t>(components) * sizeof(float)));
}

void BareFrame::run(Stage stage, const PF_LayerDef& input, PF_LayerDef& output) {
    switch (stage) {
    case makeSourceTexture:
        mSource = makeTexture(GL_RGBA32F, mWidth, mHeight, GL_FLOAT, nullptr);
        break;
    case upload:
        glPixelStorei(GL_UNPACK_ROW_LENGTH, input.rowbytes / 4);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, mWidth, mHeight, GL_RGBA, GL_UNSIGNED_BYTE,
                        input.data);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        break;
    case makeTarget:
        makeTargetBuffer();
        break;
    case draw:
        drawPass();
        break;
    case makeZeroTexture:
        makeZeroFilledTexture();
        break;
    case resolve:
        resolveTarget();
        break;
    case screenDraw:
        drawScreen();
        break;
    case readBack:
        glReadPixels(0, 0, mWidth, mHeight, GL_RGBA, GL_UNSIGNED_BYTE, mPixels.data());
        break;
    case copyRows:
        for (std::size_t y = 0; y < static_cast<std::size_t>(mHeight); ++y) {
            const auto width = static_cast<std::size_t>(mWidth);
            std::memcpy(static_cast<char*>(output.data) +
                            y * static_cast<std::size_t>(output.rowbytes),
                        mPixels.data() + y * width, width * sizeof(PF_Pixel8));
        }
        break;
    case stageCount:
        break;
    }
}

void BareFrame::makeTargetBuffer() {
    GLint samples = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &samples);
    glGenRenderbuffers(1, &mTarget);
    glBindRenderbuffer(GL_RENDERBUFFER, mTarget);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, std::min(8, samples), GL_RGBA, mWidth,
                                     mHeight);
    glBindFramebuffer(GL_FRAMEBUFFER, mFrameBuffers[0]);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, mTarget);
    glEnable(GL_MULTISAMPLE);
    glViewport(0, 0, mWidth, mHeight);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
}

void BareFrame::drawPass() {
    glUseProgram(mPassProgram);
    glBindVertexArray(mVertexArrays[0]);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, mSource);
    glUniform1i(location(mPassProgram, "videoTexture"), 0);
    glUniform1f(location(mPassProgram, "multiplier16bit"), 1.0F);
    glUniform3f(location(mPassProgram, "channelOpacity"), 0.0F, 0.0F, 0.0F);
    glUniform2f(location(mPassProgram, "viewSize"), static_cast<float>(mWidth),
                static_cast<float>(mHeight));
    constexpr std::array<float, 6> identity{1, 0, 0, 1, 0, 0};
    for (const char* name : {"rTransform", "gTransform", "bTransform"}) {
        glUniform1fv(location(mPassProgram, name), 6, identity.data());
    }
    glDrawArrays(GL_TRIANGLES, 0, 6);
    glDeleteTextures(1, &mSource);
}

void BareFrame::makeZeroFilledTexture() {
    void* zeros = std::calloc(mPixels.size(), sizeof(PF_Pixel8));
    mResolved = makeTexture(GL_RGBA, mWidth, mHeight, GL_UNSIGNED_BYTE, zeros);
    std::free(zeros);
}

void BareFrame::resolveTarget() {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, mFrameBuffers[0]);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, mFrameBuffers[1]);
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, mResolved, 0);
    glBlitFramebuffer(0, 0, mWidth, mHeight, 0, 0, mWidth, mHeight, GL_COLOR_BUFFER_BIT,
                      GL_NEAREST);
    glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
    glFramebufferRenderbuffer(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, 0);
    glDeleteRenderbuffers(1, &mTarget);
}

void BareFrame::drawScreen() {
    glBindFramebuffer(GL_FRAMEBUFFER, mFrameBuffers[2]);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                              mMainRenderBuffer);
    glDisable(GL_MULTISAMPLE);
    glClear(GL_COLOR_BUFFER_BIT);
    glUseProgram(mScreenProgram);
    glBindVertexArray(mVertexArrays[1]);
    glBindTexture(GL_TEXTURE_2D, mResolved);
    glUniform1i(location(mScreenProgram, "videoTexture"), 0);
    glUniform1f(location(mScreenProgram, "multiplier16bit"), 1.0F);
    glDrawArrays(GL_TRIANGLES, 0, 6);
    glDeleteTextures(1, &mResolved);
}
