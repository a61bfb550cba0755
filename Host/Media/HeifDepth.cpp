#include "Host/Media/HeifDepth.h"

#include "Host/Media/FileBytes.h"

#include <algorithm>
#include <vector>

namespace Vexorel::PrismDrift::Host {
namespace {

struct Box {
    std::string type;
    std::uint64_t begin = 0, end = 0; // of what is in it
};

// Those between two places of the file, as far as they are whole.
std::vector<Box> boxesIn(FileBytes& file, std::uint64_t begin, std::uint64_t end) {
    constexpr std::size_t most = 1000;
    std::vector<Box> boxes;
    while (begin < end && boxes.size() < most) {
        std::uint64_t head = 8;
        auto size = file.number(begin, 4, true);
        if (size == 0) { // the rest
            size = end - begin;
        } else if (size == 1) {
            head = 16;
            size = file.number(begin + 8, 8, true);
        }
        if (!size || *size < head || *size > end - begin) {
            break;
        }
        boxes.push_back({file.at(begin + 4, 4), begin + head, begin + *size});
        begin += *size;
    }
    return boxes;
}

// Of nothing where there is none. `skipped` bytes stand in front of the boxes in it.
std::vector<Box> boxesOf(FileBytes& file, const std::vector<Box>& among, const char* type,
                         std::uint64_t skipped = 0) {
    const auto found =
        std::find_if(among.begin(), among.end(), [&](const Box& box) { return box.type == type; });
    return found == among.end() ? std::vector<Box>()
                                : boxesIn(file, found->begin + skipped, found->end);
}

// By a codec's header, or by the format's own property.
int bitsOf(FileBytes& file, const Box& box) {
    const auto byte = [&](std::uint64_t at) {
        return box.begin + at < box.end
                   ? static_cast<int>(file.number(box.begin + at, 1, true).value_or(0))
                   : 0;
    };
    if (box.type == "hvcC") {
        return 8 + (byte(17) & 7);
    }
    if (box.type == "av1C") {
        constexpr int high = 0x40;
        constexpr int twelve = 0x20;
        return (byte(2) & high) == 0 ? 8 : (byte(2) & twelve) == 0 ? 10 : 12;
    }
    return box.type == "pixi" ? byte(5) : 0; // of the first channel
}

} // namespace

int heifBits(const std::filesystem::path& path) {
    FileBytes file(path);
    const auto meta = boxesOf(file, boxesIn(file, 0, file.size()), "meta", 4);
    int bits = 8;
    for (const Box& box : boxesOf(file, boxesOf(file, meta, "iprp"), "ipco")) {
        bits = std::max(bits, bitsOf(file, box));
    }
    return bits;
}

} // namespace Vexorel::PrismDrift::Host
