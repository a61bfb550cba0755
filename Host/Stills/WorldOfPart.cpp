#include "Host/Stills/StoredPart.h"

#include "Host/Library/ReducedWorld.h"

#include <OpenImageIO/half.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr int channelCount = 4;

// One of the world's channels in the stored pixels.
struct StoredChannel {
    TypeDesc::BASETYPE type = TypeDesc::UNKNOWN; // unknown where the file lacks it
    std::size_t offset = 0;                      // in a pixel
    int shift = 0;                               // bits of a whole number that say nothing
    double full = 1;                             // what is white
};

StoredChannel channelOf(const ImageSpec& spec, int channel) {
    if (channel < 0) {
        return {};
    }
    const TypeDesc type = spec.channelformat(channel);
    StoredChannel result{static_cast<TypeDesc::BASETYPE>(type.basetype), offsetOf(spec, channel)};
    if (!type.is_floating_point()) {
        const int whole = static_cast<int>(type.size()) * 8;
        const int bits = spec.get_int_attribute("oiio:BitsPerSample", whole);
        constexpr int byte = 8;
        // Numbers of fewer than 8 bits are scaled to 8, those of more are filled up to 16.
        result.shift = bits > byte && bits < whole ? whole - bits : 0;
        result.full = std::ldexp(1.0, whole - result.shift) - 1;
    }
    return result;
}

template <typename Number>
Number numberAt(const std::byte* from) {
    Number number;
    std::memcpy(&number, from, sizeof number);
    return number;
}

template <typename Number>
void convertWhole(const StoredChannel& channel, const std::byte* from, std::size_t step, int count,
                  float* to) {
    // Both are exact in the type that they are divided in.
    using Exact = std::conditional_t<sizeof(Number) <= 2, float, double>;
    const auto full = static_cast<Exact>(channel.full);
    for (int x = 0; x < count; ++x, from += step, to += channelCount) {
        const auto number = static_cast<std::uint32_t>(numberAt<Number>(from)) >> channel.shift;
        *to = static_cast<float>(static_cast<Exact>(number) / full);
    }
}

template <typename Number>
void convertFloats(const std::byte* from, std::size_t step, int count, float* to) {
    for (int x = 0; x < count; ++x, from += step, to += channelCount) {
        *to = static_cast<float>(numberAt<Number>(from));
    }
}

// One channel of a row, from 0 to 1 where it is of whole numbers.
void convertChannel(const StoredChannel& channel, const std::byte* row, std::size_t step, int count,
                    float* to) {
    const std::byte* from = row + channel.offset;
    switch (channel.type) {
    case TypeDesc::UINT8:
        return convertWhole<std::uint8_t>(channel, from, step, count, to);
    case TypeDesc::UINT16:
        return convertWhole<std::uint16_t>(channel, from, step, count, to);
    case TypeDesc::UINT32:
        return convertWhole<std::uint32_t>(channel, from, step, count, to);
    case TypeDesc::HALF:
        return convertFloats<half>(from, step, count, to);
    case TypeDesc::FLOAT:
        return convertFloats<float>(from, step, count, to);
    case TypeDesc::DOUBLE:
        return convertFloats<double>(from, step, count, to);
    default: // opaque
        for (int x = 0; x < count; ++x, to += channelCount) {
            *to = 1;
        }
    }
}

// Colours free of alpha; where alpha is 0 they stay. Whole numbers are divided as such, so that the
// result is the nearest float to the quotient. Gives whether there was light without cover.
bool divideByAlpha(const std::array<StoredChannel, channelCount>& channels, float* pixels,
                   int count) {
    const double fullAlpha = channels[0].full;
    bool losesLight = false;
    for (int x = 0; x < count; ++x, pixels += channelCount) {
        if (!(pixels[0] > 0)) {
            losesLight = losesLight || pixels[1] != 0 || pixels[2] != 0 || pixels[3] != 0;
            continue;
        }
        if (pixels[0] == 1.F) {
            continue;
        }
        const bool isWhole = fullAlpha > 1;
        const double alpha = isWhole ? std::rint(pixels[0] * fullAlpha) : pixels[0];
        for (int i = 1; i < channelCount; ++i) {
            const double full = channels[static_cast<std::size_t>(i)].full;
            const double colour = isWhole ? std::rint(pixels[i] * full) : pixels[i];
            const double quotient = colour / full / (alpha / fullAlpha);
            const double exact = full == fullAlpha ? colour / alpha : quotient;
            losesLight = losesLight || (isWhole && exact > 1);
            pixels[i] = static_cast<float>(isWhole ? std::min(1.0, exact) : exact);
        }
    }
    return losesLight;
}

std::uint8_t byteOf(float value) {
    return nearestLevel<std::uint8_t>(value, 255);
}

bool isOfBytes(const std::array<StoredChannel, channelCount>& channels) {
    return std::all_of(channels.begin(), channels.end(), [](const StoredChannel& channel) {
        return channel.type == TypeDesc::UINT8 || channel.type == TypeDesc::UNKNOWN;
    });
}

void copyBytes(const std::array<StoredChannel, channelCount>& channels, const std::byte* row,
               std::size_t step, int count, std::uint8_t* to) {
    for (std::size_t i = 0; i < channelCount; ++i) {
        const std::byte* from = row + channels[i].offset;
        const bool isThere = channels[i].type != TypeDesc::UNKNOWN;
        for (int x = 0; x < count; ++x, from += step) {
            to[static_cast<std::size_t>(x) * channelCount + i] =
                isThere ? static_cast<std::uint8_t>(*from) : 255;
        }
    }
}

} // namespace

PartWorld worldOf(const StoredPart& part, const ColourChannels& colours, PF_PixelFormat format,
                  bool divides) {
    const Window frame = part.frame();
    const Window data = part.data();
    const Window shown = common(frame, data);
    std::array<StoredChannel, channelCount> channels;
    for (std::size_t i = 0; i < channelCount; ++i) {
        channels[i] = channelOf(part.spec, colours.argb[i]);
    }
    PartWorld result{World(frame.width, frame.height, format)};
    World& world = result.world;
    const bool isDeep = format == PF_PixelFormat_ARGB128;
    const bool copies = !isDeep && !divides && isOfBytes(channels);
    const std::size_t step = storedPixelBytes(part.spec);
    std::vector<float> line(static_cast<std::size_t>(shown.width) * channelCount);
    for (int y = 0; y < shown.height; ++y) {
        const std::byte* row =
            part.row(shown.y - data.y + y) + step * static_cast<std::size_t>(shown.x - data.x);
        std::uint8_t* to = world.row(shown.y - frame.y + y) +
                           world.pixelBytes() * static_cast<std::size_t>(shown.x - frame.x);
        if (copies) {
            copyBytes(channels, row, step, shown.width, to);
            continue;
        }
        for (std::size_t i = 0; i < channelCount; ++i) {
            convertChannel(channels[i], row, step, shown.width, line.data() + i);
        }
        if (divides) {
            result.losesLight =
                divideByAlpha(channels, line.data(), shown.width) || result.losesLight;
        }
        if (isDeep) {
            std::memcpy(to, line.data(), line.size() * sizeof(float));
        } else {
            std::transform(line.begin(), line.end(), to, &byteOf);
        }
    }
    return result;
}

} // namespace Vexorel::PrismDrift::Host
