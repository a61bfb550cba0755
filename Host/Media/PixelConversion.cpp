#include "Host/Media/PixelConversion.h"

#include "Host/Library/Error.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/PixelRows.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

// Nothing rounded twice, the same on every processor.
constexpr int scalerFlags =
    SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT;

// A world's pixel in memory: alpha, red, green, blue.
constexpr std::size_t channels = 4;
constexpr std::uint8_t opaque = 255;

// The values of 8 bits for those of a component of `depth` bits.
std::vector<std::uint8_t> valuesFor(int depth, bool isInverted, bool isLimited) {
    const int full = (1 << depth) - 1;
    const int black = isLimited ? 16 << (depth - 8) : 0;
    const int range = isLimited ? 219 << (depth - 8) : full;
    std::vector<std::uint8_t> values(static_cast<std::size_t>(full) + 1);
    for (int value = 0; value <= full; ++value) {
        const int shown = std::clamp((isInverted ? full - value : value) - black, 0, range);
        values[static_cast<std::size_t>(value)] =
            static_cast<std::uint8_t>((shown * opaque + range / 2) / range);
    }
    return values;
}

// The component that a world's channel comes from, -1 for none. Gray is red, green and blue.
int componentOf(const AVPixFmtDescriptor& descriptor, std::size_t channel) {
    if (channel == 0) {
        const bool hasAlpha = (descriptor.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
        return hasAlpha ? descriptor.nb_components - 1 : -1;
    }
    return descriptor.nb_components < 3 ? 0 : static_cast<int>(channel) - 1;
}

// Constant luminance and the like, which take more than a matrix.
void refuseOtherKinds(AVColorSpace matrix) {
    if (matrix == AVCOL_SPC_YCGCO || matrix >= AVCOL_SPC_BT2020_CL) {
        throw Error(std::string("its colours are coded by the matrix ") +
                    av_color_space_name(matrix) + ", which isn't read");
    }
}

// Whether the format is taken apart here, value by value: gray, RGB and a palette.
bool isTakenApart(const AVPixFmtDescriptor& descriptor) {
    const bool isRgb = (descriptor.flags & AV_PIX_FMT_FLAG_RGB) != 0;
    const bool isOther =
        (descriptor.flags & (AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER)) != 0 ||
        descriptor.comp[0].depth > 16;
    return (descriptor.nb_components < 3 || isRgb) && !isOther;
}

// Between a frame of this layout and a world, in this direction.
FFmpegPtr<SwsContext> newScaler(const PixelLayout& layout, bool toWorld) {
    const AVPixelFormat from = toWorld ? layout.format : AV_PIX_FMT_ARGB;
    const AVPixelFormat to = toWorld ? AV_PIX_FMT_ARGB : layout.format;
    auto scaler = owned(sws_getContext(layout.width, layout.height, from, layout.width,
                                       layout.height, to, scalerFlags, nullptr, nullptr, nullptr));
    const int* matrix = sws_getCoefficients(SWS_CS_DEFAULT);
    const bool isGray = av_pix_fmt_desc_get(layout.format)->nb_components < 3; // in floats
    const bool isFull =
        layout.range == AVCOL_RANGE_JPEG || (isGray && layout.range != AVCOL_RANGE_MPEG);
    const int full = isFull ? 1 : 0;
    constexpr int one = 1 << 16; // in the scaler's fixed point
    checkResult(sws_setColorspaceDetails(scaler.get(), matrix, toWorld ? full : 1, matrix,
                                         toWorld ? 1 : full, 0, one, one));
    return scaler;
}

// The scaler gives the number of rows that it has filled.
void checkRows(int rows, int height) {
    checkResult(rows);
    if (rows != height) {
        throw Error("the pixels can't be converted");
    }
}

} // namespace

FrameToWorld::FrameToWorld(const PixelLayout& layout) : mLayout(layout) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(layout.format);
    const bool isKnown =
        descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0;
    if (isKnown && isReadAsYuv(layout.format)) {
        refuseOtherKinds(layout.matrix);
        mYuv.emplace(layout);
    } else if (isKnown && isTakenApart(*descriptor)) {
        prepareChannels();
    } else if (isKnown && sws_isSupportedInput(layout.format) != 0) {
        mScaler = newScaler(layout, true);
    } else {
        throw Error(std::string("its pixel format ") +
                    (descriptor != nullptr ? descriptor->name : "?") + " is not supported");
    }
}

void FrameToWorld::prepareChannels() {
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(mLayout.format);
    mLine.resize(static_cast<std::size_t>(mLayout.width));
    for (std::size_t i = 0; i < channels && mLayout.format != AV_PIX_FMT_PAL8; ++i) {
        Channel& channel = mChannels[i];
        channel.component = componentOf(descriptor, i);
        channel.row.resize(mLine.size(), opaque);
        const int component = std::max(0, channel.component);
        const bool isLimited =
            descriptor.nb_components < 3 && i > 0 && mLayout.range == AVCOL_RANGE_MPEG;
        if (!isPlainByte(descriptor, component) || isLimited) {
            channel.values = valuesFor(descriptor.comp[component].depth,
                                       mLayout.format == AV_PIX_FMT_MONOWHITE, isLimited);
        }
    }
}

void FrameToWorld::convert(const AVFrame& frame, World& world) {
    if (mYuv) {
        mYuv->convert(frame, world);
    } else if (mScaler != nullptr) {
        std::uint8_t* const rows[] = {world.row(0)};
        const int strides[] = {static_cast<int>(world.rowBytes())};
        checkRows(
            sws_scale(mScaler.get(), frame.data, frame.linesize, 0, frame.height, rows, strides),
            frame.height);
    } else if (mLayout.format == AV_PIX_FMT_PAL8) {
        convertPalette(frame, world);
    } else {
        for (int y = 0; y < frame.height; ++y) {
            convertRow(frame, y, world.row(y));
        }
    }
}

void FrameToWorld::convertRow(const AVFrame& frame, int y, std::uint8_t* to) {
    std::array<const std::uint8_t*, channels> rows{};
    for (std::size_t i = 0; i < channels; ++i) {
        auto& [component, values, row] = mChannels[i];
        rows[i] = row.data();
        if (i > 1 && component == mChannels[i - 1].component) { // gray
            rows[i] = rows[i - 1];
        } else if (component >= 0 && values.empty()) {
            readRow(frame, component, y, {0, frame.width}, row.data());
        } else if (component >= 0) {
            readRow(frame, component, y, {0, frame.width}, mLine.data());
            for (std::size_t x = 0; x < row.size(); ++x) {
                row[x] = values[mLine[x]];
            }
        }
    }
    interleave(rows, frame.width, to);
}

void FrameToWorld::convertPalette(const AVFrame& frame, World& world) const {
    const std::uint8_t* palette = frame.data[1]; // 256 of 0xAARRGGBB, in the processor's order
    for (int y = 0; y < mLayout.height; ++y) {
        const std::uint8_t* from = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
        std::uint8_t* to = world.row(y);
        for (int x = 0; x < mLayout.width; ++x, to += channels) {
            std::uint32_t color = 0;
            std::memcpy(&color, palette + std::size_t{from[x]} * sizeof color, sizeof color);
            for (unsigned channel = 0; channel < channels; ++channel) {
                to[channel] = static_cast<std::uint8_t>(color >> (24 - 8 * channel));
            }
        }
    }
}

WorldToFrame::WorldToFrame(const PixelLayout& layout) : mLayout(layout) {
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(layout.format);
    if (isWrittenAsYuv(layout.format)) {
        mYuv.emplace(layout);
    } else if (isTakenApart(descriptor) && descriptor.comp[0].depth >= 8) {
        prepareRows();
    } else {
        mScaler = newScaler(layout, false);
    }
}

void WorldToFrame::prepareRows() {
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(mLayout.format);
    mLine.resize(static_cast<std::size_t>(mLayout.width));
    for (std::vector<std::uint8_t>& row : mRows) {
        row.resize(mLine.size(), opaque);
    }
    if (descriptor.comp[0].step > static_cast<int>(channels) || !isPlainByte(descriptor, 0) ||
        (descriptor.flags & AV_PIX_FMT_FLAG_PLANAR) != 0) {
        return;
    }
    for (int byte = 0; byte < descriptor.comp[0].step; ++byte) {
        mPackedRows[static_cast<std::size_t>(byte)] = mRows[channels].data();
    }
    for (std::size_t i = 0; i < descriptor.nb_components; ++i) {
        mPackedRows[static_cast<std::size_t>(descriptor.comp[i].offset)] =
            mRows[(i + 1) % channels].data();
    }
}

void WorldToFrame::convert(const World& world, AVFrame& frame) {
    if (mYuv) {
        mYuv->convert(world, frame);
        return;
    }
    if (mScaler != nullptr) {
        const std::uint8_t* const rows[] = {world.row(0)};
        const int strides[] = {static_cast<int>(world.rowBytes())};
        checkRows(
            sws_scale(mScaler.get(), rows, strides, 0, mLayout.height, frame.data, frame.linesize),
            mLayout.height);
        return;
    }
    prepareForRows(frame);
    for (int y = 0; y < mLayout.height; ++y) {
        convertRow(world, y, frame);
    }
}

void WorldToFrame::convertRow(const World& world, int y, AVFrame& frame) {
    separate(world.row(y), mLayout.width,
             {mRows[0].data(), mRows[1].data(), mRows[2].data(), mRows[3].data()});
    if (mPackedRows[0] != nullptr) {
        interleave(mPackedRows, mLayout.width,
                   frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0]);
        return;
    }
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(mLayout.format);
    for (int i = 0; i < descriptor.nb_components; ++i) {
        const std::vector<std::uint8_t>& row = mRows[(static_cast<std::size_t>(i) + 1) % channels];
        if (isPlainByte(descriptor, i)) {
            writeRow(row.data(), frame, i, y, {0, mLayout.width});
            continue;
        }
        const unsigned full = (1U << descriptor.comp[i].depth) - 1;
        for (std::size_t x = 0; x < row.size(); ++x) {
            mLine[x] = static_cast<std::uint16_t>((row[x] * full + opaque / 2) / opaque);
        }
        writeRow(mLine.data(), frame, i, y, {0, mLayout.width});
    }
}

World worldFromFrame(const AVFrame& frame) {
    World world(frame.width, frame.height);
    FrameToWorld(layoutOf(frame)).convert(frame, world);
    return world;
}

FFmpegPtr<AVFrame> newFrame(int width, int height, AVPixelFormat format) {
    auto frame = owned(av_frame_alloc());
    frame->format = format;
    frame->width = width;
    frame->height = height;
    if (av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    return frame;
}

FFmpegPtr<AVFrame> frameFromWorld(const World& world, AVPixelFormat format) {
    auto frame = newFrame(world.width(), world.height(), format);
    if (!isPackedRgb(format)) {
        frame->color_range = AVCOL_RANGE_JPEG;
        frame->colorspace = AVCOL_SPC_BT470BG;
    }
    WorldToFrame(layoutOf(*frame)).convert(world, *frame);
    return frame;
}

bool hasAlpha(const World& world) {
    for (int y = 0; y < world.height(); ++y) {
        const std::uint8_t* row = world.row(y);
        std::uint8_t all = opaque;
        for (int x = 0; x < world.width(); ++x) {
            all &= row[static_cast<std::size_t>(x) * channels];
        }
        if (all != opaque) {
            return true;
        }
    }
    return false;
}

} // namespace Vexorel::PrismDrift::Host
