#include "Host/Media/PixelConversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

using namespace Vexorel::PrismDrift::Host;

namespace {

// Where a format keeps its values: luma, twice chroma, alpha.
struct Place {
    int plane, offset, step; // in bytes
};

struct Format {
    AVPixelFormat name;
    int shiftX, shiftY, depth = 8, shift = 0;
    std::array<Place, 4> places = {{{0, 0, 1}, {1, 0, 1}, {2, 0, 1}, {3, 0, 1}}};
    bool hasAlpha = false;
};

constexpr std::array<Place, 4> deepPlanes = {{{0, 0, 2}, {1, 0, 2}, {2, 0, 2}, {3, 0, 2}}};

const Format formats[] = {
    {AV_PIX_FMT_YUV420P, 1, 1},
    {AV_PIX_FMT_YUV422P, 1, 0},
    {AV_PIX_FMT_YUV444P, 0, 0},
    {AV_PIX_FMT_YUV440P, 0, 1},
    {AV_PIX_FMT_YUV411P, 2, 0},
    {AV_PIX_FMT_YUV410P, 2, 2},
    {AV_PIX_FMT_YUVJ420P, 1, 1},
    {AV_PIX_FMT_YUV420P10LE, 1, 1, 10, 0, deepPlanes},
    {AV_PIX_FMT_YUV422P16LE, 1, 0, 16, 0, deepPlanes},
    {AV_PIX_FMT_YUVA420P, 1, 1, 8, 0, {{{0, 0, 1}, {1, 0, 1}, {2, 0, 1}, {3, 0, 1}}}, true},
    {AV_PIX_FMT_YUVA444P10LE, 0, 0, 10, 0, deepPlanes, true},
    {AV_PIX_FMT_NV21, 1, 1, 8, 0, {{{0, 0, 1}, {1, 1, 2}, {1, 0, 2}}}},
    {AV_PIX_FMT_UYVY422, 1, 0, 8, 0, {{{0, 1, 2}, {0, 0, 4}, {0, 2, 4}}}},
    {AV_PIX_FMT_P010LE, 1, 1, 10, 6, {{{0, 0, 2}, {1, 0, 4}, {1, 2, 4}}}},
};

struct Matrix {
    AVColorSpace name;
    double kr, kb;
};

const Matrix matrices[] = {{AVCOL_SPC_UNSPECIFIED, 0.299, 0.114}, {AVCOL_SPC_BT470BG, 0.299, 0.114},
                           {AVCOL_SPC_SMPTE170M, 0.299, 0.114},   {AVCOL_SPC_BT709, 0.2126, 0.0722},
                           {AVCOL_SPC_SMPTE240M, 0.212, 0.087},   {AVCOL_SPC_FCC, 0.30, 0.11},
                           {AVCOL_SPC_BT2020_NCL, 0.2627, 0.0593}};

// How far right of and below the first pixel that it belongs to a chroma value lies: 0 at the left
// or the top, 1 in the middle of the pixels, 2 at the bottom.
struct Location {
    AVChromaLocation name;
    int right, down;
};

const Location locations[] = {{AVCHROMA_LOC_LEFT, 0, 1},       {AVCHROMA_LOC_CENTER, 1, 1},
                              {AVCHROMA_LOC_TOPLEFT, 0, 0},    {AVCHROMA_LOC_TOP, 1, 0},
                              {AVCHROMA_LOC_BOTTOMLEFT, 0, 2}, {AVCHROMA_LOC_BOTTOM, 1, 2}};

struct Case {
    Format format = formats[0];
    Matrix matrix = matrices[3];
    AVColorRange range = AVCOL_RANGE_MPEG;
    Location location = locations[0];
    int width = 37, height = 23;
};

// The cubic of Catmull and Rom.
double weight(double x) {
    const double d = std::abs(x);
    return d < 1 ? (1.5 * d - 2.5) * d * d + 1 : d < 2 ? ((-0.5 * d + 2.5) * d - 4) * d + 2 : 0;
}

int mirrored(int i, int size) {
    while (i < 0 || i >= size) {
        i = i < 0 ? -1 - i : 2 * size - 1 - i;
    }
    return i;
}

// Values at (x, y) of a plane of this size, filtered with the cubic stretched to (sx, sy).
template <typename Get>
double filtered(const Get& get, int width, int height, double x, double y, int sx = 1, int sy = 1) {
    double sum = 0;
    double all = 0;
    for (int j = int(std::floor(y)) - 2 * sy; j <= y + 2 * sy; ++j) {
        const double row = weight((j - y) / sy);
        for (int i = int(std::floor(x)) - 2 * sx; row != 0 && i <= x + 2 * sx; ++i) {
            const double one = row * weight((i - x) / sx);
            sum += one == 0 ? 0 : one * get(mirrored(i, width), mirrored(j, height));
            all += one;
        }
    }
    return sum / all;
}

// One conversion and the same in real numbers.
class Conversion {
public:
    explicit Conversion(const Case& row)
        : mCase(row),
          mFrame(newFrame(row.width, row.height, row.format.name)),
          mWorld(row.width, row.height) {
        mFrame->colorspace = row.matrix.name;
        mFrame->color_range = row.range;
        mFrame->chroma_location = row.location.name;
        // Saturated colours beside each other, where filters overshoot, and all that lies between.
        const auto any = [this] {
            return (mRandom() & 1U) != 0 ? int(mRandom() % 3) * 0.5 : int(mRandom() % 256) / 255.0;
        };
        for (int c = 0; c < channels(); ++c) {
            for (int i = 0; i < width(c) * height(c); ++i) {
                set(c, i % width(c), i / width(c), int(any() * full()));
            }
        }
        for (int i = 0; i < row.width * row.height * 4; ++i) {
            mWorld.row(i / 4 / row.width)[i % (4 * row.width)] = std::uint8_t(any() * 255);
        }
    }

    // The greatest distance of a value from the exact one, in levels of its own depth.
    double errorOfWorld() {
        FrameToWorld(layoutOf(*mFrame)).convert(*mFrame, mWorld);
        double worst = 0;
        for (int i = 0; i < mCase.width * mCase.height * 4; ++i) {
            const int x = i / 4 % mCase.width;
            const int y = i / 4 / mCase.width;
            const double exact = std::clamp(255 * shown(i % 4, x, y), 0.0, 255.0);
            worst = std::max(worst, std::abs(mWorld.row(y)[4 * x + i % 4] - exact));
        }
        return worst;
    }
    double errorOfFrame() {
        WorldToFrame(layoutOf(*mFrame)).convert(mWorld, *mFrame);
        double worst = 0;
        for (int c = 0; c < channels(); ++c) {
            for (int i = 0; i < width(c) * height(c); ++i) {
                const int x = i % width(c);
                const int y = i / width(c);
                const double exact = std::clamp(coded(c, x, y), 0.0, double(full()));
                worst = std::max(worst, std::abs(get(c, x, y) - exact));
            }
        }
        return worst;
    }

private:
    int channels() const { return mCase.format.hasAlpha ? 4 : 3; }
    int full() const { return (1 << mCase.format.depth) - 1; }
    static bool isChroma(int c) { return c == 1 || c == 2; }
    int sx(int c) const { return isChroma(c) ? 1 << mCase.format.shiftX : 1; }
    int sy(int c) const { return isChroma(c) ? 1 << mCase.format.shiftY : 1; }
    int width(int c) const { return (mCase.width + sx(c) - 1) / sx(c); }
    int height(int c) const { return (mCase.height + sy(c) - 1) / sy(c); }
    double right() const { return (sx(1) - 1) * mCase.location.right / 2.0; }
    double down() const { return (sy(1) - 1) * mCase.location.down / 2.0; }

    std::uint8_t* at(int c, std::ptrdiff_t x, std::ptrdiff_t y) const {
        const Place& place = mCase.format.places[std::size_t(c)];
        return mFrame->data[place.plane] + y * mFrame->linesize[place.plane] + place.offset +
               x * place.step;
    }
    int get(int c, int x, int y) const {
        const std::uint8_t* from = at(c, x, y);
        return mCase.format.depth == 8 ? from[0] : (from[0] + 256 * from[1]) >> mCase.format.shift;
    }
    void set(int c, int x, int y, int value) {
        at(c, x, y)[0] = std::uint8_t(value << mCase.format.shift);
        if (mCase.format.depth > 8) {
            at(c, x, y)[1] = std::uint8_t(value << mCase.format.shift >> 8);
        }
    }

    bool isFull() const {
        return mCase.range == AVCOL_RANGE_JPEG || mCase.format.name == AV_PIX_FMT_YUVJ420P;
    }
    double level() const { return 1 << (mCase.format.depth - 8); } // of 8 bits
    double black() const { return isFull() ? 0 : 16 * level(); }
    double lumaRange() const { return isFull() ? full() : 219 * level(); }
    double chromaRange() const { return isFull() ? full() : 224 * level(); }

    // Alpha, red, green or blue of a pixel of the frame, 0 to 1.
    double shown(int c, int x, int y) const {
        if (c == 0) {
            return mCase.format.hasAlpha ? double(get(3, x, y)) / full() : 1;
        }
        const double luma = (get(0, x, y) - black()) / lumaRange();
        const auto chroma = [&](int of) {
            return (filtered([&](int i, int j) { return get(of, i, j); }, width(of), height(of),
                             (x - right()) / sx(of), (y - down()) / sy(of)) -
                    128 * level()) /
                   chromaRange();
        };
        const auto [name, kr, kb] = mCase.matrix;
        const double red = luma + 2 * (1 - kr) * chroma(2);
        const double blue = luma + 2 * (1 - kb) * chroma(1);
        return c == 1 ? red : c == 3 ? blue : (luma - kr * red - kb * blue) / (1 - kr - kb);
    }

    // The value of the frame at (x, y) of its plane that the world stands for.
    double coded(int c, int x, int y) const {
        const auto value = [&](std::ptrdiff_t i, int j) {
            const std::uint8_t* pixel = mWorld.row(j) + 4 * i;
            const auto [name, kr, kb] = mCase.matrix;
            const double luma = kr * pixel[1] + (1 - kr - kb) * pixel[2] + kb * pixel[3];
            const double values[] = {luma, (pixel[3] - luma) / 2 / (1 - kb),
                                     (pixel[1] - luma) / 2 / (1 - kr), double(pixel[0])};
            return values[c] / 255;
        };
        if (!isChroma(c)) {
            return c == 0 ? black() + lumaRange() * value(x, y) : full() * value(x, y);
        }
        return 128 * level() + chromaRange() * filtered(value, mCase.width, mCase.height,
                                                        x * sx(c) + right(), y * sy(c) + down(),
                                                        sx(c), sy(c));
    }

    Case mCase;
    FFmpegPtr<AVFrame> mFrame;
    World mWorld;
    std::mt19937 mRandom{7};
};

void expectExact(const Case& row) {
    SCOPED_TRACE(std::string(av_get_pix_fmt_name(row.format.name)) + " " +
                 av_color_space_name(row.matrix.name) + " " + av_color_range_name(row.range) + " " +
                 av_chroma_location_name(row.location.name) + " " + std::to_string(row.width) +
                 "x" + std::to_string(row.height));
    constexpr double rounded = 0.51;
    Conversion conversion(row);
    EXPECT_LT(conversion.errorOfFrame(), rounded);
    EXPECT_LT(conversion.errorOfWorld(), rounded);
}

TEST(PixelConversionTest, FollowsTheMatrixAndTheRange) {
    for (const Matrix& matrix : matrices) {
        for (const AVColorRange range : {AVCOL_RANGE_MPEG, AVCOL_RANGE_JPEG}) {
            for (const Format& format : {formats[0], formats[7]}) {
                // A frame that doesn't say where its chroma lies: as in JPEG, or as in MPEG-2.
                expectExact({format,
                             matrix,
                             range,
                             {AVCHROMA_LOC_UNSPECIFIED, range == AVCOL_RANGE_JPEG ? 1 : 0, 1}});
            }
        }
    }
}

TEST(PixelConversionTest, FollowsTheFormatAndTheChromasPlace) {
    for (const Format& format : formats) {
        for (const Location& location : locations) {
            expectExact({format, matrices[3], AVCOL_RANGE_MPEG, location});
        }
        for (const auto& [width, height] : {std::pair(1, 1), {2, 2}, {3, 16}, {16, 3}, {2499, 2}}) {
            expectExact({format, matrices[3], AVCOL_RANGE_MPEG, locations[0], width, height});
        }
    }
}

TEST(PixelConversionTest, KeepsRgbInEveryLayout) {
    constexpr int width = 37;
    World world(width, 2);
    std::mt19937 random(3);
    for (int i = 0; i < width * 8; ++i) {
        world.row(i / width / 4)[i % (width * 4)] = std::uint8_t(random());
    }
    for (const AVPixelFormat format :
         {AV_PIX_FMT_RGB24, AV_PIX_FMT_BGRA, AV_PIX_FMT_0RGB, AV_PIX_FMT_GBRP, AV_PIX_FMT_RGBA64BE,
          AV_PIX_FMT_BGR48LE, AV_PIX_FMT_GBRAP10LE, AV_PIX_FMT_X2RGB10LE}) {
        const AVPixFmtDescriptor& layout = *av_pix_fmt_desc_get(format);
        const auto frame = frameFromWorld(world, format);
        const World back = worldFromFrame(*frame);
        for (int i = 0; i < width * 8; ++i) {
            const int x = i % (width * 4);
            const bool isOpaque = i % 4 == 0 && (layout.flags & AV_PIX_FMT_FLAG_ALPHA) == 0;
            const int expected = isOpaque ? 255 : world.row(i / width / 4)[x];
            ASSERT_EQ(back.row(i / width / 4)[x], expected) << layout.name << " " << i;
        }
    }
}

// Memory of an odd row's last pair, or between the values of a word, would get into the file.
TEST(PixelConversionTest, WritesEveryByte) {
    const World world(5, 2);
    for (const AVPixelFormat format : {AV_PIX_FMT_UYVY422, AV_PIX_FMT_P010LE, AV_PIX_FMT_YUV420P9BE,
                                       AV_PIX_FMT_BGR0, AV_PIX_FMT_X2RGB10LE}) {
        std::string bytes[2];
        for (const int before : {0, 1}) {
            const auto frame = newFrame(5, 2, format);
            const int length = av_image_get_linesize(format, 5, 0);
            std::memset(frame->data[0], 255 * before, std::size_t(2 * frame->linesize[0]));
            WorldToFrame(layoutOf(*frame)).convert(world, *frame);
            for (int y = 0; y < 2; ++y) {
                bytes[before].append(
                    reinterpret_cast<const char*>(frame->data[0] + y * frame->linesize[0]),
                    std::size_t(length));
            }
        }
        EXPECT_EQ(bytes[0], bytes[1]) << av_get_pix_fmt_name(format);
    }
}

TEST(PixelConversionTest, StretchesGrayOfTheLimitedRange) {
    const auto frame = newFrame(256, 1, AV_PIX_FMT_GRAY8);
    for (int value = 0; value < 256; ++value) {
        frame->data[0][value] = std::uint8_t(value);
    }
    for (const bool isLimited : {false, true}) {
        frame->color_range = isLimited ? AVCOL_RANGE_MPEG : AVCOL_RANGE_UNSPECIFIED;
        const World world = worldFromFrame(*frame);
        for (int value = 0; value < 256; ++value) {
            const double exact = isLimited ? (value - 16) * 255 / 219.0 : value;
            EXPECT_NEAR(world.row(0)[4 * value + 2], std::clamp(exact, 0.0, 255.0), 0.51);
        }
        // And back, where the values in between are all there.
        const auto again = newFrame(256, 1, AV_PIX_FMT_GRAY8);
        again->color_range = frame->color_range;
        WorldToFrame(layoutOf(*again)).convert(world, *again);
        for (int value = 16; value <= 235; ++value) {
            EXPECT_EQ(again->data[0][value], value);
        }
    }
    // Floats have the full range.
    const auto floats = newFrame(256, 1, AV_PIX_FMT_GRAYF32);
    for (int value = 0; value < 256; ++value) {
        reinterpret_cast<float*>(floats->data[0])[value] = float(value) / 255;
    }
    const World world = worldFromFrame(*floats);
    const World back = worldFromFrame(*frameFromWorld(world, AV_PIX_FMT_GRAYF32));
    for (int value = 0; value < 256; ++value) {
        EXPECT_NEAR(world.row(0)[4 * value + 2], value, 1);
        EXPECT_NEAR(back.row(0)[4 * value + 2], value, 1);
    }
}

} // namespace
