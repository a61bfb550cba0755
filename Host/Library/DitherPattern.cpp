#include "Host/Library/DitherPattern.h"

namespace Vexorel::PrismDrift::Host {
namespace {

using Pattern = std::array<std::array<float, ditherSide>, ditherSide>;

// Bayer's ordering: the places of a square are numbered so that the first ones of any count are
// spread evenly. Bits of a place's number are those of x ^ y and y in turn, the lowest first.
constexpr Pattern makePattern() {
    Pattern pattern{};
    for (unsigned y = 0; y < ditherSide; ++y) {
        for (unsigned x = 0; x < ditherSide; ++x) {
            unsigned number = 0;
            for (unsigned bit = 1; bit < ditherSide; bit *= 2) {
                number = number * 4 + (((x ^ y) & bit) != 0 ? 2U : 0U) + ((y & bit) != 0 ? 1U : 0U);
            }
            pattern[y][x] = (static_cast<float>(number) + 0.5F) / (ditherSide * ditherSide);
        }
    }
    return pattern;
}

} // namespace

const std::array<float, ditherSide>& ditherRow(int y) {
    static constexpr Pattern pattern = makePattern();
    return pattern[static_cast<unsigned>(y) % ditherSide];
}

} // namespace Vexorel::PrismDrift::Host
