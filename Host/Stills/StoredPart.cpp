#include "Host/Stills/StoredPart.h"

#include "Host/Library/Error.h"
#include "Host/Library/Orientation.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

int wholeBits(TypeDesc type) {
    return static_cast<int>(type.size()) * 8;
}

// Of whole numbers; a format may store fewer bits than its numbers are handed on in.
int storedBits(const ImageSpec& spec, TypeDesc type) {
    const int bits = spec.get_int_attribute("oiio:BitsPerSample", wholeBits(type));
    return bits > 0 && bits < wholeBits(type) ? bits : wholeBits(type);
}

// Where a window lies in a turned frame.
Window turned(const Window& window, const Window& frame, const Orientation& turn) {
    Window result = {window.x - frame.x, window.y - frame.y, window.width, window.height};
    int width = frame.width;
    int height = frame.height;
    if (turn.swapped) {
        std::swap(result.x, result.y);
        std::swap(result.width, result.height);
        std::swap(width, height);
    }
    result.x = turn.mirroredX ? width - result.x - result.width : result.x;
    result.y = turn.mirroredY ? height - result.y - result.height : result.y;
    result.x += frame.x;
    result.y += frame.y;
    return result;
}

} // namespace

Window common(const Window& left, const Window& right) {
    const int x = std::max(left.x, right.x);
    const int y = std::max(left.y, right.y);
    const int endX = std::min(left.x + left.width, right.x + right.width);
    const int endY = std::min(left.y + left.height, right.y + right.height);
    return {x, y, std::max(0, endX - x), std::max(0, endY - y)};
}

Window StoredPart::frame() const {
    return spec.full_width > 0 && spec.full_height > 0
               ? Window{spec.full_x, spec.full_y, spec.full_width, spec.full_height}
               : data();
}

const std::byte* StoredPart::row(int y) const {
    return pixels.data() + storedPixelBytes(spec) * static_cast<std::size_t>(spec.width) *
                               static_cast<std::size_t>(y);
}

std::byte* StoredPart::row(int y) {
    return pixels.data() + storedPixelBytes(spec) * static_cast<std::size_t>(spec.width) *
                               static_cast<std::size_t>(y);
}

bool ColourChannels::has(int channel) const {
    return std::find(argb.begin(), argb.end(), channel) != argb.end();
}

Depth depthOf(const ImageSpec& spec, const ColourChannels& colours) {
    Depth depth; // at least 8 bits
    for (const int channel : colours.argb) {
        if (channel < 0) {
            continue;
        }
        const TypeDesc type = spec.channelformat(channel);
        if (type.is_floating_point()) {
            const int bits = depth.isFloat ? depth.bits : 0;
            depth = {std::max(bits, wholeBits(type)), true};
        } else if (type.is_signed()) {
            throw Error("it holds whole numbers with a sign, which aren't read: save it with 8 or "
                        "16 bits a channel, or floats");
        } else if (!depth.isFloat) {
            depth.bits = std::max(depth.bits, storedBits(spec, type));
        }
    }
    return depth;
}

void turn(StoredPart& part) {
    const Orientation turn = Orientation::ofTag(part.spec.get_int_attribute("Orientation", 1));
    part.spec.erase_attribute("Orientation");
    if (turn.upright()) {
        return;
    }
    StoredPart result{part.spec, StoredBytes(part.pixels.size())};
    const Window frame = part.frame();
    const Window data = turned(part.data(), frame, turn);
    result.spec.x = data.x;
    result.spec.y = data.y;
    result.spec.width = data.width;
    result.spec.height = data.height;
    result.spec.full_width = turn.swapped ? frame.height : frame.width;
    result.spec.full_height = turn.swapped ? frame.width : frame.height;
    const std::size_t size = storedPixelBytes(part.spec);
    for (int y = 0; y < data.height && !part.pixels.empty(); ++y) {
        const int fromY = turn.mirroredY ? data.height - 1 - y : y;
        std::byte* to = result.row(y);
        for (int x = 0; x < data.width; ++x, to += size) {
            const int fromX = turn.mirroredX ? data.width - 1 - x : x;
            const auto [column, line] =
                turn.swapped ? std::pair(fromY, fromX) : std::pair(fromX, fromY);
            std::memcpy(to, part.row(line) + size * static_cast<std::size_t>(column), size);
        }
    }
    part = std::move(result);
}

} // namespace Vexorel::PrismDrift::Host
