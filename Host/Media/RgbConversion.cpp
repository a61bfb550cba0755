#include "Host/Media/RgbConversion.h"

#include "Host/Media/PixelRows.h"
#include "Host/Media/SampleDepth.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/csp.h>
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

// A world's pixel in memory: alpha, red, green, blue.
constexpr std::size_t channels = 4;
constexpr std::uint8_t opaque = 255;
constexpr int floatBits = 32;

const AVPixFmtDescriptor& descriptorOf(const PixelLayout& layout) {
    return *av_pix_fmt_desc_get(layout.format);
}

bool isFloat(const AVPixFmtDescriptor& descriptor) {
    return (descriptor.flags & AV_PIX_FMT_FLAG_FLOAT) != 0;
}

// The values of 8 bits for those of a component of `depth` bits.
std::vector<std::uint8_t> valuesFor(int depth, bool isInverted, int black, int range) {
    const int full = (1 << depth) - 1;
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

// Red's and blue's share in gray.
std::array<float, 2> lumaShares(AVColorSpace matrix) {
    const AVLumaCoefficients* shares = av_csp_luma_coeffs_from_avcsp(matrix);
    shares = shares != nullptr ? shares : av_csp_luma_coeffs_from_avcsp(AVCOL_SPC_BT470BG);
    return {static_cast<float>(av_q2d(shares->cr)), static_cast<float>(av_q2d(shares->cb))};
}

} // namespace

bool isReadAsRgb(AVPixelFormat format) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(format);
    constexpr std::uint64_t others = AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_HWACCEL;
    return descriptor != nullptr && (descriptor->flags & others) == 0 &&
           (descriptor->nb_components < 3 || (descriptor->flags & AV_PIX_FMT_FLAG_RGB) != 0) &&
           (isFloat(*descriptor) ? descriptor->comp[0].depth == floatBits
                                 : descriptor->comp[0].depth <= 16);
}

bool isWrittenAsRgb(AVPixelFormat format) {
    return isReadAsRgb(format) && format != AV_PIX_FMT_PAL8 &&
           av_pix_fmt_desc_get(format)->comp[0].depth >= 8;
}

RgbToWorld::RgbToWorld(const PixelLayout& layout)
    : mLayout(layout),
      mIsFloat(isFloat(descriptorOf(layout))),
      mIsInverted(layout.format == AV_PIX_FMT_MONOWHITE),
      mLine(static_cast<std::size_t>(layout.width)) {
    if (mLayout.format != AV_PIX_FMT_PAL8) {
        prepareChannels();
    }
}

void RgbToWorld::prepareChannels() {
    const AVPixFmtDescriptor& descriptor = descriptorOf(mLayout);
    for (std::size_t i = 0; i < channels; ++i) {
        Channel& channel = mChannels[i];
        channel.component = componentOf(descriptor, i);
        channel.row.resize(mLine.size(), opaque);
        channel.floats.resize(mLine.size(), 1);
        const int component = std::max(0, channel.component);
        const int depth = descriptor.comp[component].depth;
        const bool isLimited =
            descriptor.nb_components < 3 && i > 0 && mLayout.range == AVCOL_RANGE_MPEG;
        if (mIsFloat) {
            continue;
        }
        channel.black = isLimited ? 16 << (depth - 8) : 0;
        channel.range = isLimited ? 219 << (depth - 8) : (1 << depth) - 1;
        if (!isPlainByte(descriptor, component) || isLimited) {
            channel.values = valuesFor(depth, mIsInverted, channel.black, channel.range);
        }
    }
}

void RgbToWorld::convert(const AVFrame& frame, World& world) {
    if (mLayout.format == AV_PIX_FMT_PAL8) {
        convertPalette(frame, world);
        return;
    }
    for (int y = 0; y < frame.height; ++y) {
        if (world.format() == PF_PixelFormat_ARGB32) {
            convertRow(frame, y, world.row(y));
        } else {
            convertRow(frame, y, reinterpret_cast<float*>(world.row(y)));
        }
    }
}

void RgbToWorld::readBytes(const AVFrame& frame, int y, Channel& channel) {
    if (mIsFloat) {
        readRow(frame, channel.component, y, {0, frame.width}, channel.floats.data());
        toLevels(channel.floats.data(), frame.width, channel.row.data());
    } else if (channel.values.empty()) {
        readRow(frame, channel.component, y, {0, frame.width}, channel.row.data());
    } else {
        readRow(frame, channel.component, y, {0, frame.width}, mLine.data());
        for (std::size_t x = 0; x < channel.row.size(); ++x) {
            channel.row[x] = channel.values[mLine[x]];
        }
    }
}

void RgbToWorld::readFloats(const AVFrame& frame, int y, Channel& channel) {
    if (mIsFloat) {
        readRow(frame, channel.component, y, {0, frame.width}, channel.floats.data());
        return;
    }
    if (channel.values.empty()) {
        readRow(frame, channel.component, y, {0, frame.width}, channel.row.data());
        toFloats(channel.row.data(), frame.width, channel.floats.data());
        return;
    }
    readRow(frame, channel.component, y, {0, frame.width}, mLine.data());
    if (mIsInverted) {
        std::transform(mLine.begin(), mLine.end(), mLine.begin(), [&](std::uint16_t value) {
            return static_cast<std::uint16_t>(channel.range - value);
        });
    }
    toFloats(mLine.data(), frame.width, channel.black, channel.range, channel.floats.data());
}

void RgbToWorld::convertRow(const AVFrame& frame, int y, std::uint8_t* to) {
    std::array<const std::uint8_t*, channels> rows{};
    for (std::size_t i = 0; i < channels; ++i) {
        Channel& channel = mChannels[i];
        rows[i] = channel.row.data();
        if (i > 1 && channel.component == mChannels[i - 1].component) { // gray
            rows[i] = rows[i - 1];
        } else if (channel.component >= 0) {
            readBytes(frame, y, channel);
        }
    }
    interleave(rows, frame.width, to);
}

void RgbToWorld::convertRow(const AVFrame& frame, int y, float* to) {
    std::array<const float*, channels> rows{};
    for (std::size_t i = 0; i < channels; ++i) {
        Channel& channel = mChannels[i];
        rows[i] = channel.floats.data();
        if (i > 1 && channel.component == mChannels[i - 1].component) { // gray
            rows[i] = rows[i - 1];
        } else if (channel.component >= 0) {
            readFloats(frame, y, channel);
        }
    }
    interleave(rows, frame.width, to);
}

void RgbToWorld::convertPalette(const AVFrame& frame, World& world) const {
    const std::uint8_t* palette = frame.data[1]; // 256 of 0xAARRGGBB, in the processor's order
    std::vector<std::uint8_t> row(static_cast<std::size_t>(mLayout.width) * channels);
    for (int y = 0; y < mLayout.height; ++y) {
        const std::uint8_t* from = frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0];
        const bool isBytes = world.format() == PF_PixelFormat_ARGB32;
        std::uint8_t* to = isBytes ? world.row(y) : row.data();
        for (int x = 0; x < mLayout.width; ++x, to += channels) {
            std::uint32_t color = 0;
            std::memcpy(&color, palette + std::size_t{from[x]} * sizeof color, sizeof color);
            for (unsigned channel = 0; channel < channels; ++channel) {
                to[channel] = static_cast<std::uint8_t>(color >> (24 - 8 * channel));
            }
        }
        if (!isBytes) {
            toFloats(row.data(), static_cast<int>(row.size()),
                     reinterpret_cast<float*>(world.row(y)));
        }
    }
}

WorldToRgb::WorldToRgb(const PixelLayout& layout, bool dithers)
    : mLayout(layout),
      mIsFloat(isFloat(descriptorOf(layout))),
      mDithers(dithers),
      mLine(static_cast<std::size_t>(layout.width)) {
    for (std::vector<std::uint8_t>& row : mRows) {
        row.resize(mLine.size(), opaque);
    }
    for (std::vector<float>& row : mFloats) {
        row.resize(mLine.size());
    }
    preparePacked();
}

void WorldToRgb::preparePacked() {
    const AVPixFmtDescriptor& descriptor = descriptorOf(mLayout);
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

void WorldToRgb::convert(const World& world, AVFrame& frame) {
    const AVPixFmtDescriptor& descriptor = descriptorOf(mLayout);
    prepareForRows(frame);
    for (int y = 0; y < mLayout.height; ++y) {
        separateRow(world, y);
        if (mPackedRows[0] != nullptr) {
            interleave(mPackedRows, mLayout.width,
                       frame.data[0] + std::ptrdiff_t{y} * frame.linesize[0]);
            continue;
        }
        for (int i = 0; i < descriptor.nb_components; ++i) {
            if (mIsFloat || world.format() != PF_PixelFormat_ARGB32) {
                writeFloats(frame, i, y);
            } else {
                writeBytes(frame, i, y);
            }
        }
    }
}

// Fills the rows in the form that they are written from.
void WorldToRgb::separateRow(const World& world, int y) {
    const bool isBytes = world.format() == PF_PixelFormat_ARGB32;
    if (isBytes) {
        separate(world.row(y), mLayout.width,
                 {mRows[0].data(), mRows[1].data(), mRows[2].data(), mRows[3].data()});
    } else {
        separate(reinterpret_cast<const float*>(world.row(y)), mLayout.width,
                 {mFloats[0].data(), mFloats[1].data(), mFloats[2].data(), mFloats[3].data()});
    }
    const bool hasBytes = isPlainByte(descriptorOf(mLayout), 0);
    for (std::size_t i = 0; i < channels; ++i) {
        if (isBytes && mIsFloat) {
            toFloats(mRows[i].data(), mLayout.width, mFloats[i].data());
        } else if (!isBytes && hasBytes && mDithers && i > 0) {
            toDitheredLevels(mFloats[i].data(), mLayout.width, y, mRows[i].data());
        } else if (!isBytes && hasBytes) {
            toLevels(mFloats[i].data(), mLayout.width, mRows[i].data());
        }
    }
    if (mIsFloat && descriptorOf(mLayout).nb_components < 3) {
        setLuma();
    }
}

// Puts gray into red's row. Where the three are one, that is it.
void WorldToRgb::setLuma() {
    const auto [redShare, blueShare] = lumaShares(mLayout.matrix);
    for (std::size_t x = 0; x < mLine.size(); ++x) {
        float& red = mFloats[1][x];
        const float green = mFloats[2][x];
        const float blue = mFloats[3][x];
        if (red != green || blue != green) {
            red = green + redShare * (red - green) + blueShare * (blue - green);
        }
    }
}

void WorldToRgb::writeFloats(AVFrame& frame, int component, int y) {
    const std::size_t channel = (static_cast<std::size_t>(component) + 1) % channels;
    const Columns columns{0, mLayout.width};
    if (mIsFloat) {
        writeRow(mFloats[channel].data(), frame, component, y, columns);
    } else if (isPlainByte(descriptorOf(mLayout), component)) {
        writeRow(mRows[channel].data(), frame, component, y, columns);
    } else {
        const unsigned full = (1U << descriptorOf(mLayout).comp[component].depth) - 1;
        toLevels(mFloats[channel].data(), mLayout.width, full, mLine.data());
        writeRow(mLine.data(), frame, component, y, columns);
    }
}

void WorldToRgb::writeBytes(AVFrame& frame, int component, int y) {
    const std::vector<std::uint8_t>& row =
        mRows[(static_cast<std::size_t>(component) + 1) % channels];
    if (isPlainByte(descriptorOf(mLayout), component)) {
        writeRow(row.data(), frame, component, y, {0, mLayout.width});
        return;
    }
    const unsigned full = (1U << descriptorOf(mLayout).comp[component].depth) - 1;
    for (std::size_t x = 0; x < row.size(); ++x) {
        mLine[x] = static_cast<std::uint16_t>((row[x] * full + opaque / 2) / opaque);
    }
    writeRow(mLine.data(), frame, component, y, {0, mLayout.width});
}

} // namespace Vexorel::PrismDrift::Host
