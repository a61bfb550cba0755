#include "Host/Media/PixelConversion.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

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

void convertPalette(const AVFrame& frame, World& world) {
    const std::uint8_t* palette = frame.data[1]; // 256 of 0xAARRGGBB, in the processor's order
    for (int y = 0; y < frame.height; ++y) {
        const std::uint8_t* from = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
        std::uint8_t* to = world.row(y);
        for (int x = 0; x < frame.width; ++x, to += channels) {
            std::uint32_t color = 0;
            std::memcpy(&color, palette + std::size_t{from[x]} * sizeof color, sizeof color);
            for (unsigned channel = 0; channel < channels; ++channel) {
                to[channel] = static_cast<std::uint8_t>(color >> (24 - 8 * channel));
            }
        }
    }
}

// What each value of a component of `depth` bits becomes in 8.
std::vector<std::uint8_t> tableFor(int depth, bool inverted) {
    const std::uint32_t full = (1U << depth) - 1;
    std::vector<std::uint8_t> table(full + 1);
    for (std::uint32_t value = 0; value <= full; ++value) {
        const std::uint32_t shown = inverted ? full - value : value;
        table[value] = static_cast<std::uint8_t>((shown * 255 + full / 2) / full);
    }
    return table;
}

// The component that a world's channel comes from: gray serves for three of them.
int componentOf(const AVPixFmtDescriptor& descriptor, int channel) {
    const bool alpha = (descriptor.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    if (channel == 0) {
        return alpha ? descriptor.nb_components - 1 : -1;
    }
    return descriptor.nb_components < 3 ? 0 : channel - 1;
}

// Whether a component is a byte of its own, as it is.
bool isPlainByte(const AVComponentDescriptor& component, const AVPixFmtDescriptor& descriptor) {
    return component.depth == 8 && component.shift == 0 &&
           (descriptor.flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_PAL)) == 0;
}

void copyBytes(const std::uint8_t* from, int step, std::uint8_t* to, int count) {
    for (int x = 0; x < count; ++x) {
        *to = *from;
        from += step;
        to += channels;
    }
}

void convertComponents(const AVFrame& frame, const AVPixFmtDescriptor& descriptor, World& world) {
    const bool inverted = frame.format == AV_PIX_FMT_MONOWHITE;
    std::array<std::vector<std::uint8_t>, channels> tables;
    for (int channel = 0; channel < 4; ++channel) {
        const int component = componentOf(descriptor, channel);
        if (component >= 0) {
            tables[static_cast<std::size_t>(channel)] =
                tableFor(descriptor.comp[component].depth, inverted);
        }
    }
    std::vector<std::uint16_t> line(static_cast<std::size_t>(frame.width));
    std::array<const std::uint8_t*, 4> planes{};
    std::copy_n(frame.data, 4, planes.begin());
    for (int y = 0; y < frame.height; ++y) {
        for (int channel = 0; channel < 4; ++channel) {
            const int component = componentOf(descriptor, channel);
            std::uint8_t* to = world.row(y) + channel;
            if (component < 0) {
                for (int x = 0; x < frame.width; ++x, to += channels) {
                    *to = 255;
                }
                continue;
            }
            const AVComponentDescriptor& place = descriptor.comp[component];
            if (isPlainByte(place, descriptor)) {
                copyBytes(frame.data[place.plane] +
                              std::ptrdiff_t{y} * frame.linesize[place.plane] + place.offset,
                          place.step, to, frame.width);
                continue;
            }
            av_read_image_line2(line.data(), planes.data(), frame.linesize, &descriptor, 0, y,
                                component, frame.width, 0, sizeof line[0]);
            const std::vector<std::uint8_t>& table = tables[static_cast<std::size_t>(channel)];
            for (const std::uint16_t value : line) {
                *to = table[value];
                to += channels;
            }
        }
    }
}

// The formats that carry their range in their name, and the plain ones for them.
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

const int* coefficientsOf(AVColorSpace space) {
    return sws_getCoefficients(space == AVCOL_SPC_UNSPECIFIED || space == AVCOL_SPC_RGB
                                   ? SWS_CS_DEFAULT
                                   : static_cast<int>(space));
}

void fillPacked(const World& world, const AVPixFmtDescriptor& descriptor, AVFrame& frame) {
    for (int y = 0; y < frame.height; ++y) {
        const std::uint8_t* from = world.row(y);
        std::uint8_t* to = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
        if (descriptor.comp[0].step > descriptor.nb_components) { // a byte that means nothing
            std::memset(to, 255, std::size_t(frame.width) * std::size_t(descriptor.comp[0].step));
        }
        for (int x = 0; x < frame.width; ++x) {
            for (int component = 0; component < descriptor.nb_components; ++component) {
                to[descriptor.comp[component].offset] =
                    from[(static_cast<std::size_t>(component) + 1) % channels];
            }
            from += channels;
            to += descriptor.comp[0].step;
        }
    }
}

// The formats that are taken apart here, without the scaler.
bool isConvertedExactly(const AVFrame& frame, const AVPixFmtDescriptor& descriptor) {
    const bool gray = descriptor.nb_components < 3 && frame.color_range != AVCOL_RANGE_MPEG;
    const bool rgb = (descriptor.flags & AV_PIX_FMT_FLAG_RGB) != 0;
    const bool odd = (descriptor.flags & (AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER)) != 0 ||
                     descriptor.comp[0].depth > 16;
    return (gray || rgb) && !odd;
}

} // namespace

SwsContext* PixelConverter::scalerFor(const Scaling& scaling) {
    if (mScaler == nullptr || !(scaling == mScaling)) {
        mScaler = owned(sws_getContext(scaling.width, scaling.height, scaling.from, scaling.width,
                                       scaling.height, scaling.to, scalerFlags, nullptr, nullptr,
                                       nullptr));
        mScaling = scaling;
        const bool toWorld = scaling.to == AV_PIX_FMT_ARGB;
        const int* plain = sws_getCoefficients(SWS_CS_DEFAULT);
        const int* other = coefficientsOf(scaling.matrix);
        const int full = scaling.full ? 1 : 0;
        sws_setColorspaceDetails(mScaler.get(), toWorld ? other : plain, toWorld ? full : 1,
                                 toWorld ? plain : other, toWorld ? 1 : full, 0, 1 << 16, 1 << 16);
    }
    return mScaler.get();
}

void PixelConverter::toWorld(const AVFrame& frame, World& world) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    const AVPixelFormat plain = withoutRange(format);
    if (descriptor == nullptr || (descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) != 0 ||
        (!isConvertedExactly(frame, *descriptor) && sws_isSupportedInput(plain) == 0)) {
        throw Error(std::string("its pixel format ") +
                    (descriptor != nullptr ? descriptor->name : "?") + " is not supported");
    }
    if (format == AV_PIX_FMT_PAL8) {
        convertPalette(frame, world);
    } else if (isConvertedExactly(frame, *descriptor)) {
        convertComponents(frame, *descriptor, world);
    } else {
        const bool full = plain != format || frame.color_range == AVCOL_RANGE_JPEG;
        SwsContext* scaler =
            scalerFor({frame.width, frame.height, plain, AV_PIX_FMT_ARGB, frame.colorspace, full});
        std::uint8_t* const rows[] = {world.row(0)};
        const int strides[] = {static_cast<int>(world.rowBytes())};
        sws_scale(scaler, frame.data, frame.linesize, 0, frame.height, rows, strides);
    }
}

void PixelConverter::fromWorld(const World& world, AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    if (isPackedRgb(format) || format == AV_PIX_FMT_BGR0) {
        fillPacked(world, *av_pix_fmt_desc_get(format), frame);
        return;
    }
    SwsContext* scaler = scalerFor({frame.width, frame.height, AV_PIX_FMT_ARGB, format,
                                    frame.colorspace, frame.color_range == AVCOL_RANGE_JPEG});
    const std::uint8_t* const rows[] = {world.row(0)};
    const int strides[] = {static_cast<int>(world.rowBytes())};
    sws_scale(scaler, rows, strides, 0, frame.height, frame.data, frame.linesize);
}

World worldFromFrame(const AVFrame& frame) {
    World world(frame.width, frame.height);
    PixelConverter().toWorld(frame, world);
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
    PixelConverter().fromWorld(world, *frame);
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

bool isPackedRgb(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    return descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0 &&
           (descriptor->flags & AV_PIX_FMT_FLAG_PLANAR) == 0 && descriptor->nb_components >= 3 &&
           descriptor->comp[0].depth == 8 && descriptor->comp[0].step == descriptor->nb_components;
}

bool carriesAlpha(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    return descriptor != nullptr &&
           ((descriptor->flags & AV_PIX_FMT_FLAG_ALPHA) != 0 || format == AV_PIX_FMT_PAL8);
}

int depthOf(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    int depth = 0;
    for (int i = 0; descriptor != nullptr && i < descriptor->nb_components; ++i) {
        depth = std::max(depth, descriptor->comp[i].depth);
    }
    return depth;
}

} // namespace Vexorel::PrismDrift::Host
