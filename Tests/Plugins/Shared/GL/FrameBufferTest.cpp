// The main frame buffer: its objects, its stack of targets, its textures, and the passes.

#include "GLTest.h"

#include "Shared/GL/AEOpenglMainFrameBuffer.h"
#include "Shared/GL/BackgroundRender.h"
#include "Shared/GL/ScreenRender.h"

#include <cmath>

namespace Testing {
namespace {

using ::testing::FloatNear;
using ::testing::HasSubstr;
using ::testing::Pointwise;

/// Fills the bound target.
void fill(float r, float g, float b, float a) {
    glClearColor(r, g, b, a);
    glClear(GL_COLOR_BUFFER_BIT);
}

/// The picture of a texture that the test then lets go.
std::vector<FloatPixel> take(GLuint texture, std::size_t pixels) {
    auto picture = contents(texture, pixels);
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

class FrameBuffer : public GLTest, public ::testing::WithParamInterface<bool> {
protected:
    void TearDown() override { target.destory(); }

    GLuint drawingFrameBuffer() const {
        return multisample ? target.mMultisampleFrameBuffer : target.mSingleFrameBuffer;
    }
    /// Drawing goes to the top of the stack, whose stencil buffer, if it has one, is attached too.
    void expectTopAttached() {
        const GLuint top = target.mRenderBufferStack.back();
        const auto stencil = target.mStencilBuffers.find(top);
        EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING), asInteger(drawingFrameBuffer()));
        EXPECT_EQ(integer(GL_DRAW_BUFFER), asInteger(GL_COLOR_ATTACHMENT0));
        EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), GL_FRAMEBUFFER_COMPLETE);
        EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0), top);
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

/// What doesn't depend on the samples, or only means something with them.
class Multisampling : public FrameBuffer {};
INSTANTIATE_TEST_SUITE_P(With, Multisampling, ::testing::Values(true));

TEST_P(FrameBuffer, MakesItsObjectsForEachNewSize) {
    const int made = multisample ? 3 : 1;
    const auto prepare = [&](int width, int height, bool flag) {
        return GLWatch::callsDuring([&] { target.prepare(width, height, flag); });
    };
    EXPECT_EQ(prepare(0, 0, multisample), ""); // the size that it has from the start
    EXPECT_THAT(prepare(8, 4, multisample), HasSubstr("Storage(RENDERBUFFER, RGBA, 8, 4)"));
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
    EXPECT_EQ(prepare(8, 4, !multisample), "");
    target.beginDrawing();
    target.pushRenderContext(true, true);
    prepare(8, 7, multisample); // which also clears an unbalanced stack
    EXPECT_TRUE(target.mRenderBufferStack.empty() && target.mStencilBuffers.empty());
    EXPECT_EQ(GLWatch::names("Renderbuffers"), 1);
    EXPECT_EQ(GLWatch::names("Framebuffers"), made);
    EXPECT_TRUE(target.width() == 8 && target.height() == 7);
    target.unprepare();
    EXPECT_EQ(GLWatch::names("Renderbuffers") + GLWatch::names("Framebuffers"), 0);
    EXPECT_EQ(prepare(8, 7, multisample), ""); // the size stays on record
    target.destory();
    target.destory();
    EXPECT_EQ(target.mWidth + target.mHeight, 0U);
    EXPECT_EQ(target.mScreenRender, nullptr);
    expectSoundFrame(); // it is usable again
}

/// The driver is said to have 32 samples, and may refuse eight.
TEST_P(Multisampling, CallsInOrder) {
    for (const char* call : {"RenderbufferStorageMultisample", "Clear", "BlitFramebuffer"}) {
        if (integer(GL_MAX_SAMPLES) < 8) {
            watch.allowErrorsOf(std::string("gl") + call);
        }
    }
    GLWatch::pretendLimit(GL_MAX_SAMPLES, 32);
    const auto frame = [&] {
        target.prepare(6, 3, true);
        target.beginDrawing();
        target.pushRenderContext(false, true);
        take(target.popRenderContext(), 18);
        target.endDrawing(1.0F);
    };
    EXPECT_EQ(
        GLWatch::callsDuring(frame, "RenderbufferStorage RenderbufferStorageMultisample DrawBuffer "
                                    "Enable Disable ClearColor Clear Viewport BlitFramebuffer "
                                    "DrawArrays"),
        "RenderbufferStorage(RENDERBUFFER, RGBA, 6, 3) " // beginDrawing:
        "DrawBuffer(COLOR_ATTACHMENT0) Disable(BLEND) Enable(MULTISAMPLE) "
        "RenderbufferStorageMultisample(RENDERBUFFER, 8, RGBA, 6, 3) "
        "ClearColor(0, 0, 0, 0) Clear(COLOR_BUFFER_BIT) Viewport(0, 0, 6, 3) " // push and pop:
        "RenderbufferStorageMultisample(RENDERBUFFER, 8, RGBA, 6, 3) "
        "RenderbufferStorageMultisample(RENDERBUFFER, 8, STENCIL_INDEX8, 6, 3) "
        "ClearColor(0, 0, 0, 0) Clear(COLOR_BUFFER_BIT) "
        "BlitFramebuffer(0, 0, 6, 3, 0, 0, 6, 3, COLOR_BUFFER_BIT, NEAREST) " // endDrawing:
        "BlitFramebuffer(0, 0, 6, 3, 0, 0, 6, 3, COLOR_BUFFER_BIT, NEAREST) "
        "Disable(BLEND) Disable(MULTISAMPLE) Clear(COLOR_BUFFER_BIT) DrawArrays(TRIANGLES, 0, 6)");
}

TEST_P(FrameBuffer, KeepsTheOuterPicturesWhileInnerOnesAreDrawn) {
    target.prepare(6, 3, multisample);
    glBindFramebuffer(GL_FRAMEBUFFER, drawingFrameBuffer());
    glDrawBuffer(GL_NONE);
    target.beginDrawing();
    fill(1, 0, 0, 1);
    target.pushRenderContext(false, true);
    expectTopAttached();
    fill(0, 1, 0, 1);
    target.pushRenderContext(true, false);
    expectTopAttached(); // without the stencil buffer of the target below
    glScissor(0, 0, 2, 3);
    glEnable(GL_SCISSOR_TEST);
    fill(0, 0, 1, 1);
    const auto inner = take(target.popRenderContext(), 18);
    EXPECT_THAT(inner[13], ElementsAre(0, 0, 1, 1));
    EXPECT_THAT(inner[14], ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(integer(GL_RENDERBUFFER_BINDING), asInteger(target.mRenderBufferStack.back()));
    expectTopAttached();
    fill(1, 1, 1, 1); // into the middle one, whose other pixels stay green
    glDisable(GL_SCISSOR_TEST);
    const auto middle = take(target.popRenderContext(), 18);
    EXPECT_THAT(middle[0], ElementsAre(1, 1, 1, 1));
    EXPECT_THAT(middle[5], ElementsAre(0, 1, 0, 1));
    expectTopAttached();
    EXPECT_THAT(take(target.popRenderContext(), 18), Each(ElementsAre(1, 0, 0, 1)));
    EXPECT_EQ(GLWatch::callsOf("glEnable"), multisample ? 2 : 1); // the scissors
    EXPECT_EQ(GLWatch::names("Renderbuffers"), 1);
    EXPECT_EQ(target.popRenderContext(), 0U); // of an empty stack
    EXPECT_EQ(GLWatch::callsDuring([&] { target.endDrawing(1.0F); }), "");
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

TEST_P(FrameBuffer, EndsAFrameInTheHostsPixelOrderInEachContext) {
    const auto expectFrame = [&] {
        target.prepare(3, 2, multisample);
        target.beginDrawing();
        fill(0.4F, 0.8F, 0, 0.8F);
        target.endDrawing(2.0F);
        EXPECT_EQ(attached(GL_COLOR_ATTACHMENT0), target.mMainRenderBuffer);
        std::vector<FloatPixel> read(6);
        glReadPixels(0, 0, 3, 2, GL_RGBA, GL_FLOAT, read.data());
        const FloatPixel expected{0.4F, 0.25F, 0.5F, 0};
        EXPECT_THAT(read, Each(Pointwise(FloatNear(1.1F / 255), expected)));
        EXPECT_EQ(GLWatch::names("Textures"), 0);
        for (const GLuint name : {GLuint{target.mResolveFrameBuffer}, drawingFrameBuffer()}) {
            glBindFramebuffer(GL_FRAMEBUFFER, name); // what stayed attached would not be deleted
            EXPECT_EQ(multisample ? attached(GL_COLOR_ATTACHMENT0) : 0U, 0U);
        }
    };
    expectFrame();
    {
        AEOpenGLContext other(context.get()); // has frame buffers of its own
        EXPECT_EQ(GLuint{target.mSingleFrameBuffer}, 0U);
        expectFrame();
    }
    context->makeContextCurrent();
    EXPECT_NE(GLuint{target.mSingleFrameBuffer}, 0U);
    expectFrame();
}

TEST_P(FrameBuffer, DrawsIntoTexturesInBetween) {
    target.prepare(6, 4, multisample);
    target.beginDrawing();
    fill(0, 1, 0, 1);
    const GLuint texture = target.createRenderTexture(Vec2(4, 4), true);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGenerateMipmap(GL_TEXTURE_2D);
    const auto draw = [&] {
        target.pushNormalRenderContext(texture);
        fill(1, 0, 0, 1);
        target.popNormalRenderContext();
        target.pushNormalRenderContext(texture, Vec2(2.9, 2.2), 1);
        fill(0, 0, 1, 1);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, drawingFrameBuffer());
        target.popNormalRenderContext(); // of what is drawn to
    };
    EXPECT_EQ(GLWatch::callsDuring(draw, "BindRenderbuffer ClearColor Clear Viewport"),
              "BindRenderbuffer(RENDERBUFFER, 0) ClearColor(0, 0, 0, 0) Clear(COLOR_BUFFER_BIT) "
              "ClearColor(1, 0, 0, 1) Clear(COLOR_BUFFER_BIT) BindRenderbuffer(RENDERBUFFER, 0) "
              "BindRenderbuffer(RENDERBUFFER, 2) Viewport(0, 0, 6, 4) "
              "BindRenderbuffer(RENDERBUFFER, 0) ClearColor(0, 0, 0, 0) Clear(COLOR_BUFFER_BIT) "
              "Viewport(0, 0, 2, 2) ClearColor(0, 0, 1, 1) Clear(COLOR_BUFFER_BIT) "
              "BindRenderbuffer(RENDERBUFFER, 0) BindRenderbuffer(RENDERBUFFER, 2) "
              "Viewport(0, 0, 6, 4)");
    expectTopAttached();
    EXPECT_EQ(GLWatch::callsOf("glDrawBuffers"), 2);
    EXPECT_EQ(GLWatch::names("Framebuffers"), multisample ? 3 : 1);
    EXPECT_THAT(contents(texture, 4, 1), Each(ElementsAre(0, 0, 1, 1)));
    EXPECT_THAT(contents(texture, 16), Each(ElementsAre(1, 0, 0, 1))); // level 0 stays as it was
    EXPECT_THAT(take(target.popRenderContext(), 24), Each(ElementsAre(0, 1, 0, 1)));
    target.pushNormalRenderContext(texture);
    target.popNormalRenderContext(); // with no target below
    EXPECT_EQ(integer(GL_FRAMEBUFFER_BINDING), 0);
    glDeleteTextures(1, &texture);
}

TEST_P(Multisampling, TexturesAreClampedAndFullOfZeros) {
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
    EXPECT_THAT(GLWatch::callsDuring([&] { take(t.createRenderTexture(false), 14); }, "TexImage2D"),
                HasSubstr("UNSIGNED_BYTE, 0x"));
    for (const double side : {-1.0, std::nan(""), 2147483648.0, HUGE_VAL}) {
        EXPECT_THROW(target.createRenderTexture(Vec2(side, 4), false), int);
        EXPECT_THROW(target.createFloatRenderTexture(Vec2(4, side), true, false), int);
    }
    EXPECT_THROW(target.createRenderTexture(Vec2(65536, 16384.1), false), int); // over 2^32 bytes
}

TEST_P(Multisampling, TexturesGoThroughBackgroundAndScreenUnchanged) {
    constexpr std::size_t count = 6;
    target.prepare(3, 2, true);
    glViewport(0, 0, 3, 2);
    const FloatPixel source[count] = {
        {0.5F, 0.1F, 0.2F, 0.3F}, {0.25F, 0, 0.5F, 0.4F}, // A, R, G, B
        {0.4F, 0.5F, 0.5F, 0.5F}, {0.1F, 0.4F, 0.1F, 0.2F},
        {0, 0.5F, 0.25F, 1},      {0.5F, 0.5F, 0.1F, 0}};
    const GLuint texture = target.createFloatRenderTexture(false, false);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 3, 2, GL_RGBA, GL_FLOAT, source);
    auto background = std::make_unique<BackgroundRender>();
    auto screen = std::make_unique<ScreenRender>();
    EXPECT_EQ(GLWatch::names("Programs"), 0); // which are built at the first draw
    const std::map<std::string, int> bindings{{"position", 0}, {"input_uv", 1}};
    EXPECT_TRUE(background->mShader.mAttributeBindings == bindings &&
                screen->mShader.mAttributeBindings == bindings);
    for (const float m : {1.0F, 1.999969482421875F}) {
        const GLuint between = target.createFloatRenderTexture(false, false);
        const GLuint result = target.createFloatRenderTexture(false, false);
        target.pushNormalRenderContext(between);
        background->draw(texture, m);
        target.popNormalRenderContext();
        target.pushNormalRenderContext(result);
        EXPECT_THAT(GLWatch::callsDuring([&] { screen->draw(between, m); }),
                    ::testing::EndsWith("DisableVertexAttribArray(0) DisableVertexAttribArray(1) "
                                        "BindVertexArray(0) BindBuffer(ARRAY_BUFFER, 0)"));
        target.popNormalRenderContext();
        const auto premultiplied = take(between, count);
        const auto back = take(result, count);
        for (std::size_t i = 0; i < count; ++i) {
            const auto [a, r, g, b] = source[i];
            const FloatPixel expected{r * m * a * m, g * m * a * m, b * m * a * m, a * m};
            EXPECT_THAT(premultiplied[i], Pointwise(FloatNear(1e-6F), expected));
            EXPECT_THAT(back[i],
                        Pointwise(FloatNear(1e-6F), source[i][0] == 0 ? FloatPixel{} : source[i]));
        }
    }
    EXPECT_EQ(GLWatch::names("VertexArrays") + GLWatch::names("Buffers"), 4);
    background.reset();
    screen.reset();
    EXPECT_EQ(GLWatch::names("VertexArrays") + GLWatch::sharedNames(), 2); // the main buffer too
    glDeleteTextures(1, &texture);
}

} // namespace
} // namespace Testing
