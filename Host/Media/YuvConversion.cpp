#include "Host/Media/YuvConversion.h"

#include "Host/Media/SampleDepth.h"

#include <algorithm>
#include <cstring>
#include <zimg.h>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr int channels = 4; // alpha, red, green, blue
constexpr int colours = 3;  // luma and twice chroma, or red, green and blue
constexpr unsigned opaque = 255;

// A colour far beyond every range, and near enough that zimg's whole numbers of 32 bits hold its
// multiple by the levels of 16 bits.
constexpr float farthest = 1024;

const AVPixFmtDescriptor& descriptorOf(const PixelLayout& layout) {
    return *av_pix_fmt_desc_get(layout.format);
}

// zimg takes multiples of the reduction only, and filters pictures of a few pixels wrongly. What is
// added is longer than the filter.
int paddedSide(int side, int shift) {
    constexpr int least = 16;
    const int step = 1 << shift;
    if (shift == 0 || (side % step == 0 && side >= least)) {
        return side;
    }
    return (side + step - 1) / step * step + least;
}

zimg_matrix_coefficients_e matrixOf(AVColorSpace matrix) {
    switch (matrix) {
    case AVCOL_SPC_BT709:
        return ZIMG_MATRIX_BT709;
    case AVCOL_SPC_FCC:
        return ZIMG_MATRIX_FCC;
    case AVCOL_SPC_SMPTE240M:
        return ZIMG_MATRIX_ST240_M;
    case AVCOL_SPC_BT2020_NCL:
        return ZIMG_MATRIX_BT2020_NCL;
    default:
        return ZIMG_MATRIX_BT470_BG; // BT.601's
    }
}

zimg_chroma_location_e locationOf(AVChromaLocation location) {
    switch (location) {
    case AVCHROMA_LOC_CENTER:
        return ZIMG_CHROMA_CENTER;
    case AVCHROMA_LOC_TOPLEFT:
        return ZIMG_CHROMA_TOP_LEFT;
    case AVCHROMA_LOC_TOP:
        return ZIMG_CHROMA_TOP;
    case AVCHROMA_LOC_BOTTOMLEFT:
        return ZIMG_CHROMA_BOTTOM_LEFT;
    case AVCHROMA_LOC_BOTTOM:
        return ZIMG_CHROMA_BOTTOM;
    default:
        return ZIMG_CHROMA_LEFT;
    }
}

zimg_image_format formatOf(const YuvPicture& picture) {
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = static_cast<unsigned>(picture.paddedWidth);
    format.height = static_cast<unsigned>(picture.paddedHeight);
    return format;
}

zimg_image_format yuvFormat(const PixelLayout& layout) {
    const YuvPicture picture(layout);
    zimg_image_format format = formatOf(picture);
    format.pixel_type = picture.depth == 8 ? ZIMG_PIXEL_BYTE : ZIMG_PIXEL_WORD;
    format.depth = static_cast<unsigned>(picture.depth);
    format.subsample_w = static_cast<unsigned>(picture.shiftX);
    format.subsample_h = static_cast<unsigned>(picture.shiftY);
    format.color_family = ZIMG_COLOR_YUV;
    format.matrix_coefficients = matrixOf(layout.matrix);
    const bool isFull = layout.range == AVCOL_RANGE_JPEG ||
                        (isGray(layout.format) && layout.range != AVCOL_RANGE_MPEG);
    format.pixel_range = isFull ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
    format.chroma_location = locationOf(layout.chroma);
    return format;
}

zimg_image_format rgbFormat(const PixelLayout& layout, PF_PixelFormat worlds) {
    zimg_image_format format = formatOf(YuvPicture(layout));
    format.pixel_type = worlds == PF_PixelFormat_ARGB32 ? ZIMG_PIXEL_BYTE : ZIMG_PIXEL_FLOAT;
    format.color_family = ZIMG_COLOR_RGB;
    format.matrix_coefficients = ZIMG_MATRIX_RGB;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

// Where a row or a column beyond a plane lies in the plane's mirror image.
int mirrored(int place, int size) {
    const int turn = place % (2 * size);
    return turn < size ? turn : 2 * size - 1 - turn;
}

// Those of a plane's columns that `left` to `right` show, mirrored ones among them.
Columns shownColumns(int left, int right, int width) {
    const int first = right > width ? std::clamp(2 * width - right, 0, left) : left;
    return {first, std::min(right, width) - first};
}

template <typename Value>
void mirrorColumns(Value* row, int width, int right) {
    for (int x = width; x < right; ++x) {
        row[x] = row[mirrored(x, width)];
    }
}

template <typename Value>
const Value* pixelsOf(const World& world, int y, int x) {
    return reinterpret_cast<const Value*>(world.row(y)) + std::ptrdiff_t{x} * channels;
}

// What is no number becomes 0.
void cut(float* values, int count, float least, float most) {
    for (int x = 0; x < count; ++x) {
        const float value = values[x] == values[x] ? values[x] : 0.0F;
        values[x] = value < least ? least : value > most ? most : value;
    }
}

// How many of a plane's columns or rows there are for so many of the picture's.
int reduced(int count, int shift) {
    return -(-count >> shift);
}

} // namespace

bool isReadAsYuv(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    return isYuv(format) && (descriptor->flags & AV_PIX_FMT_FLAG_FLOAT) == 0 &&
           descriptor->comp[0].depth >= 8 && descriptor->comp[0].depth <= 16 &&
           format != AV_PIX_FMT_UYYVYY411; // whose pixels aren't at equal steps
}

bool isWrittenAsYuv(AVPixelFormat format) {
    return isReadAsYuv(format) ||
           (isGray(format) && av_pix_fmt_desc_get(format)->comp[0].depth >= 8);
}

YuvPicture::YuvPicture(const PixelLayout& layout)
    : width(layout.width),
      height(layout.height),
      paddedWidth(paddedSide(width, descriptorOf(layout).log2_chroma_w)),
      paddedHeight(paddedSide(height, descriptorOf(layout).log2_chroma_h)),
      shiftX(descriptorOf(layout).log2_chroma_w),
      shiftY(descriptorOf(layout).log2_chroma_h),
      depth(descriptorOf(layout).comp[0].depth),
      planes(descriptorOf(layout).nb_components < colours ? 1 : colours),
      hasAlpha((descriptorOf(layout).flags & AV_PIX_FMT_FLAG_ALPHA) != 0) {}

YuvToWorld::YuvToWorld(const PixelLayout& layout, PF_PixelFormat worlds)
    : mPicture(layout),
      mGraph(yuvFormat(layout), rgbFormat(layout, worlds)),
      mAlpha(static_cast<std::size_t>(layout.width), opaque),
      mDeepAlpha(mPicture.hasAlpha ? mAlpha.size() : 0),
      mFloatAlpha(mAlpha.size(), 1) {}

void YuvToWorld::convert(const AVFrame& frame, World& world) {
    mGraph.run(
        [&](int y, int left, int right) {
            if (mPicture.depth == 8) {
                fill<std::uint8_t>(frame, y, left, right);
            } else {
                fill<std::uint16_t>(frame, y, left, right);
            }
        },
        [&](int y, int left, int right) {
            if (world.format() == PF_PixelFormat_ARGB32) {
                take<std::uint8_t>(frame, world, y, left, right);
            } else {
                take<float>(frame, world, y, left, right);
            }
        });
}

template <typename Value>
void YuvToWorld::fill(const AVFrame& frame, int y, int left, int right) const {
    for (int plane = 0; plane < colours; ++plane) {
        const int shiftX = plane == 0 ? 0 : mPicture.shiftX;
        const int shiftY = plane == 0 ? 0 : mPicture.shiftY;
        const int width = reduced(mPicture.width, shiftX);
        const int height = reduced(mPicture.height, shiftY);
        const int end = reduced(right, shiftX);
        const Columns columns = shownColumns(left >> shiftX, end, width);
        for (int line = y >> shiftY; line < reduced(y + (1 << mPicture.shiftY), shiftY); ++line) {
            Value* row = mGraph.input().row<Value>(plane, line);
            readRow(frame, plane, mirrored(line, height), columns, row + columns.first);
            mirrorColumns(row, width, end);
        }
    }
}

template <typename Value>
void YuvToWorld::take(const AVFrame& frame, World& world, int y, int left, int right) {
    const Columns columns{left, std::min(right, mPicture.width) - left};
    if (y >= mPicture.height || columns.count <= 0) {
        return;
    }
    const Value* alpha = nullptr;
    if constexpr (sizeof(Value) == 1) {
        alpha = readAlpha(frame, y, columns, mAlpha);
    } else {
        alpha = readAlpha(frame, y, columns, mFloatAlpha);
    }
    const auto from = [&](int plane) { return mGraph.output().row<const Value>(plane, y) + left; };
    interleave({alpha, from(0), from(1), from(2)}, columns.count,
               reinterpret_cast<Value*>(world.row(y)) + std::ptrdiff_t{left} * channels);
}

// Both give the first of the columns.
const std::uint8_t* YuvToWorld::readAlpha(const AVFrame& frame, int y, Columns columns,
                                          std::vector<std::uint8_t>& alpha) {
    std::uint8_t* const to = alpha.data() + columns.first;
    if (mPicture.hasAlpha && mPicture.depth == 8) {
        readRow(frame, colours, y, columns, to);
    } else if (mPicture.hasAlpha) {
        readRow(frame, colours, y, columns, mDeepAlpha.data());
        const std::uint16_t* from = mDeepAlpha.data();
        const int depth = mPicture.depth;
        const unsigned full = (1U << depth) - 1;
        for (int x = 0; x < columns.count; ++x) {
            const unsigned value = from[x] * opaque + full / 2;
            to[x] =
                static_cast<std::uint8_t>((value + 1 + (value >> depth)) >> depth); // value / full
        }
    }
    return to;
}

const float* YuvToWorld::readAlpha(const AVFrame& frame, int y, Columns columns,
                                   std::vector<float>& alpha) {
    float* const to = alpha.data() + columns.first;
    if (mPicture.hasAlpha && mPicture.depth == 8) {
        readRow(frame, colours, y, columns, mAlpha.data());
        toFloats(mAlpha.data(), columns.count, to);
    } else if (mPicture.hasAlpha) {
        readRow(frame, colours, y, columns, mDeepAlpha.data());
        toFloats(mDeepAlpha.data(), columns.count, 0, (1 << mPicture.depth) - 1, to);
    }
    return to;
}

WorldToYuv::WorldToYuv(const PixelLayout& layout, PF_PixelFormat worlds, bool dithers,
                       bool cutsRange)
    : mPicture(layout),
      mGraph(rgbFormat(layout, worlds), yuvFormat(layout),
             dithers && worlds != PF_PixelFormat_ARGB32 && mPicture.depth == 8),
      mLeast(cutsRange ? 0.0F : -farthest),
      mMost(cutsRange ? 1.0F : farthest),
      mAlpha(static_cast<std::size_t>(layout.width)),
      mDeepAlpha(mPicture.hasAlpha ? mAlpha.size() : 0),
      mFloatAlpha(mAlpha.size()) {}

void WorldToYuv::convert(const World& world, AVFrame& frame) {
    prepareForRows(frame);
    mGraph.run(
        [&](int y, int left, int right) {
            if (world.format() == PF_PixelFormat_ARGB32) {
                fill<std::uint8_t>(world, y, left, right);
            } else {
                fill<float>(world, y, left, right);
            }
        },
        [&](int y, int left, int right) {
            if (mPicture.depth == 8) {
                take<std::uint8_t>(world, frame, y, left, right);
            } else {
                take<std::uint16_t>(world, frame, y, left, right);
            }
        });
}

template <typename Value>
void WorldToYuv::fill(const World& world, int y, int left, int right) {
    const Columns columns = shownColumns(left, right, mPicture.width);
    std::array<Value*, channels> rows{};
    if constexpr (sizeof(Value) == 1) {
        rows[0] = mAlpha.data();
    } else {
        rows[0] = mFloatAlpha.data();
    }
    for (int plane = 0; plane < colours; ++plane) {
        rows[static_cast<std::size_t>(plane) + 1] =
            mGraph.input().row<Value>(plane, y) + columns.first;
    }
    separate(pixelsOf<Value>(world, mirrored(y, mPicture.height), columns.first), columns.count,
             rows);
    for (int plane = 0; plane < colours; ++plane) {
        if constexpr (sizeof(Value) > 1) {
            cut(rows[static_cast<std::size_t>(plane) + 1], columns.count, mLeast, mMost);
        }
        mirrorColumns(mGraph.input().row<Value>(plane, y), mPicture.width, right);
    }
}

template <typename Value>
void WorldToYuv::writeAlpha(const World& world, AVFrame& frame, int y, Columns columns) {
    Value* to = nullptr;
    if constexpr (sizeof(Value) == 1) {
        to = mAlpha.data();
    } else {
        to = mDeepAlpha.data();
    }
    const unsigned full = (1U << mPicture.depth) - 1;
    if (world.format() == PF_PixelFormat_ARGB32) {
        const std::uint8_t* from = pixelsOf<std::uint8_t>(world, y, columns.first);
        for (int x = 0; x < columns.count; ++x) {
            to[x] = static_cast<Value>((from[std::ptrdiff_t{x} * channels] * full + opaque / 2) /
                                       opaque);
        }
    } else {
        const float* from = pixelsOf<float>(world, y, columns.first);
        for (int x = 0; x < columns.count; ++x) {
            mFloatAlpha[static_cast<std::size_t>(x)] = from[std::ptrdiff_t{x} * channels];
        }
        if constexpr (sizeof(Value) == 1) {
            toLevels(mFloatAlpha.data(), columns.count, to);
        } else {
            toLevels(mFloatAlpha.data(), columns.count, full, to);
        }
    }
    writeRow(to, frame, mPicture.planes, y, columns);
}

template <typename Value>
void WorldToYuv::take(const World& world, AVFrame& frame, int y, int left, int right) {
    for (int plane = 0; plane < mPicture.planes; ++plane) {
        const int shiftX = plane == 0 ? 0 : mPicture.shiftX;
        const int shiftY = plane == 0 ? 0 : mPicture.shiftY;
        const int first = left >> shiftX;
        const int last = reduced(std::min(right, mPicture.width), shiftX);
        const int end = reduced(std::min(y + (1 << mPicture.shiftY), mPicture.height), shiftY);
        for (int line = y >> shiftY; first < last && line < end; ++line) {
            const Columns columns{first, last - first};
            writeRow(mGraph.output().row<const Value>(plane, line) + first, frame, plane, line,
                     columns);
            if (plane == 0 && mPicture.hasAlpha) {
                writeAlpha<Value>(world, frame, line, columns);
            }
        }
    }
}

} // namespace Vexorel::PrismDrift::Host
