// The main frame buffer: its objects, its stack of targets, its textures, and the passes.

#include "GLTest.h"

#include "Shared/GL/AEOpenglMainFrameBuffer.h"
#include "Shared/GL/BackgroundRender.h"
#include "Shared/GL/ScreenRender.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>

namespace Testing {
namespace {

using namespace gl33core;
using ::testing::Each;
using ::testing::ElementsAre;
using Vexorel::PrismDrift::AEOpenglMainFrameBuffer;
using Vexorel::PrismDrift::BackgroundRender;
using Vexorel::PrismDrift::ScreenRender;
using Vexorel::PrismDrift::Vec2;

class FrameBuffer : public GLTest, public ::testing::WithParamInterface<bool> {
protected:
    /// Fills the bound target.
    static void fill(float r, float g, float b, float a) {
        glClearColor(r, g, b, a);
        glClear(GL_COLOR_BUFFER_BIT);
    }
    /// The picture of a texture that the test then lets go.
    static std::vector<FloatPixel> take(GLuint texture, std::size_t pixels) {
        const auto picture = contents(texture, pixels);
        glDeleteTextures(1, &texture);
        return picture;
    }
    void TearDown() override { target.destory(); }

    AEOpenglMainFrameBuffer target;
};

INSTANTIATE_TEST_SUITE_P(With, FrameBuffer, ::testing::Bool(), [](const auto& test) {
    return test.param ? "Multisampling" : "OneSample";
});

TEST_P(FrameBuffer, MakesItsObjectsForEachNewSize) {
    const int made = GetParam() ? 3 : 1;
    const int before = GLWatch::calls();
    target.prepare(0, 0, GetParam()); // the size that it has from the start
    EXPECT_EQ(GLWatch::calls(), before);
    target.prepare(8, 4, GetParam());
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
    const GLuint first = target.mMainRenderBuffer;
    const GLuint single = target.mSingleFrameBuffer;
    const int prepared = GLWatch::calls();
    target.prepare(8, 4, !GetParam());
    EXPECT_EQ(GLWatch::calls(), prepared);
    EXPECT_EQ(target.mMultisample, GetParam());
    EXPECT_EQ(target.mMainRenderBuffer, first);
    EXPECT_EQ(GLuint{target.mSingleFrameBuffer}, single);
    target.beginDrawing();
    target.pushRenderContext(true, true);
    target.prepare(5, 7, GetParam()); // which also clears an unbalanced stack
    EXPECT_TRUE(target.mRenderBufferStack.empty());
    EXPECT_TRUE(target.mStencilBuffers.empty());
    EXPECT_EQ(GLWatch::names("Renderbuffers"), 1);
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
    EXPECT_EQ(target.width(), 5);
    EXPECT_EQ(target.height(), 7);
    target.unprepare();
    EXPECT_EQ(GLWatch::names("Renderbuffers") + GLWatch::names("Framebuffers"), 0);
    EXPECT_EQ(target.mWidth, 5U);
    target.destory();
    EXPECT_EQ(target.mWidth + target.mHeight, 0U);
    target.destory();
    target.prepare(6, 6, GetParam()); // and is usable again
    EXPECT_NE(target.mScreenRender, nullptr);
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
}

TEST_P(FrameBuffer, KeepsTheOuterPicturesWhileInnerOnesAreDrawn) {
    target.prepare(6, 3, GetParam());
    target.beginDrawing();
    fill(1, 0, 0, 1);
    target.pushRenderContext(false, true);
    EXPECT_EQ(target.mStencilBuffers.count(target.mRenderBufferStack.back()), 1U);
    EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), GL_FRAMEBUFFER_COMPLETE);
    fill(0, 1, 0, 1);
    target.pushRenderContext(true, false); // starts cleared
    glScissor(0, 0, 2, 3);
    glEnable(GL_SCISSOR_TEST);
    fill(0, 0, 1, 1);
    const auto inner = take(target.popRenderContext(), 18);
    for (std::size_t i = 0; i < 18; ++i) {
        const float blue = i % 6 < 2 ? 1.0F : 0.0F;
        EXPECT_THAT(inner[i], ElementsAre(0, 0, blue, blue)) << i;
    }
    fill(1, 1, 1, 1); // into the middle one, whose other pixels stay green
    glDisable(GL_SCISSOR_TEST);
    const auto middle = take(target.popRenderContext(), 18);
    EXPECT_THAT(middle[0], ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(middle[5], ElementsAre(0, 1, 0, 1));
    EXPECT_TRUE(target.mStencilBuffers.empty());
    EXPECT_THAT(take(target.popRenderContext(), 18), Each(ElementsAre(1, 0, 0, 1)));
    EXPECT_EQ(GLWatch::names("Renderbuffers"), 1);
    const int before = GLWatch::calls();
    EXPECT_EQ(target.popRenderContext(), 0U);
    target.endDrawing(1.0F);
    EXPECT_EQ(GLWatch::calls(), before);
}

TEST_P(FrameBuffer, EndsAFrameInTheHostsPixelOrder) {
    struct Case {
        FloatPixel drawn; // premultiplied red, green, blue, alpha
        float multiplier;
        FloatPixel expected; // straight alpha, red, green, blue
    };
    const Case cases[] = {{{1, 0.2F, 0, 1}, 1, {1, 1, 0.2F, 0}},
                          {{0.2F, 0.4F, 0, 0.4F}, 1, {0.4F, 0.5F, 1, 0}},
                          {{1, 1, 1, 0}, 1, {0, 0, 0, 0}},
                          {{0.4F, 0.8F, 0, 0.8F}, 2, {0.4F, 0.25F, 0.5F, 0}}};
    target.prepare(3, 2, GetParam());
    for (const Case& c : cases) {
        target.beginDrawing();
        fill(c.drawn[0], c.drawn[1], c.drawn[2], c.drawn[3]);
        target.endDrawing(c.multiplier);
        EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING), static_cast<GLint>(target.mSingleFrameBuffer));
        std::vector<FloatPixel> read(6);
        glReadBuffer(GL_COLOR_ATTACHMENT0);
        glReadPixels(0, 0, 3, 2, GL_RGBA, GL_FLOAT, read.data());
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(read[5].at(i), c.expected.at(i), 1.1 / 255) << i;
        }
        EXPECT_EQ(GLWatch::names("Textures"), 0);
    }
}

TEST_P(FrameBuffer, DrawsIntoTexturesInBetween) {
    target.prepare(6, 4, GetParam());
    target.beginDrawing();
    fill(0, 1, 0, 1);
    const int frameBuffers = GLWatch::names("Framebuffers");
    const GLuint texture = target.createRenderTexture(Vec2(4, 4), true);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGenerateMipmap(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, 0);
    target.pushNormalRenderContext(texture);
    EXPECT_EQ(GLWatch::names("Framebuffers"), frameBuffers + 1);
    EXPECT_EQ(target.mRenderBufferStack.size(), 1U);
    fill(1, 0, 0, 1);
    target.popNormalRenderContext();
    target.pushNormalRenderContext(texture, Vec2(2.9, 2.2), 1);
    std::array<GLint, 4> viewport{};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    EXPECT_THAT(viewport, ElementsAre(0, 0, 2, 2));
    target.popNormalRenderContext();
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    EXPECT_THAT(viewport, ElementsAre(0, 0, 6, 4));
    EXPECT_EQ(GLWatch::names("Framebuffers"), frameBuffers);
    EXPECT_THAT(contents(texture, 16), Each(ElementsAre(1, 0, 0, 1))); // level 0 stays as it was
    std::vector<FloatPixel> level(4, {9, 9, 9, 9});
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 1, GL_RGBA, GL_FLOAT, level.data());
    glBindTexture(GL_TEXTURE_2D, 0);
    EXPECT_THAT(level, Each(ElementsAre(0, 0, 0, 0)));
    glDeleteTextures(1, &texture);
    EXPECT_THAT(take(target.popRenderContext(), 24), Each(ElementsAre(0, 1, 0, 1)));
    const GLuint alone = target.createRenderTexture(false);
    target.pushNormalRenderContext(alone);
    target.popNormalRenderContext(); // with no target below
    EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING), 0);
    EXPECT_THAT(take(alone, 24), Each(ElementsAre(0, 0, 0, 0)));
}

TEST_P(FrameBuffer, LeavesEachContextItsOwnFrameBuffers) {
    target.prepare(4, 4, GetParam());
    {
        Vexorel::PrismDrift::AEOpenGLContext other(context.get());
        EXPECT_EQ(GLuint{target.mSingleFrameBuffer}, 0U);
        target.prepare(4, 4, GetParam());
        EXPECT_NE(GLuint{target.mSingleFrameBuffer}, 0U);
        target.beginDrawing();
        fill(0, 0, 1, 1);
        EXPECT_THAT(take(target.popRenderContext(), 16), Each(ElementsAre(0, 0, 1, 1)));
    }
    context->makeContextCurrent();
    EXPECT_NE(GLuint{target.mSingleFrameBuffer}, 0U);
    target.beginDrawing();
    EXPECT_THAT(take(target.popRenderContext(), 16), Each(ElementsAre(0, 0, 0, 0)));
}

using Factories = FrameBuffer;
INSTANTIATE_TEST_SUITE_P(Of, Factories, ::testing::Values(true));

TEST_P(Factories, GiveClampedTexturesOfZeros) {
    struct Case {
        const char* name;
        std::function<GLuint()> make;
        int width, height;
        GLenum format, minify, magnify;
    };
    const Vec2 size(5.9, 3.2);
    AEOpenglMainFrameBuffer& t = target;
    const Case cases[] = {
        {"8 bits", [&] { return t.createRenderTexture(false); }, 7, 2, GL_RGBA, GL_LINEAR,
         GL_LINEAR},
        {"8 bits, mipmap", [&] { return t.createRenderTexture(true); }, 7, 2, GL_RGBA,
         GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR},
        {"8 bits, size", [&] { return t.createRenderTexture(size, false); }, 5, 3, GL_RGBA,
         GL_LINEAR, GL_LINEAR},
        {"float, linear", [&] { return t.createFloatRenderTexture(true, false); }, 7, 2, GL_RGBA32F,
         GL_LINEAR, GL_LINEAR},
        {"float, linear, mipmap", [&] { return t.createFloatRenderTexture(size, true, true); }, 5,
         3, GL_RGBA32F, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR},
        {"float, nearest", [&] { return t.createFloatRenderTexture(size, false, false); }, 5, 3,
         GL_RGBA32F, GL_NEAREST, GL_NEAREST},
        {"float, nearest, mipmap", [&] { return t.createFloatRenderTexture(false, true); }, 7, 2,
         GL_RGBA32F, GL_LINEAR_MIPMAP_NEAREST, GL_LINEAR},
    };
    target.prepare(7, 2, true);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const GLuint texture = c.make();
        EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
        const auto expectParameter = [&](GLenum name, int value) {
            EXPECT_EQ(textureParameter(texture, name), value) << static_cast<int>(name);
        };
        expectParameter(GL_TEXTURE_WIDTH, c.width);
        expectParameter(GL_TEXTURE_HEIGHT, c.height);
        expectParameter(GL_TEXTURE_INTERNAL_FORMAT, static_cast<int>(c.format));
        expectParameter(GL_TEXTURE_MIN_FILTER, static_cast<int>(c.minify));
        expectParameter(GL_TEXTURE_MAG_FILTER, static_cast<int>(c.magnify));
        expectParameter(GL_TEXTURE_WRAP_S, static_cast<int>(GL_CLAMP_TO_EDGE));
        expectParameter(GL_TEXTURE_WRAP_T, static_cast<int>(GL_CLAMP_TO_EDGE));
        EXPECT_THAT(take(texture, static_cast<std::size_t>(c.width * c.height)),
                    Each(ElementsAre(0, 0, 0, 0)));
    }
    for (const double side : {-1.0, std::nan(""), 1e30, std::numeric_limits<double>::infinity()}) {
        EXPECT_THROW(target.createRenderTexture(Vec2(side, 4), false), int);
        EXPECT_THROW(target.createFloatRenderTexture(Vec2(4, side), true, false), int);
    }
}

class Passes : public FrameBuffer {};
INSTANTIATE_TEST_SUITE_P(At, Passes, ::testing::Values(true));

TEST_P(Passes, OfBackgroundAndScreenAreEachOthersInverse) {
    constexpr std::size_t count = 12;
    target.prepare(4, 3, true);
    glViewport(0, 0, 4, 3);
    std::mt19937 random(9);
    std::vector<FloatPixel> source(count); // alpha, red, green, blue
    for (FloatPixel& pixel : source) {
        for (float& value : pixel) {
            value = static_cast<float>(random() % 1000 + 1) / 2000.0F;
        }
    }
    source[5] = {0, 0.5F, 0.25F, 1};
    const GLuint texture = target.createFloatRenderTexture(false, false);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 4, 3, GL_RGBA, GL_FLOAT, source.data());
    glBindTexture(GL_TEXTURE_2D, 0);
    BackgroundRender background;
    ScreenRender screen;
    EXPECT_EQ(GLWatch::names("Programs"), 0); // which are built at the first draw
    for (const float multiplier : {1.0F, 1.999969482421875F}) {
        const GLuint between = target.createFloatRenderTexture(false, false);
        const GLuint result = target.createFloatRenderTexture(false, false);
        target.pushNormalRenderContext(between);
        background.draw(texture, multiplier);
        target.popNormalRenderContext();
        target.pushNormalRenderContext(result);
        screen.draw(between, multiplier);
        target.popNormalRenderContext();
        const auto premultiplied = take(between, count);
        const auto back = take(result, count);
        for (std::size_t i = 0; i < count; ++i) {
            const float a = source[i][0] * multiplier;
            for (std::size_t c = 0; c < 3; ++c) {
                EXPECT_NEAR(premultiplied[i].at(c), source[i].at(c + 1) * multiplier * a, 1e-6);
            }
            EXPECT_NEAR(premultiplied[i][3], a, 1e-6);
            for (std::size_t c = 0; c < 4; ++c) {
                EXPECT_NEAR(back[i].at(c), i == 5 ? 0.0F : source[i].at(c), 1e-6) << i << ' ' << c;
            }
        }
    }
    EXPECT_EQ(GLWatch::names("VertexArrays"), 2);
    EXPECT_EQ(GLWatch::names("Buffers"), 2);
    glDeleteTextures(1, &texture);
    EXPECT_EQ(integer(GL_VERTEX_ARRAY_BINDING) + integer(GL_ARRAY_BUFFER_BINDING), 0);
}

} // namespace
} // namespace Testing
