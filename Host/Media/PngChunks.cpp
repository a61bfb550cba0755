#include "Host/Media/PngChunks.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <array>
#include <new>
#include <string>
#include <string_view>
#include <zlib.h>

namespace Vexorel::PrismDrift::Host {
namespace {

struct Chunk {
    std::string_view whole, type, data; // `whole` includes the length and the checksum
};

std::uint32_t number(std::string_view bytes) {
    std::uint32_t value = 0;
    for (const char byte : bytes.substr(0, 4)) {
        value = value << 8 | static_cast<std::uint8_t>(byte);
    }
    return value;
}

// The chunks that are there whole, and what is left behind the last of them.
std::vector<Chunk> chunksOf(std::string_view& rest) {
    constexpr std::string_view signature = "\x89PNG\r\n\x1a\n";
    constexpr std::size_t frame = 12; // length, type and checksum
    if (rest.substr(0, signature.size()) == signature) {
        rest.remove_prefix(signature.size());
    }
    std::vector<Chunk> chunks;
    while (rest.size() >= frame && number(rest) <= rest.size() - frame) {
        const std::size_t length = number(rest);
        chunks.push_back(
            {rest.substr(0, length + frame), rest.substr(4, 4), rest.substr(8, length)});
        rest.remove_prefix(length + frame);
    }
    return chunks;
}

// How many bytes the packed ones stand for, or a number above `limit` as soon as that or `budget`
// is spent; nothing where they are damaged. Takes what it unpacks from the budget.
std::optional<std::int64_t> unpackedSize(std::string_view packed, std::int64_t limit,
                                         std::int64_t& budget) {
    if (budget <= 0) {
        return limit + 1;
    }
    std::array<Bytef, 16384> scratch{};
    z_stream stream = {};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    if (inflateInit(&stream) != Z_OK) {
        throw std::bad_alloc();
    }
    const std::int64_t most = std::min(limit, budget);
    std::int64_t size = 0;
    int result = Z_OK;
    while (result == Z_OK && size <= most) {
        stream.next_out = scratch.data();
        stream.avail_out = static_cast<uInt>(scratch.size());
        result = inflate(&stream, Z_NO_FLUSH);
        size += static_cast<std::int64_t>(scratch.size() - stream.avail_out);
    }
    inflateEnd(&stream);
    if (result == Z_MEM_ERROR) {
        throw std::bad_alloc();
    }
    budget -= size;
    if (result == Z_OK) {
        return limit + 1;
    }
    return result == Z_STREAM_END ? std::optional(size) : std::nullopt;
}

// What is behind the next zero byte.
std::string_view behindZero(std::string_view text) {
    const std::size_t zero = text.find('\0');
    return zero == std::string_view::npos ? std::string_view() : text.substr(zero + 1);
}

// Whether a decoder shows the same pixels without the chunk.
bool isBesidePixels(const Chunk& chunk) {
    constexpr std::array<std::string_view, 4> needed = {"tRNS", "acTL", "fcTL", "fdAT"};
    return chunk.type[0] >= 'a' && chunk.type[0] <= 'z' &&
           std::find(needed.begin(), needed.end(), chunk.type) == needed.end();
}

bool isDamaged(const Chunk& chunk) {
    const std::string_view checked = chunk.whole.substr(4, chunk.whole.size() - 8);
    const uLong sum =
        crc32(0, reinterpret_cast<const Bytef*>(checked.data()), static_cast<uInt>(checked.size()));
    constexpr std::size_t longestName = 79;
    const std::size_t name = chunk.data.find('\0');
    const bool isNoProfile =
        chunk.type == "iCCP" &&
        (name > longestName || chunk.data.substr(name, 2).size() < 2 || chunk.data[name + 1] != 0);
    return isNoProfile || sum != number(chunk.whole.substr(chunk.whole.size() - 4));
}

// The size of what a decoder would keep of a text or a profile; 0 for other chunks, nothing for
// what is damaged and beside the pixels.
std::optional<std::int64_t> metadataSize(const Chunk& chunk, std::int64_t limit,
                                         std::int64_t& budget) {
    std::string_view packed;
    if (isBesidePixels(chunk) && isDamaged(chunk)) {
        return std::nullopt;
    }
    if (chunk.type == "zTXt" || chunk.type == "iCCP") {
        packed = behindZero(chunk.data);
        packed.remove_prefix(std::min<std::size_t>(1, packed.size())); // the method
    } else if (chunk.type == "iTXt") {
        const std::string_view rest = behindZero(chunk.data);
        const bool isPacked = !rest.empty() && rest[0] != 0;
        packed = isPacked
                     ? behindZero(behindZero(rest.substr(std::min<std::size_t>(2, rest.size()))))
                     : std::string_view();
    } else if (chunk.type != "tEXt" && chunk.type != "eXIf") {
        return 0;
    }
    const auto stored = static_cast<std::int64_t>(chunk.data.size() - packed.size());
    const auto unpacked = packed.empty() ? 0 : unpackedSize(packed, limit, budget);
    return unpacked ? std::optional(stored + *unpacked) : std::nullopt;
}

struct Header {
    std::uint32_t width, height;
    int pixelBits;
    bool hasPalette, hasKnownMethods;
};

Header headerFrom(std::string_view data) {
    const auto byte = [&](std::size_t index) { return static_cast<std::uint8_t>(data[index]); };
    constexpr std::array<int, 7> samplesOfType = {1, 1, 3, 1, 2, 1, 4};
    constexpr std::uint8_t palette = 3;
    const std::uint8_t type = byte(9);
    return {number(data), number(data.substr(4)),
            byte(8) * samplesOfType[std::min<std::size_t>(type, 6)], type == palette,
            byte(10) == 0 && byte(11) == 0 && byte(12) <= 1};
}

std::string_view viewOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace

std::optional<SmallerPng> smallerPng(const std::uint8_t* data, std::size_t size,
                                     std::int64_t limit) {
    const std::string_view all = viewOf(data, size);
    std::string_view rest = all;
    const std::vector<Chunk> chunks = chunksOf(rest);
    std::string kept;
    std::int64_t left = limit;
    std::int64_t budget = 2 * limit; // for unpacking, what is left out included
    SmallerPng png;
    for (const Chunk& chunk : chunks) {
        const auto taken = metadataSize(chunk, left, budget);
        const bool hasDropped = png.wasLarge || png.wasDamaged;
        if (taken && *taken <= left) {
            left -= *taken;
            kept += hasDropped ? chunk.whole : std::string_view();
            continue;
        }
        if (!hasDropped) {
            kept = all.substr(0, static_cast<std::size_t>(chunk.whole.data() - all.data()));
        }
        (taken ? png.wasLarge : png.wasDamaged) = true;
    }
    if (!png.wasLarge && !png.wasDamaged) {
        return std::nullopt;
    }
    kept += rest;
    png.bytes.assign(kept.begin(), kept.end());
    return png;
}

std::vector<std::uint8_t> withMetadataFirst(const std::vector<std::uint8_t>& png) {
    constexpr std::array<std::string_view, 4> dropped = {"iCCP", "bKGD", "hIST", "sPLT"};
    constexpr std::size_t signature = 8;
    std::string_view rest = viewOf(png.data(), png.size());
    std::string first(rest.substr(0, signature));
    std::string last;
    for (const Chunk& chunk : chunksOf(rest)) {
        if (std::find(dropped.begin(), dropped.end(), chunk.type) == dropped.end()) {
            (chunk.type == "IHDR" || isBesidePixels(chunk) ? first : last) += chunk.whole;
        }
    }
    first += last;
    return {first.begin(), first.end()};
}

bool hasPngMetadata(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::vector<Chunk> chunks = chunksOf(rest);
    return std::any_of(chunks.begin(), chunks.end(), [](const Chunk& chunk) {
        constexpr std::array<std::string_view, 4> types = {"eXIf", "iTXt", "tEXt", "zTXt"};
        return std::find(types.begin(), types.end(), chunk.type) != types.end();
    });
}

std::vector<std::uint8_t> pngStart(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = viewOf(data, size);
    const std::vector<Chunk> chunks = chunksOf(rest);
    std::vector<std::uint8_t> start;
    for (const std::string_view type : {"IHDR", "PLTE"}) {
        const auto found = std::find_if(chunks.begin(), chunks.end(),
                                        [&](const Chunk& chunk) { return chunk.type == type; });
        if (found != chunks.end()) {
            start.insert(start.end(), found->whole.begin(), found->whole.end());
        }
    }
    return start;
}

void checkPng(const std::vector<std::uint8_t>& start, const std::uint8_t* data, std::size_t size) {
    std::string_view before = viewOf(start.data(), start.size());
    std::string_view rest = viewOf(data, size);
    std::vector<Chunk> chunks = chunksOf(before);
    const std::vector<Chunk> frame = chunksOf(rest);
    chunks.insert(chunks.end(), frame.begin(), frame.end());
    constexpr std::size_t headerSize = 13;
    constexpr std::size_t controlSize = 26;
    if (chunks.empty() || chunks[0].type != "IHDR" || chunks[0].data.size() != headerSize) {
        return;
    }
    Header header = headerFrom(chunks[0].data);
    double packed = static_cast<double>(rest.size()); // of a chunk that breaks off
    std::size_t palette = 0;
    for (const Chunk& chunk : chunks) {
        const bool isPixels = chunk.type == "IDAT" || chunk.type == "fdAT";
        packed += isPixels ? static_cast<double>(chunk.data.size()) : 0;
        palette = chunk.type == "PLTE" ? chunk.data.size() : palette;
        if (!start.empty() && chunk.type == "fcTL" && chunk.data.size() == controlSize) {
            header.width = number(chunk.data.substr(4));
            header.height = number(chunk.data.substr(8));
        }
    }
    constexpr std::size_t entry = 3;
    constexpr std::size_t most = 256 * entry;
    if (header.hasPalette && (palette == 0 || palette % entry != 0 || palette > most)) {
        throw Error("it is damaged: its palette is missing or has a wrong size");
    }
    if (!header.hasKnownMethods) {
        throw Error("it is damaged: its pixels are stored in a way that PNG doesn't have");
    }
    constexpr double mostBits = 8 * 1032; // that deflate makes of a byte
    if (1.0 * header.width * header.height * header.pixelBits > (packed + 1) * mostBits) {
        throw Error("its " + std::to_string(size) + " bytes cannot hold " +
                    std::to_string(header.width) + "x" + std::to_string(header.height) +
                    " pixels: it is cut off or damaged");
    }
}

} // namespace Vexorel::PrismDrift::Host
