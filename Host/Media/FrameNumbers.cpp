#include "Host/Media/FrameNumbers.h"

#include "Host/Library/Number.h"

#include <algorithm>
#include <limits>

namespace Vexorel::PrismDrift::Host {
namespace {

// Takes the digits of a number off the front of the text. Nothing for a number that is too large.
std::optional<std::int64_t> takeNumber(std::string_view& text) {
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    const auto number = takeDigits(text);
    return number && *number <= largest ? number : std::nullopt;
}

bool take(std::string_view& text, char character) {
    const bool found = !text.empty() && text.front() == character;
    text.remove_prefix(found ? 1 : 0);
    return found;
}

} // namespace

std::optional<FrameNumbers> FrameNumbers::parse(std::string_view text) {
    FrameNumbers numbers;
    do {
        const auto first = takeNumber(text);
        auto last = first;
        std::optional<std::int64_t> step = 1;
        if (first && take(text, '-')) {
            last = takeNumber(text);
            if (last && take(text, 'x')) {
                step = takeNumber(text);
            }
        }
        if (!first || !last || !step || *step == 0 || *last < *first) {
            return std::nullopt;
        }
        numbers.mRanges.push_back({*first, *last - (*last - *first) % *step, *step});
    } while (take(text, ','));
    return text.empty() ? std::optional(numbers) : std::nullopt;
}

bool FrameNumbers::contains(std::int64_t number) const {
    return all() || std::any_of(mRanges.begin(), mRanges.end(), [&](const Range& range) {
               return number >= range.first && number <= range.last &&
                      (number - range.first) % range.step == 0;
           });
}

std::optional<std::int64_t> FrameNumbers::last() const {
    std::optional<std::int64_t> greatest;
    for (const Range& range : mRanges) {
        greatest = std::max(greatest.value_or(range.last), range.last);
    }
    return greatest;
}

std::optional<std::int64_t> FrameNumbers::after(std::int64_t number) const {
    if (all()) {
        return number + 1;
    }
    std::optional<std::int64_t> least;
    for (const Range& range : mRanges) {
        if (number >= range.last) {
            continue;
        }
        const std::int64_t steps =
            number < range.first ? 0 : (number - range.first) / range.step + 1;
        const std::int64_t next = range.first + steps * range.step;
        least = std::min(least.value_or(next), next);
    }
    return least;
}

} // namespace Vexorel::PrismDrift::Host
