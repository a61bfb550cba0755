// Pixels between worlds and textures.

#include "GLTest.h"

#include "Shared/GL/AEOpenGLUtilities.h"
#include "Shared/GL/GLErrors.h"

#include <cmath>
#include <random>

namespace Testing {
namespace {

using ::testing::FloatEq;

/// How often the host was asked for a first pixel.
int tAsked = 0;

template <typename Pixel>
PF_Err countedFirstPixel(PF_LayerDef* world, void* pixels, Pixel** pixel) {
    EXPECT_TRUE(pixels == nullptr && *pixel == nullptr);
    ++tAsked;
    *pixel = static_cast<Pixel*>(world->data);
    return world->width == 99 ? 5 : PF_Err_NONE;
}

class Transfer : public GLTest {
protected:
    void SetUp() override {
        GLTest::SetUp();
        utils = *host.inData.utils;
        utils.get_pixel_data8 = countedFirstPixel<PF_Pixel8>;
        utils.get_pixel_data16 = countedFirstPixel<PF_Pixel16>;
        host.inData.utils = &utils;
    }
    /// What `work` throws as it calls the host's interface; 0 for nothing.
    int codeOf(const std::function<void()>& work) {
        try {
            host.serve(work);
        } catch (int code) {
            return code;
        }
        return 0;
    }
    /// The texture is in `uploaded`.
    int upload(int format, PF_LayerDef* source, bool mipmap = false) {
        return codeOf([&] {
            uploaded = AEOpenGLUtilities::UploadTexture(format, source, nullptr, &host.inData,
                                                        pixelSize, pixelType, multiplier, mipmap);
        });
    }
    /// From the uploaded texture, which is gone after that.
    int download(int format, int width, int height, PF_LayerDef* input, PF_LayerDef* output) {
        const GLuint frameBuffer = generate(glGenFramebuffers);
        glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, uploaded, 0);
        glReadBuffer(GL_NONE); // the download chooses its own
        const int code = codeOf([&] {
            AEOpenGLUtilities::DownloadTexture(static_cast<unsigned>(width),
                                               static_cast<unsigned>(height), input, output,
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
            int width, height, inputWidth, inputHeight, outputWidth, outputHeight;
            int cut = 0; ///< bytes by which rows end within a pixel, so that the next begins there
        };
        const std::vector<Case> cases{{1, 1, 1, 1, 1, 1},
                                      {1, 9, 1, 9, 1, 9},
                                      {33, 1, 33, 1, 33, 1},
                                      {31, 17, 31, 17, 31, 17},
                                      {3, 2, 6, 6, 6, 6},
                                      {6, 6, 6, 6, 4, 3},
                                      {6, 5, 6, 5, 9, 7},
                                      {6, 5, 6, 5, 3, 0},
                                      {3, 2, 3, 2, 3, 2, sizeof(Pixel) < 16 ? 1 : 0}};
        for (const Case& c : cases) {
            SCOPED_TRACE(&c - cases.data());
            World<Pixel> source(c.width, c.height, 3);
            World<Pixel> input(c.inputWidth, c.inputHeight);
            World<Pixel> output(c.outputWidth, c.outputHeight, 1);
            World<Pixel> expected(c.outputWidth, c.outputHeight, 1);
            for (int i = 0; i < c.width * c.height; ++i) {
                const int y = i / c.width;
                const int x = i % c.width - c.cut * y;
                source.at(x, y) = {value(), value(), value(), value()};
                if (x < c.outputWidth && y < c.outputHeight) {
                    expected.at(x, y) = source.at(x, y);
                }
            }
            source.layer()->rowbytes -= c.cut;
            output.layer()->rowbytes -= c.cut;
            EXPECT_EQ(upload(format, source.layer()), 0);
            EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D) + integer(GL_UNPACK_ROW_LENGTH), 0);
            tAsked = 0;
            EXPECT_EQ(download(format, c.width, c.height, input.layer(), output.layer()), 0);
            EXPECT_EQ(tAsked, type == GL_FLOAT ? 0 : std::min(c.height, c.outputHeight));
            EXPECT_EQ(output.bytes(), expected.bytes());
            EXPECT_TRUE(pixelSize == sizeof(Pixel) && pixelType == type && multiplier == factor);
        }
    }

    PF_UtilCallbacks utils{};
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
    download(PF_PixelFormat_ARGB128, 4, 3, world.layer(), output.layer());
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
    WorldFloat world(4, 3);
    WorldFloat wide(99, 1);
    WorldFloat output(4, 3);
    const auto before = output.bytes();
    struct Case {
        int format;
        const char* failing;
        int uploadCode, downloadCode;
    };
    const Case cases[] = {{0x12345678, "", 516, 516},
                          {PF_PixelFormat_ARGB128, "iterate", 77, 77},
                          {PF_PixelFormat_ARGB128, "acquire PF iterateFloat Suite 1", 13, 13},
                          {PF_PixelFormat_ARGB128, "new 192", 0, 4},
                          {PF_PixelFormat_ARGB128, "lock", 0, 4},
                          {PF_PixelFormat_ARGB128, "acquire PF Handle Suite 2", 0, 13}};
    for (const Case& c : cases) {
        host.failing.clear();
        upload(PF_PixelFormat_ARGB128, world.layer());
        const int names = GLWatch::sharedNames();
        host.failing[c.failing] = 77;
        multiplier = -1.0F;
        EXPECT_TRUE(c.uploadCode == 0 || upload(c.format, world.layer()) == c.uploadCode);
        EXPECT_EQ(multiplier, c.uploadCode == 0 ? -1.0F : 1.0F);
        EXPECT_EQ(pixelType, GL_FLOAT);
        EXPECT_EQ(GLWatch::sharedNames(), names);
        EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH) + integer(GL_TEXTURE_BINDING_2D), 0);
        EXPECT_EQ(download(c.format, 4, 3, world.layer(), output.layer()), c.downloadCode);
        EXPECT_EQ(output.bytes(), before);
        EXPECT_EQ(host.held, 0);
    }
    EXPECT_EQ(upload(PF_PixelFormat_ARGB32, wide.layer()), 516); // no first pixel
    EXPECT_EQ(integer(GL_UNPACK_ROW_LENGTH) + GLWatch::sharedNames(), 0);
}

TEST_F(Transfer, RefusesWhatThereIsNoMemoryFor) {
    World8 world(4, 3);
    const auto before = world.bytes();
    const auto runOutOfMemory = [] {
        glTexImage2D(GL_TEXTURE_2D, 0, asInteger(GL_RGBA32F), 16384, 16384, 0, GL_RGBA, GL_FLOAT,
                     nullptr);
    };
    upload(PF_PixelFormat_ARGB32, world.layer());
    host.failing["new 17179869184"] = 1; // 2^32 pixels are not even asked for
    EXPECT_EQ(download(PF_PixelFormat_ARGB32, 65536, 65536, world.layer(), world.layer()), 4);
    EXPECT_THAT(host.calls, ElementsAre("acquire PF Handle Suite 2", "release PF Handle Suite 2"));
    upload(PF_PixelFormat_ARGB32, world.layer());
    const GLuint huge = generate(glGenTextures);
    glBindTexture(GL_TEXTURE_2D, huge);
    GLWatch::leaveErrors(true);
    runOutOfMemory();
    EXPECT_TRUE(takeOutOfMemory());
    EXPECT_FALSE(takeOutOfMemory());
    glEnable(GL_TEXTURE0); // another error
    EXPECT_FALSE(takeOutOfMemory());
    runOutOfMemory();
    EXPECT_EQ(download(PF_PixelFormat_ARGB32, 4, 3, world.layer(), world.layer()), 4);
    GLWatch::leaveErrors(false);
    EXPECT_EQ(world.bytes(), before);
    glDeleteTextures(1, &huge);
}

TEST_F(Transfer, NamesTheStateOfAFrameBuffer) {
    const GLuint texture = generate(glGenTextures);
    const GLuint frameBuffer = generate(glGenFramebuffers);
    EXPECT_EQ(AEOpenGLUtilities::CheckFramebufferStatus(), "Unknown error!"); // no surface
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    glBindTexture(GL_TEXTURE_2D, texture);
    for (const auto& [side, text] : {std::pair(-1, "Framebuffer incomplete, missing attachment!"),
                                     {0, "Framebuffer incomplete, incomplete attachment!"},
                                     {4, "OK"}}) {
        if (side >= 0) {
            glTexImage2D(GL_TEXTURE_2D, 0, asInteger(GL_RGBA8), side, side, 0, GL_RGBA,
                         GL_UNSIGNED_BYTE, nullptr);
            glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
        }
        EXPECT_EQ(AEOpenGLUtilities::CheckFramebufferStatus(), text);
    }
    glDeleteFramebuffers(1, &frameBuffer);
    glDeleteTextures(1, &texture);
}

} // namespace
} // namespace Testing
