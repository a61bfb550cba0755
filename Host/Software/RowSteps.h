#pragma once

/// The steps that make a row of the result, each over a whole row: in plain form, which is the
/// reference, and in vector form with the same results. Internal.

#include "Host/Software/FramePlan.h"

#include <cstddef>

namespace Vexorel::PrismDrift::Host {

template <typename Mixing>
struct RowSteps {
    using Value = typename Mixing::Value;
    using Rows = std::array<const Value*, 3>;

    /// Takes a channel, 0 for red, out of a world's row.
    void (*take)(const std::uint8_t* from, std::size_t channel, std::size_t count, Value* to);
    /// Mixes two rows.
    void (*mixRows)(const Value* first, const Value* second, typename Mixing::Share share,
                    std::size_t count, Value* to);
    /// Mixes neighbours in a row. The value behind the last may be read, and has no share.
    void (*mixColumns)(const ChannelPlan<Mixing>& plan, const Value* row, std::size_t count,
                       Value* to);
    /// Changes the lightness and puts the channels together, with the alpha of `source`.
    void (*put)(const FramePlan<Mixing>& plan, const Rows& rows, const std::uint8_t* source,
                std::size_t count, std::uint8_t* to);
    /// A row of a frame where nothing moves or changes.
    void (*copy)(const std::uint8_t* source, std::size_t count, std::uint8_t* to);
};

struct SoftwareSteps {
    RowSteps<ByteMixing> bytes;
    RowSteps<FloatMixing<32768>> words;
    RowSteps<FloatMixing<1>> floats;
    const char* unit; ///< the vector unit's name
};

const SoftwareSteps& plainSteps();
/// For the best vector unit of this processor.
const SoftwareSteps& vectorSteps();

} // namespace Vexorel::PrismDrift::Host
