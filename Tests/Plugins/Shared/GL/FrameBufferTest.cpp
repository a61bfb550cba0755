// The main frame buffer: its objects, its stack of targets, its textures, and the passes.

#include "GLTest.h"

#include "Shared/GL/AEOpenglMainFrameBuffer.h"
#include "Shared/GL/BackgroundRender.h"
#include "Shared/GL/ScreenRender.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <random>

namespace Testing {
namespace {

using namespace gl33core;
using ::testing::Each;
using ::testing::ElementsAre;
using namespace Vexorel::PrismDrift;

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
    static std::array<GLint, 4> viewport() {
        std::array<GLint, 4> sides{};
        glGetIntegerv(GL_VIEWPORT, sides.data());
        return sides;
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
    const int prepared = GLWatch::calls();
    target.prepare(8, 4, !GetParam());
    EXPECT_EQ(GLWatch::calls(), prepared);
    target.beginDrawing();
    target.pushRenderContext(true, true);
    target.prepare(5, 7, GetParam()); // which also clears an unbalanced stack
    EXPECT_TRUE(target.mRenderBufferStack.empty() && target.mStencilBuffers.empty());
    EXPECT_EQ(GLWatch::names("Renderbuffers"), 1);
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
    EXPECT_TRUE(target.width() == 5 && target.height() == 7);
    target.unprepare();
    EXPECT_EQ(GLWatch::names("Renderbuffers") + GLWatch::names("Framebuffers"), 0);
    EXPECT_EQ(target.mWidth, 5U);
    target.destory();
    target.destory();
    EXPECT_EQ(target.mWidth + target.mHeight, 0U);
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
    const int clears =
        GLWatch::callsOf("glClear"); // new storage is zero by the driver's grace only
    target.pushRenderContext(true, false);
    EXPECT_EQ(GLWatch::callsOf("glClear"), clears + 1);
    glScissor(0, 0, 2, 3);
    glEnable(GL_SCISSOR_TEST);
    fill(0, 0, 1, 1);
    const auto inner = take(target.popRenderContext(), 18);
    EXPECT_THAT(inner[13], ElementsAre(0, 0, 1, 1));
    EXPECT_THAT(inner[14], ElementsAre(0, 0, 0, 0));
    fill(1, 1, 1, 1); // into the middle one, whose other pixels stay green
    glDisable(GL_SCISSOR_TEST);
    const auto middle = take(target.popRenderContext(), 18);
    EXPECT_THAT(middle[0], ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(middle[5], ElementsAre(0, 1, 0, 1));
    EXPECT_THAT(take(target.popRenderContext(), 18), Each(ElementsAre(1, 0, 0, 1)));
    EXPECT_EQ(GLWatch::names("Renderbuffers"), 1);
    const int before = GLWatch::calls();
    EXPECT_EQ(target.popRenderContext(), 0U);
    target.endDrawing(1.0F);
    EXPECT_EQ(GLWatch::calls(), before);
}

TEST_P(FrameBuffer, EndsAFrameInTheHostsPixelOrder) {
    target.prepare(3, 2, GetParam());
    target.beginDrawing();
    fill(0.4F, 0.8F, 0, 0.8F);
    target.endDrawing(2.0F);
    EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING), asInteger(GLuint{target.mSingleFrameBuffer}));
    std::vector<FloatPixel> read(6);
    glReadPixels(0, 0, 3, 2, GL_RGBA, GL_FLOAT, read.data());
    const FloatPixel expected{0.4F, 0.25F, 0.5F, 0};
    for (const FloatPixel& pixel : read) {
        EXPECT_THAT(pixel, ::testing::Pointwise(::testing::FloatNear(1.1F / 255), expected));
    }
    EXPECT_EQ(GLWatch::names("Textures"), 0);
    if (GetParam()) { // a texture left attached would outlive its deletion
        GLint attached = -1;
        glBindFramebuffer(GL_FRAMEBUFFER, target.mResolveFrameBuffer);
        glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0,
                                              GL_FRAMEBUFFER_ATTACHMENT_OBJECT_TYPE, &attached);
        EXPECT_EQ(attached, 0);
    }
    {
        AEOpenGLContext other(context.get()); // has frame buffers of its own
        EXPECT_EQ(GLuint{target.mSingleFrameBuffer}, 0U);
        target.prepare(3, 2, GetParam());
        target.beginDrawing();
        fill(0, 0, 1, 1);
        EXPECT_THAT(take(target.popRenderContext(), 6), Each(ElementsAre(0, 0, 1, 1)));
    }
    context->makeContextCurrent();
    EXPECT_NE(GLuint{target.mSingleFrameBuffer}, 0U);
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
    fill(1, 0, 0, 1);
    target.popNormalRenderContext();
    target.pushNormalRenderContext(texture, Vec2(2.9, 2.2), 1);
    EXPECT_EQ(GLWatch::names("Framebuffers"), frameBuffers + 1);
    EXPECT_EQ(target.mRenderBufferStack.size(), 1U);
    EXPECT_THAT(viewport(), ElementsAre(0, 0, 2, 2));
    fill(0, 0, 1, 1);
    target.popNormalRenderContext();
    EXPECT_THAT(viewport(), ElementsAre(0, 0, 6, 4));
    EXPECT_EQ(GLWatch::names("Framebuffers"), frameBuffers);
    EXPECT_THAT(contents(texture, 4, 1), Each(ElementsAre(0, 0, 1, 1)));
    EXPECT_THAT(take(texture, 16), Each(ElementsAre(1, 0, 0, 1))); // level 0 stays as it was
    EXPECT_THAT(take(target.popRenderContext(), 24), Each(ElementsAre(0, 1, 0, 1)));
    const GLuint alone = target.createRenderTexture(false);
    target.pushNormalRenderContext(alone);
    target.popNormalRenderContext(); // with no target below
    EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING), 0);
    EXPECT_THAT(take(alone, 24), Each(ElementsAre(0, 0, 0, 0)));
}

/// What doesn't depend on the samples.
class Textures : public FrameBuffer {};
INSTANTIATE_TEST_SUITE_P(Of, Textures, ::testing::Values(true));

TEST_P(Textures, AreClampedAndFullOfZeros) {
    const Vec2 size(5.9, 3.2);
    AEOpenglMainFrameBuffer& t = target;
    struct Case {
        GLuint texture;
        int width, height;
        GLenum format, minify, magnify;
    };
    target.prepare(7, 2, true);
    const Case cases[] = {
        {t.createRenderTexture(false), 7, 2, GL_RGBA, GL_LINEAR, GL_LINEAR},
        {t.createRenderTexture(true), 7, 2, GL_RGBA, GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR},
        {t.createRenderTexture(size, false), 5, 3, GL_RGBA, GL_LINEAR, GL_LINEAR},
        {t.createFloatRenderTexture(true, false), 7, 2, GL_RGBA32F, GL_LINEAR, GL_LINEAR},
        {t.createFloatRenderTexture(size, true, true), 5, 3, GL_RGBA32F, GL_LINEAR_MIPMAP_LINEAR,
         GL_LINEAR},
        {t.createFloatRenderTexture(size, false, false), 5, 3, GL_RGBA32F, GL_NEAREST, GL_NEAREST},
        {t.createFloatRenderTexture(false, true), 7, 2, GL_RGBA32F, GL_LINEAR_MIPMAP_NEAREST,
         GL_LINEAR},
    };
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
    const auto edge = asInteger(GL_CLAMP_TO_EDGE);
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_THAT(properties(c.texture),
                    ElementsAre(c.width, c.height, asInteger(c.format), asInteger(c.minify),
                                asInteger(c.magnify), edge, edge));
        EXPECT_THAT(take(c.texture, static_cast<std::size_t>(c.width * c.height)),
                    Each(ElementsAre(0, 0, 0, 0)));
    }
    for (const double side : {-1.0, std::nan(""), 1e30, HUGE_VAL}) {
        EXPECT_THROW(target.createRenderTexture(Vec2(side, 4), false), int);
        EXPECT_THROW(target.createFloatRenderTexture(Vec2(4, side), true, false), int);
    }
}

TEST_P(Textures, GoThroughBackgroundAndScreenUnchanged) {
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
    BackgroundRender background;
    ScreenRender screen;
    const auto near = [](const FloatPixel& expected) {
        return ::testing::Pointwise(::testing::FloatNear(1e-6F), expected);
    };
    EXPECT_EQ(GLWatch::names("Programs"), 0); // which are built at the first draw
    for (const float m : {1.0F, 1.999969482421875F}) {
        const GLuint between = target.createFloatRenderTexture(false, false);
        const GLuint result = target.createFloatRenderTexture(false, false);
        target.pushNormalRenderContext(between);
        background.draw(texture, m);
        target.popNormalRenderContext();
        target.pushNormalRenderContext(result);
        screen.draw(between, m);
        target.popNormalRenderContext();
        const auto premultiplied = take(between, count);
        const auto back = take(result, count);
        for (std::size_t i = 0; i < count; ++i) {
            const auto [a, r, g, b] = source[i];
            EXPECT_THAT(premultiplied[i],
                        near({r * m * a * m, g * m * a * m, b * m * a * m, a * m}));
            EXPECT_THAT(back[i], near(i == 5 ? FloatPixel{} : source[i])) << i;
        }
    }
    EXPECT_EQ(GLWatch::names("VertexArrays") + GLWatch::names("Buffers"), 4);
    EXPECT_EQ(integer(GL_VERTEX_ARRAY_BINDING) + integer(GL_ARRAY_BUFFER_BINDING), 0);
    glDeleteTextures(1, &texture);
}

} // namespace
} // namespace Testing
