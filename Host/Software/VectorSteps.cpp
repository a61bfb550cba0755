// The steps in vector form, compiled once for each vector unit. Each gives what the plain form
// gives, value for value, so that neither the unit nor the place in a vector shows.

// Vectors whose length shows only at run time can't be members of a class, as they are below.
#define HWY_DISABLED_TARGETS (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_RVV)

#include "Host/Software/RowSteps.h"
#include "Host/Software/ValueSteps.h"

#include <hwy/cache_control.h>
#include <string>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Host/Software/VectorSteps.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Vexorel::PrismDrift::Host::HWY_NAMESPACE {

// Highway's one-lane target lacks operations across lanes, and the code below reads bytes in the
// order of little-endian processors.
#if HWY_TARGET == HWY_SCALAR || __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__

const SoftwareSteps& steps() {
    return plainSteps();
}

#else

namespace hn = hwy::HWY_NAMESPACE;

template <class D, class V = hn::Vec<D>>
V mixLanes(D /*d*/, V first, V second, V share, ByteMixing /*format*/) {
    return hn::Add(first, hn::MulFixedPoint15(hn::Sub(second, first), share));
}

// Not fused, so that the result is the same where there is no such operation.
template <class D, class V = hn::Vec<D>, int Full>
V mixLanes(D d, V first, V second, V share, FloatMixing<Full> /*format*/) {
    const V rest = hn::Sub(hn::Set(d, 1.0F), share);
    return hn::Add(hn::Mul(first, rest), hn::Mul(second, share));
}

template <class D, class V = hn::Vec<D>>
V mixNeighbourLanes(D d, V first, V second, V share, ByteMixing format) {
    return mixLanes(d, first, second, share, format);
}

template <class D, class V = hn::Vec<D>, int Full>
V mixNeighbourLanes(D d, V first, V second, V share, FloatMixing<Full> format) {
    return hn::IfThenElse(hn::Eq(share, hn::Zero(d)), first,
                          mixLanes(d, first, second, share, format));
}

// The number of values that go into whole vectors.
template <class D>
std::size_t inVectors(D d, std::size_t count) {
    return count - count % hn::Lanes(d);
}

template <class Mixing>
using ValueTag = hn::ScalableTag<typename Mixing::Value>;

// Bytes: pixels are numbers of 32 bits here, alpha in the lowest byte.

using PixelTag = hn::ScalableTag<std::uint32_t>;
using PixelValueTag = hn::Rebind<std::int16_t, PixelTag>; // as many values as pixels

inline hn::Vec<PixelTag> pixelsAt(const std::uint8_t* row, std::size_t x) {
    return hn::LoadU(PixelTag(), reinterpret_cast<const std::uint32_t*>(row + x * 4));
}

// The channel's byte, 1 for red, with 7 bits of fraction.
template <int Byte>
hn::Vec<PixelValueTag> valuesOf(hn::Vec<PixelTag> pixels) {
    const PixelTag d32;
    const auto byte = hn::And(hn::ShiftRight<8 * Byte>(pixels), hn::Set(d32, 0xFF));
    return hn::DemoteTo(PixelValueTag(),
                        hn::BitCast(hn::RebindToSigned<PixelTag>(), hn::ShiftLeft<7>(byte)));
}

template <int Channel>
void takeValues(const std::uint8_t* from, std::size_t count, std::int16_t* to,
                ByteMixing /*format*/) {
    for (std::size_t x = 0; x < count; x += hn::Lanes(PixelTag())) {
        hn::StoreU(valuesOf<Channel + 1>(pixelsAt(from, x)), PixelValueTag(), to + x);
    }
}

template <int Channel, class V>
V chosen(V red, V green, V blue) {
    return Channel == 0 ? red : Channel == 1 ? green : blue;
}

template <int Channel>
void takeValues(const std::uint8_t* from, std::size_t count, float* to,
                FloatMixing<32768> /*format*/) {
    const hn::ScalableTag<float> d;
    const hn::Rebind<std::uint16_t, decltype(d)> d16;
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        hn::Vec<decltype(d16)> a, r, g, b;
        hn::LoadInterleaved4(d16, reinterpret_cast<const std::uint16_t*>(from) + x * 4, a, r, g, b);
        const hn::RebindToSigned<hn::RebindToUnsigned<decltype(d)>> d32;
        hn::StoreU(hn::ConvertTo(d, hn::PromoteTo(d32, chosen<Channel>(r, g, b))), d, to + x);
    }
}

template <int Channel>
void takeValues(const std::uint8_t* from, std::size_t count, float* to, FloatMixing<1> /*format*/) {
    const hn::ScalableTag<float> d;
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        hn::Vec<decltype(d)> a, r, g, b;
        hn::LoadInterleaved4(d, reinterpret_cast<const float*>(from) + x * 4, a, r, g, b);
        hn::StoreU(chosen<Channel>(r, g, b), d, to + x);
    }
}

template <class Mixing>
void take(const std::uint8_t* from, std::size_t channel, std::size_t count,
          typename Mixing::Value* to) {
    const std::size_t whole = inVectors(PixelTag(), count); // floats are as many
    if (channel == 0) {
        takeValues<0>(from, whole, to, Mixing());
    } else if (channel == 1) {
        takeValues<1>(from, whole, to, Mixing());
    } else {
        takeValues<2>(from, whole, to, Mixing());
    }
    for (std::size_t x = whole; x < count; ++x) {
        to[x] = takeValue(from, x * 4 + channel + 1, Mixing());
    }
}

// Rows of values have slack behind them, so that the last vector need not be full.

template <class Mixing>
void mixRows(const typename Mixing::Value* first, const typename Mixing::Value* second,
             typename Mixing::Share share, std::size_t count, typename Mixing::Value* to) {
    const ValueTag<Mixing> d;
    const auto shares = hn::Set(d, share);
    for (std::size_t x = 0; x < count; x += hn::Lanes(d)) {
        hn::StoreU(mixLanes(d, hn::LoadU(d, first + x), hn::LoadU(d, second + x), shares, Mixing()),
                   d, to + x);
    }
}

// What a stretch writes behind its end the next one overwrites.
template <class Mixing>
void mixStretches(const ChannelPlan<Mixing>& plan, const typename Mixing::Value* row,
                  typename Mixing::Value* to) {
    const ValueTag<Mixing> d;
    for (std::size_t i = 0; i + 1 < plan.stretches.size(); ++i) {
        const auto begin = static_cast<std::size_t>(plan.stretches[i]);
        const auto end = static_cast<std::size_t>(plan.stretches[i + 1]);
        const auto* from = row + plan.columns.first[begin];
        const auto* shares = plan.columns.share.data() + begin;
        for (std::size_t x = 0; x < end - begin; x += hn::Lanes(d)) {
            const auto mixed =
                mixNeighbourLanes(d, hn::LoadU(d, from + x), hn::LoadU(d, from + x + 1),
                                  hn::LoadU(d, shares + x), Mixing());
            hn::StoreU(mixed, d, to + begin + x);
        }
    }
}

// 16 bytes of values that lie in two neighbouring groups.
template <class Value>
auto lookedUp(const Lookup& lookup, const Value* group) {
    const hn::FixedTag<std::uint8_t, 16> bytes;
    const hn::FixedTag<Value, 16 / sizeof(Value)> d;
    const auto near = hn::BitCast(bytes, hn::LoadU(d, group));
    const auto far = hn::BitCast(bytes, hn::LoadU(d, group + hn::Lanes(d)));
    return hn::BitCast(d,
                       hn::Or(hn::TableLookupBytesOr0(near, hn::LoadU(bytes, lookup.near.data())),
                              hn::TableLookupBytesOr0(far, hn::LoadU(bytes, lookup.far.data()))));
}

// Values from anywhere in a row, one after the other.
template <class Mixing>
void mixSingly(const ChannelPlan<Mixing>& plan, const typename Mixing::Value* row,
               std::size_t begin, std::size_t end, typename Mixing::Value* to) {
    for (std::size_t x = begin; x < end; ++x) {
        const typename Mixing::Value* first = row + plan.columns.first[x];
        to[x] = mixNeighbours(first[0], first[1], plan.columns.share[x]);
    }
}

template <int Full>
void mixScattered(const ChannelPlan<FloatMixing<Full>>& plan, const float* row, std::size_t begin,
                  std::size_t end, float* to) {
    mixSingly(plan, row, begin, end, to);
}

// Two neighbouring values are fetched as one number of 32 bits where a unit has an instruction for
// eight of these.
inline void mixScattered(const ChannelPlan<ByteMixing>& plan, const std::int16_t* row,
                         std::size_t begin, std::size_t end, std::int16_t* to) {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
    const hn::FixedTag<std::int32_t, 8> d32;
    const hn::FixedTag<std::int16_t, 8> d16;
    if (end - begin == hn::Lanes(d16)) {
        const auto firsts = hn::LoadU(d32, plan.columns.first.data() + begin);
        const auto pairs = hn::GatherOffset(d32, reinterpret_cast<const std::int32_t*>(row),
                                            hn::ShiftLeft<1>(firsts));
        const auto first = hn::DemoteTo(d16, hn::ShiftRight<16>(hn::ShiftLeft<16>(pairs)));
        const auto second = hn::DemoteTo(d16, hn::ShiftRight<16>(pairs));
        const auto shares = hn::LoadU(d16, plan.columns.share.data() + begin);
        hn::StoreU(mixLanes(d16, first, second, shares, ByteMixing()), d16, to + begin);
        return;
    }
#endif
    mixSingly(plan, row, begin, end, to);
}

template <class Mixing>
void mixLookups(const ChannelPlan<Mixing>& plan, const typename Mixing::Value* row,
                std::size_t count, typename Mixing::Value* to) {
    using Value = typename Mixing::Value;
    const hn::FixedTag<Value, 16 / sizeof(Value)> d;
    std::size_t x = 0;
    for (const Lookup& lookup : plan.lookups) {
        const std::size_t end = HWY_MIN(x + hn::Lanes(d), count);
        if (lookup.base == Lookup::scattered) {
            mixScattered(plan, row, x, end, to);
        } else {
            const Value* group = row + lookup.base;
            const auto shares = hn::LoadU(d, plan.columns.share.data() + x);
            const auto mixed = mixNeighbourLanes(d, lookedUp(lookup, group),
                                                 lookedUp(lookup, group + 1), shares, Mixing());
            hn::StoreU(mixed, d, to + x);
        }
        x = end;
    }
}

template <class Mixing>
void mixColumns(const ChannelPlan<Mixing>& plan, const typename Mixing::Value* row,
                std::size_t count, typename Mixing::Value* to) {
    if (plan.stretches.empty()) {
        mixLookups(plan, row, count, to);
    } else {
        mixStretches(plan, row, to);
    }
}

inline hn::Vec<PixelValueTag> byteLanes(hn::Vec<PixelValueTag> values) {
    return hn::ShiftRight<7>(hn::Add(values, hn::Set(PixelValueTag(), 64)));
}

// The same as throughTarget, for lanes that may be opaque too.
struct Target {
    explicit Target(hn::Vec<PixelTag> alpha) {
        const hn::RebindToSigned<PixelTag> signed32;
        const hn::Rebind<float, PixelTag> dFloat;
        const auto alphas = hn::BitCast(signed32, alpha);
        const auto half = hn::ShiftRight<1>(hn::Mul(alphas, hn::Set(signed32, 257)));
        part = hn::DemoteTo(PixelValueTag(), half);
        opaque = hn::DemoteTo(PixelValueTag(),
                              hn::VecFromMask(signed32, hn::Eq(alphas, hn::Set(signed32, 255))));
        // A stored value is 0 where alpha is, so that any finite factor will do there.
        const auto divisor = hn::Max(alphas, hn::Set(signed32, 1));
        factor = hn::Div(hn::Set(dFloat, 255.0F), hn::ConvertTo(dFloat, divisor));
    }

    hn::Vec<PixelValueTag> through(hn::Vec<PixelValueTag> values) const {
        const hn::RebindToSigned<PixelTag> signed32;
        const hn::Rebind<float, PixelTag> dFloat;
        const auto stored = byteLanes(hn::MulFixedPoint15(values, part));
        const auto back = hn::Mul(hn::ConvertTo(dFloat, hn::PromoteTo(signed32, stored)), factor);
        const auto rounded = hn::ConvertTo(signed32, hn::Add(back, hn::Set(dFloat, 0.5F)));
        const auto mask = hn::MaskFromVec(opaque);
        return hn::IfThenElse(mask, byteLanes(values), hn::DemoteTo(PixelValueTag(), rounded));
    }

    hn::Vec<PixelValueTag> part, opaque;
    hn::Vec<hn::Rebind<float, PixelTag>> factor;
};

// Pixels of the source's alpha and three channels with 7 bits of fraction.
inline hn::Vec<PixelTag> pixelsFrom(hn::Vec<PixelTag> source, hn::Vec<PixelValueTag> red,
                                    hn::Vec<PixelValueTag> green, hn::Vec<PixelValueTag> blue) {
    const PixelTag d32;
    const hn::RebindToUnsigned<PixelValueTag> unsigned16;
    const auto alpha = hn::And(source, hn::Set(d32, 0xFF));
    if (HWY_LIKELY(hn::AllTrue(d32, hn::Eq(alpha, hn::Set(d32, 0xFF))))) {
        red = byteLanes(red);
        green = byteLanes(green);
        blue = byteLanes(blue);
    } else {
        const Target target(alpha);
        red = target.through(red);
        green = target.through(green);
        blue = target.through(blue);
    }
    const auto redGreen = hn::Or(red, hn::ShiftLeft<8>(green));
    const auto low = hn::PromoteTo(d32, hn::BitCast(unsigned16, redGreen));
    const auto high = hn::PromoteTo(d32, hn::BitCast(unsigned16, blue));
    return hn::Or(alpha, hn::Or(hn::ShiftLeft<8>(low), hn::ShiftLeft<24>(high)));
}

inline void storePixels(hn::Vec<PixelTag> pixels, std::uint8_t* row, std::size_t x) {
    hn::StoreU(pixels, PixelTag(), reinterpret_cast<std::uint32_t*>(row + x * 4));
}

template <class Mixing, class D>
struct Lightness {
    explicit Lightness(D d, const ChannelPlan<Mixing>& plan)
        : tint(hn::Set(d, plan.tint)), share(hn::Set(d, plan.lightness)) {}

    hn::Vec<D> of(D d, hn::Vec<D> values, ByteMixing format) const {
        return mixLanes(d, values, tint, share, format);
    }
    template <int Full>
    hn::Vec<D> of(D d, hn::Vec<D> values, FloatMixing<Full> format) const {
        const auto mixed = mixNeighbourLanes(d, values, tint, share, format);
        return hn::IfThenElse(hn::Eq(share, hn::Set(d, 1.0F)), tint, mixed);
    }

    hn::Vec<D> tint, share;
};

// A vector of each channel at x, lightened.
template <class Mixing, class D>
class LightRows {
public:
    LightRows(const FramePlan<Mixing>& plan,
              const std::array<const typename Mixing::Value*, 3>& rows)
        : mRows(rows),
          mRed(D(), plan.channels[0]),
          mGreen(D(), plan.channels[1]),
          mBlue(D(), plan.channels[2]) {}

    hn::Vec<D> red(std::size_t x) const { return at(x, 0, mRed); }
    hn::Vec<D> green(std::size_t x) const { return at(x, 1, mGreen); }
    hn::Vec<D> blue(std::size_t x) const { return at(x, 2, mBlue); }

private:
    hn::Vec<D> at(std::size_t x, std::size_t channel, const Lightness<Mixing, D>& light) const {
        return light.of(D(), hn::LoadU(D(), mRows[channel] + x), Mixing());
    }

    const std::array<const typename Mixing::Value*, 3>& mRows;
    Lightness<Mixing, D> mRed, mGreen, mBlue;
};

inline void putVectors(const LightRows<ByteMixing, PixelValueTag>& rows, const std::uint8_t* source,
                       std::size_t x, std::uint8_t* to, bool /*isStreamed*/) {
    storePixels(pixelsFrom(pixelsAt(source, x), rows.red(x), rows.green(x), rows.blue(x)), to, x);
}

using FloatTag = hn::ScalableTag<float>;
using WordTag = hn::Rebind<std::uint16_t, FloatTag>;

inline hn::Vec<WordTag> wordLanes(hn::Vec<FloatTag> values) {
    const hn::RebindToSigned<hn::RebindToUnsigned<FloatTag>> d32;
    const FloatTag d;
    return hn::DemoteTo(WordTag(), hn::ConvertTo(d32, hn::Add(values, hn::Set(d, 0.5F))));
}

inline void putVectors(const LightRows<FloatMixing<32768>, FloatTag>& rows,
                       const std::uint8_t* source, std::size_t x, std::uint8_t* to,
                       bool /*isStreamed*/) {
    const WordTag d;
    hn::Vec<WordTag> a, r, g, b;
    hn::LoadInterleaved4(d, reinterpret_cast<const std::uint16_t*>(source) + x * 4, a, r, g, b);
    hn::StoreInterleaved4(a, wordLanes(rows.red(x)), wordLanes(rows.green(x)),
                          wordLanes(rows.blue(x)), d, reinterpret_cast<std::uint16_t*>(to) + x * 4);
}

inline void putVectors(const LightRows<FloatMixing<1>, FloatTag>& rows, const std::uint8_t* source,
                       std::size_t x, std::uint8_t* to, bool isStreamed) {
    const FloatTag d;
    hn::Vec<FloatTag> a, r, g, b;
    hn::LoadInterleaved4(d, reinterpret_cast<const float*>(source) + x * 4, a, r, g, b);
    auto* const place = reinterpret_cast<float*>(to) + x * 4;
    HWY_ALIGN float pixels[4 * hn::MaxLanes(d)];
    hn::StoreInterleaved4(a, rows.red(x), rows.green(x), rows.blue(x), d,
                          isStreamed ? pixels : place);
    for (std::size_t i = 0; isStreamed && i < 4 * hn::Lanes(d); i += hn::Lanes(d)) {
        hn::Stream(hn::Load(d, pixels + i), d, place + i);
    }
}

template <class Mixing, class D>
void put(const FramePlan<Mixing>& plan, const std::array<const typename Mixing::Value*, 3>& rows,
         const std::uint8_t* source, std::size_t count, std::uint8_t* to) {
    const LightRows<Mixing, D> light(plan, rows);
    const std::size_t whole = inVectors(D(), count);
    constexpr std::size_t alignment = 64;
    const bool isStreamed = plan.isLarge && reinterpret_cast<std::uintptr_t>(to) % alignment == 0;
    for (std::size_t x = 0; x < whole; x += hn::Lanes(D())) {
        putVectors(light, source, x, to, isStreamed);
    }
    if (isStreamed) {
        hwy::FlushStream();
    }
    for (std::size_t x = whole; x < count; ++x) {
        putLightened(plan, rows, source, x, to);
    }
}

void copyBytes(const std::uint8_t* source, std::size_t count, std::uint8_t* to) {
    const PixelTag d;
    const std::size_t whole = inVectors(d, count);
    for (std::size_t x = 0; x < whole; x += hn::Lanes(d)) {
        const auto pixels = pixelsAt(source, x);
        const auto opaque = hn::Set(d, 0xFF);
        const bool isCopy = hn::AllTrue(d, hn::Eq(hn::And(pixels, opaque), opaque));
        storePixels(HWY_LIKELY(isCopy) ? pixels
                                       : pixelsFrom(pixels, valuesOf<1>(pixels),
                                                    valuesOf<2>(pixels), valuesOf<3>(pixels)),
                    to, x);
    }
    for (std::size_t x = whole; x < count; ++x) {
        copyPixel(source, x, to);
    }
}

const SoftwareSteps& steps() {
    static const SoftwareSteps steps = [] {
        SoftwareSteps all = plainSteps();
        all.bytes = {&take<ByteMixing>, &mixRows<ByteMixing>, &mixColumns<ByteMixing>,
                     &put<ByteMixing, PixelValueTag>, &copyBytes};
        all.words.take = &take<FloatMixing<32768>>;
        all.words.mixRows = &mixRows<FloatMixing<32768>>;
        all.words.mixColumns = &mixColumns<FloatMixing<32768>>;
        all.words.put = &put<FloatMixing<32768>, FloatTag>;
        all.floats.take = &take<FloatMixing<1>>;
        all.floats.mixRows = &mixRows<FloatMixing<1>>;
        all.floats.mixColumns = &mixColumns<FloatMixing<1>>;
        all.floats.put = &put<FloatMixing<1>, FloatTag>;
        all.unit = hwy::TargetName(HWY_TARGET);
        return all;
    }();
    return steps;
}

#endif

} // namespace Vexorel::PrismDrift::Host::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vexorel::PrismDrift::Host {

HWY_EXPORT(steps);

const SoftwareSteps& vectorSteps() {
    return HWY_DYNAMIC_DISPATCH(steps)();
}

} // namespace Vexorel::PrismDrift::Host
#endif
