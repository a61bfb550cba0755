// Pixels between worlds and textures.

#include "GLTest.h"

#include "Shared/GL/AEOpenGLUtilities.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <random>

namespace Testing {
namespace {

using namespace gl33core;
using ::testing::ElementsAre;
using ::testing::FloatEq;
using Vexorel::PrismDrift::AEOpenGLUtilities;

class Transfer : public GLTest {
protected:
    GLuint upload(int format, PF_LayerDef* source, bool mipmap = false) {
        GLuint texture = 0;
        host.serve([&] {
            texture = AEOpenGLUtilities::UploadTexture(format, source, nullptr, &host.inData,
                                                       pixelSize, pixelType, multiplier, mipmap);
        });
        return texture;
    }
    /// Attached to a frame buffer of the test; the texture is gone after that.
    void download(int format, GLuint texture, PF_LayerDef* input, PF_LayerDef* output) {
        GLuint frameBuffer = 0;
        glGenFramebuffers(1, &frameBuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
        thrown = 0;
        try {
            host.serve([&] {
                AEOpenGLUtilities::DownloadTexture(
                    static_cast<unsigned>(input->width), static_cast<unsigned>(input->height),
                    input, output, &host.inData, format, pixelSize, pixelType);
            });
        } catch (int code) {
            thrown = code;
        }
        glDeleteFramebuffers(1, &frameBuffer);
        glDeleteTextures(1, &texture);
    }

    /// Up and down again: not a bit may change.
    template <typename Pixel, typename Value>
    void expectRoundTrip(int format, GLenum type, float factor, Value value) {
        for (const auto& [width, height] :
             std::vector<std::pair<int, int>>{{1, 1}, {1, 9}, {33, 1}, {31, 17}}) {
            World<Pixel> input(width, height, 3);
            World<Pixel> output(width, height, 1);
            World<Pixel> expected(width, height, 1);
            for (int i = 0; i < width * height; ++i) {
                input.at(i % width, i / width) = {value(), value(), value(), value()};
                expected.at(i % width, i / width) = input.at(i % width, i / width);
            }
            const GLuint texture = upload(format, input.layer());
            EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D) + integer(GL_UNPACK_ROW_LENGTH), 0);
            download(format, texture, input.layer(), output.layer());
            EXPECT_EQ(output.bytes(), expected.bytes()) << width << " by " << height;
            EXPECT_EQ(pixelSize, sizeof(Pixel));
            EXPECT_EQ(pixelType, type);
            EXPECT_EQ(multiplier, factor);
        }
    }

    unsigned long pixelSize = 99;
    GLenum pixelType = GL_ZERO;
    float multiplier = -1.0F;
    int thrown = 0;
};

TEST_F(Transfer, KeepsEveryBitOfEveryFormat) {
    std::mt19937 random(77);
    expectRoundTrip<PF_Pixel8>(PF_PixelFormat_ARGB32, GL_UNSIGNED_BYTE, 1.0F,
                               [&] { return static_cast<std::uint8_t>(random()); });
    expectRoundTrip<PF_Pixel16>(PF_PixelFormat_ARGB64, GL_UNSIGNED_SHORT, 1.999969482421875F,
                                [&] { return static_cast<std::uint16_t>(random()); });
    // Far beyond 0 to 1 on both sides too.
    expectRoundTrip<PF_PixelFloat>(PF_PixelFormat_ARGB128, GL_FLOAT, 1.0F, [&] {
        return std::ldexp(static_cast<float>(random()), static_cast<int>(random() % 80) - 72) *
               (random() % 2 == 0 ? 1.0F : -1.0F);
    });
}

TEST_F(Transfer, LaysTheHostsChannelsOutInMemoryOrder) {
    World8 world(2, 2);
    world.at(0, 0) = {255, 0, 51, 102};
    world.at(1, 0) = world.at(1, 1) = {};
    world.at(0, 1) = {51, 255, 0, 0};
    const auto edge = asInteger(GL_CLAMP_TO_EDGE);
    for (const bool mipmap : {false, true}) {
        const GLuint texture = upload(PF_PixelFormat_ARGB32, world.layer(), mipmap);
        const auto pixels = contents(texture, 4);
        EXPECT_THAT(pixels[0], ElementsAre(1.0F, 0.0F, FloatEq(0.2F), FloatEq(0.4F)));
        EXPECT_THAT(pixels[2], ElementsAre(FloatEq(0.2F), 1.0F, 0.0F, 0.0F)); // the second row
        EXPECT_THAT(properties(texture),
                    ElementsAre(2, 2, asInteger(GL_RGBA32F),
                                asInteger(mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR),
                                asInteger(GL_LINEAR), edge, edge));
        glDeleteTextures(1, &texture);
    }
}

TEST_F(Transfer, LeavesNothingBehindWhatFails) {
    WorldFloat input(4, 3);
    WorldFloat output(4, 3);
    const auto before = output.bytes();
    struct Case {
        int format, uploadCode, downloadCode;
        std::function<void()> prepare;
    };
    const Case cases[] = {
        {0x12345678, 516, 516, [] {}},
        {PF_PixelFormat_ARGB128, 77, 77, [&] { host.failing["iterate"] = 77; }},
        {PF_PixelFormat_ARGB128, 13, 13,
         [&] { host.failing["acquire PF iterateFloat Suite 1"] = 1; }},
        {PF_PixelFormat_ARGB128, 0, 4, [&] { host.failing["new 192"] = 1; }},
        {PF_PixelFormat_ARGB128, 0, 4, [&] { host.failing["lock"] = 1; }},
        {PF_PixelFormat_ARGB128, 0, 13, [&] { host.failing["acquire PF Handle Suite 2"] = 1; }},
    };
    for (const Case& c : cases) {
        host.failing.clear();
        const GLuint texture = upload(PF_PixelFormat_ARGB128, input.layer());
        const int names = GLWatch::sharedNames();
        c.prepare();
        if (c.uploadCode != 0) {
            multiplier = -1.0F;
            int code = 0;
            try {
                upload(c.format, input.layer());
            } catch (int thrownCode) {
                code = thrownCode;
            }
            EXPECT_EQ(code, c.uploadCode);
            EXPECT_EQ(multiplier, 1.0F);
            EXPECT_EQ(pixelType, GL_FLOAT);
            EXPECT_EQ(GLWatch::sharedNames(), names);
            EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH) + integer(GL_TEXTURE_BINDING_2D), 0);
        }
        download(c.format, texture, input.layer(), output.layer());
        EXPECT_EQ(thrown, c.downloadCode);
        EXPECT_EQ(output.bytes(), before);
        EXPECT_EQ(host.held, 0);
    }
}

TEST_F(Transfer, NamesTheStateOfAFrameBuffer) {
    GLuint frameBuffer = 0;
    GLuint texture = 0;
    glGenTextures(1, &texture);
    const auto attach = [&](GLsizei side) {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, asInteger(GL_RGBA8), side, side, 0, GL_RGBA,
                     GL_UNSIGNED_BYTE, nullptr);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    };
    const auto expectState = [](const char* text) {
        EXPECT_EQ(AEOpenGLUtilities::CheckFramebufferStatus(), text);
    };
    expectState("Unknown error!"); // without surfaces there is no frame buffer 0
    glGenFramebuffers(1, &frameBuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    expectState("Framebuffer incomplete, missing attachment!");
    attach(0);
    expectState("Framebuffer incomplete, incomplete attachment!");
    attach(4);
    expectState("OK");
    glDeleteFramebuffers(1, &frameBuffer);
    glDeleteTextures(1, &texture);
}

} // namespace
} // namespace Testing
