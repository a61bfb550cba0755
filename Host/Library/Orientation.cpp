#include "Host/Library/Orientation.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Vexorel::PrismDrift::Host {

// The matrix's rows are (a, b, u), (c, d, v), (x, y, w): a point (p, q) is shown at
// (a p + c q + x, b p + d q + y).
Orientation Orientation::of(const void* displayMatrix, std::size_t size) {
    std::array<std::int32_t, 9> matrix{};
    if (displayMatrix == nullptr || size < sizeof matrix) {
        return {};
    }
    std::memcpy(matrix.data(), displayMatrix, sizeof matrix);
    const std::int64_t a = matrix[0];
    const std::int64_t b = matrix[1];
    const std::int64_t c = matrix[3];
    const std::int64_t d = matrix[4];
    if (std::abs(a) + std::abs(d) >= std::abs(b) + std::abs(c)) {
        return {false, a < 0, d < 0};
    }
    return {true, c < 0, b < 0};
}

Orientation Orientation::ofTag(int number) {
    // By where the first row and the first column belong.
    constexpr std::array<Orientation, 9> orientations = {{{},
                                                          {},
                                                          {false, true, false},
                                                          {false, true, true},
                                                          {false, false, true},
                                                          {true, false, false},
                                                          {true, true, false},
                                                          {true, true, true},
                                                          {true, false, true}}};
    return number >= 0 && number < int{orientations.size()}
               ? orientations[static_cast<std::size_t>(number)]
               : Orientation();
}

World turned(const World& world, const Orientation& orientation) {
    const int width = orientation.swapped ? world.height() : world.width();
    const int height = orientation.swapped ? world.width() : world.height();
    World result(width, height, world.format());
    const std::size_t size = world.pixelBytes();
    for (int y = 0; y < height; ++y) {
        const int fromY = orientation.mirroredY ? height - 1 - y : y;
        std::uint8_t* to = result.row(y);
        for (int x = 0; x < width; ++x, to += size) {
            const int fromX = orientation.mirroredX ? width - 1 - x : x;
            const std::uint8_t* from = orientation.swapped
                                           ? world.row(fromX) + std::size_t(fromY) * size
                                           : world.row(fromY) + std::size_t(fromX) * size;
            std::memcpy(to, from, size);
        }
    }
    return result;
}

} // namespace Vexorel::PrismDrift::Host
