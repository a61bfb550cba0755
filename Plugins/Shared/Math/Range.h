#pragma once

/// A pair of integers.

#include <limits>
#include <type_traits>

namespace Vexorel::PrismDrift {

class Range {
public:
    int first = 0;
    int second = 0;

    /// The whole range, 0 and the largest `int`, for true; 0 and 0 for false.
    constexpr explicit Range(bool whole) : second(whole ? std::numeric_limits<int>::max() : 0) {}
    constexpr explicit Range(int firstValue) : first(firstValue) {}
    constexpr Range(int firstValue, int secondValue) : first(firstValue), second(secondValue) {}
};

static_assert(std::is_standard_layout_v<Range> && std::is_trivially_copyable_v<Range> &&
              sizeof(Range) == 2 * sizeof(int));

} // namespace Vexorel::PrismDrift
