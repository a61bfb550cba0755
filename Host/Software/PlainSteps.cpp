#include "Host/Software/RowSteps.h"
#include "Host/Software/ValueSteps.h"

namespace Vexorel::PrismDrift::Host {
namespace {

template <typename Mixing>
void take(const std::uint8_t* from, std::size_t channel, std::size_t count,
          typename Mixing::Value* to) {
    for (std::size_t x = 0; x < count; ++x) {
        to[x] = takeValue(from, x * 4 + channel + 1, Mixing{});
    }
}

template <typename Mixing>
void mixRows(const typename Mixing::Value* first, const typename Mixing::Value* second,
             typename Mixing::Share share, std::size_t count, typename Mixing::Value* to) {
    for (std::size_t x = 0; x < count; ++x) {
        to[x] = mix(first[x], second[x], share);
    }
}

template <typename Mixing>
void mixColumns(const ChannelPlan<Mixing>& plan, const typename Mixing::Value* row,
                std::size_t count, typename Mixing::Value* to) {
    for (std::size_t x = 0; x < count; ++x) {
        const auto first = static_cast<std::size_t>(plan.columns.first[x]);
        to[x] = mixNeighbours(row[first], row[first + 1], plan.columns.share[x]);
    }
}

template <typename Mixing>
void put(const FramePlan<Mixing>& plan, const std::array<const typename Mixing::Value*, 3>& rows,
         const std::uint8_t* source, std::size_t count, std::uint8_t* to) {
    for (std::size_t x = 0; x < count; ++x) {
        putLightened(plan, rows, source, x, to);
    }
}

void copyBytes(const std::uint8_t* source, std::size_t count, std::uint8_t* to) {
    for (std::size_t x = 0; x < count; ++x) {
        copyPixel(source, x, to);
    }
}

template <std::size_t PixelBytes>
void copyPixels(const std::uint8_t* source, std::size_t count, std::uint8_t* to) {
    std::memcpy(to, source, count * PixelBytes);
}

template <typename Mixing>
RowSteps<Mixing> stepsWith(void (*copy)(const std::uint8_t*, std::size_t, std::uint8_t*)) {
    return {&take<Mixing>, &mixRows<Mixing>, &mixColumns<Mixing>, &put<Mixing>, copy};
}

} // namespace

const SoftwareSteps& plainSteps() {
    static const SoftwareSteps steps{stepsWith<ByteMixing>(&copyBytes),
                                     stepsWith<FloatMixing<32768>>(&copyPixels<8>),
                                     stepsWith<FloatMixing<1>>(&copyPixels<16>), "no vector unit"};
    return steps;
}

} // namespace Vexorel::PrismDrift::Host
