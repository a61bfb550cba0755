#pragma once

/// Where each channel of a frame is read, worked out once a frame: the columns and the rows of the
/// source are independent of each other, so a table for each axis is enough. Internal.

#include "PrismDrift/Sources/FrameParameters.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// So many values behind the end of a row, and of a table of shares, are memory that a step may
/// read; those behind a row it may write, too.
constexpr std::size_t rowSlack = 256;

/// How the values of a format are mixed. `Value` is what rows are mixed in, `Share` what the second
/// of two neighbours has in the result.
///
/// Bytes: values with 7 bits of fraction, shares of 15 bits.
struct ByteMixing {
    using Value = std::int16_t;
    using Share = std::int16_t;
    static constexpr Value white = 255 << 7;
};

/// Of `Full` as white; 1 for floats, 32768 for 16 bits.
template <int Full>
struct FloatMixing {
    using Value = float;
    using Share = float;
    static constexpr Value white = Full;
};

/// Along one side of the source, for each pixel of the result: the first of two neighbours, from 0
/// to the last, and the share of the second one, which is the next; none where there is no next.
template <typename Share>
struct Axis {
    std::vector<std::int32_t> first;
    std::vector<Share> share;
};

/// Columns are taken from a row of the source in groups of 16 bytes, from two such groups that lie
/// side by side. `near` holds for each byte of the result which byte of the first group it is, or
/// 0x80; `far` the same for the second.
struct Lookup {
    static constexpr std::int32_t scattered = -1;
    std::int32_t base = scattered; ///< the first value of the first group, or that there are none
    std::array<std::uint8_t, 16> near{}, far{};
};

template <typename Mixing>
struct ChannelPlan {
    using Value = typename Mixing::Value;
    using Share = typename Mixing::Share;

    Axis<Share> columns, rows;
    /// Where the columns begin anew, each stretch reading one pixel after the other; the last is
    /// the end. Empty if there are too many, then `lookups` are used.
    std::vector<std::int32_t> stretches;
    std::vector<Lookup> lookups; ///< for 16 bytes of values each
    Value tint = 0;              ///< what lightness mixes towards: black or white
    Share lightness = 0;         ///< how much
};

template <typename Mixing>
struct FramePlan {
    std::array<ChannelPlan<Mixing>, 3> channels; ///< red, green, blue
    /// Whether all channels are where they were and as they were.
    bool isNeutral = false;
    /// Whether the frame is larger than caches are, so that writing past them saves time.
    bool isLarge = false;
};

/// For a frame of this size, of which `columns` times `rows` pixels are drawn.
FramePlan<ByteMixing> planBytes(const ChannelValues& values, int width, int height, int columns,
                                int rows);
template <int Full>
FramePlan<FloatMixing<Full>> planFloats(const ChannelValues& values, int width, int height,
                                        int columns, int rows);

} // namespace Vexorel::PrismDrift::Host
