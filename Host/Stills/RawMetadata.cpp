#include "Host/Stills/RawMetadata.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view exifHead = "Exif\0\0"sv;
constexpr std::string_view xmpHead = "http://ns.adobe.com/xap/1.0/\0"sv;
constexpr std::string_view pngXmpHead = "XML:com.adobe.xmp\0\0\0\0\0"sv; // not packed

constexpr unsigned char app1 = 0xE1;
constexpr unsigned char app2 = 0xE2;
constexpr unsigned char comment = 0xFE;
constexpr unsigned char app13 = 0xED;

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

std::size_t number(std::string_view bytes, std::size_t at, std::size_t size, bool isBigEndian) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value =
            value << 8U | static_cast<unsigned char>(bytes[at + (isBigEndian ? i : size - 1 - i)]);
    }
    return value;
}

// A segment of a JPEG before its pixels.
struct Segment {
    unsigned char type = 0;
    std::size_t begin = 0, end = 0; // with its marker
};

std::optional<Segment> segmentAt(std::string_view file, std::size_t at) {
    constexpr unsigned char startOfScan = 0xDA;
    if (at + 4 > file.size() || static_cast<unsigned char>(file[at]) != 0xFF) {
        return std::nullopt;
    }
    const Segment segment{static_cast<unsigned char>(file[at + 1]), at,
                          at + 2 + number(file, at + 2, 2, true)};
    if (segment.type == startOfScan || segment.end > file.size() || segment.end < at + 4) {
        return std::nullopt;
    }
    return segment;
}

// The first directory's orientation becomes upright; what isn't EXIF becomes nothing.
std::string upright(std::string exif) {
    constexpr std::size_t entrySize = 12;
    constexpr std::size_t orientation = 0x112;
    const bool isBigEndian = startsWith(exif, "MM\0*"sv);
    if (exif.size() < 8 || (!isBigEndian && !startsWith(exif, "II*\0"sv))) {
        return {};
    }
    const std::size_t directory = number(exif, 4, 4, isBigEndian);
    if (directory + 2 > exif.size()) {
        return {};
    }
    const std::size_t count = number(exif, directory, 2, isBigEndian);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * entrySize;
        if (entry + entrySize > exif.size()) {
            return {};
        }
        if (number(exif, entry, 2, isBigEndian) == orientation) {
            exif[entry + 8] = isBigEndian ? '\0' : '\1';
            exif[entry + 9] = isBigEndian ? '\1' : '\0';
        }
    }
    const std::size_t next = directory + 2 + count * entrySize; // the directory of a thumbnail
    for (std::size_t i = next; i < std::min(next + 4, exif.size()); ++i) {
        exif[i] = '\0';
    }
    return exif;
}

// XMP may repeat the orientation.
std::string uprightXmp(std::string xmp) {
    for (const std::string_view name :
         {"tiff:Orientation=\""sv, "tiff:Orientation='"sv, "<tiff:Orientation>"sv}) {
        const std::size_t at = xmp.find(name);
        if (at != std::string::npos && at + name.size() < xmp.size()) {
            xmp[at + name.size()] = '1';
        }
    }
    return xmp;
}

RawMetadata ofJpeg(std::string_view file) {
    RawMetadata found;
    found.isOfJpeg = true;
    for (auto segment = segmentAt(file, 2); segment; segment = segmentAt(file, segment->end)) {
        const std::string_view whole = file.substr(segment->begin, segment->end - segment->begin);
        const std::string_view data = whole.substr(4);
        if (segment->type == app1 && startsWith(data, exifHead) && found.exif.empty()) {
            found.exif = upright(std::string(data.substr(exifHead.size())));
        } else if (segment->type == app1 && startsWith(data, xmpHead) && found.xmp.empty()) {
            found.xmp = uprightXmp(std::string(data.substr(xmpHead.size())));
        } else if (segment->type == app13 || segment->type == app1 || segment->type == comment) {
            found.segments.emplace_back(whole);
        } else if (segment->type == app2 && startsWith(data, "MPF\0"sv)) {
            found.hasFurtherPictures = true;
        }
    }
    return found;
}

RawMetadata ofPng(std::string_view file) {
    RawMetadata found;
    constexpr std::size_t frame = 12; // length, name and checksum
    for (std::size_t at = 8; at + frame <= file.size();) {
        const std::size_t size = number(file, at, 4, true);
        if (size > file.size() - at - frame) {
            break;
        }
        const std::string_view name = file.substr(at + 4, 4);
        const std::string_view data = file.substr(at + 8, size);
        if (name == "eXIf") {
            found.exif = upright(std::string(data));
        } else if (name == "iTXt" && startsWith(data, pngXmpHead)) {
            found.xmp = uprightXmp(std::string(data.substr(pngXmpHead.size())));
        }
        at += size + frame;
    }
    return found;
}

// Nothing for what is too long for a segment.
std::string segmentOf(std::string_view head, const std::string& data) {
    constexpr std::size_t most = 65533;
    const std::size_t size = head.size() + data.size() + 2;
    if (data.empty() || size > most) {
        return {};
    }
    std::string segment = "\xFF";
    segment += static_cast<char>(app1);
    segment += {static_cast<char>(size >> 8U), static_cast<char>(size)};
    return segment.append(head).append(data);
}

} // namespace

bool RawMetadata::hasIptc() const {
    return std::any_of(segments.begin(), segments.end(), [](const std::string& segment) {
        return static_cast<unsigned char>(segment[1]) != comment;
    });
}

std::vector<std::string> RawMetadata::comments() const {
    std::vector<std::string> texts;
    for (const std::string& segment : segments) {
        if (static_cast<unsigned char>(segment[1]) == comment) {
            texts.push_back(segment.substr(4));
        }
    }
    return texts;
}

RawMetadata rawMetadataOf(const std::vector<std::uint8_t>& file, std::size_t most) {
    const std::string_view bytes(reinterpret_cast<const char*>(file.data()), file.size());
    RawMetadata found;
    if (startsWith(bytes, "\xFF\xD8"sv)) {
        found = ofJpeg(bytes);
    } else if (startsWith(bytes, "\x89PNG"sv)) {
        found = ofPng(bytes);
    }
    std::size_t size = found.exif.size() + found.xmp.size();
    for (const std::string& segment : found.segments) {
        size += segment.size();
    }
    if (size > most) {
        found.exif.clear();
        found.xmp.clear();
        found.segments.clear();
    }
    return found;
}

void addToJpeg(const RawMetadata& metadata, std::vector<std::uint8_t>& file) {
    const std::string_view bytes(reinterpret_cast<const char*>(file.data()), file.size());
    const auto isReplaced = [&](unsigned char type, std::string_view data) {
        const bool isExif = type == app1 && startsWith(data, exifHead);
        const bool isXmp = type == app1 && startsWith(data, xmpHead);
        return isExif            ? !metadata.exif.empty()
               : isXmp           ? !metadata.xmp.empty()
               : type == comment ? metadata.isOfJpeg
                                 : type == app13 && !metadata.segments.empty();
    };
    std::string kept;
    std::size_t end = 2;
    for (auto segment = segmentAt(bytes, end); segment; segment = segmentAt(bytes, end)) {
        const std::string_view whole = bytes.substr(segment->begin, segment->end - segment->begin);
        if (!isReplaced(segment->type, whole.substr(4))) {
            kept += whole;
        }
        end = segment->end;
    }
    std::string added = segmentOf(exifHead, metadata.exif);
    added += segmentOf(xmpHead, metadata.xmp);
    for (const std::string& segment : metadata.segments) {
        added += segment;
    }
    // EXIF comes first, or behind JFIF's segment.
    const auto first = segmentAt(kept, 0);
    const bool isJfif = first && first->type == 0xE0;
    kept.insert(isJfif ? first->end : 0, added);
    std::vector<std::uint8_t> result(file.begin(), file.begin() + 2);
    result.insert(result.end(), kept.begin(), kept.end());
    result.insert(result.end(), file.begin() + static_cast<std::ptrdiff_t>(end), file.end());
    file = std::move(result);
}

std::vector<std::pair<std::string, std::string>> pngChunksOf(const RawMetadata& metadata) {
    std::vector<std::pair<std::string, std::string>> chunks;
    if (!metadata.exif.empty()) {
        chunks.emplace_back("eXIf", metadata.exif);
    }
    if (!metadata.xmp.empty()) {
        chunks.emplace_back("iTXt", std::string(pngXmpHead) + metadata.xmp);
    }
    return chunks;
}

} // namespace Vexorel::PrismDrift::Host
