#include "Host/CommandLine/Sheet/Compose.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

constexpr int opaque = 255;
constexpr std::size_t pixelSize = 4; // A, R, G, B

// The part of the area that lies in the world.
Area clipped(const Host::World& world, const Area& area) {
    const int left = std::max(0, area.x);
    const int top = std::max(0, area.y);
    const int right = std::min(world.width(), area.x + area.width);
    const int bottom = std::min(world.height(), area.y + area.height);
    return {left, top, std::max(0, right - left), std::max(0, bottom - top)};
}

std::uint8_t* pixelAt(Host::World& world, int x, int y) {
    return world.row(y) + static_cast<std::size_t>(x) * pixelSize;
}

void setPixel(std::uint8_t* pixel, const Shade& shade) {
    pixel[0] = opaque;
    pixel[1] = shade.red;
    pixel[2] = shade.green;
    pixel[3] = shade.blue;
}

// The source pixels that one target pixel covers along an axis. The first and the last one count by
// the part that is covered.
struct Span {
    int first = 0, last = 0;
    double firstWeight = 1, lastWeight = 1;

    double weight(int index) const {
        return index == first ? firstWeight : index == last ? lastWeight : 1.0;
    }
};

std::vector<Span> spans(int from, int to) {
    std::vector<Span> result(static_cast<std::size_t>(to));
    const double scale = static_cast<double>(from) / to;
    for (int i = 0; i < to; ++i) {
        const double begin = i * scale;
        const double end = i + 1 == to ? from : (i + 1) * scale;
        Span& span = result[static_cast<std::size_t>(i)];
        span.first = static_cast<int>(begin);
        span.last = std::min(from - 1, static_cast<int>(std::ceil(end)) - 1);
        span.firstWeight = span.first == span.last ? end - begin : span.first + 1 - begin;
        span.lastWeight = end - span.last;
    }
    return result;
}

using Sum = std::array<double, pixelSize>; // alpha, and the channels times alpha

void addRow(const std::uint8_t* row, double rowWeight, const std::vector<Span>& columns,
            std::vector<Sum>& sums) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const Span& span = columns[i];
        Sum& sum = sums[i];
        for (int x = span.first; x <= span.last; ++x) {
            const std::uint8_t* pixel = row + static_cast<std::size_t>(x) * pixelSize;
            const double alpha = pixel[0] * rowWeight * span.weight(x);
            sum[0] += alpha;
            for (std::size_t channel = 1; channel < pixelSize; ++channel) {
                sum[channel] += alpha * pixel[channel];
            }
        }
    }
}

void storeRow(std::vector<Sum>& sums, double area, std::uint8_t* row) {
    for (Sum& sum : sums) {
        row[0] = static_cast<std::uint8_t>(std::lround(sum[0] / area));
        for (std::size_t channel = 1; channel < pixelSize; ++channel) {
            row[channel] = sum[0] > 0
                               ? static_cast<std::uint8_t>(std::lround(sum[channel] / sum[0]))
                               : std::uint8_t{0};
        }
        row += pixelSize;
        sum = {};
    }
}

} // namespace

void fillArea(Host::World& world, const Area& area, const Shade& shade) {
    fillCheckerboard(world, area, std::max({1, area.width, area.height}), shade, shade);
}

void fillCheckerboard(Host::World& world, const Area& area, int side, const Shade& even,
                      const Shade& odd) {
    const Area inside = clipped(world, area);
    for (int y = inside.y; y < inside.y + inside.height; ++y) {
        for (int x = inside.x; x < inside.x + inside.width; ++x) {
            const bool isOdd = ((x - area.x) / side + (y - area.y) / side) % 2 != 0;
            setPixel(pixelAt(world, x, y), isOdd ? odd : even);
        }
    }
}

Host::World scaledDown(const Host::World& picture, int width, int height) {
    Host::World result(width, height);
    const std::vector<Span> columns = spans(picture.width(), width);
    const std::vector<Span> rows = spans(picture.height(), height);
    const double area = static_cast<double>(picture.width()) / width *
                        (static_cast<double>(picture.height()) / height);
    std::vector<Sum> sums(columns.size());
    for (int y = 0; y < height; ++y) {
        const Span& span = rows[static_cast<std::size_t>(y)];
        for (int source = span.first; source <= span.last; ++source) {
            addRow(picture.row(source), span.weight(source), columns, sums);
        }
        storeRow(sums, area, result.row(y));
    }
    return result;
}

void drawOver(Host::World& world, const Host::World& picture, int x, int y) {
    const Area inside = clipped(world, {x, y, picture.width(), picture.height()});
    for (int row = inside.y; row < inside.y + inside.height; ++row) {
        const std::uint8_t* source =
            picture.row(row - y) + static_cast<std::size_t>(inside.x - x) * pixelSize;
        for (int column = inside.x; column < inside.x + inside.width; ++column) {
            blendPixel(pixelAt(world, column, row), {source[1], source[2], source[3]}, source[0]);
            source += pixelSize;
        }
    }
}

void blendPixel(std::uint8_t* pixel, const Shade& shade, int cover) {
    const auto mix = [cover](std::uint8_t from, std::uint8_t to) {
        return static_cast<std::uint8_t>((from * (opaque - cover) + to * cover + opaque / 2) /
                                         opaque);
    };
    pixel[1] = mix(pixel[1], shade.red);
    pixel[2] = mix(pixel[2], shade.green);
    pixel[3] = mix(pixel[3], shade.blue);
}

} // namespace Vexorel::PrismDrift::CommandLine
