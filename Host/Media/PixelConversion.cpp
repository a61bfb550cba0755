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

const int* matrixOf(const AVFrame& frame) {
    const AVColorSpace space = frame.colorspace;
    return sws_getCoefficients(space == AVCOL_SPC_UNSPECIFIED || space == AVCOL_SPC_RGB
                                   ? SWS_CS_DEFAULT
                                   : static_cast<int>(space));
}

FFmpegPtr<SwsContext> scaler(int width, int height, AVPixelFormat from, AVPixelFormat to) {
    return owned(sws_getContext(width, height, from, width, height, to, scalerFlags, nullptr,
                                nullptr, nullptr));
}

void convertScaled(const AVFrame& frame, World& world) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixelFormat plain = withoutRange(format);
    if (sws_isSupportedInput(plain) == 0) {
        const char* name = av_get_pix_fmt_name(format);
        throw Error(std::string("its pixel format ") + (name != nullptr ? name : "?") +
                    " is not supported");
    }
    const auto context = scaler(frame.width, frame.height, plain, AV_PIX_FMT_ARGB);
    const bool full = plain != format || frame.color_range == AVCOL_RANGE_JPEG;
    sws_setColorspaceDetails(context.get(), matrixOf(frame), full ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    std::uint8_t* const rows[] = {world.row(0)};
    const int strides[] = {static_cast<int>(world.rowBytes())};
    sws_scale(context.get(), frame.data, frame.linesize, 0, frame.height, rows, strides);
}

void fillPacked(const World& world, const AVPixFmtDescriptor& descriptor, AVFrame& frame) {
    for (int y = 0; y < frame.height; ++y) {
        const std::uint8_t* from = world.row(y);
        std::uint8_t* to = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
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

void fillScaled(const World& world, AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const auto context = scaler(frame.width, frame.height, AV_PIX_FMT_ARGB, format);
    sws_setColorspaceDetails(context.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1,
                             sws_getCoefficients(SWS_CS_ITU601), 1, 0, 1 << 16, 1 << 16);
    const std::uint8_t* const rows[] = {world.row(0)};
    const int strides[] = {static_cast<int>(world.rowBytes())};
    sws_scale(context.get(), rows, strides, 0, frame.height, frame.data, frame.linesize);
    frame.color_range = AVCOL_RANGE_JPEG;
    frame.colorspace = AVCOL_SPC_BT470BG;
}

} // namespace

World worldFromFrame(const AVFrame& frame) {
    World world(frame.width, frame.height);
    const AVPixFmtDescriptor* descriptor =
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (descriptor == nullptr || (descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) != 0) {
        throw Error("its pixel format is not supported");
    }
    const bool gray = descriptor->nb_components < 3 && frame.color_range != AVCOL_RANGE_MPEG;
    const bool rgb = (descriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    const bool odd = (descriptor->flags & (AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER)) != 0 ||
                     descriptor->comp[0].depth > 16;
    if (frame.format == AV_PIX_FMT_PAL8) {
        convertPalette(frame, world);
    } else if ((gray || rgb) && !odd) {
        convertComponents(frame, *descriptor, world);
    } else {
        convertScaled(frame, world);
    }
    return world;
}

FFmpegPtr<AVFrame> frameFromWorld(const World& world, AVPixelFormat format) {
    auto frame = owned(av_frame_alloc());
    frame->format = format;
    frame->width = world.width();
    frame->height = world.height();
    if (av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::bad_alloc();
    }
    if (isPackedRgb(format)) {
        fillPacked(world, *av_pix_fmt_desc_get(format), *frame);
    } else {
        fillScaled(world, *frame);
    }
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

} // namespace Vexorel::PrismDrift::Host
