#include "Host/Media/SampleDepth.h"

#include "Host/Library/DitherPattern.h"

#include <array>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr unsigned byteFull = 255;

// A product of a float and a whole number of 16 bits is exact in doubles.
double scaled(float value, unsigned full) {
    const float cut = value > 0 ? (value < 1 ? value : 1.0F) : 0.0F;
    return static_cast<double>(cut) * full;
}

template <typename Level>
void round(const float* from, int count, unsigned full, Level* to) {
    constexpr double half = 0.5;
    for (int x = 0; x < count; ++x) {
        to[x] = static_cast<Level>(static_cast<int>(scaled(from[x], full) + half));
    }
}

} // namespace

void toFloats(const std::uint16_t* from, int count, int black, int range, float* to) {
    const auto divisor = static_cast<float>(range);
    for (int x = 0; x < count; ++x) {
        to[x] = static_cast<float>(from[x] - black) / divisor;
    }
}

void toFloats(const std::uint8_t* from, int count, float* to) {
    for (int x = 0; x < count; ++x) {
        to[x] = static_cast<float>(from[x]) / static_cast<float>(byteFull);
    }
}

void toLevels(const float* from, int count, unsigned full, std::uint16_t* to) {
    round(from, count, full, to);
}

void toLevels(const float* from, int count, std::uint8_t* to) {
    round(from, count, byteFull, to);
}

void toDitheredLevels(const float* from, int count, int y, std::uint8_t* to) {
    const std::array<float, ditherSide>& row = ditherRow(y);
    for (int x = 0; x < count; ++x) {
        const double level = scaled(from[x], byteFull) + row[static_cast<unsigned>(x) % ditherSide];
        to[x] = static_cast<std::uint8_t>(static_cast<int>(level));
    }
}

} // namespace Vexorel::PrismDrift::Host
