// Pixels between worlds and textures.

#include "GLTest.h"

#include "Shared/GL/AEOpenGLUtilities.h"
#include "Shared/GL/GLErrors.h"

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
using Vexorel::PrismDrift::PixelCopyRefcon;
using Vexorel::PrismDrift::takeOutOfMemory;

struct Size {
    int width, height;
};

class Transfer : public GLTest {
protected:
    /// What `work` throws as it calls the host's interface; 0 for nothing.
    int codeOf(const std::function<void()>& work) {
        try {
            host.serve(work);
        } catch (int code) {
            return code;
        }
        return 0;
    }
    /// The texture in `uploaded`.
    int upload(int format, PF_LayerDef* source, bool mipmap = false) {
        uploaded = 0;
        return codeOf([&] {
            uploaded = AEOpenGLUtilities::UploadTexture(format, source, nullptr, &host.inData,
                                                        pixelSize, pixelType, multiplier, mipmap);
        });
    }
    /// The uploaded texture, attached to a frame buffer of the test; it is gone after that.
    int download(int format, Size size, PF_LayerDef* input, PF_LayerDef* output) {
        GLuint frameBuffer = 0;
        glGenFramebuffers(1, &frameBuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, uploaded, 0);
        const int code = codeOf([&] {
            AEOpenGLUtilities::DownloadTexture(static_cast<unsigned>(size.width),
                                               static_cast<unsigned>(size.height), input, output,
                                               &host.inData, format, pixelSize, pixelType);
        });
        glDeleteFramebuffers(1, &frameBuffer);
        glDeleteTextures(1, &uploaded);
        return code;
    }

    /// Up and down again: not a bit may change, and nothing but the pixels that the picture and the
    /// output have is written.
    template <typename Pixel, typename Value>
    void expectRoundTrip(int format, GLenum type, float factor, Value value) {
        struct Case {
            Size picture, input, output;
        };
        for (const auto& [picture, inputSize, outputSize] :
             {Case{{1, 1}, {1, 1}, {1, 1}}, Case{{1, 9}, {1, 9}, {1, 9}},
              Case{{33, 1}, {33, 1}, {33, 1}}, Case{{31, 17}, {31, 17}, {31, 17}},
              Case{{3, 2}, {6, 6}, {6, 6}}, Case{{6, 6}, {6, 6}, {4, 3}},
              Case{{6, 5}, {6, 5}, {9, 7}}, Case{{6, 5}, {6, 5}, {3, 0}}}) {
            World<Pixel> source(picture.width, picture.height, 3);
            World<Pixel> input(inputSize.width, inputSize.height);
            World<Pixel> output(outputSize.width, outputSize.height, 1);
            World<Pixel> expected(outputSize.width, outputSize.height, 1);
            for (int i = 0; i < picture.width * picture.height; ++i) {
                const int x = i % picture.width;
                const int y = i / picture.width;
                source.at(x, y) = {value(), value(), value(), value()};
                if (x < outputSize.width && y < outputSize.height) {
                    expected.at(x, y) = source.at(x, y);
                }
            }
            EXPECT_EQ(upload(format, source.layer()), 0);
            EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D) + integer(GL_UNPACK_ROW_LENGTH), 0);
            EXPECT_EQ(download(format, picture, input.layer(), output.layer()), 0);
            EXPECT_EQ(output.bytes(), expected.bytes()) << picture.width << " by " << picture.height
                                                        << " for a width of " << outputSize.width;
            EXPECT_EQ(pixelSize, sizeof(Pixel));
            EXPECT_EQ(pixelType, type);
            EXPECT_EQ(multiplier, factor);
        }
    }

    GLuint uploaded = 0;
    unsigned long pixelSize = 99;
    GLenum pixelType = GL_ZERO;
    float multiplier = -1.0F;
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

/// How often the host was asked for a first pixel, and what it answered.
int tAsked = 0;
PF_Err tAnswer = PF_Err_NONE;

template <typename Pixel>
PF_Err countedFirstPixel(PF_LayerDef* world, void*, Pixel** pixel) {
    ++tAsked;
    *pixel = static_cast<Pixel*>(world->data);
    return tAnswer;
}

class Rows : public Transfer {
protected:
    void SetUp() override {
        Transfer::SetUp();
        utils.get_pixel_data8 = countedFirstPixel<PF_Pixel8>;
        utils.get_pixel_data16 = countedFirstPixel<PF_Pixel16>;
        host.inData.utils = &utils;
    }

    /// Rows that end within a pixel: the next one begins with that pixel.
    template <typename Pixel>
    void expectWholePixels(int format) {
        World<Pixel> source(3, 2);
        World<Pixel> output(3, 2);
        World<Pixel> expected(3, 2);
        for (World<Pixel>* world : {&source, &expected}) {
            for (int x = 0; x < 3; ++x) {
                world->at(x, 0) = {9, static_cast<std::uint8_t>(x), 7, 6};
                world->at(x - 1, 1) = {5, static_cast<std::uint8_t>(x), 3, 2};
            }
        }
        for (World<Pixel>* world : {&source, &output}) {
            world->layer()->rowbytes -= 1;
        }
        tAnswer = PF_Err_NONE;
        EXPECT_EQ(upload(format, source.layer()), 0);
        tAsked = 0;
        EXPECT_EQ(download(format, {3, 2}, source.layer(), output.layer()), 0);
        EXPECT_EQ(tAsked, 2) << "once for each row";
        EXPECT_EQ(output.bytes(), expected.bytes());
        tAnswer = 5;
        EXPECT_EQ(upload(format, source.layer()), 516);
    }

    PF_UtilCallbacks utils = *host.inData.utils;
};

TEST_F(Rows, BeginAtAWholePixelThatTheHostIsAskedFor) {
    expectWholePixels<PF_Pixel8>(PF_PixelFormat_ARGB32);
    expectWholePixels<PF_Pixel16>(PF_PixelFormat_ARGB64);
}

TEST_F(Transfer, LaysTheHostsChannelsOutInMemoryOrder) {
    World8 world(2, 2);
    world.at(0, 0) = {255, 0, 51, 102};
    world.at(1, 0) = world.at(1, 1) = {};
    world.at(0, 1) = {51, 255, 0, 0};
    const auto edge = asInteger(GL_CLAMP_TO_EDGE);
    for (const bool mipmap : {false, true}) {
        upload(PF_PixelFormat_ARGB32, world.layer(), mipmap);
        const auto pixels = contents(uploaded, 4);
        EXPECT_THAT(pixels[0], ElementsAre(1.0F, 0.0F, FloatEq(0.2F), FloatEq(0.4F)));
        EXPECT_THAT(pixels[2], ElementsAre(FloatEq(0.2F), 1.0F, 0.0F, 0.0F)); // the second row
        EXPECT_THAT(properties(uploaded),
                    ElementsAre(2, 2, asInteger(GL_RGBA32F),
                                asInteger(mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR),
                                asInteger(GL_LINEAR), edge, edge));
        glDeleteTextures(1, &uploaded);
    }
}

TEST_F(Transfer, UsesTheHostsSuitesInOrder) {
    WorldFloat world(4, 3);
    WorldFloat output(4, 3);
    upload(PF_PixelFormat_ARGB128, world.layer());
    EXPECT_THAT(std::exchange(host.calls, {}),
                ElementsAre("acquire PF iterateFloat Suite 1", "iterate",
                            "release PF iterateFloat Suite 1"));
    download(PF_PixelFormat_ARGB128, {4, 3}, world.layer(), output.layer());
    EXPECT_THAT(host.calls, ElementsAre("acquire PF Handle Suite 2", "new 192", "lock",
                                        "acquire PF iterateFloat Suite 1", "iterate",
                                        "release PF iterateFloat Suite 1", "unlock", "dispose",
                                        "release PF Handle Suite 2"));
    PF_PixelFloat pixels[8] = {};
    PF_PixelFloat in{1, 2, 3, 4};
    PF_PixelFloat out{5, 6, 7, 8};
    PixelCopyRefcon refcon{pixels, world.layer()};
    EXPECT_EQ(AEOpenGLUtilities::CopyPixelFloatIn(&refcon, 3, 1, &in, &out), 0);
    EXPECT_TRUE(pixels[7].blue == 4 && out.alpha == 5);
    EXPECT_EQ(AEOpenGLUtilities::CopyPixelFloatOut(&refcon, 3, 1, nullptr, &out), 0);
    EXPECT_EQ(out.alpha, 1);
}

TEST_F(Transfer, LeavesNothingBehindWhatFails) {
    WorldFloat input(4, 3);
    WorldFloat output(4, 3);
    const auto before = output.bytes();
    struct Case {
        int format, uploadCode, downloadCode;
        const char* failing;
        int code;
    };
    const Case cases[] = {
        {0x12345678, 516, 516, "", 0},
        {PF_PixelFormat_ARGB128, 77, 77, "iterate", 77},
        {PF_PixelFormat_ARGB128, 13, 13, "acquire PF iterateFloat Suite 1", 1},
        {PF_PixelFormat_ARGB128, 0, 4, "new 192", 1},
        {PF_PixelFormat_ARGB128, 0, 4, "lock", 1},
        {PF_PixelFormat_ARGB128, 0, 13, "acquire PF Handle Suite 2", 1},
    };
    for (const Case& c : cases) {
        for (const bool sending : {true, false}) {
            host.failing.clear();
            upload(PF_PixelFormat_ARGB128, input.layer());
            const int names = GLWatch::sharedNames();
            host.failing[c.failing] = c.code;
            if (sending && c.uploadCode != 0) {
                const GLuint kept = uploaded;
                multiplier = -1.0F;
                EXPECT_EQ(upload(c.format, input.layer()), c.uploadCode);
                EXPECT_EQ(multiplier, 1.0F);
                EXPECT_EQ(pixelType, GL_FLOAT);
                EXPECT_EQ(GLWatch::sharedNames(), names);
                EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH) + integer(GL_TEXTURE_BINDING_2D), 0);
                uploaded = kept;
            }
            EXPECT_EQ(download(c.format, {4, 3}, input.layer(), output.layer()), c.downloadCode);
            EXPECT_EQ(output.bytes(), before);
            EXPECT_EQ(host.held, 0);
        }
    }
}

TEST_F(Transfer, RefusesWhatThereIsNoMemoryFor) {
    World8 input(4, 3);
    World8 output(4, 3);
    const auto before = output.bytes();
    upload(PF_PixelFormat_ARGB32, input.layer());
    host.failing["new 17179869184"] = 1; // 2^32 pixels are not even asked for
    EXPECT_EQ(download(PF_PixelFormat_ARGB32, {65536, 65536}, input.layer(), output.layer()), 4);
    EXPECT_THAT(host.calls, ElementsAre("acquire PF Handle Suite 2", "release PF Handle Suite 2"));
    upload(PF_PixelFormat_ARGB32, input.layer());
    GLuint huge = 0;
    glGenTextures(1, &huge);
    glBindTexture(GL_TEXTURE_2D, huge);
    GLWatch::leaveErrors(true);
    const auto runOutOfMemory = [] {
        glTexImage2D(GL_TEXTURE_2D, 0, asInteger(GL_RGBA32F), 16384, 16384, 0, GL_RGBA, GL_FLOAT,
                     nullptr);
    };
    runOutOfMemory();
    EXPECT_TRUE(takeOutOfMemory());
    EXPECT_FALSE(takeOutOfMemory());
    glEnable(GL_TEXTURE0); // another error
    EXPECT_FALSE(takeOutOfMemory());
    EXPECT_EQ(glGetError(), GL_NO_ERROR);
    runOutOfMemory();
    EXPECT_EQ(download(PF_PixelFormat_ARGB32, {4, 3}, input.layer(), output.layer()), 4);
    GLWatch::leaveErrors(false);
    EXPECT_EQ(output.bytes(), before);
    glDeleteTextures(1, &huge);
}

TEST_F(Transfer, NamesTheStateOfAFrameBuffer) {
    GLuint frameBuffer = 0;
    GLuint texture = 0;
    glGenTextures(1, &texture);
    const auto expectState = [](const char* text) {
        EXPECT_EQ(AEOpenGLUtilities::CheckFramebufferStatus(), text);
    };
    const auto attach = [&](GLsizei side) {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, asInteger(GL_RGBA8), side, side, 0, GL_RGBA,
                     GL_UNSIGNED_BYTE, nullptr);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
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
