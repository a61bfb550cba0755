#include "Host/Software/FramePlan.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Vexorel::PrismDrift::Host {
namespace {

// One axis of a channel's transform: the place of a pixel is factor * (its middle) + offset.
struct Line {
    double factor, other, offset; // `other` is the part of the other axis: nothing, or NaN
};

// The steps of the plug-in's shader, in single precision, and of the texture unit behind it.
struct ShaderSteps {
    static double placeOf(const Line& line, int pixel, int size) {
        const auto length = static_cast<float>(size);
        const float middle = static_cast<float>(pixel) + 0.5F;
        const float place = static_cast<float>(line.factor) * middle +
                            static_cast<float>(line.other) + static_cast<float>(line.offset);
        const float part = place / length;
        return (part - std::floor(part)) * length - 0.5F;
    }
};

struct ExactSteps {
    static double placeOf(const Line& line, int pixel, int size) {
        const double place = line.factor * (pixel + 0.5) + line.other + line.offset;
        const double at = place - std::floor(place / size) * size - 0.5;
        // The sine of 180 degrees, say, is not quite 0: the next pixel would have a share.
        constexpr double noise = 1e-10;
        const double whole = std::round(at);
        return std::abs(at - whole) < noise ? whole : at;
    }
};

// In units of `one`.
template <typename Share>
constexpr double one = 1.0;
template <>
constexpr double one<std::int16_t> = 32768.0;

template <typename Share>
Share shareFrom(double units) {
    return static_cast<Share>(units);
}

double unitsOf(double fraction, std::int16_t /*share*/) {
    return std::round(fraction * one<std::int16_t>);
}

double unitsOf(double fraction, float /*share*/) {
    return static_cast<double>(static_cast<float>(fraction));
}

// Puts the pixel between two neighbours. There are none beyond the edges: the edge pixel alone
// counts there. A place that is no number is the far edge, as drivers have it.
template <typename Share>
void put(double place, int size, std::size_t pixel, Axis<Share>& axis) {
    const double last = size - 1;
    const double at = std::isnan(place) ? last : std::clamp(place, 0.0, last);
    double first = std::floor(at);
    double units = unitsOf(at - first, Share{});
    if (units >= one<Share>) {
        ++first;
        units = 0;
    }
    axis.first[pixel] = static_cast<std::int32_t>(first);
    axis.share[pixel] = shareFrom<Share>(units);
}

template <typename Steps, typename Share>
Axis<Share> axisOf(const Line& line, int size, int count, bool isLightened) {
    Axis<Share> axis;
    axis.first.resize(static_cast<std::size_t>(count));
    axis.share.resize(static_cast<std::size_t>(count) + rowSlack);
    const bool isUnmoved = !isLightened && line.factor == 1.0 && line.offset == 0.0;
    for (int i = 0; i < count; ++i) {
        put(isUnmoved ? i : Steps::placeOf(line, i, size), size, static_cast<std::size_t>(i), axis);
    }
    return axis;
}

// Single precision leaves whole pixels with traces of their neighbours. Bytes do without traces up
// to this share. Where lightness changes nothing no value is rounded, and the traces are all that
// is lost: an eighth of a level at most. Lightness rounds, which leaves less room for them.
constexpr std::int16_t traceOf(std::int16_t /*share*/, bool isLightened) {
    return isLightened ? 1 : 8;
}
constexpr float traceOf(float /*share*/, bool /*isLightened*/) {
    return 0.0F;
}

template <typename Share>
bool isTrace(Share share, Share trace) {
    const double units = share;
    return units <= trace || units >= one<Share> - trace;
}

template <typename Share>
void removeTraces(Axis<Share>& axis, int size, Share trace) {
    for (std::size_t i = 0; i < axis.first.size(); ++i) {
        const bool isNext = axis.share[i] > trace;
        axis.first[i] = std::min(axis.first[i] + (isNext ? 1 : 0), size - 1);
        axis.share[i] = 0;
    }
}

// Whether every value is read from one pixel, without a share of another.
template <typename Mixing>
bool makeWhole(ChannelPlan<Mixing>& plan, int width, int height, bool isLightened) {
    const auto trace = traceOf(typename Mixing::Share{}, isLightened);
    const auto isAll = [trace](const auto& shares) {
        return std::all_of(shares.begin(), shares.end(),
                           [trace](auto share) { return isTrace(share, trace); });
    };
    const bool isWhole = isAll(plan.columns.share) && isAll(plan.rows.share);
    if (isWhole) {
        removeTraces(plan.columns, width, trace);
        removeTraces(plan.rows, height, trace);
    }
    return isWhole;
}

std::vector<std::int32_t> stretchesOf(const std::vector<std::int32_t>& first) {
    std::vector<std::int32_t> stretches{0};
    const std::size_t most = first.size() / 64 + 3;
    for (std::size_t x = 1; x < first.size() && stretches.size() < most; ++x) {
        if (first[x] != first[x - 1] + 1) {
            stretches.push_back(static_cast<std::int32_t>(x));
        }
    }
    if (stretches.size() == most) {
        return {};
    }
    stretches.push_back(static_cast<std::int32_t>(first.size()));
    return stretches;
}

// Of values of `bytes` each.
Lookup lookupOf(const std::int32_t* first, std::size_t count, std::size_t bytes) {
    const std::size_t lanes = Lookup().near.size() / bytes;
    const auto [least, most] = std::minmax_element(first, first + count);
    Lookup lookup;
    if (static_cast<std::size_t>(*most - *least) >= 2 * lanes) {
        return lookup;
    }
    lookup.base = *least;
    for (std::size_t i = 0; i < lanes * bytes; ++i) {
        const std::size_t lane = std::min(i / bytes, count - 1);
        const auto place = static_cast<std::size_t>(first[lane] - *least);
        const auto byte = static_cast<std::uint8_t>(place % lanes * bytes + i % bytes);
        constexpr std::uint8_t none = 0x80;
        lookup.near.at(i) = place < lanes ? byte : none;
        lookup.far.at(i) = place < lanes ? none : byte;
    }
    return lookup;
}

template <typename Mixing>
void findColumns(ChannelPlan<Mixing>& plan) {
    const std::vector<std::int32_t>& first = plan.columns.first;
    plan.stretches = stretchesOf(first);
    if (!plan.stretches.empty()) {
        return;
    }
    constexpr std::size_t bytes = sizeof(typename Mixing::Value);
    constexpr std::size_t lanes = Lookup().near.size() / bytes;
    for (std::size_t x = 0; x < first.size(); x += lanes) {
        plan.lookups.push_back(
            lookupOf(first.data() + x, std::min(lanes, first.size() - x), bytes));
    }
}

template <typename Mixing>
void setLightness(ChannelPlan<Mixing>& plan, float lightness) {
    using Share = typename Mixing::Share;
    constexpr double most = one < Share >> 1.0 ? one<Share> - 1.0 : 1.0;
    plan.tint = lightness >= 0.0F ? Mixing::white : typename Mixing::Value{0};
    const double part = std::isnan(lightness) ? 0.0 : std::min(std::abs(double{lightness}), 1.0);
    plan.lightness = shareFrom<Share>(std::min(unitsOf(part, Share{}), most));
}

template <typename Share>
bool isInPlace(const Axis<Share>& axis) {
    for (std::size_t i = 0; i < axis.first.size(); ++i) {
        if (axis.first[i] != static_cast<std::int32_t>(i)) {
            return false;
        }
    }
    return true;
}

template <typename Mixing, typename Steps>
FramePlan<Mixing> planFrame(const ChannelValues& values, int width, int height, int columns,
                            int rows) {
    using Share = typename Mixing::Share;
    FramePlan<Mixing> plan;
    plan.isNeutral = true;
    constexpr double large = 16 << 20;
    plan.isLarge = 4.0 * sizeof(typename Mixing::Value) * columns * rows >= large;
    const std::array<float, 3> factors = shiftFactors(values.order);
    for (std::size_t i = 0; i < plan.channels.size(); ++i) {
        const Affine t = channelTransform(factors[i], values.distance, values.angle,
                                          double{values.scale[i]}, centreOf(width, height));
        constexpr double middle = 0.5;
        ChannelPlan<Mixing>& channel = plan.channels[i];
        setLightness(channel, values.lightness[i]);
        const bool isLightened = channel.lightness != Share{0};
        channel.columns =
            axisOf<Steps, Share>({t.a, t.c * middle, t.e}, width, columns, isLightened);
        channel.rows = axisOf<Steps, Share>({t.d, t.b * middle, t.f}, height, rows, isLightened);
        const bool isWhole = makeWhole(channel, width, height, isLightened);
        findColumns(channel);
        plan.isNeutral = plan.isNeutral && isWhole && !isLightened && isInPlace(channel.columns) &&
                         isInPlace(channel.rows);
    }
    return plan;
}

} // namespace

FramePlan<ByteMixing> planBytes(const ChannelValues& values, int width, int height, int columns,
                                int rows) {
    return planFrame<ByteMixing, ShaderSteps>(values, width, height, columns, rows);
}

template <int Full>
FramePlan<FloatMixing<Full>> planFloats(const ChannelValues& values, int width, int height,
                                        int columns, int rows) {
    return planFrame<FloatMixing<Full>, ExactSteps>(values, width, height, columns, rows);
}

template FramePlan<FloatMixing<1>> planFloats<1>(const ChannelValues&, int, int, int, int);
template FramePlan<FloatMixing<32768>> planFloats<32768>(const ChannelValues&, int, int, int, int);

} // namespace Vexorel::PrismDrift::Host
