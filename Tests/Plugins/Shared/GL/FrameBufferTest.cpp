// The main frame buffer: its objects, its stack of targets, its textures, and the passes.

#include "GLTest.h"

#include "Shared/GL/AEOpenglMainFrameBuffer.h"
#include "Shared/GL/BackgroundRender.h"
#include "Shared/GL/ScreenRender.h"

#include <gmock/gmock.h>

#include <cmath>
#include <random>

namespace Testing {
namespace {

using namespace gl33core;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using namespace Vexorel::PrismDrift;

/// Fills the bound target.
void fill(float r, float g, float b, float a) {
    glClearColor(r, g, b, a);
    glClear(GL_COLOR_BUFFER_BIT);
}

/// The picture of a texture that the test then lets go.
std::vector<FloatPixel> take(GLuint texture, std::size_t pixels) {
    const auto picture = contents(texture, pixels);
    glDeleteTextures(1, &texture);
    return picture;
}

/// The name attached to the bound frame buffer, 0 for none.
GLuint attached(GLenum point) {
    GLint name = 0;
    glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, point,
                                          GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME, &name);
    return static_cast<GLuint>(name);
}

/// Width, height, format and samples of a render buffer.
std::array<GLint, 4> storage(GLuint renderBuffer) {
    const GLint bound = integer(GL_RENDERBUFFER_BINDING);
    std::array<GLint, 4> values{};
    glBindRenderbuffer(GL_RENDERBUFFER, renderBuffer);
    const GLenum names[] = {GL_RENDERBUFFER_WIDTH, GL_RENDERBUFFER_HEIGHT,
                            GL_RENDERBUFFER_INTERNAL_FORMAT, GL_RENDERBUFFER_SAMPLES};
    for (std::size_t i = 0; i < values.size(); ++i) {
        glGetRenderbufferParameteriv(GL_RENDERBUFFER, names[i], &values.at(i));
    }
    glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(bound));
    return values;
}

std::array<GLint, 4> viewport() {
    std::array<GLint, 4> sides{};
    glGetIntegerv(GL_VIEWPORT, sides.data());
    return sides;
}

class FrameBuffer : public GLTest, public ::testing::WithParamInterface<bool> {
protected:
    void TearDown() override { target.destory(); }

    GLuint top() const { return target.mRenderBufferStack.back(); }
    GLuint drawingFrameBuffer() const {
        return multisample ? target.mMultisampleFrameBuffer : target.mSingleFrameBuffer;
    }
    /// Drawing goes to the top of the stack, whose stencil buffer, if it has one, is attached too.
    void expectTopAttached() {
        EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING), asInteger(drawingFrameBuffer()));
        EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), GL_FRAMEBUFFER_COMPLETE);
        EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0), top());
        const auto stencil = target.mStencilBuffers.find(top());
        EXPECT_EQ(attached(GL_STENCIL_ATTACHMENT),
                  stencil != target.mStencilBuffers.end() ? stencil->second : 0U);
    }
    /// A frame of 6 by 3 that is one colour all over.
    void expectSoundFrame() {
        target.prepare(6, 3, multisample);
        target.beginDrawing();
        expectTopAttached();
        fill(0, 0, 1, 1);
        EXPECT_THAT(take(target.popRenderContext(), 18), Each(ElementsAre(0, 0, 1, 1)));
    }

    const bool multisample = GetParam();
    AEOpenglMainFrameBuffer target;
};

INSTANTIATE_TEST_SUITE_P(With, FrameBuffer, ::testing::Bool(), [](const auto& test) {
    return test.param ? "Multisampling" : "OneSample";
});

TEST_P(FrameBuffer, MakesItsObjectsForEachNewSize) {
    const int made = multisample ? 3 : 1;
    const auto prepare = [&](int width, int height, bool flag) {
        return GLWatch::callsDuring([&] { target.prepare(width, height, flag); });
    };
    EXPECT_THAT(prepare(0, 0, multisample), IsEmpty()); // the size that it has from the start
    prepare(8, 4, multisample);
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
    EXPECT_THAT(storage(target.mMainRenderBuffer), ElementsAre(8, 4, asInteger(GL_RGBA), 0));
    EXPECT_THAT(prepare(8, 4, !multisample), IsEmpty());
    target.beginDrawing();
    target.pushRenderContext(true, true);
    prepare(5, 7, multisample); // which also clears an unbalanced stack
    EXPECT_TRUE(target.mRenderBufferStack.empty() && target.mStencilBuffers.empty());
    EXPECT_EQ(GLWatch::names("Renderbuffers"), 1);
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
    EXPECT_TRUE(target.width() == 5 && target.height() == 7);
    target.unprepare();
    EXPECT_EQ(GLWatch::names("Renderbuffers") + GLWatch::names("Framebuffers"), 0);
    EXPECT_THAT(prepare(5, 7, multisample), IsEmpty()); // the size stays on record
    target.destory();
    EXPECT_EQ(target.mScreenRender, nullptr);
    target.destory();
    EXPECT_EQ(target.mWidth + target.mHeight, 0U);
    prepare(6, 6, multisample); // and is usable again
    EXPECT_NE(target.mScreenRender, nullptr);
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
}

TEST_P(FrameBuffer, OpensAFrameWhateverWasSetBefore) {
    target.prepare(6, 3, multisample);
    glBindFramebuffer(GL_FRAMEBUFFER, drawingFrameBuffer());
    glDrawBuffer(GL_NONE);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glEnable(GL_BLEND);
    multisample ? glDisable(GL_MULTISAMPLE) : glEnable(GL_MULTISAMPLE);
    glClearColor(1, 1, 1, 1);
    target.beginDrawing();
    expectTopAttached();
    EXPECT_EQ(integer(GL_DRAW_BUFFER), asInteger(GL_COLOR_ATTACHMENT0));
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_TRUE(glIsEnabled(GL_MULTISAMPLE)); // without multisampling it is left alone
    EXPECT_THAT(viewport(), ElementsAre(0, 0, 6, 3));
    const GLint samples = multisample ? std::min(8, integer(GL_MAX_SAMPLES)) : 0;
    EXPECT_THAT(storage(top()), ElementsAre(6, 3, asInteger(GL_RGBA), samples));
    target.pushRenderContext(false, true);
    EXPECT_THAT(storage(target.mStencilBuffers[top()]),
                ElementsAre(6, 3, asInteger(GL_STENCIL_INDEX8), samples));
    EXPECT_THAT(take(target.popRenderContext(), 18), Each(ElementsAre(0, 0, 0, 0)));
}

TEST_P(FrameBuffer, AsksForEightSamplesOfADriverThatHasMore) {
    target.prepare(6, 3, multisample);
    if (integer(GL_MAX_SAMPLES) < 8 && multisample) {
        watch.allowErrorsOf("glRenderbufferStorageMultisample");
        watch.allowErrorsOf("glClear");
    }
    GLWatch::pretendLimit(GL_MAX_SAMPLES, 32);
    const auto calls = GLWatch::callsDuring([&] { target.pushRenderContext(false, false); },
                                            {"glRenderbufferStorageMultisample"});
    EXPECT_THAT(calls, Each("glRenderbufferStorageMultisample(GL_RENDERBUFFER, 8, GL_RGBA, 6, 3)"));
    EXPECT_EQ(calls.size(), multisample ? 1U : 0U);
}

TEST_P(FrameBuffer, KeepsTheOuterPicturesWhileInnerOnesAreDrawn) {
    target.prepare(6, 3, multisample);
    target.beginDrawing();
    fill(1, 0, 0, 1);
    target.pushRenderContext(false, true);
    expectTopAttached();
    fill(0, 1, 0, 1);
    const int clears = GLWatch::callsOf("glClear");
    target.pushRenderContext(true, false);
    expectTopAttached(); // without the stencil buffer of the target below
    EXPECT_EQ(GLWatch::callsOf("glClear"), clears + 1); // new storage may hold anything
    glScissor(0, 0, 2, 3);
    glEnable(GL_SCISSOR_TEST);
    fill(0, 0, 1, 1);
    const auto inner = take(target.popRenderContext(), 18);
    EXPECT_THAT(inner[13], ElementsAre(0, 0, 1, 1));
    EXPECT_THAT(inner[14], ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(integer(GL_RENDERBUFFER_BINDING), asInteger(top()));
    expectTopAttached();
    fill(1, 1, 1, 1); // into the middle one, whose other pixels stay green
    glDisable(GL_SCISSOR_TEST);
    const auto middle = take(target.popRenderContext(), 18);
    EXPECT_THAT(middle[0], ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(middle[5], ElementsAre(0, 1, 0, 1));
    expectTopAttached();
    EXPECT_THAT(take(target.popRenderContext(), 18), Each(ElementsAre(1, 0, 0, 1)));
    EXPECT_EQ(GLWatch::names("Renderbuffers"), 1);
    EXPECT_THAT(GLWatch::callsDuring([&] {
                    EXPECT_EQ(target.popRenderContext(), 0U);
                    target.endDrawing(1.0F);
                }),
                IsEmpty());
}

TEST_P(FrameBuffer, OutlivesWhatDoesNotBalance) {
    target.prepare(6, 3, multisample);
    target.pushRenderContext(false, true);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    target.clearStack(); // with another frame buffer bound
    EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING) + integer(GL_READ_FRAMEBUFFER_BINDING), 0);
    glBindFramebuffer(GL_FRAMEBUFFER, drawingFrameBuffer());
    EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0) + attached(GL_STENCIL_ATTACHMENT), 0U);
    expectSoundFrame();
    target.popNormalRenderContext(); // of no texture target, outside of a frame
    target.beginDrawing();
    target.popNormalRenderContext(); // and within
    expectTopAttached();
    const GLuint texture = target.createRenderTexture(false);
    target.pushNormalRenderContext(texture);
    const auto left = static_cast<GLuint>(integer(GL_FRAMEBUFFER_BINDING));
    take(target.popRenderContext(), 18); // while the texture target is the one that is bound
    target.popNormalRenderContext();
    expectSoundFrame();
    if (multisample) { // otherwise the pop has ended it
        glDeleteFramebuffers(1, &left);
    }
    glDeleteTextures(1, &texture);
}

TEST_P(FrameBuffer, EndsAFrameInTheHostsPixelOrder) {
    target.prepare(3, 2, multisample);
    target.beginDrawing();
    fill(0.4F, 0.8F, 0, 0.8F);
    glEnable(GL_BLEND);
    glEnable(GL_MULTISAMPLE);
    const auto calls = GLWatch::callsDuring(
        [&] { target.endDrawing(2.0F); },
        {"glBlitFramebuffer", "glDisable", "glClear", "glDrawArrays", "glDeleteTextures"});
    EXPECT_THAT(std::vector<std::string>(calls.end() - 5, calls.end()),
                ElementsAre("glDisable(GL_BLEND)", "glDisable(GL_MULTISAMPLE)",
                            "glClear(GL_COLOR_BUFFER_BIT)", "glDrawArrays(GL_TRIANGLES, 0, 6)",
                            StartsWith("glDeleteTextures(1, ")));
    EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING), asInteger(GLuint{target.mSingleFrameBuffer}));
    EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0), target.mMainRenderBuffer);
    std::vector<FloatPixel> read(6);
    glReadPixels(0, 0, 3, 2, GL_RGBA, GL_FLOAT, read.data());
    const FloatPixel expected{0.4F, 0.25F, 0.5F, 0};
    EXPECT_THAT(read, Each(::testing::Pointwise(::testing::FloatNear(1.1F / 255), expected)));
    EXPECT_EQ(GLWatch::names("Textures"), 0);
    // What stays attached where it is no longer used outlives its deletion.
    for (const GLuint unused : {GLuint{target.mResolveFrameBuffer}, drawingFrameBuffer()}) {
        if (multisample) {
            EXPECT_EQ(calls.front(), "glBlitFramebuffer(0, 0, 3, 2, 0, 0, 3, 2, "
                                     "GL_COLOR_BUFFER_BIT, GL_NEAREST)");
            glBindFramebuffer(GL_FRAMEBUFFER, unused);
            EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0), 0U);
        }
    }
}

TEST_P(FrameBuffer, HasItsObjectsInEachContext) {
    expectSoundFrame();
    {
        AEOpenGLContext other(context.get());
        EXPECT_EQ(GLuint{target.mSingleFrameBuffer}, 0U);
        expectSoundFrame();
    }
    context->makeContextCurrent();
    EXPECT_NE(GLuint{target.mSingleFrameBuffer}, 0U);
    expectSoundFrame();
}

TEST_P(FrameBuffer, DrawsIntoTexturesInBetween) {
    target.prepare(6, 4, multisample);
    target.beginDrawing();
    fill(0, 1, 0, 1);
    const int frameBuffers = GLWatch::names("Framebuffers");
    const GLuint texture = target.createRenderTexture(Vec2(4, 4), true);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGenerateMipmap(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, 0);
    target.pushNormalRenderContext(texture);
    EXPECT_EQ(integer(GL_RENDERBUFFER_BINDING), 0);
    EXPECT_THAT(viewport(), ElementsAre(0, 0, 6, 4)); // is not touched
    fill(1, 0, 0, 1);
    target.popNormalRenderContext();
    target.pushNormalRenderContext(texture, Vec2(2.9, 2.2), 1);
    EXPECT_EQ(GLWatch::names("Framebuffers"), frameBuffers + 1);
    EXPECT_EQ(target.mRenderBufferStack.size(), 1U);
    EXPECT_THAT(viewport(), ElementsAre(0, 0, 2, 2));
    fill(0, 0, 1, 1);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, drawingFrameBuffer());
    target.popNormalRenderContext(); // of what is drawn to
    EXPECT_THAT(viewport(), ElementsAre(0, 0, 6, 4));
    EXPECT_EQ(integer(GL_RENDERBUFFER_BINDING), asInteger(top()));
    expectTopAttached();
    EXPECT_EQ(GLWatch::names("Framebuffers"), frameBuffers);
    EXPECT_THAT(contents(texture, 4, 1), Each(ElementsAre(0, 0, 1, 1)));
    EXPECT_THAT(take(texture, 16), Each(ElementsAre(1, 0, 0, 1))); // level 0 stays as it was
    EXPECT_THAT(take(target.popRenderContext(), 24), Each(ElementsAre(0, 1, 0, 1)));
    const GLuint alone = target.createRenderTexture(false);
    glBindTexture(GL_TEXTURE_2D, alone);
    const std::vector<FloatPixel> ones(24, {1, 1, 1, 1});
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 6, 4, GL_RGBA, GL_FLOAT, ones.data());
    target.pushNormalRenderContext(alone); // which clears it
    target.popNormalRenderContext();       // with no target below
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
        {t.createRenderTexture(Vec2(-0.5, 4), false), 0, 4, GL_RGBA, GL_LINEAR, GL_LINEAR},
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
    // The driver's own zeros are not to be relied on.
    EXPECT_THAT(
        GLWatch::callsDuring([&] { take(t.createRenderTexture(false), 14); }, {"glTexImage2D"}),
        Each(::testing::Not(::testing::EndsWith(", 0"))));
    for (const double side : {-1.0, std::nan(""), 2147483648.0, HUGE_VAL}) {
        EXPECT_THROW(target.createRenderTexture(Vec2(side, 4), false), int);
        EXPECT_THROW(target.createFloatRenderTexture(Vec2(4, side), true, false), int);
    }
    EXPECT_THROW(target.createRenderTexture(Vec2(65536, 16384.1), false), int); // over 2^32 bytes
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
    const auto near = [](const FloatPixel& expected) {
        return ::testing::Pointwise(::testing::FloatNear(1e-6F), expected);
    };
    {
        BackgroundRender background;
        ScreenRender screen;
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
        glBindVertexArray(screen.mVertexArray);
        for (const GLuint attribute : {0U, 1U}) {
            GLint enabled = -1;
            glGetVertexAttribiv(attribute, GL_VERTEX_ATTRIB_ARRAY_ENABLED, &enabled);
            EXPECT_EQ(enabled, 0);
        }
    }
    EXPECT_EQ(GLWatch::names("VertexArrays") + GLWatch::sharedNames(), 2); // the main buffer too
    glDeleteTextures(1, &texture);
}

} // namespace
} // namespace Testing
