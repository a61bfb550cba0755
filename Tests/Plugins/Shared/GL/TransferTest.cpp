// Pixels between worlds and textures.

#include "GLTest.h"

#include "Shared/GL/AEOpenGLUtilities.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
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
    void download(int format, PF_LayerDef* input, PF_LayerDef* output) {
        host.serve([&] {
            AEOpenGLUtilities::DownloadTexture(static_cast<unsigned>(input->width),
                                               static_cast<unsigned>(input->height), input, output,
                                               &host.inData, format, pixelSize, pixelType);
        });
    }
    template <typename Work>
    int thrownBy(Work work) {
        try {
            work();
        } catch (int code) {
            return code;
        }
        return 0;
    }

    /// Up, attached to a frame buffer of the test, and down again: not a bit may change.
    template <typename Pixel>
    void expectRoundTrip(int format, Pixel (*make)(std::mt19937&)) {
        std::mt19937 random(77);
        for (const auto& [width, height] :
             std::vector<std::pair<int, int>>{{1, 1}, {1, 9}, {33, 1}, {31, 17}}) {
            World<Pixel> input(width, height, 3);
            World<Pixel> output(width, height, 1);
            for (int i = 0; i < width * height; ++i) {
                input.at(i % width, i / width) = make(random);
            }
            const GLuint texture = upload(format, input.layer());
            EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
            EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH), 0);
            EXPECT_EQ(textureParameter(texture, GL_TEXTURE_INTERNAL_FORMAT),
                      static_cast<GLint>(GL_RGBA32F));
            {
                const BoundTexture bound(texture);
                download(format, input.layer(), output.layer());
            }
            glDeleteTextures(1, &texture);
            EXPECT_TRUE(output.gapsUntouched());
            for (int y = 0; y < height; ++y) {
                ASSERT_EQ(std::memcmp(&output.at(0, y), &input.at(0, y),
                                      sizeof(Pixel) * static_cast<std::size_t>(width)),
                          0)
                    << width << " by " << height << ", row " << y;
            }
        }
    }

    unsigned long pixelSize = 99;
    GLenum pixelType = GL_ZERO;
    float multiplier = -1.0F;
};

TEST_F(Transfer, KeepsEveryBitOfEightBits) {
    expectRoundTrip<PF_Pixel8>(PF_PixelFormat_ARGB32, [](std::mt19937& random) {
        PF_Pixel8 pixel;
        const auto bits = static_cast<std::uint32_t>(random());
        std::memcpy(&pixel, &bits, sizeof pixel);
        return pixel;
    });
    EXPECT_EQ(pixelSize, 4U);
    EXPECT_EQ(pixelType, GL_UNSIGNED_BYTE);
    EXPECT_EQ(multiplier, 1.0F);
}

TEST_F(Transfer, KeepsEveryBitOfSixteenBits) {
    expectRoundTrip<PF_Pixel16>(PF_PixelFormat_ARGB64, [](std::mt19937& random) {
        const auto value = [&] { return static_cast<std::uint16_t>(random()); };
        return PF_Pixel16{value(), value(), value(), value()};
    });
    EXPECT_EQ(pixelSize, 8U);
    EXPECT_EQ(pixelType, GL_UNSIGNED_SHORT);
    EXPECT_EQ(multiplier, 1.999969482421875F);
}

TEST_F(Transfer, KeepsEveryBitOfFloats) {
    expectRoundTrip<PF_PixelFloat>(PF_PixelFormat_ARGB128, [](std::mt19937& random) {
        const auto value = [&] { // beyond 0 to 1 on both sides too
            return std::ldexp(static_cast<float>(random()), static_cast<int>(random() % 80) - 72) *
                   (random() % 2 == 0 ? 1.0F : -1.0F);
        };
        return PF_PixelFloat{value(), value(), value(), value()};
    });
    EXPECT_EQ(pixelSize, 16U);
    EXPECT_EQ(pixelType, GL_FLOAT);
    EXPECT_EQ(multiplier, 1.0F);
}

TEST_F(Transfer, LaysTheHostsChannelsOutInMemoryOrder) {
    World8 world(2, 2);
    world.at(0, 0) = {255, 0, 51, 102};
    world.at(1, 0) = world.at(1, 1) = {};
    world.at(0, 1) = {51, 255, 0, 0};
    for (const bool mipmap : {false, true}) {
        const GLuint texture = upload(PF_PixelFormat_ARGB32, world.layer(), mipmap);
        const auto pixels = contents(texture, 4);
        EXPECT_THAT(pixels[0], ElementsAre(1.0F, 0.0F, FloatEq(0.2F), FloatEq(0.4F)));
        EXPECT_THAT(pixels[2], ElementsAre(FloatEq(0.2F), 1.0F, 0.0F, 0.0F)); // the second row
        EXPECT_EQ(textureParameter(texture, GL_TEXTURE_MIN_FILTER),
                  static_cast<GLint>(mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR));
        EXPECT_EQ(textureParameter(texture, GL_TEXTURE_MAG_FILTER), static_cast<GLint>(GL_LINEAR));
        for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
            EXPECT_EQ(textureParameter(texture, wrap), static_cast<GLint>(GL_CLAMP_TO_EDGE));
        }
        glDeleteTextures(1, &texture);
    }
}

TEST_F(Transfer, LeavesNothingBehindAFailedUpload) {
    WorldFloat world(4, 4);
    const auto expectThrow = [&](int format, int code) {
        multiplier = -1.0F;
        EXPECT_EQ(thrownBy([&] { upload(format, world.layer()); }), code);
        EXPECT_EQ(multiplier, 1.0F);
        EXPECT_EQ(GLWatch::sharedNames(), 0);
        EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH), 0);
        EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
        EXPECT_EQ(host.suitesHeld, 0);
    };
    expectThrow(0x12345678, 516);
    EXPECT_EQ(pixelSize, 99U);
    EXPECT_EQ(pixelType, GL_ZERO);
    host.iterateResult = 77;
    expectThrow(PF_PixelFormat_ARGB128, 77);
    host.refusedSuites = {"PF iterateFloat Suite"};
    expectThrow(PF_PixelFormat_ARGB128, 13);
}

TEST_F(Transfer, LeavesNothingBehindAFailedDownload) {
    WorldFloat input(4, 3);
    WorldFloat output(4, 3);
    const auto before = output.bytes();
    const GLuint texture = upload(PF_PixelFormat_ARGB128, input.layer());
    {
        const BoundTexture bound(texture);
        const auto expectThrow = [&](int format, int code) {
            host.calls.clear();
            EXPECT_EQ(thrownBy([&] { download(format, input.layer(), output.layer()); }), code);
            EXPECT_EQ(output.bytes(), before);
            EXPECT_EQ(host.suitesHeld + host.handlesHeld + host.handlesLocked, 0);
        };
        expectThrow(0, 516);
        EXPECT_THAT(host.calls, ElementsAre("acquire PF Handle Suite 2", "new 192", "lock",
                                            "unlock", "dispose", "release PF Handle Suite 2"));
        host.iterateResult = 78;
        expectThrow(PF_PixelFormat_ARGB128, 78);
        host.refusedSuites = {"PF iterateFloat Suite"};
        expectThrow(PF_PixelFormat_ARGB128, 13);
        host.noHandle = true;
        expectThrow(PF_PixelFormat_ARGB128, 4);
        host.refusedSuites = {"PF Handle Suite"};
        expectThrow(PF_PixelFormat_ARGB128, 13);
    }
    glDeleteTextures(1, &texture);
}

TEST_F(Transfer, ReadsThePixelsForAnOutputWithoutRows) {
    World8 input(4, 3);
    World8 output(4, 0);
    const GLuint texture = upload(PF_PixelFormat_ARGB32, input.layer());
    {
        const BoundTexture bound(texture);
        download(PF_PixelFormat_ARGB32, input.layer(), output.layer());
    }
    glDeleteTextures(1, &texture);
    EXPECT_EQ(GLWatch::callsOf("glReadPixels"), 1);
    EXPECT_TRUE(output.gapsUntouched());
}

TEST_F(Transfer, NamesTheStateOfAFrameBuffer) {
    GLuint empty = 0;
    GLuint texture = 0;
    glGenTextures(1, &texture);
    const auto storage = [&](GLsizei side) {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(GL_RGBA8), side, side, 0, GL_RGBA,
                     GL_UNSIGNED_BYTE, nullptr);
        glBindTexture(GL_TEXTURE_2D, 0);
    };
    storage(4);
    // Without surfaces there is no frame buffer 0, a state that has no text of its own.
    EXPECT_EQ(AEOpenGLUtilities::CheckFramebufferStatus(), "Unknown error!");
    {
        const BoundTexture bound(texture);
        EXPECT_EQ(AEOpenGLUtilities::CheckFramebufferStatus(), "OK");
        storage(0);
        EXPECT_EQ(AEOpenGLUtilities::CheckFramebufferStatus(),
                  "Framebuffer incomplete, incomplete attachment!");
    }
    glGenFramebuffers(1, &empty);
    glBindFramebuffer(GL_FRAMEBUFFER, empty);
    EXPECT_EQ(AEOpenGLUtilities::CheckFramebufferStatus(),
              "Framebuffer incomplete, missing attachment!");
    glDeleteFramebuffers(1, &empty);
    glDeleteTextures(1, &texture);
}

} // namespace
} // namespace Testing
