#include "Host/Media/StillHeader.h"

#include "Host/Library/Error.h"
#include "Host/Media/ExrHeader.h"

#include <algorithm>
#include <array>

namespace Vexorel::PrismDrift::Host {
namespace {

[[noreturn]] void refuse(const std::string& what) {
    throw Error("it is damaged or cut off: " + what);
}

// What DPX and Cineon have in common: pictures of elements, each of some channels of as many bits.
struct Elements {
    std::uint64_t width = 0, height = 0;
    std::uint64_t offset = 0; // of the first pixel
    std::uint64_t count = 0;
    std::uint64_t ownBytes = 0; // of the program that wrote the file
};

constexpr std::uint64_t undefined = 0xffffffff;

void checkElements(FileBytes& file, const Elements& elements, const SizeLimit& limit) {
    constexpr std::uint64_t most = 8;
    if (elements.count < 1 || elements.count > most) {
        refuse("it names " + std::to_string(elements.count) + " elements");
    }
    checkStillSize(elements.width, elements.height, limit);
    if (elements.offset >= file.size()) {
        refuse("its pixels begin behind its end");
    }
    if (elements.ownBytes != undefined && elements.ownBytes > file.size()) {
        refuse("its header names more bytes than it has");
    }
}

void checkBits(std::uint64_t bits, std::initializer_list<std::uint64_t> known) {
    if (std::find(known.begin(), known.end(), bits) == known.end()) {
        refuse("it names a depth of " + std::to_string(bits) + " bits");
    }
}

void checkCineon(FileBytes& file, const SizeLimit& limit) {
    const bool isBigEndian = file.at(0, 1) == "\x80";
    const auto number = [&](std::uint64_t at, std::size_t size) {
        return file.number(at, size, isBigEndian).value_or(0);
    };
    constexpr std::uint64_t first = 196;
    constexpr std::uint64_t size = 28;
    const Elements elements{number(first + 4, 4), number(first + 8, 4), number(4, 4),
                            number(193, 1), number(16, 4)};
    checkElements(file, elements, limit);
    for (std::uint64_t i = 0; i < elements.count; ++i) {
        const std::uint64_t at = first + size * i;
        checkBits(number(at + 2, 1), {8, 10, 12, 16});
        if (number(at + 4, 4) != elements.width || number(at + 8, 4) != elements.height) {
            refuse("its channels have several sizes");
        }
    }
}

void checkDpx(FileBytes& file, const SizeLimit& limit) {
    const bool isBigEndian = file.at(0, 1) == "S";
    const auto number = [&](std::uint64_t at, std::size_t size) {
        return file.number(at, size, isBigEndian).value_or(0);
    };
    constexpr std::uint64_t first = 780;
    constexpr std::uint64_t size = 72;
    const Elements elements{number(772, 4), number(776, 4), number(4, 4), number(770, 2),
                            number(32, 4)};
    checkElements(file, elements, limit);
    for (std::uint64_t i = 0; i < elements.count; ++i) {
        const std::uint64_t at = first + size * i;
        const std::uint64_t bits = number(at + 23, 1);
        checkBits(bits, {1, 8, 10, 12, 16, 32, 64});
        const bool isPacked = number(at + 26, 2) != 0; // in run lengths
        const std::uint64_t bytes = elements.width * elements.height / 8 * (isPacked ? 0 : bits);
        if (number(at + 28, 4) + bytes > file.size()) {
            refuse("its pixels go on behind its end");
        }
        const std::uint64_t padding = number(at + 32, 4);
        constexpr std::uint64_t mostPadding = 1 << 16;
        if (padding != undefined && padding > mostPadding) {
            refuse("it names " + std::to_string(padding) + " bytes behind each row");
        }
    }
}

} // namespace

void checkStillSize(std::uint64_t width, std::uint64_t height, const SizeLimit& limit) {
    constexpr std::uint64_t most = 0x7fffffff;
    if (width < 1 || height < 1 || width > most || height > most) {
        refuse("it names a size of " + std::to_string(width) + "x" + std::to_string(height));
    }
    limit.check(static_cast<int>(width), static_cast<int>(height));
}

void checkStillHeader(const std::filesystem::path& file, const std::string& format,
                      const SizeLimit& limit) {
    FileBytes bytes(file);
    if (format == "openexr") {
        checkExr(bytes, limit);
    } else if (format == "dpx") {
        checkDpx(bytes, limit);
    } else if (format == "cineon") {
        checkCineon(bytes, limit);
    }
}

std::optional<RowPadding> unnamedPadding(const std::filesystem::path& dpx) {
    FileBytes file(dpx);
    const bool isBigEndian = file.at(0, 1) == "S";
    const auto number = [&](std::uint64_t at, std::size_t size) {
        return file.number(at, size, isBigEndian).value_or(0);
    };
    constexpr std::size_t place = 812;
    constexpr std::uint64_t word = 4;
    const std::uint64_t kind = number(800, 1);
    const std::uint64_t channels = kind >= 1 && kind <= 6       ? 1
                                   : kind == 50                 ? 3
                                   : (kind == 51 || kind == 52) ? 4
                                                                : 0;
    const std::uint64_t bits = number(803, 1);
    const bool isFilled = bits == 8 || bits == 16 || (bits == 12 && number(804, 2) != 0);
    const std::uint64_t row = isFilled ? number(772, 4) * channels * (bits > 8 ? 2 : 1) : 0;
    const std::uint64_t padding = (word - row % word) % word;
    const std::uint64_t named = number(place, 4);
    const bool isPlain = number(770, 2) == 1 && number(806, 2) == 0;
    if (padding == 0 || !isPlain || (named != 0 && named != undefined) ||
        number(808, 4) + (row + padding) * number(776, 4) > file.size()) {
        return std::nullopt;
    }
    RowPadding found{place, {}};
    found.bytes[isBigEndian ? word - 1 : 0] = static_cast<std::uint8_t>(padding);
    return found;
}

} // namespace Vexorel::PrismDrift::Host
