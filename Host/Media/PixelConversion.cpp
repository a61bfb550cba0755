#include "Host/Media/PixelConversion.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <bit>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

// Nothing rounded twice, the same on every processor.
constexpr int scalerFlags =
    SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT;

// What floats go through on their way from or to the scaler, in the processor's order.
constexpr AVPixelFormat deepFormat =
    std::endian::native == std::endian::little ? AV_PIX_FMT_RGBA64LE : AV_PIX_FMT_RGBA64BE;

// Constant luminance and the like, which take more than a matrix.
void refuseOtherKinds(AVColorSpace matrix) {
    if (matrix == AVCOL_SPC_YCGCO || matrix >= AVCOL_SPC_BT2020_CL) {
        throw Error(std::string("its colours are coded by the matrix ") +
                    av_color_space_name(matrix) + ", which isn't read");
    }
}

void refuseOtherWorlds(PF_PixelFormat worlds) {
    if (worlds != PF_PixelFormat_ARGB32 && worlds != PF_PixelFormat_ARGB128) {
        throw Error("only worlds of 8 bits and of floats are converted");
    }
}

// Between a frame of this layout and a world, or a deep frame, in this direction.
FFmpegPtr<SwsContext> newScaler(const PixelLayout& layout, AVPixelFormat inner, bool toWorld) {
    const AVPixelFormat from = toWorld ? layout.format : inner;
    const AVPixelFormat to = toWorld ? inner : layout.format;
    auto scaler = owned(sws_getContext(layout.width, layout.height, from, layout.width,
                                       layout.height, to, scalerFlags, nullptr, nullptr, nullptr));
    const int* matrix = sws_getCoefficients(SWS_CS_DEFAULT);
    const int full = layout.range == AVCOL_RANGE_JPEG ? 1 : 0;
    constexpr int one = 1 << 16; // in the scaler's fixed point
    checkResult(sws_setColorspaceDetails(scaler.get(), matrix, toWorld ? full : 1, matrix,
                                         toWorld ? 1 : full, 0, one, one));
    return scaler;
}

template <typename Scaling>
Scaling newScaling(const PixelLayout& layout, PF_PixelFormat worlds, bool toWorld) {
    if (worlds == PF_PixelFormat_ARGB32) {
        return {newScaler(layout, AV_PIX_FMT_ARGB, toWorld), nullptr};
    }
    return {newScaler(layout, deepFormat, toWorld),
            newFrame(layout.width, layout.height, deepFormat)};
}

// The scaler gives the number of rows that it has filled.
void checkRows(int rows, int height) {
    checkResult(rows);
    if (rows != height) {
        throw Error("the pixels can't be converted");
    }
}

template <typename Value>
bool hasAlphaBelow(const World& world, Value opaque) {
    for (int y = 0; y < world.height(); ++y) {
        const auto* alpha = reinterpret_cast<const Value*>(world.row(y));
        bool isOpaque = true;
        for (int x = 0; x < world.width(); ++x) {
            isOpaque &= alpha[std::ptrdiff_t{x} * 4] >= opaque;
        }
        if (!isOpaque) {
            return true;
        }
    }
    return false;
}

} // namespace

FrameToWorld::FrameToWorld(const PixelLayout& layout, PF_PixelFormat worlds)
    : mLayout(layout), mWorlds(worlds) {
    refuseOtherWorlds(worlds);
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(layout.format);
    if (isReadAsYuv(layout.format)) {
        refuseOtherKinds(layout.matrix);
        mConverter.emplace<YuvToWorld>(layout, worlds);
    } else if (isReadAsRgb(layout.format)) {
        mConverter.emplace<RgbToWorld>(layout);
    } else if (descriptor != nullptr && (descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0 &&
               sws_isSupportedInput(layout.format) != 0) {
        mConverter = newScaling<Scaling>(layout, worlds, true);
    } else {
        throw Error(std::string("its pixel format ") +
                    (descriptor != nullptr ? descriptor->name : "?") + " is not supported");
    }
}

void FrameToWorld::convert(const AVFrame& frame, World& world) {
    if (world.format() != mWorlds) {
        *this = FrameToWorld(mLayout, world.format());
    }
    if (auto* yuv = std::get_if<YuvToWorld>(&mConverter)) {
        yuv->convert(frame, world);
    } else if (auto* rgb = std::get_if<RgbToWorld>(&mConverter)) {
        rgb->convert(frame, world);
    } else {
        convert(std::get<Scaling>(mConverter), frame, world);
    }
}

void FrameToWorld::convert(Scaling& scaling, const AVFrame& frame, World& world) const {
    if (scaling.deep != nullptr) {
        checkRows(sws_scale(scaling.scaler.get(), frame.data, frame.linesize, 0, frame.height,
                            scaling.deep->data, scaling.deep->linesize),
                  frame.height);
        RgbToWorld(Host::layoutOf(*scaling.deep)).convert(*scaling.deep, world);
        return;
    }
    std::uint8_t* const rows[] = {world.row(0)};
    const int strides[] = {static_cast<int>(world.rowBytes())};
    checkRows(
        sws_scale(scaling.scaler.get(), frame.data, frame.linesize, 0, frame.height, rows, strides),
        frame.height);
}

WorldToFrame::WorldToFrame(const PixelLayout& layout, PF_PixelFormat worlds,
                           const FrameOptions& options)
    : mLayout(layout), mWorlds(worlds), mOptions(options) {
    refuseOtherWorlds(worlds);
    if (isWrittenAsYuv(layout.format)) {
        mConverter.emplace<WorldToYuv>(layout, worlds, options.dithers, options.cutsRange);
    } else if (isWrittenAsRgb(layout.format)) {
        mConverter.emplace<WorldToRgb>(layout, options.dithers);
    } else {
        mConverter = newScaling<Scaling>(layout, worlds, false);
    }
}

void WorldToFrame::convert(const World& world, AVFrame& frame) {
    if (world.format() != mWorlds) {
        *this = WorldToFrame(mLayout, world.format(), mOptions);
    }
    if (auto* yuv = std::get_if<WorldToYuv>(&mConverter)) {
        yuv->convert(world, frame);
    } else if (auto* rgb = std::get_if<WorldToRgb>(&mConverter)) {
        rgb->convert(world, frame);
    } else {
        convert(std::get<Scaling>(mConverter), world, frame);
    }
}

void WorldToFrame::convert(Scaling& scaling, const World& world, AVFrame& frame) const {
    if (scaling.deep != nullptr) {
        WorldToRgb(Host::layoutOf(*scaling.deep), false).convert(world, *scaling.deep);
        checkRows(sws_scale(scaling.scaler.get(), scaling.deep->data, scaling.deep->linesize, 0,
                            mLayout.height, frame.data, frame.linesize),
                  mLayout.height);
        return;
    }
    const std::uint8_t* const rows[] = {world.row(0)};
    const int strides[] = {static_cast<int>(world.rowBytes())};
    checkRows(sws_scale(scaling.scaler.get(), rows, strides, 0, mLayout.height, frame.data,
                        frame.linesize),
              mLayout.height);
}

bool isConvertible(AVPixelFormat format) {
    return isWrittenAsRgb(format) || isWrittenAsYuv(format) || sws_isSupportedOutput(format) != 0;
}

World worldFromFrame(const AVFrame& frame, PF_PixelFormat format) {
    World world(frame.width, frame.height, format);
    FrameToWorld(layoutOf(frame), format).convert(frame, world);
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

FFmpegPtr<AVFrame> frameFromWorld(const World& world, AVPixelFormat format,
                                  const FrameOptions& options) {
    auto frame = newFrame(world.width(), world.height(), format);
    if (isYuv(format) || isGray(format)) {
        frame->color_range = AVCOL_RANGE_JPEG;
        frame->colorspace = AVCOL_SPC_BT470BG;
    }
    WorldToFrame(layoutOf(*frame), world.format(), options).convert(world, *frame);
    return frame;
}

PF_PixelFormat worldFormatFor(WorldDepth wanted, const Depth& depth) {
    const bool isDeep =
        wanted == WorldDepth::Floats || (wanted == WorldDepth::Stored && depth.isDeep());
    return isDeep ? PF_PixelFormat_ARGB128 : PF_PixelFormat_ARGB32;
}

bool hasAlpha(const World& world) {
    if (world.format() == PF_PixelFormat_ARGB32) {
        return hasAlphaBelow<std::uint8_t>(world, 255);
    }
    return hasAlphaBelow<float>(world, 1);
}

} // namespace Vexorel::PrismDrift::Host
