#include "Host/Media/ExrHeader.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

// What the reader makes room for, part by part, before it has seen any pixel.
struct Part {
    std::uint64_t width = 0, height = 0;
    std::uint64_t tileWidth = 0, tileHeight = 0; // 0 for lines
    std::uint64_t linesAtOnce = 1;
    std::uint64_t pixelBytes = 0;
};

struct Attribute {
    std::string name, type;
    std::uint64_t at = 0, size = 0;
};

class Header {
public:
    Header(FileBytes& file, const SizeLimit& limit)
        : mFile(file), mLimit(limit), mSize(file.size()) {}

    void check() {
        constexpr std::uint64_t multipart = 0x1000;
        constexpr std::uint64_t firstAttribute = 8;
        constexpr int mostParts = 1024;
        const bool isMultipart = (number(4, 4) & multipart) != 0;
        mAt = firstAttribute;
        for (int i = 0; i < mostParts; ++i) {
            std::string name = text();
            if (name.empty() && i > 0) {
                return;
            }
            checkPart(std::move(name));
            if (!isMultipart) {
                return;
            }
        }
        refuse("it has more than " + std::to_string(mostParts) + " parts");
    }

private:
    [[noreturn]] static void refuse(const std::string& what) {
        throw Error("it is damaged or cut off: " + what);
    }

    std::uint64_t number(std::uint64_t at, std::size_t size) {
        const auto value = mFile.number(at, size, false);
        if (!value) {
            refuse("its header doesn't end");
        }
        return *value;
    }

    std::string text() {
        constexpr std::size_t longest = 256;
        std::string found = mFile.at(mAt, longest);
        const std::size_t end = found.find('\0');
        if (end == std::string::npos) {
            refuse("its header doesn't end");
        }
        found.resize(end);
        mAt += end + 1;
        return found;
    }

    void checkPart(std::string name) {
        Part part;
        while (!name.empty()) {
            Attribute attribute;
            attribute.name = std::move(name);
            attribute.type = text();
            attribute.size = number(mAt, 4);
            attribute.at = mAt + 4;
            if (attribute.size > mSize - std::min(mSize, attribute.at)) {
                refuse("its attribute '" + attribute.name + "' is longer than the file");
            }
            read(attribute, part);
            mAt = attribute.at + attribute.size;
            name = text();
        }
        checkRoom(part);
    }

    void read(const Attribute& attribute, Part& part) {
        const std::uint64_t at = attribute.at;
        if (attribute.name == "dataWindow") {
            part.width = side(at, at + 8);
            part.height = side(at + 4, at + 12);
        } else if (attribute.name == "compression") {
            constexpr std::array<std::uint64_t, 10> lines{1, 1, 1, 16, 32, 16, 32, 32, 32, 256};
            part.linesAtOnce = lines.at(std::min<std::uint64_t>(number(at, 1), lines.size() - 1));
        } else if (attribute.name == "tiles") {
            part.tileWidth = number(at, 4);
            part.tileHeight = number(at + 4, 4);
        } else if (attribute.name == "channels") {
            part.pixelBytes = pixelBytes(at, at + attribute.size);
        } else if (attribute.type == "stringvector") {
            checkTexts(attribute);
        } else if (attribute.type == "preview") {
            const std::uint64_t pixels = number(at, 4) * number(at + 4, 4);
            if (pixels > attribute.size) {
                refuse("its preview is larger than its attribute");
            }
        }
    }

    // From the first pixel to the last, both with signs.
    std::uint64_t side(std::uint64_t first, std::uint64_t last) {
        const auto from = static_cast<std::int32_t>(static_cast<std::uint32_t>(number(first, 4)));
        const auto to = static_cast<std::int32_t>(static_cast<std::uint32_t>(number(last, 4)));
        return to < from ? 0 : static_cast<std::uint64_t>(std::int64_t{to} - from + 1);
    }

    std::uint64_t pixelBytes(std::uint64_t at, std::uint64_t end) {
        constexpr std::uint64_t half = 1;
        constexpr std::uint64_t lastType = 2;
        std::uint64_t bytes = 0;
        const std::uint64_t before = std::exchange(mAt, at);
        while (mAt < end && !text().empty()) {
            const std::uint64_t type = number(mAt, 4);
            if (type > lastType) {
                refuse("its channels are of a type " + std::to_string(type));
            }
            bytes += type == half ? 2 : 4;
            mAt += 16;
        }
        mAt = before;
        return bytes;
    }

    void checkTexts(const Attribute& attribute) {
        const std::uint64_t end = attribute.at + attribute.size;
        for (std::uint64_t at = attribute.at; at < end;) {
            const std::uint64_t size = number(at, 4);
            at += 4 + size;
            if (at > end) {
                refuse("a text of its attribute '" + attribute.name + "' is longer than that");
            }
        }
    }

    void checkRoom(const Part& part) {
        checkStillSize(part.width, part.height, mLimit);
        const bool isTiled = part.tileWidth > 0 && part.tileHeight > 0;
        const std::uint64_t columns = isTiled ? part.tileWidth : part.width;
        const std::uint64_t lines = isTiled ? part.tileHeight : part.linesAtOnce;
        constexpr double bytesPerPixel = 64;
        const double atOnce = 1.0 * static_cast<double>(columns) * static_cast<double>(lines) *
                              static_cast<double>(part.pixelBytes);
        if (atOnce > std::max(leastRoom, static_cast<double>(mLimit.pixels()) * bytesPerPixel)) {
            refuse("it packs " + std::to_string(columns) + "x" + std::to_string(lines) +
                   " pixels together");
        }
        constexpr std::uint64_t entry = 8; // of the table that says where each piece is
        const std::uint64_t pieces =
            ((part.width - 1) / columns + 1) * ((part.height - 1) / lines + 1);
        if (pieces > mSize / entry) {
            refuse("it has fewer bytes than pieces");
        }
    }

    static constexpr double leastRoom = 1 << 24;

    FileBytes& mFile;
    const SizeLimit& mLimit;
    std::uint64_t mSize;
    std::uint64_t mAt = 0;
};

} // namespace

void checkExr(FileBytes& file, const SizeLimit& limit) {
    Header(file, limit).check();
}

} // namespace Vexorel::PrismDrift::Host
