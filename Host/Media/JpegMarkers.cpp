#include "Host/Media/JpegMarkers.h"

#include "Host/Library/Error.h"

namespace Vexorel::PrismDrift::Host {
namespace {

// The second bytes of markers; the first one is 255.
enum Marker : std::uint8_t {
    Baseline = 0xC0,
    Extended = 0xC1,
    Progressive = 0xC2,
    HuffmanTables = 0xC4,
    Restart = 0xD0, // and the seven that follow
    Start = 0xD8,
    End = 0xD9,
    Scan = 0xDA,
    ExifOrXmp = 0xE1,
    Iptc = 0xED,
    Comment = 0xFE
};

// Pixels hold a byte 255 only with a zero or a restart behind it.
bool isInPixels(std::uint8_t second) {
    return second == 0 || (second >= Restart && second < Start);
}

} // namespace

bool hasJpegMetadata(const std::uint8_t* data, std::size_t size) {
    for (std::size_t at = 2; at + 3 < size && data[at] == 0xFF && data[at + 1] != Scan;
         at += static_cast<std::size_t>(data[at + 2] << 8 | data[at + 3]) + 2) {
        const std::uint8_t marker = data[at + 1];
        if (marker == ExifOrXmp || marker == Iptc || marker == Comment) {
            return true;
        }
    }
    return false;
}

void checkJpeg(const std::uint8_t* data, std::size_t size) {
    bool isCodedByTables = false;
    bool isProgressive = false;
    bool hasTables = false;
    for (std::size_t at = 0; at + 1 < size; ++at) {
        const std::uint8_t marker = data[at + 1];
        if (data[at] != 0xFF || marker == 0xFF || marker == Start || isInPixels(marker)) {
            continue;
        }
        if (marker == End) {
            return;
        }
        isProgressive = isProgressive || marker == Progressive;
        isCodedByTables = isCodedByTables || (marker >= Baseline && marker <= Progressive);
        hasTables = hasTables || marker == HuffmanTables;
        if (marker == Scan && isCodedByTables && !hasTables) {
            throw Error("it is damaged: the tables that its pixels are coded by are missing");
        }
        if (at + 3 < size) { // over the marker's data
            at += static_cast<std::size_t>(data[at + 2] << 8 | data[at + 3]) + 1;
        }
        if (at >= size) { // where the decoder would look for markers within these data
            throw Error("it is cut off or damaged: the data of a marker reach beyond its end");
        }
    }
    if (isProgressive) {
        throw Error("it is cut off: its last marker is missing");
    }
}

} // namespace Vexorel::PrismDrift::Host
