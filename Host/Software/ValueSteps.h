#pragma once

/// What happens to a single value, for the plain form and for the ends of rows in the vector form.
/// Internal.

#include "Host/Software/FramePlan.h"

#include <cstddef>
#include <cstring>

namespace Vexorel::PrismDrift::Host {

/// The rounded product of two numbers in 15 bits of fraction.
inline std::int16_t product(std::int16_t a, std::int16_t b) {
    return static_cast<std::int16_t>((a * b + (1 << 14)) >> 15);
}

inline std::int16_t mix(std::int16_t first, std::int16_t second, std::int16_t share) {
    const auto difference = static_cast<std::int16_t>(second - first);
    return static_cast<std::int16_t>(first + product(difference, share));
}

/// Both count: with a share of 0 or 1, too, infinities and NaN come through.
inline float mix(float first, float second, float share) {
    return first * (1.0F - share) + second * share;
}

/// A share of 0 does not read the second.
inline float mixNeighbours(float first, float second, float share) {
    return share == 0.0F ? first : mix(first, second, share);
}
inline std::int16_t mixNeighbours(std::int16_t first, std::int16_t second, std::int16_t share) {
    return mix(first, second, share);
}

inline std::int16_t lighten(std::int16_t value, std::int16_t tint, std::int16_t lightness) {
    return mix(value, tint, lightness);
}
inline float lighten(float value, float tint, float lightness) {
    return lightness == 1.0F ? tint : mixNeighbours(value, tint, lightness);
}

/// To the nearest whole number of a value that isn't negative, in the steps that vectors take.
inline unsigned rounded(float value) {
    const float raised = value + 0.5F;
    return static_cast<unsigned>(raised);
}

/// To 8 bits, from 7 bits of fraction.
inline unsigned byteOf(std::int16_t value) {
    return static_cast<unsigned>(value + 64) >> 7;
}

/// What the premultiplied target of 8 bits keeps of a colour, from 7 bits of fraction.
inline unsigned throughTarget(std::int16_t value, unsigned alpha) {
    if (alpha == 255) {
        return byteOf(value);
    }
    if (alpha == 0) {
        return 0;
    }
    const auto part = static_cast<std::int16_t>((alpha * 257) >> 1); // of 32768
    const unsigned stored = byteOf(product(value, part));
    const float back = static_cast<float>(stored) * (255.0F / static_cast<float>(alpha));
    return rounded(back);
}

/// Reads a number from memory that isn't aligned for it.
template <typename Number>
Number numberAt(const std::uint8_t* memory, std::size_t index) {
    Number number;
    std::memcpy(&number, memory + index * sizeof number, sizeof number);
    return number;
}

template <typename Number>
void setNumberAt(std::uint8_t* memory, std::size_t index, Number number) {
    std::memcpy(memory + index * sizeof number, &number, sizeof number);
}

inline std::int16_t takeValue(const std::uint8_t* from, std::size_t index, ByteMixing /*format*/) {
    return static_cast<std::int16_t>(from[index] << 7);
}
inline float takeValue(const std::uint8_t* from, std::size_t index, FloatMixing<32768> /*format*/) {
    return static_cast<float>(numberAt<std::uint16_t>(from, index));
}
inline float takeValue(const std::uint8_t* from, std::size_t index, FloatMixing<1> /*format*/) {
    return numberAt<float>(from, index);
}

/// Puts a pixel together from its three values, with the alpha of the source.
inline void putPixel(const std::array<std::int16_t, 3>& values, const std::uint8_t* source,
                     std::size_t pixel, std::uint8_t* to, ByteMixing /*format*/) {
    const std::uint8_t alpha = source[pixel * 4];
    to[pixel * 4] = alpha;
    for (std::size_t i = 0; i < values.size(); ++i) {
        to[pixel * 4 + i + 1] = static_cast<std::uint8_t>(throughTarget(values[i], alpha));
    }
}
inline void putPixel(const std::array<float, 3>& values, const std::uint8_t* source,
                     std::size_t pixel, std::uint8_t* to, FloatMixing<32768> /*format*/) {
    setNumberAt(to, pixel * 4, numberAt<std::uint16_t>(source, pixel * 4));
    for (std::size_t i = 0; i < values.size(); ++i) {
        setNumberAt(to, pixel * 4 + i + 1, static_cast<std::uint16_t>(rounded(values[i])));
    }
}
inline void putPixel(const std::array<float, 3>& values, const std::uint8_t* source,
                     std::size_t pixel, std::uint8_t* to, FloatMixing<1> /*format*/) {
    std::memcpy(to + pixel * 16, source + pixel * 16, sizeof(float)); // NaN and all
    for (std::size_t i = 0; i < values.size(); ++i) {
        setNumberAt(to, pixel * 4 + i + 1, values[i]);
    }
}

template <typename Mixing>
void putLightened(const FramePlan<Mixing>& plan,
                  const std::array<const typename Mixing::Value*, 3>& rows,
                  const std::uint8_t* source, std::size_t pixel, std::uint8_t* to) {
    std::array<typename Mixing::Value, 3> values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        const ChannelPlan<Mixing>& channel = plan.channels[i];
        values[i] = lighten(rows[i][pixel], channel.tint, channel.lightness);
    }
    putPixel(values, source, pixel, to, Mixing{});
}

/// A pixel of bytes that keeps its place.
inline void copyPixel(const std::uint8_t* source, std::size_t pixel, std::uint8_t* to) {
    std::array<std::int16_t, 3> values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = takeValue(source, pixel * 4 + i + 1, ByteMixing{});
    }
    putPixel(values, source, pixel, to, ByteMixing{});
}

} // namespace Vexorel::PrismDrift::Host
