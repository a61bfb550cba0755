#include "Host/Media/StillLibrary.h"

#include "Host/Media/Demuxer.h"
#include "Host/Media/FileBytes.h"
#include "Host/Media/Picture.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

// Formats that both read, and FFmpeg reads better, are not in the lists here. OpenImageIO 2.4
// multiplies a WebP's colours by alpha in 8 bits; refuses a BMP in run lengths; gets the values of
// a PNM of 16 bits wrong by one; shows a FITS upside down; ends the program at a damaged SGI;
// doesn't see where an ICO is cut off; takes gigabytes for layers that a PSD only names; and never
// comes to the end of some damaged DDS.
//
// Formats that OpenImageIO alone reads, but from which a damaged file breaks memory or doesn't
// end, are read by neither: Maya's IFF, RLA and Softimage's PIC.
constexpr const char* ffmpeg = "";

bool isAmong(std::string_view text, std::initializer_list<std::string_view> list) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

// FFmpeg gives a PNG's pixels and colour profile, and leaves out other things that stand beside
// them.
const char* ofPng(FileBytes& file) {
    constexpr std::size_t depthAt = 24;
    constexpr std::uint64_t first = 8;
    const std::string depth = file.at(depthAt, 1);
    bool isMore = !depth.empty() && depth[0] > 8;
    constexpr int most = 100000; // chunks
    std::uint64_t at = first;
    for (int i = 0; i < most; ++i) {
        const auto size = file.number(at, 4, true);
        const std::string name = file.at(at + 4, 4);
        if (!size || name == "IEND") {
            break;
        }
        if (name == "acTL") {
            return ffmpeg;
        }
        isMore = isMore || isAmong(name, {"eXIf", "iTXt", "tEXt", "zTXt", "pHYs", "gAMA", "cHRM",
                                          "sRGB", "cICP"});
        at += *size + 12;
    }
    return isMore ? "png" : ffmpeg;
}

// The tags of the first directory of a TIFF that isn't a BigTIFF.
std::vector<std::uint64_t> tagsOf(FileBytes& file, bool isBigEndian) {
    const std::uint64_t directory = file.number(4, 4, isBigEndian).value_or(0);
    const std::uint64_t count = file.number(directory, 2, isBigEndian).value_or(0);
    std::vector<std::uint64_t> tags;
    for (std::uint64_t i = 0; i < count; ++i) {
        const auto tag = file.number(directory + 2 + 12 * i, 2, isBigEndian);
        if (!tag) {
            break;
        }
        tags.push_back(*tag);
    }
    return tags;
}

const char* ofTiff(FileBytes& file, std::string_view start, const std::string& ending) {
    constexpr std::uint64_t bitsPerSample = 258;
    constexpr std::uint64_t dngVersion = 50706;
    const bool isBig = start[2] == '+' || start[3] == '+';
    const std::vector<std::uint64_t> tags = tagsOf(file, start[0] == 'M');
    const auto has = [&](std::uint64_t tag) {
        return std::find(tags.begin(), tags.end(), tag) != tags.end();
    };
    const bool isRaw = start.substr(8, 2) == "CR" ||
                       isAmong(ending, {"3fr", "arw", "cr2", "dcr", "dng", "erf", "k25", "kdc",
                                        "mef", "mos", "nef", "nrw", "pef", "sr2", "srf", "srw"}) ||
                       (!isBig && has(dngVersion));
    // A TIFF has 1 bit unless it says otherwise. OpenImageIO takes it for 8.
    const bool isBilevel = !isRaw && !isBig && !has(bitsPerSample);
    return isRaw ? "raw" : isBilevel ? ffmpeg : "tiff";
}

const char* ofIsoMedia(std::string_view start) {
    const std::string_view brand = start.substr(8, 4);
    if (brand == "crx ") {
        return "raw";
    }
    return isAmong(brand, {"heic", "heix", "heim", "heis", "mif1", "avif"}) ? "heif" : ffmpeg;
}

// A Targa has no mark at its start: one by the name, whose header may be that of one.
const char* ofTarga(std::string_view start, const std::string& ending) {
    constexpr auto types = "\1\2\3\11\12\13"sv;
    const bool isTarga = isAmong(ending, {"tga", "tpic", "vda", "icb", "vst"}) &&
                         start.size() > 17 && start[1] >= 0 && start[1] <= 1 &&
                         types.find(start[2]) != std::string_view::npos;
    return isTarga ? "targa" : ffmpeg;
}

struct Mark {
    std::string_view bytes;
    const char* format;
    std::size_t at = 0;
};

constexpr std::array marks = {
    Mark{"\xff\xd8\xff"sv, "jpeg"},
    Mark{"v/1\1"sv, "openexr"},
    Mark{"SDPX"sv, "dpx"},
    Mark{"XPDS"sv, "dpx"},
    Mark{"\x80\x2a\x5f\xd7"sv, "cineon"},
    Mark{"\xd7\x5f\x2a\x80"sv, "cineon"},
    Mark{"#?RADIANCE"sv, "hdr"},
    Mark{"#?RGBE"sv, "hdr"},
    Mark{"\0\0\0\x0cjP  "sv, "jpeg2000"},
    Mark{"\xff\x4f\xff\x51"sv, "jpeg2000"},
    Mark{"FUJIFILMCCD-RAW"sv, "raw"},
    Mark{"IIU\0"sv, "raw"},
    Mark{"IIRO"sv, "raw"},
    Mark{"IIRS"sv, "raw"},
    Mark{"MMOR"sv, "raw"},
    Mark{"HEAPCCDR"sv, "raw", 6},
    Mark{"FOVb"sv, "raw"},
};

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

std::string formatOf(const fs::path& file) {
    if (!isPlainFile(file)) {
        return ffmpeg;
    }
    FileBytes bytes(file);
    constexpr std::size_t enough = 64;
    const std::string first = bytes.at(0, enough);
    const std::string_view start = first;
    const std::string ending = endingOf(file);
    if (startsWith(start, "\x89PNG\r\n\x1a\n")) {
        return ofPng(bytes);
    }
    if (start.size() > 12 && start.substr(4, 4) == "ftyp") {
        return ofIsoMedia(start);
    }
    for (const auto mark : {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}) {
        if (startsWith(start, mark) && start.size() > 10) {
            return ofTiff(bytes, start, ending);
        }
    }
    for (const Mark& mark : marks) {
        if (start.size() > mark.at && startsWith(start.substr(mark.at), mark.bytes)) {
            return mark.format;
        }
    }
    return ofTarga(start, ending);
}

} // namespace

StillLibrary libraryFor(const fs::path& file) {
    std::string format = formatOf(file);
    // A damaged JPEG or PNG comes from OpenImageIO as if it were whole, or with a line on the
    // standard error of the program.
    const bool isChecked = format == "jpeg" || format == "png";
    return {std::move(format), isChecked};
}

} // namespace Vexorel::PrismDrift::Host
