#include "Host/Media/Picture.h"

#include "Host/Media/ClipError.h"
#include "Tests/Host/MediaTest.h"

#include <cmath>
#include <cstring>
#include <sys/stat.h>

using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class PictureTest : public MediaTest {
protected:
    // A picture of raw pixels.
    void makePicture(const std::string& name, const std::string& format, int width, int height,
                     const std::string& bytes, const std::string& options = "") const {
        std::ofstream(path("raw"), std::ios::binary) << bytes;
        ffmpeg("-f rawvideo -pix_fmt " + format + " -s " + std::to_string(width) + "x" +
               std::to_string(height) + " -i raw -frames:v 1 " + options + " -update 1 " + name);
    }
};

std::vector<int> pixel(const World& world, int x, int y = 0) {
    const std::uint8_t* at = world.row(y) + x * std::ptrdiff_t{4};
    return {at, at + 4};
}

TEST_F(PictureTest, LosslessFormatsKeepEveryBitAndLostAlphaIsReported) {
    const std::vector<std::string> names[] = {
        {"a.bmp", "a.ppm", "A.WEBP", "a.TIFF"},
        {"a.png", "a.tif", "a.tga", "a.pam", "a.sgi", "a.qoi", "a:b %d*[1]?.png"}};
    for (const bool alpha : {false, true}) {
        for (const std::string& name : names[alpha]) {
            for (const auto& [width, height] : {std::pair{1, 1}, {33, 1}, {1, 7}, {641, 5}}) {
                const Picture picture{noise(width, height, alpha), {}};
                EXPECT_THAT(writePicture(path(name), picture), testing::IsEmpty()) << name;
                EXPECT_EQ(difference(readPicture(path(name)).world, picture.world).second, 0)
                    << name << " " << width << "x" << height;
            }
        }
    }
    EXPECT_EQ(fileCount(), 11);
    const Picture picture{noise(40, 30, true), {}};
    EXPECT_THAT(writePicture(path("a.ppm"), picture),
                testing::ElementsAre("'" + path("a.ppm").string() +
                                     "': PPM has no transparency: the alpha is lost"));
    EXPECT_EQ(difference(readPicture(path("a.ppm")).world, picture.world, false).second, 0);
}

TEST_F(PictureTest, DepthsAndPalettesAreReducedExactly) {
    std::string ramp; // every value of 16 bits, which is rounded to the nearest of 8
    for (int value = 0; value < 65536; ++value) {
        ramp += {static_cast<char>(value >> 8), static_cast<char>(value)};
    }
    makePicture("gray16.png", "gray16be", 256, 256, ramp);
    const Picture gray = readPicture(path("gray16.png"));
    EXPECT_EQ(gray.depth.bits, 16);
    for (int value = 0; value < 65536; ++value) {
        ASSERT_EQ(gray.world.row(value / 256)[value % 256 * 4 + 2], std::lround(value / 257.0));
    }
    std::string palette(1024, '\0');
    palette.replace(4, 4, "\x03\x02\x01\x80"); // blue, green, red, alpha of entry 1
    const struct {
        const char* name;
        const char* format;
        int width;
        std::string bytes;
        int x;
        std::vector<int> expected;
    } cases[] = {
        {"a.png", "rgba64be", 1, {"\x01\x80\x80\x80\xff\x7e\x00\x81", 8}, 0, {1, 1, 128, 254}},
        {"a.png", "ya8", 2, "\x10\x20\x30\x40", 1, {64, 48, 48, 48}},
        {"a.png", "gray", 2, "\x11\x99", 1, {255, 153, 153, 153}},
        {"a.png", "monob", 8, "\x40", 0, {255, 0, 0, 0}},
        {"a.png", "monob", 8, "\x40", 1, {255, 255, 255, 255}},
        {"a.pbm", "monow", 8, "\x40", 1, {255, 0, 0, 0}},
        {"a.png", "pal8", 1, "\x01" + palette, 0, {128, 1, 2, 3}},
    };
    for (const auto& row : cases) {
        makePicture(row.name, row.format, row.width, 1, row.bytes);
        EXPECT_EQ(pixel(readPicture(path(row.name)).world, row.x), row.expected) << row.format;
    }
}

TEST_F(PictureTest, JpegKeepsColoursAndRange) {
    const int side = 48;
    for (const std::string& colour :
         {"\xff\x00\x00"s, "\x00\xff\x00"s, "\x00\x00\xff"s, "\xff\xff\xff"s, "\x03\x04\x05"s}) {
        Picture flat{World(side, side), {}};
        std::string raw;
        for (int i = 0; i < side * side; ++i) {
            raw += colour;
            std::memcpy(flat.world.row(i / side) + 4 * (i % side), ("\xff" + colour).data(), 4);
        }
        // One coded by somebody else with reduced chroma, and one of ours.
        makePicture("theirs.jpg", "rgb24", side, side, raw, "-q:v 1 -pix_fmt yuvj420p");
        writePicture(path("ours.jpg"), flat);
        for (const char* name : {"theirs.jpg", "ours.jpg"}) {
            EXPECT_LE(difference(readPicture(path(name)).world, flat.world).second, 3) << name;
        }
    }
}

TEST_F(PictureTest, ColourProfilesStay) {
    Picture picture{noise(4, 4, false), std::vector<std::uint8_t>(200, 7)};
    for (const std::string space : {"RGB ", "GRAY"}) {
        std::copy_n(space.data(), 4, picture.colorProfile.begin() + 16);
        writePicture(path("a.png"), picture);
        EXPECT_EQ(readPicture(path("a.png")).colorProfile,
                  space == "RGB " ? picture.colorProfile : std::vector<std::uint8_t>());
    }
}

TEST_F(PictureTest, WhatIsNoPictureIsRefusedWithItsReason) {
    std::vector<std::pair<std::string, const char*>> cases = {
        {"text.png", "no picture"},
        {"text", "no picture"},
        {"empty.png", "the file is empty"},
        {"list.txt", "a list of other files"},
        {"huge.ppm", "1000000x1000000"},
        {"wide.ppm", "70000x1 pixels is too large"},
        {"none.png", "No such file"},
        {"folder", "it is a directory"},
        {"http://host/a.png", "No such file"},
        {"drawing", "no picture"},
        {"drawing.svg", "format, svg, isn't"},
        {"upside.pfm", "format isn't read"},
        {"secret.dpx", "isn't read"}};
    for (const std::string ending : {"png", "jpg", "tif", "webp", "bmp", "tga"}) {
        const std::string name = "cut." + ending;
        writePicture(path(name), {noise(300, 300, false), {}});
        fs::resize_file(path(name), fs::file_size(path(name)) / 2);
        cases.emplace_back(name, "cut off");
    }
    std::ofstream(path("text.png")) << "no picture\n";
    fs::create_directory(path("folder"));
    std::ofstream(path("text")) << "no picture\n";
    std::ofstream(path("empty.png")) << "";
    std::ofstream(path("list.txt")) << "ffconcat version 1.0\nfile cut.png\n";
    for (const char* name : {"drawing", "drawing.svg"}) {
        std::ofstream(path(name))
            << "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>";
    }
    std::ofstream(path("upside.pfm")) << "Pf\n1 1\n-1.0\nabcd";
    makePicture("secret.dpx", "rgb24", 2, 1, "abcdef");
    std::fstream(path("secret.dpx"), std::ios::in | std::ios::out | std::ios::binary).seekp(660)
        << "key.";
    std::ofstream(path("huge.ppm")) << "P6\n1000000 1000000\n255\nabc";
    std::ofstream(path("wide.ppm")) << "P6\n70000 1\n255\n" << std::string(210000, 'a');
    for (const auto& [name, reason] : cases) {
        EXPECT_THAT(errorOf([&, file = path(name)] { readPicture(file); }),
                    AllOf(StartsWith("cannot read '" + name + "': "), HasSubstr(reason),
                          Not(HasSubstr("\n"))));
    }
}

TEST_F(PictureTest, LimitsHoldBeforeAnythingIsUnpacked) {
    Picture picture{noise(20, 10, false), std::vector<std::uint8_t>(200, 7)};
    std::copy_n("RGB ", 4, picture.colorProfile.begin() + 16);
    writePicture(path("a.png"), picture);
    std::vector<std::string> warnings;
    ReadLimits limits;
    limits.warn = [&](const Error& error) { warnings.emplace_back(error.what()); };
    for (const auto& [bytes, isKept] : {std::pair(199, false), {300, true}}) {
        limits.metadata = bytes;
        const Picture read = readPicture(path("a.png"), limits);
        EXPECT_EQ(difference(read.world, picture.world).second, 0);
        EXPECT_EQ(read.colorProfile.empty(), !isKept);
    }
    EXPECT_THAT(warnings, testing::ElementsAre(HasSubstr("a.png' texts or profiles beyond")));
    // Of a sequence, once for all of its pictures.
    fs::copy_file(path("a.png"), path("s.1.png"));
    fs::copy_file(path("a.png"), path("s.2.png"));
    ClipInput sequence;
    sequence.file = path("s.%d.png");
    sequence.limits = limits;
    sequence.limits.metadata = 199;
    const auto reader = openClip(sequence);
    while (reader->next()) {
    }
    EXPECT_THAT(warnings,
                testing::ElementsAre(testing::_, HasSubstr("s.1.png' texts or profiles beyond")));
    limits.pixels = 199;
    EXPECT_EQ(errorOf([&] { readPicture(path("a.png"), limits); }),
              "cannot read 'a.png': its 20x10 pixels are more than 199");
    std::fstream(path("a.png"), std::ios::in | std::ios::out | std::ios::binary).seekp(16)
        << std::string("\0\0\x3e\x80\0\0\x3e\x80", 8); // 16000x16000
    EXPECT_THAT(errorOf([&] { readPicture(path("a.png")); }),
                HasSubstr("bytes cannot hold 16000x16000 pixels"));
}

TEST_F(PictureTest, DamagedMetadataAreLeftOutAndDamagedPixelsRefused) {
    const std::string junk = "Exif\0\0junk junk"s;
    const std::string cut = "Exif\0\0II*\0\x08\0\0\0\x09\0"s;
    const std::string profile = "\0\0\0\x06iCCPa\0\0abc"s;
    const std::string badSum = "abcd";
    const struct {
        const char* name;
        std::size_t place;    // 0: at the end
        std::string inserted; // JPEG's with the marker alone
    } cases[] = {
        {"junk.jpg", 2, "\xff\xe1" + junk},
        {"cut.jpg", 2, "\xff\xe1" + cut},
        {"short.jpg", 2,
         "\xff\xe3"
         "ab"},
        {"text.png", 33, "\0\0\0\x03tEXta\0b"s + badSum},
        {"gamma.png", 33, "\0\0\0\x04gAMAabcd"s + badSum},
        {"profile.png", 33, profile + "\xa4\x6d\x10\x98"},
        {"junk.webp", 0, "EXIF\x04\0\0\0junk"s},
    };
    ReadLimits limits;
    int warnings = 0;
    limits.warn = [&](const Error& error) {
        EXPECT_THAT(error.what(), HasSubstr("damaged metadata are left out"));
        ++warnings;
    };
    const Picture picture{noise(40, 30, false), {}};
    writePicture(path("in.png"), picture);
    shell("convert in.png a.tif; "
          "LC_ALL=C sed -i 's/\\x29\\x01\\x03/\\x29\\x01\\x01/' a.tif");
    EXPECT_EQ(difference(readPicture(path("a.tif"), limits).world, picture.world).second, 0);
    for (const auto& [name, place, inserted] : cases) {
        const std::string ending = fs::path(name).extension();
        writePicture(path("fine" + ending), picture);
        std::ostringstream text;
        text << std::ifstream(path("fine" + ending), std::ios::binary).rdbuf();
        std::string bytes = text.str();
        std::string part = inserted;
        if (ending == ".jpg") {
            part.insert(2, {'\0', static_cast<char>(part.size())});
        }
        bytes.insert(place > 0 ? place : bytes.size(), part);
        if (ending == ".webp") {
            bytes[4] = static_cast<char>(bytes.size() - 8);
            bytes[5] = static_cast<char>((bytes.size() - 8) >> 8);
        }
        std::ofstream(path(name), std::ios::binary) << bytes;
        warnings = 0;
        const World expected = readPicture(path("fine" + ending)).world;
        EXPECT_EQ(errorOf([&, file = path(name)] {
                      EXPECT_EQ(difference(readPicture(file, limits).world, expected).second, 0);
                  }),
                  "")
            << name;
        EXPECT_EQ(warnings, 1) << name;
        bytes.resize(bytes.size() - 900);
        std::ofstream(path(name), std::ios::binary) << bytes;
        EXPECT_NE(errorOf([&, file = path(name)] { readPicture(file, limits); }), "") << name;
    }
}

TEST_F(PictureTest, ATiffIsReadRightOrRefusedByName) {
    const Picture picture{noise(83, 61, false), {}};
    writePicture(path("in.png"), picture);
    const struct {
        const char *options, *expected;
    } cases[] = {
        {"-compress LZW -interlace plane", ""},
        {"-compress Zip -define tiff:rows-per-strip=8 -depth 16 -define tiff:endian=msb", ""},
        {"-orient LeftBottom", ""}, // its rows are columns, to be read from the bottom
        {"-channel A -evaluate set 60% -define tiff:alpha=associated", ""},
        {"b.tif; LC_ALL=C sed 's/R\\x01\\x03\\x00\\x01\\x00\\x00\\x00\\x02/"
         "S\\x01\\x03\\x00\\x01\\x00\\x00\\x00\\x04/' b.tif >a.tif; :",
         ""}, // its numbers are of an undefined kind
        {"-define tiff:tile-geometry=32x32", ""},
        {"-define tiff:endian=msb -compress JPEG -quality 100 -sampling-factor 1x1", ""},
        {"-depth 16 -define quantum:format=floating-point -compress LZW", ""},
        {"-colorspace CMYK -depth 16", "its TIFF has other inks than CMYK, .*: save it as RGB"},
        {"-alpha off -colorspace Lab", "its TIFF has other colours than .*"},
    };
    for (const auto& [options, expected] : cases) {
        SCOPED_TRACE(options);
        const bool isTurned = std::string(options).find("orient") != std::string::npos;
        shell("convert in.png " + std::string(isTurned ? "-rotate 90 " : "") +
              "-depth 8 -alpha set " + options + " a.tif");
        const std::string error = errorOf([&] {
            const World read = readPicture(path("a.tif")).world;
            EXPECT_LE(difference(read, picture.world, false).second, 1);
        });
        EXPECT_THAT(error, testing::MatchesRegex(
                               *expected ? std::string("cannot read 'a.tif': ") + expected : ""));
    }
}

TEST_F(PictureTest, FewBytesMayStandForALargePicture) {
    const struct {
        const char *name, *command;
    } cases[] = {
        {"part.gif", "convert -page 2200x2200+5+5 -size 4x4 xc:red part.gif; "
                     "convert part.gif -coalesce fine.png"},
        {"early.bmp", // in run lengths, with no more than four white pixels
         "printf 'BM\\102\\0\\0\\0\\0\\0\\0\\0\\76\\0\\0\\0\\50\\0\\0\\0\\230\\10\\0\\0\\230\\10"
         "\\0\\0\\1\\0\\10\\0\\1\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0\\0\\2\\0\\0\\0\\0\\0\\0"
         "\\0\\12\\24\\36\\0\\377\\377\\377\\0\\4\\1\\0\\1' >early.bmp; convert -size 2200x2200 "
         "'xc:rgb(30,20,10)' -fill white -draw 'rectangle 0,2199 3,2199' fine.png"},
    };
    for (const auto& [name, command] : cases) {
        shell(command);
        const World read = readPicture(path(name)).world;
        EXPECT_EQ(difference(read, readPicture(path("fine.png")).world).second, 0) << name;
    }
}

TEST_F(PictureTest, AFailedWriteLeavesEverythingAsItWas) {
    const Picture picture{noise(400, 400, false), {}};
    const auto refused = [&](const std::string& name) {
        return errorOf([&] { writePicture(path(name), picture); });
    };
    std::ofstream(path("kept.png")) << "kept";
    fs::create_directory(path("folder.png"));
    ASSERT_EQ(mkfifo(path("pipe.png").c_str(), 0600), 0);
    EXPECT_THAT(refused("kept.xyz"), HasSubstr("one of .png"));
    EXPECT_THAT(refused("kept"), HasSubstr("one of .png"));
    EXPECT_THAT(refused("none/kept.png"), HasSubstr("No such file"));
    EXPECT_THAT(refused("folder.png"), HasSubstr("it is a directory"));
    EXPECT_THAT(refused("pipe.png"), HasSubstr("not a plain file"));
    EXPECT_THAT(errorOf([&] { checkPictureSize(path("a.webp"), 9, 16384); }),
                HasSubstr("WebP takes at most 16383 pixels a side, not 9x16384"));

    EXPECT_EQ(errorWithLimit(1000, [&] { writePicture(path("kept.png"), picture); }),
              "cannot write 'kept.png': File too large");
    EXPECT_EQ(fs::file_size(path("kept.png")), 4U);
    EXPECT_EQ(fileCount(), 3);

    // A link stays one, and a new file has a new file's permissions.
    fs::create_symlink("kept.png", path("link.png"));
    writePicture(path("link.png"), picture);
    EXPECT_TRUE(fs::is_symlink(path("link.png")));
    const mode_t mask = umask(027);
    fs::remove(path("kept.png"));
    writePicture(path("kept.png"), picture);
    umask(mask);
    EXPECT_EQ(fs::status(path("kept.png")).permissions(), fs::perms(0640));
    EXPECT_EQ(fileCount(), 4);
}

} // namespace
