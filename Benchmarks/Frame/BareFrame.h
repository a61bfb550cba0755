#pragma once

/// The rival of a frame: the same GL calls, written out with nothing around them.

#include "Platform/Effect/Effect.h"

#include <glbinding/gl33core/gl.h>

#include <array>
#include <functional>
#include <vector>

/// Draws neutral frames of one size in the context that is current at its construction.
class BareFrame {
public:
    /// The stages of a frame, in their order.
    enum Stage {
        makeSourceTexture,
        upload,
        makeTarget,
        draw,
        makeZeroTexture,
        resolve,
        screenDraw,
        readBack,
        copyRows,
        stageCount
    };
    static constexpr std::array<const char*, stageCount> stageNames{
        "source_texture", "upload",      "target",    "draw",     "zero_texture",
        "resolve",        "screen_draw", "read_back", "copy_rows"};

    BareFrame(int width, int height);
    ~BareFrame();
    BareFrame(const BareFrame&) = delete;
    BareFrame& operator=(const BareFrame&) = delete;

    /// Runs one stage; all of them in their order are a frame.
    void run(Stage stage, const PF_LayerDef& input, PF_LayerDef& output);

    void frame(const PF_LayerDef& input, PF_LayerDef& output) {
        for (int stage = 0; stage < stageCount; ++stage) {
            run(static_cast<Stage>(stage), input, output);
        }
    }

private:
    void makeVertices(gl::GLuint& array, gl::GLuint& buffer, const float* positions,
                      std::size_t size, int components);
    void makeTargetBuffer();
    void drawPass();
    void makeZeroFilledTexture();
    void resolveTarget();
    void drawScreen();

    int mWidth;
    int mHeight;
    gl::GLuint mPassProgram = 0;
    gl::GLuint mScreenProgram = 0;
    std::array<gl::GLuint, 2> mVertexArrays{};
    std::array<gl::GLuint, 2> mVertexBuffers{};
    std::array<gl::GLuint, 3> mFrameBuffers{}; ///< multisample, resolve, single
    gl::GLuint mMainRenderBuffer = 0;
    gl::GLuint mTarget = 0;
    gl::GLuint mSource = 0;
    gl::GLuint mResolved = 0;
    std::vector<PF_Pixel8> mPixels;
};
