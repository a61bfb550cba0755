// Headers that OpenImageIO's readers would believe, changed byte by byte in files that are whole.

#include "Host/Media/StillHeader.h"
#include "Host/Library/Error.h"
#include "Tests/Host/MediaTest.h"

using namespace Vexorel::PrismDrift::Host;
using namespace std::string_literals;

namespace {

class StillHeaderTest : public MediaTest {
protected:
    /// That such a file is refused for this reason; without one, that it passes.
    void expectVerdict(const std::string& format, const std::string& bytes,
                       const std::string& reason) const {
        std::ofstream(path("still"), std::ios::binary) << bytes;
        const SizeLimit limit(AV_CODEC_ID_NONE, 1 << 16);
        const std::string found = errorOf([&] { checkStillHeader(path("still"), format, limit); });
        EXPECT_EQ(found.empty(), reason.empty()) << format << " " << reason << ": " << found;
        EXPECT_THAT(found, testing::HasSubstr(reason)) << format;
    }
};

/// In so many bytes.
std::string number(std::uint64_t value, int size, bool isBigEndian) {
    std::string bytes;
    for (int i = 0; i < size; ++i) {
        bytes += static_cast<char>(value >> 8 * (isBigEndian ? size - 1 - i : i));
    }
    return bytes;
}
std::string attribute(const std::string& name, const std::string& type, const std::string& value) {
    return name + '\0' + type + '\0' + number(value.size(), 4, false) + value;
}
std::string box(std::int64_t x, std::int64_t y, std::int64_t endX, std::int64_t endY) {
    std::string bytes;
    for (const std::int64_t edge : {x, y, endX, endY}) {
        bytes += number(static_cast<std::uint64_t>(edge), 4, false);
    }
    return bytes;
}

std::string exr(const std::string& further, const std::string& window = box(-4, 0, 15, 9)) {
    const std::string half = number(1, 4, false) + std::string(12, '\0');
    return "v/1\1\2\0\0\0"s + attribute("channels", "chlist", "R\0"s + half + '\0') +
           attribute("compression", "compression", "\3") +
           attribute("dataWindow", "box2i", window) + further + '\0' + std::string(400, '\0');
}

TEST_F(StillHeaderTest, OfOpenExrHasRoomForWhatItNames) {
    std::string lying = attribute("owner", "string", "me");
    lying.replace(13, 4, "\xf0\xff\xff\x7f");
    const auto tiles = [](std::uint64_t width, std::uint64_t height) {
        return attribute("tiles", "tiledesc",
                         number(width, 4, false) + number(height, 4, false) + '\0');
    };
    const struct {
        std::string bytes;
        const char* reason;
    } rows[] = {
        {exr(""), ""},
        {exr(attribute("names", "stringvector", number(2, 4, false) + "ab")), ""},
        {exr(tiles(8, 8)), ""},
        {exr(lying), "its attribute 'owner' is longer than the file"},
        {exr(attribute("names", "stringvector", number(3, 4, false) + "ab")),
         "a text of its attribute 'names' is longer than that"},
        {exr(attribute("preview", "preview", number(65536, 4, false) + number(65536, 4, false))),
         "its preview is larger than its attribute"},
        {exr(attribute("channels", "chlist", "R\0\3"s + std::string(16, '\0'))),
         "its channels are of a type 3"},
        {exr("", box(0, 0, -1, 9)), "it names a size of 0x10"},
        {exr("", box(-2147483648, 0, 2147483647, 0)), "it names a size of 4294967296x1"},
        {exr("", box(0, 0, 299, 299)), "its 300x300 pixels are more than 65536"},
        {exr("", box(0, 0, 0, 65535)), "it has fewer bytes than pieces"},
        {exr(tiles(1, 1)), "it has fewer bytes than pieces"},
        {exr(tiles(65536, 65536)), "it packs 65536x65536 pixels together"},
        {exr("").substr(0, 60), "its header doesn't end"},
        {"v/1\1\2\x10\0\0"s + exr("").substr(8, exr("").size() - 408) +
             exr("", box(0, 0, -1, 9)).substr(8),
         "it names a size of 0x10"},
    };
    for (const auto& [bytes, reason] : rows) {
        expectVerdict("openexr", bytes, reason);
    }
}

struct Field {
    std::size_t at;
    int size;
    std::uint64_t value;
};

TEST_F(StillHeaderTest, OfDpxAndCineonNameWhatTheFileHas) {
    const std::vector<Field> dpx = {{4, 4, 2048},   {32, 4, 0xffffffff}, {770, 2, 1},
                                    {772, 4, 24},   {776, 4, 20},        {803, 1, 10},
                                    {808, 4, 2048}, {812, 4, 0xffffffff}};
    const std::vector<Field> cineon = {{4, 4, 1024}, {16, 4, 0},   {193, 1, 1},
                                       {198, 1, 10}, {200, 4, 24}, {204, 4, 20}};
    const struct {
        const char* format;
        Field change;
        const char* reason;
    } rows[] = {
        {"dpx", {0, 0, 0}, ""},
        {"dpx", {4, 4, 1 << 20}, "its pixels begin behind its end"},
        {"dpx", {32, 4, 0xfffffff0}, "its header names more bytes than it has"},
        {"dpx", {770, 2, 9}, "it names 9 elements"},
        {"dpx", {770, 2, 0}, "it names 0 elements"},
        {"dpx", {772, 4, 0xffffffff}, "it names a size of 4294967295x20"},
        {"dpx", {776, 4, 60000}, "its 24x60000 pixels are more than 65536"},
        {"dpx", {776, 4, 2000}, "its pixels go on behind its end"},
        {"dpx", {803, 1, 9}, "it names a depth of 9 bits"},
        {"dpx", {812, 4, 0x10000000}, "it names 268435456 bytes behind each row"},
        {"cineon", {0, 0, 0}, ""},
        {"cineon", {4, 4, 1 << 20}, "its pixels begin behind its end"},
        {"cineon", {16, 4, 0x80000000}, "its header names more bytes than it has"},
        {"cineon", {193, 1, 0}, "it names 0 elements"},
        {"cineon", {193, 1, 2}, "it names a depth of 0 bits"},
        {"cineon", {198, 1, 11}, "it names a depth of 11 bits"},
        {"cineon", {204, 4, 0}, "it names a size of 24x0"},
    };
    for (const auto& [format, change, reason] : rows) {
        for (const bool isBigEndian : {true, false}) {
            const bool isDpx = format == "dpx"s;
            std::string bytes(4096, '\0');
            const std::string mark = isDpx ? "SDPX" : "\x80\x2a\x5f\xd7";
            bytes.replace(0, 4, isBigEndian ? mark : std::string(mark.rbegin(), mark.rend()));
            std::vector<Field> fields = isDpx ? dpx : cineon;
            fields.push_back(change);
            for (const Field& field : fields) {
                bytes.replace(field.at, static_cast<std::size_t>(field.size),
                              number(field.value, field.size, isBigEndian));
            }
            expectVerdict(format, bytes, reason);
        }
    }
}

} // namespace
