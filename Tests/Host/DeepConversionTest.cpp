#include "Host/Media/PixelConversion.h"

#include "Host/Library/Error.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

using namespace Vexorel::PrismDrift::Host;

namespace {

constexpr auto floatWorld = PF_PixelFormat_ARGB128;

float* pixels(World& world, int y) {
    return reinterpret_cast<float*>(world.row(y));
}
const float* pixels(const World& world, int y) {
    return reinterpret_cast<const float*>(world.row(y));
}

// The bytes of the frame's rows, without what lies behind them.
std::string bytesOf(const AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const int size = av_image_get_buffer_size(format, frame.width, frame.height, 1);
    std::string bytes(std::size_t(size), 0);
    av_image_copy_to_buffer(reinterpret_cast<std::uint8_t*>(bytes.data()), size, frame.data,
                            frame.linesize, format, frame.width, frame.height, 1);
    return bytes;
}

// Writes a value of a component by FFmpeg's own description of the format.
void set(AVFrame& frame, int component, int x, int y, unsigned value) {
    const auto* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const auto word = static_cast<std::uint16_t>(value);
    av_write_image_line2(&word, frame.data, frame.linesize, format, x, y, component, 1,
                         sizeof word);
}

FFmpegPtr<AVFrame> clearedFrame(int width, int height, AVPixelFormat format) {
    auto frame = newFrame(width, height, format);
    for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
        std::memset(frame->data[plane], 0,
                    std::size_t(frame->linesize[plane]) * std::size_t(height));
    }
    return frame;
}

// All values of each channel there and back, and each of them in the world.
TEST(DeepConversionTest, EveryValueOfRgbIsExactAndComesBack) {
    for (const AVPixelFormat format :
         {AV_PIX_FMT_RGB24,     AV_PIX_FMT_RGB48LE,   AV_PIX_FMT_BGR48BE,   AV_PIX_FMT_RGBA64LE,
          AV_PIX_FMT_BGRA64BE,  AV_PIX_FMT_GBRP9LE,   AV_PIX_FMT_GBRP10BE,  AV_PIX_FMT_GBRP12LE,
          AV_PIX_FMT_GBRP14LE,  AV_PIX_FMT_GBRP16BE,  AV_PIX_FMT_GBRAP10LE, AV_PIX_FMT_GBRAP12BE,
          AV_PIX_FMT_GBRAP16LE, AV_PIX_FMT_X2RGB10LE, AV_PIX_FMT_X2BGR10LE, AV_PIX_FMT_GRAY9LE,
          AV_PIX_FMT_GRAY10BE,  AV_PIX_FMT_GRAY12LE,  AV_PIX_FMT_GRAY16BE,  AV_PIX_FMT_YA16LE,
          AV_PIX_FMT_X2RGB10BE}) {
        if (av_pix_fmt_desc_get(format) == nullptr) {
            continue;
        }
        const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(format);
        const int bits = layout.comp[0].depth;
        const int full = (1 << bits) - 1;
        const int width = 256;
        const int height = (full + 1 + width - 1) / width;
        const auto frame = clearedFrame(width, height, format);
        const int count = layout.nb_components;
        for (int c = 0; c < count; ++c) {
            for (int i = 0; i <= full; ++i) { // another order in each channel
                set(*frame, c, i % width, i / width,
                    unsigned(i * (2 * c + 1) + c) & unsigned(full));
            }
        }
        const World world = worldFromFrame(*frame, floatWorld);
        const bool hasAlpha = (layout.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
        for (int i = 0; i <= full; ++i) {
            for (int channel = 0; channel < 4; ++channel) {
                const int component = channel == 0 ? count - 1 : count < 3 ? 0 : channel - 1;
                const int value = (i * (2 * component + 1) + component) & full;
                const float expected = channel == 0 && !hasAlpha ? 1 : float(value) / float(full);
                ASSERT_EQ(pixels(world, i / width)[4 * (i % width) + channel], expected)
                    << layout.name << " " << i << " " << channel;
            }
        }
        const auto back = clearedFrame(width, height, format);
        WorldToFrame(layoutOf(*back), floatWorld).convert(world, *back);
        ASSERT_TRUE(bytesOf(*back) == bytesOf(*frame)) << layout.name;
    }
}

// Every value of luma with chroma of all kinds, colours far outside RGB among them.
TEST(DeepConversionTest, YuvComesBackWithWhatLiesBeyondRgb) {
    for (const AVPixelFormat format :
         {AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV444P9LE, AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_YUV444P12BE,
          AV_PIX_FMT_YUV444P14LE, AV_PIX_FMT_YUV444P16LE, AV_PIX_FMT_YUVA444P10LE,
          AV_PIX_FMT_YUVA444P12LE, AV_PIX_FMT_YUVA444P16BE, AV_PIX_FMT_P410LE, AV_PIX_FMT_P416LE,
          AV_PIX_FMT_AYUV64LE, AV_PIX_FMT_GRAY12LE}) {
        const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(format);
        const int full = (1 << layout.comp[0].depth) - 1;
        const auto frame = clearedFrame(256, 256, format);
        std::mt19937 random(11);
        for (const AVColorSpace matrix : {AVCOL_SPC_BT709, AVCOL_SPC_BT2020_NCL}) {
            for (const AVColorRange range : {AVCOL_RANGE_MPEG, AVCOL_RANGE_JPEG}) {
                frame->colorspace = matrix;
                frame->color_range = range;
                for (int i = 0; i < 65536; ++i) {
                    for (int c = 0; c < layout.nb_components; ++c) {
                        set(*frame, c, i % 256, i / 256,
                            unsigned(c == 0 ? unsigned(i) : random()) & unsigned(full));
                    }
                }
                const World world = worldFromFrame(*frame, floatWorld);
                const auto back = clearedFrame(256, 256, format);
                av_frame_copy_props(back.get(), frame.get());
                WorldToFrame(layoutOf(*back), floatWorld).convert(world, *back);
                ASSERT_TRUE(bytesOf(*back) == bytesOf(*frame))
                    << layout.name << " " << matrix << " " << range;
            }
        }
    }
}

struct Special {
    float in;
    int byte, word; // in 8 and 16 bits
};
const float infinity = std::numeric_limits<float>::infinity();
const Special specials[] = {{std::nanf(""), 0, 0},  {infinity, 255, 65535}, {-infinity, 0, 0},
                            {-0.25F, 0, 0},         {1.5F, 255, 65535},     {0.5F, 128, 32768},
                            {1e-30F, 0, 0},         {0.0019F, 0, 125},      {0.00197F, 1, 129},
                            {0.99803F, 254, 65406}, {0.99806F, 255, 65408}, {3.4e38F, 255, 65535}};

TEST(DeepConversionTest, FloatsKeepTheirBitsAndAreRoundedOnce) {
    constexpr int width = int(std::size(specials));
    World world(width, 1, floatWorld);
    for (int x = 0; x < width; ++x) {
        for (int channel = 0; channel < 4; ++channel) { // alpha takes the next one's
            pixels(world, 0)[4 * x + channel] = specials[(x + (channel == 0)) % width].in;
        }
    }
    for (const AVPixelFormat format : {AV_PIX_FMT_GBRAPF32LE, AV_PIX_FMT_GBRAPF32BE,
                                       AV_PIX_FMT_GBRPF32LE, AV_PIX_FMT_GRAYF32BE}) {
        const auto frame = frameFromWorld(world, format);
        const World back = worldFromFrame(*frame, floatWorld);
        const World bytes = worldFromFrame(*frame);
        for (int i = 0; i < 4 * width; ++i) {
            const bool isOpaque =
                i % 4 == 0 && !(av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_ALPHA);
            const auto expected = std::bit_cast<std::uint32_t>(isOpaque ? 1 : pixels(world, 0)[i]);
            EXPECT_TRUE(std::bit_cast<std::uint32_t>(pixels(back, 0)[i]) == expected ||
                        (std::isnan(pixels(back, 0)[i]) && std::isnan(pixels(world, 0)[i])))
                << i;
            const Special& special = specials[(i / 4 + (i % 4 == 0)) % width];
            EXPECT_EQ(bytes.row(0)[i], isOpaque ? 255 : special.byte) << i;
        }
    }
    const auto words = frameFromWorld(world, AV_PIX_FMT_RGBA64LE);
    const auto bytes = frameFromWorld(world, AV_PIX_FMT_RGBA);
    const auto luma = frameFromWorld(world, AV_PIX_FMT_YUVA444P16LE); // of the full range
    for (int i = 0; i < 4 * width; ++i) {
        const Special& special = specials[(i / 4 + (i % 4 == 3)) % width];
        const std::uint8_t* word = words->data[0] + 2 * i;
        EXPECT_EQ(word[0] + 256 * word[1], special.word) << i;
        EXPECT_EQ(bytes->data[0][i], special.byte) << i;
        const std::uint8_t* one = luma->data[i % 4 == 3 ? 3 : 0] + 2 * (i / 4);
        EXPECT_NEAR(one[0] + 256 * one[1], special.word, i % 4 == 3 ? 0 : 1) << i;
    }
}

TEST(DeepConversionTest, AlphaBelowOneOrUnknownIsAlpha) {
    for (const auto& [alpha, expected] : {std::pair(1.0F, false),
                                          {1.25F, false},
                                          {std::nextafter(1.0F, 0.0F), true},
                                          {0.0F, true},
                                          {std::nanf(""), true}}) {
        World world(3, 2, floatWorld);
        for (int i = 0; i < 6; ++i) {
            pixels(world, i / 3)[i % 3 * 4] = i == 4 ? alpha : 1;
        }
        EXPECT_EQ(hasAlpha(world), expected) << alpha;
    }
}

// A slow ramp keeps its mean in blocks of the pattern, the levels between stay, alpha is rounded.
TEST(DeepConversionTest, DitherKeepsTheMeanAndTheLevels) {
    constexpr int side = 64;
    World ramp(side, side, floatWorld);
    World levels(side, side, floatWorld);
    for (int i = 0; i < side * side; ++i) {
        for (int channel = 0; channel < 4; ++channel) {
            const float block = float(100 + (i / side / 16 * 4 + i % side / 16)) + 0.3F;
            pixels(ramp, i / side)[i % side * 4 + channel] = block / 255;
            pixels(levels, i / side)[i % side * 4 + channel] = float(i % 256) / 255;
        }
    }
    for (const AVPixelFormat format : {AV_PIX_FMT_RGBA, AV_PIX_FMT_YUVA444P, AV_PIX_FMT_GRAY8}) {
        const FrameOptions dither{true, false};
        const auto frame = frameFromWorld(ramp, format, dither);
        EXPECT_EQ(bytesOf(*frame), bytesOf(*frameFromWorld(ramp, format, dither)));
        EXPECT_TRUE(bytesOf(*frameFromWorld(levels, format, dither)) ==
                    bytesOf(*frameFromWorld(levels, format)));
        const int step = format == AV_PIX_FMT_RGBA ? 4 : 1;
        for (int block = 0; block < 16; ++block) {
            double sum = 0;
            for (int i = 0; i < 256; ++i) {
                const int x = block % 4 * 16 + i % 16;
                const int y = block / 4 * 16 + i / 16;
                const std::uint8_t value = frame->data[0][y * frame->linesize[0] + x * step];
                sum += value;
                EXPECT_TRUE(value == 100 + block || value == 101 + block);
                if (format == AV_PIX_FMT_RGBA) {
                    EXPECT_EQ(frame->data[0][y * frame->linesize[0] + x * 4 + 3], 100 + block);
                } else if (format == AV_PIX_FMT_YUVA444P) {
                    EXPECT_EQ(frame->data[3][y * frame->linesize[3] + x], 100 + block);
                }
            }
            EXPECT_NEAR(sum / 256, 100.3 + block, 0.02) << av_get_pix_fmt_name(format);
        }
    }
}

// What the scaler converts has more than 8 bits on its way into floats.
TEST(DeepConversionTest, TheScalersFormatsAreDeepToo) {
    const auto frame = clearedFrame(256, 1, AV_PIX_FMT_XYZ12LE);
    for (int x = 0; x < 256; ++x) {
        for (int c = 0; c < 3; ++c) {
            set(*frame, c, x, 0, 2000 + unsigned(x));
        }
    }
    const World world = worldFromFrame(*frame, floatWorld);
    const World bytes = worldFromFrame(*frame);
    int distinct = 0;
    for (int x = 1; x < 256; ++x) {
        distinct += pixels(world, 0)[4 * x + 2] > pixels(world, 0)[4 * x - 2] ? 1 : 0;
        EXPECT_NEAR(pixels(world, 0)[4 * x + 2] * 255, bytes.row(0)[4 * x + 2], 1.5);
    }
    EXPECT_GT(distinct, 100);
    EXPECT_THROW(FrameToWorld(layoutOf(*frame), PF_PixelFormat_ARGB64), Error);
}

} // namespace
