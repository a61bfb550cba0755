#include "Host/Media/TiffLayout.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {
namespace {

// Tags of the directory.
enum Tag : std::uint16_t {
    SubfileType = 254,
    Width = 256,
    Height = 257,
    BitsPerSample = 258,
    Compression = 259,
    Photometric = 262,
    OrientationTag = 274,
    SamplesPerPixel = 277,
    StripByteCounts = 279,
    TileWidth = 322,
    ExtraSamples = 338,
    SampleFormat = 339,
    DngVersion = 50706
};

using Values = std::vector<std::uint32_t>;

// Reads numbers in the file's byte order. Those beyond its end are missing.
class TiffFile {
public:
    TiffFile(const std::uint8_t* data, std::size_t size)
        : mData(data), mSize(size), mIsBigEndian(size > 0 && data[0] == 'M') {}

    std::optional<std::uint32_t> number(std::size_t offset, std::size_t bytes) const {
        if (offset > mSize || bytes > mSize - offset) {
            return std::nullopt;
        }
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i) {
            value = value << 8 | mData[offset + (mIsBigEndian ? i : bytes - 1 - i)];
        }
        return value;
    }

    // The first values of a tag of the first directory; none where it lacks the tag or breaks off.
    Values values(std::uint16_t tag) const {
        constexpr std::size_t most = 16; // as many as there are channels, and more
        Values values;
        forEach(tag, most, [&](std::uint32_t value) { values.push_back(value); });
        return values;
    }

    // The sum of a tag's first values.
    double sum(std::uint16_t tag, double most) const {
        double sum = 0;
        forEach(tag, most, [&](std::uint32_t value) { sum += value; });
        return sum;
    }

private:
    template <typename Function>
    void forEach(std::uint16_t tag, double most, const Function& function) const {
        const std::size_t directory = number(4, 4).value_or(0);
        const std::size_t count = number(directory, 2).value_or(0);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t entry = directory + 2 + 12 * i;
            if (number(entry, 2) == tag) {
                return forEachOf(entry, most, function);
            }
        }
    }

    template <typename Function>
    void forEachOf(std::size_t entry, double most, const Function& function) const {
        constexpr std::array<std::size_t, 5> bytesOfType = {0, 1, 1, 2, 4};
        const std::size_t type = number(entry + 2, 2).value_or(0);
        const std::size_t bytes = type < bytesOfType.size() ? bytesOfType[type] : 0;
        const std::size_t count = number(entry + 4, 4).value_or(0);
        const bool isInside = bytes * count <= 4;
        const std::size_t start = isInside ? entry + 8 : number(entry + 8, 4).value_or(0);
        for (std::size_t i = 0; i < count && static_cast<double>(i) < most && bytes > 0; ++i) {
            const auto value = number(start + i * bytes, bytes);
            if (!value) {
                return;
            }
            function(*value);
        }
    }

    const std::uint8_t* mData;
    std::size_t mSize;
    bool mIsBigEndian;
};

std::uint32_t first(const Values& values, std::uint32_t otherwise) {
    return values.empty() ? otherwise : values.front();
}

[[noreturn]] void refuse(const std::string& what, const std::string& remedy) {
    throw Error("its TIFF " + what + ", which isn't read: save it " + remedy);
}

void checkColours(const TiffFile& file) {
    const Values bits = file.values(BitsPerSample);
    const Values formats = file.values(SampleFormat);
    const std::uint32_t colours = first(file.values(Photometric), 0);
    constexpr std::uint32_t cmyk = 5;
    constexpr std::uint32_t lab = 8;
    if (std::adjacent_find(bits.begin(), bits.end(), std::not_equal_to<>()) != bits.end()) {
        refuse("has channels of different depths", "with 8 or 16 bits a channel");
    }
    const auto isUnsigned = [](std::uint32_t format) {
        return format == 1 || format == 4; // of an undefined kind, to be read as unsigned ones
    };
    if (!std::all_of(formats.begin(), formats.end(), isUnsigned)) {
        refuse("holds numbers with a sign or a fraction", "with 8 or 16 bits a channel");
    }
    if (colours == cmyk && first(bits, 1) != 8) {
        refuse("is CMYK of " + std::to_string(first(bits, 1)) + " bits", "as RGB");
    }
    if (colours >= lab) {
        refuse("has other colours than gray, RGB, CMYK or YCbCr", "as RGB");
    }
}

void checkStorage(const TiffFile& file) {
    constexpr std::uint32_t bigTiff = 43;
    constexpr std::uint32_t oldJpeg = 6;
    constexpr std::uint32_t jpeg = 7;
    const std::uint32_t compression = first(file.values(Compression), 1);
    if (file.number(2, 2) == bigTiff) {
        refuse("is a BigTIFF", "as a classic one");
    }
    if (!file.values(DngVersion).empty()) {
        throw Error("it is a camera's raw picture, which isn't developed");
    }
    if ((first(file.values(SubfileType), 0) & 1U) != 0) {
        throw Error(
            "the first picture of its TIFF is a thumbnail of another one, which isn't read");
    }
    if (!file.values(TileWidth).empty()) {
        refuse("is stored in tiles", "in strips");
    }
    if (compression == jpeg || compression == oldJpeg) {
        refuse("is compressed by JPEG", "with another compression, or as a .jpg");
    }
}

// The most bytes that one byte of this compression can stand for; nothing where there is no limit.
std::optional<int> mostBytes(std::uint32_t compression) {
    switch (compression) {
    case 1: // none
        return 1;
    case 5: // LZW, whose strings of up to 4094 bytes take 12 bits
        return 2730;
    case 8: // deflate, whose strings of up to 258 bytes take two bits
    case 32946:
        return 1032;
    case 32773: // pairs of a length up to 128 and a byte
        return 64;
    default:
        return std::nullopt;
    }
}

void checkSize(const TiffFile& file) {
    const std::uint32_t width = first(file.values(Width), 0);
    const std::uint32_t height = first(file.values(Height), 0);
    constexpr std::uint32_t ycc = 6; // may have less chroma than luma
    const std::uint32_t samples =
        first(file.values(Photometric), 0) == ycc ? 1 : first(file.values(SamplesPerPixel), 1);
    const double pixelBytes = first(file.values(BitsPerSample), 1) * (samples / 8.0);
    const double strips = 1.0 * height * first(file.values(SamplesPerPixel), 1); // or fewer
    const double data = file.sum(StripByteCounts, strips);
    const auto most = mostBytes(first(file.values(Compression), 1));
    if (most && data > 0 && pixelBytes * width * height > data * *most) {
        throw Error("its " + std::to_string(std::llround(data)) + " bytes of pixels cannot hold " +
                    std::to_string(width) + "x" + std::to_string(height) +
                    " pixels: it is cut off or damaged");
    }
}

} // namespace

StoredLayout tiffLayout(const std::uint8_t* data, std::size_t size) {
    const TiffFile file(data, size);
    checkStorage(file);
    checkColours(file);
    checkSize(file);
    const Values extra = file.values(ExtraSamples);
    return {Orientation::ofTag(static_cast<int>(first(file.values(OrientationTag), 1) & 0xFF)),
            std::find(extra.begin(), extra.end(), 1U) != extra.end()};
}

} // namespace Vexorel::PrismDrift::Host
