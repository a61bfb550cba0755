#include "Host/Media/PixelConversion.h"

#include "Host/Library/Error.h"
#include "Host/Media/PixelFormats.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

// Nothing rounded twice, chroma in full resolution, the same on every processor.
constexpr int scalerFlags =
    SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT;

// A world's pixel in memory: alpha, red, green, blue.
constexpr std::size_t channels = 4;

// The values of 8 bits for those of a component of `depth` bits.
std::vector<std::uint8_t> valuesFor(int depth, bool isInverted) {
    const std::uint32_t full = (1U << depth) - 1;
    std::vector<std::uint8_t> values(full + 1);
    for (std::uint32_t value = 0; value <= full; ++value) {
        const std::uint32_t shown = isInverted ? full - value : value;
        values[value] = static_cast<std::uint8_t>((shown * 255 + full / 2) / full);
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

bool isPlainByte(const AVComponentDescriptor& component, const AVPixFmtDescriptor& descriptor) {
    return component.depth == 8 && component.shift == 0 &&
           (descriptor.flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_PAL)) == 0;
}

// The format without a range, for one that has the full range by its name.
AVPixelFormat withoutRange(AVPixelFormat format) {
    switch (format) {
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    default:
        return format;
    }
}

const int* coefficientsOf(AVColorSpace matrix) {
    return sws_getCoefficients(matrix == AVCOL_SPC_UNSPECIFIED || matrix == AVCOL_SPC_RGB
                                   ? SWS_CS_DEFAULT
                                   : static_cast<int>(matrix));
}

// The scaler takes the matrices that it doesn't know for BT.601's, and constant luminance for the
// other kind.
void refuseUnknownMatrix(AVColorSpace matrix, const AVPixFmtDescriptor& descriptor) {
    const bool isYuv =
        (descriptor.flags & AV_PIX_FMT_FLAG_RGB) == 0 && descriptor.nb_components >= 3;
    if (isYuv && (matrix == AVCOL_SPC_YCGCO || matrix >= AVCOL_SPC_BT2020_CL)) {
        throw Error(std::string("its colours are coded by the matrix ") +
                    av_color_space_name(matrix) + ", which isn't read");
    }
}

// Whether the format is taken apart here, without the scaler.
bool isExact(const PixelLayout& layout, const AVPixFmtDescriptor& descriptor) {
    const bool isGray = descriptor.nb_components < 3 && layout.range != AVCOL_RANGE_MPEG;
    const bool isRgb = (descriptor.flags & AV_PIX_FMT_FLAG_RGB) != 0;
    const bool isOther =
        (descriptor.flags & (AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER)) != 0 ||
        descriptor.comp[0].depth > 16;
    return (isGray || isRgb) && !isOther;
}

// Between a frame of this layout and a world, in this direction.
FFmpegPtr<SwsContext> newScaler(const PixelLayout& layout, bool toWorld) {
    const AVPixelFormat plain = withoutRange(layout.format);
    const AVPixelFormat from = toWorld ? plain : AV_PIX_FMT_ARGB;
    const AVPixelFormat to = toWorld ? AV_PIX_FMT_ARGB : plain;
    auto scaler = owned(sws_getContext(layout.width, layout.height, from, layout.width,
                                       layout.height, to, scalerFlags, nullptr, nullptr, nullptr));
    const int* worlds = sws_getCoefficients(SWS_CS_DEFAULT);
    const int* frames = coefficientsOf(layout.matrix);
    // A new frame has the range that its layout says, whatever its format's name says.
    const bool isFullByName = toWorld && plain != layout.format;
    const int full = isFullByName || layout.range == AVCOL_RANGE_JPEG ? 1 : 0;
    constexpr int one = 1 << 16; // in the scaler's fixed point
    checkResult(sws_setColorspaceDetails(scaler.get(), toWorld ? frames : worlds,
                                         toWorld ? full : 1, toWorld ? worlds : frames,
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

PixelLayout layoutOf(const AVFrame& frame) {
    return {frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
            knownOr(AVCOL_SPC_UNSPECIFIED, frame.colorspace, AVCOL_SPC_NB),
            knownOr(AVCOL_RANGE_UNSPECIFIED, frame.color_range, AVCOL_RANGE_NB)};
}

FrameToWorld::FrameToWorld(const PixelLayout& layout)
    : mLayout(layout), mDescriptor(av_pix_fmt_desc_get(layout.format)) {
    const bool isKnown =
        mDescriptor != nullptr && (mDescriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0;
    if (isKnown && isExact(layout, *mDescriptor)) {
        for (std::size_t i = 0; i < channels && layout.format != AV_PIX_FMT_PAL8; ++i) {
            Channel& channel = mChannels[i];
            channel.component = componentOf(*mDescriptor, i);
            const AVComponentDescriptor& component =
                mDescriptor->comp[std::max(0, channel.component)];
            if (!isPlainByte(component, *mDescriptor)) {
                channel.values = valuesFor(component.depth, layout.format == AV_PIX_FMT_MONOWHITE);
            }
        }
    } else if (isKnown && sws_isSupportedInput(withoutRange(layout.format)) != 0) {
        refuseUnknownMatrix(layout.matrix, *mDescriptor);
        mScaler = newScaler(layout, true);
    } else {
        throw Error(std::string("its pixel format ") +
                    (mDescriptor != nullptr ? mDescriptor->name : "?") + " is not supported");
    }
}

void FrameToWorld::convert(const AVFrame& frame, World& world) const {
    if (mScaler != nullptr) {
        std::uint8_t* const rows[] = {world.row(0)};
        const int strides[] = {static_cast<int>(world.rowBytes())};
        checkRows(
            sws_scale(mScaler.get(), frame.data, frame.linesize, 0, frame.height, rows, strides),
            frame.height);
    } else if (mLayout.format == AV_PIX_FMT_PAL8) {
        convertPalette(frame, world);
    } else {
        for (int y = 0; y < frame.height; ++y) {
            for (std::size_t channel = 0; channel < channels; ++channel) {
                convertRow(frame, y, channel, world.row(y) + channel);
            }
        }
    }
}

void FrameToWorld::convertRow(const AVFrame& frame, int y, std::size_t channel,
                              std::uint8_t* to) const {
    const auto& [component, values] = mChannels[channel];
    if (component < 0) {
        for (int x = 0; x < frame.width; ++x, to += channels) {
            *to = 255;
        }
        return;
    }
    if (values.empty()) {
        const AVComponentDescriptor& place = mDescriptor->comp[component];
        const std::uint8_t* from = frame.data[place.plane] +
                                   std::ptrdiff_t{y} * frame.linesize[place.plane] + place.offset;
        for (int x = 0; x < frame.width; ++x, from += place.step, to += channels) {
            *to = *from;
        }
        return;
    }
    std::vector<std::uint16_t> line(static_cast<std::size_t>(frame.width));
    std::array<const std::uint8_t*, 4> planes{};
    std::copy_n(frame.data, planes.size(), planes.begin());
    av_read_image_line2(line.data(), planes.data(), frame.linesize, mDescriptor, 0, y, component,
                        frame.width, 0, sizeof line[0]);
    for (const std::uint16_t value : line) {
        *to = values[value];
        to += channels;
    }
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
    if (!isPackedRgb(layout.format) && layout.format != AV_PIX_FMT_BGR0) {
        mScaler = newScaler(layout, false);
        return;
    }
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(layout.format);
    mPixelBytes = descriptor.comp[0].step;
    for (int i = 0; i < descriptor.nb_components; ++i) {
        mOffsets.push_back(descriptor.comp[i].offset);
    }
}

void WorldToFrame::convert(const World& world, AVFrame& frame) const {
    if (mScaler != nullptr) {
        const std::uint8_t* const rows[] = {world.row(0)};
        const int strides[] = {static_cast<int>(world.rowBytes())};
        checkRows(
            sws_scale(mScaler.get(), rows, strides, 0, mLayout.height, frame.data, frame.linesize),
            mLayout.height);
        return;
    }
    for (int y = 0; y < mLayout.height; ++y) {
        const std::uint8_t* from = world.row(y);
        std::uint8_t* to = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
        if (static_cast<std::size_t>(mPixelBytes) > mOffsets.size()) { // a byte without a meaning
            std::memset(to, 255, std::size_t(mLayout.width) * std::size_t(mPixelBytes));
        }
        for (int x = 0; x < mLayout.width; ++x) {
            for (std::size_t i = 0; i < mOffsets.size(); ++i) {
                to[mOffsets[i]] = from[(i + 1) % channels];
            }
            from += channels;
            to += mPixelBytes;
        }
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
        for (int x = 0; x < world.width(); ++x) {
            if (row[static_cast<std::size_t>(x) * channels] != 255) {
                return true;
            }
        }
    }
    return false;
}

} // namespace Vexorel::PrismDrift::Host
