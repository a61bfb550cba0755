#include "Host/Media/Clip.h"
#include "Host/Media/Picture.h"

#include "Tests/Host/MediaTest.h"

#include <cmath>
#include <cstring>

using namespace Vexorel::PrismDrift::Host;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

const PictureRequest stored{WorldDepth::Stored};

// Files made and read a second time by other programs.
class StillsTest : public MediaTest {
protected:
    void SetUp() override {
        shell("convert -size 37x29 plasma:red-blue +noise Gaussian -depth 16 -strip deep.png; "
              "convert deep.png \\( -size 37x29 gradient: \\) -alpha off -compose CopyOpacity "
              "-composite -depth 16 -strip clear.png");
    }

    // The channels of all pixels, red, green, blue and alpha, from 0 to 1.
    static std::vector<double> values(const World& world) {
        std::vector<double> all;
        const bool isDeep = world.format() == PF_PixelFormat_ARGB128;
        for (int y = 0; y < world.height(); ++y) {
            for (int i = 0; i < world.width() * 4; ++i) {
                const int channel = i / 4 * 4 + (i + 1) % 4;
                float value = 0;
                if (isDeep) {
                    std::memcpy(&value, world.row(y) + channel * std::ptrdiff_t{4}, 4);
                }
                all.push_back(isDeep ? value : world.row(y)[channel] / 255.0);
            }
        }
        return all;
    }

    // The same by ImageMagick.
    std::vector<double> theirs(const std::string& name, const std::string& options) const {
        const std::string bytes = shell("convert " + name + "'[0]' " + options +
                                        " -alpha set -depth 16 -endian LSB rgba:-");
        std::vector<double> all;
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
            all.push_back((static_cast<unsigned char>(bytes[i]) +
                           256 * static_cast<unsigned char>(bytes[i + 1])) /
                          65535.0);
        }
        return all;
    }

    static double greatest(const std::vector<double>& left, const std::vector<double>& right) {
        double most = left.size() == right.size() ? 0 : 1000;
        for (std::size_t i = 0; i < left.size() && most < 1000; ++i) {
            most = std::max(most, std::abs(left[i] - right[i]));
        }
        return most;
    }
};

TEST_F(StillsTest, EachKindOfFileIsReadAsItIs) {
    constexpr double exact = 1e-7;
    constexpr double level = 1.01 / 65535; // of what the other program gives
    constexpr double byte = 0.51 / 255;
    const struct {
        const char *name, *command;
        int bits;
        bool isFloat;
        double most;
        const char* readBy;
        const char* options = "";
    } rows[] = {
        {"deep.png", "", 16, false, exact,
         "FFmpeg, png; what stands beside its pixels by OpenImageIO"},
        {"clear.png", "", 16, false, exact,
         "FFmpeg, png; what stands beside its pixels by OpenImageIO"},
        {"a.tif", "convert clear.png a.tif", 16, false, exact, "OpenImageIO, tiff"},
        {"a.tif", "convert clear.png -define tiff:alpha=associated a.tif", 16, false, level,
         "OpenImageIO, tiff"},
        {"a.tif", "convert clear.png -depth 8 -define tiff:alpha=associated a.tif", 8, false, byte,
         "OpenImageIO, tiff"},
        {"a.tif", "convert deep.png -define tiff:tile-geometry=16x16 a.tif", 16, false, exact,
         "OpenImageIO, tiff"},
        {"a.tif", "convert deep.png -interlace plane -define tiff:endian=msb a.tif", 16, false,
         exact, "OpenImageIO, tiff"},
        {"a.tif", "convert deep.png -depth 8 -compress JPEG a.tif", 8, false, exact,
         "OpenImageIO, tiff"},
        {"a.tif", "convert deep.png -depth 10 a.tif", 10, false, level, "OpenImageIO, tiff"},
        {"a.tif", "convert deep.png -depth 12 a.tif", 12, false, level, "OpenImageIO, tiff"},
        {"a.tif", "convert deep.png -colorspace CMYK a.tif", 16, false, level, "OpenImageIO, tiff",
         "-colorspace sRGB"},
        {"a.tif", "convert deep.png -threshold 50% -compress Group4 a.tif", 8, false, exact,
         "OpenImageIO, tiff"},
        {"a.tif", "convert deep.png -colorspace Gray -depth 4 a.tif", 8, false, exact,
         "OpenImageIO, tiff"},
        {"a.tif", "convert deep.png -define quantum:format=floating-point -depth 32 a.tif", 32,
         true, level, "OpenImageIO, tiff"},
        {"misnamed.jpg", "convert deep.png tif:misnamed.jpg", 16, false, exact,
         "OpenImageIO, tiff"},
        {"a.dpx", "ffmpeg -v error -i deep.png -pix_fmt gbrp10be a.dpx", 10, false, level,
         "OpenImageIO, dpx", "-set colorspace sRGB"},
        {"a.dpx", "ffmpeg -v error -y -i deep.png -vf crop=36:29 -pix_fmt rgb48le a.dpx", 16, false,
         exact, "OpenImageIO, dpx", "-set colorspace sRGB"},
        {"a.hdr", "convert deep.png a.hdr", 32, true, level, "OpenImageIO, hdr",
         "-set colorspace sRGB"},
        {"a.jp2", "convert deep.png -depth 12 a.jp2", 12, false, level, "OpenImageIO, jpeg2000"},
        {"a.jpg", "convert deep.png -sampling-factor 4:2:0 a.jpg", 8, false, exact,
         "OpenImageIO, jpeg"},
        {"a.jpg", "convert deep.png -colorspace CMYK -quality 100 a.jpg", 8, false, 2 * byte,
         "OpenImageIO, jpeg", "-colorspace sRGB"},
        {"a.jpg", "convert deep.png -colorspace CMYK -quality 100 b.jpg; head -c -2 b.jpg >a.jpg",
         8, false, 2 * byte, "OpenImageIO, jpeg", "-colorspace sRGB"},
        {"a.png", "convert clear.png -depth 8 -strip a.png", 8, false, exact, "FFmpeg, png"},
        {"a.png", "convert clear.png -colors 9 -strip PNG8:a.png", 8, false, exact, "FFmpeg, png"},
        {"a.webp", "convert clear.png -define webp:lossless=true a.webp", 8, false, exact,
         "FFmpeg, webp"},
        {"a.sgi", "convert deep.png -depth 8 a.sgi", 8, false, exact, "FFmpeg, sgi"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        shell(*row.command != '\0' ? row.command : ":");
        const Picture picture = readPicture(path(row.name), {}, stored);
        EXPECT_EQ(picture.readBy, row.readBy);
        EXPECT_EQ(textOf(picture.depth), textOf(Depth{row.bits, row.isFloat}));
        const std::vector<double> expected = theirs(row.name, row.options);
        EXPECT_LE(greatest(values(picture.world), expected), row.most);
        EXPECT_LE(greatest(values(readPicture(path(row.name)).world), expected),
                  std::max(byte, row.most));
    }
}

// Rows of 37 pixels end within a word of 32 bits: some writers fill it up, and no header says so.
TEST_F(StillsTest, RowsOfDpxMayBeFilledUp) {
    const std::vector<double> expected = values(readPicture(path("deep.png"), {}, stored).world);
    for (const auto& [command, levels] :
         {std::pair("ffmpeg -v error -y -i deep.png -pix_fmt rgb24 a.dpx", 255),
          {"ffmpeg -v error -y -i deep.png -pix_fmt gbrp12be a.dpx", 4095},
          {"ffmpeg -v error -y -i deep.png -pix_fmt rgb48le a.dpx", 65535},
          {"convert deep.png -depth 8 a.dpx", 255},
          {"oiiotool deep.png -d uint8 -o a.dpx", 255},
          {"oiiotool deep.png -d uint16 -o a.dpx", 65535}}) {
        shell(command);
        EXPECT_LE(greatest(values(readPicture(path("a.dpx"), {}, stored).world), expected),
                  1.6 / levels)
            << command;
    }
}

TEST_F(StillsTest, DeepHeifKeepsItsBitsAndItsColours) {
    shell("heif-enc -b 10 deep.png -o a.heic; heif-convert a.heic a.png");
    const Picture picture = readPicture(path("a.heic"), {}, stored);
    EXPECT_EQ(textOf(picture.depth), "10 bits a channel");
    EXPECT_LE(greatest(values(picture.world), values(readPicture(path("a.png"), {}, stored).world)),
              1.0 / 1023);
    std::ostringstream text;
    text << std::ifstream(path("a.heic"), std::ios::binary).rdbuf();
    std::string bytes = text.str();
    for (std::size_t at = 0; (at = bytes.find("ispe", at)) != std::string::npos; ++at) {
        bytes[at + 11] = 99; // another width than the one that is coded
    }
    std::ofstream(path("lies.heic"), std::ios::binary) << bytes;
    EXPECT_THAT(errorOf([&] { readPicture(path("lies.heic")); }), HasSubstr("it is damaged"));
}

TEST_F(StillsTest, EveryOrientationIsTurnedUpright) {
    for (int i = 1; i <= 8; ++i) {
        const std::string number = std::to_string(i);
        shell("convert deep.png -depth 8 -orient Undefined in.tif; oiiotool in.tif --attrib "
              "Orientation " +
              number +
              " -o a.tif --attrib Exif:ExposureTime 0.5 --quality 100 "
              "-o a.jpg -d half -o a.exr; convert a.jpg b.png");
        const std::vector<double> expected = theirs("a.tif", "-auto-orient");
        for (const auto& [name, most] : {std::pair("a.tif", 1e-7), {"a.exr", 0.001}}) {
            EXPECT_LE(greatest(values(readPicture(path(name), {}, stored).world), expected), most)
                << name << number;
        }
        EXPECT_LE(greatest(values(readPicture(path("b.png")).world),
                           values(readPicture(path("a.jpg")).world)),
                  0.1)
            << number;
    }
}

TEST_F(StillsTest, NeutralFilesComeBackToTheBit) {
    shell(
        "oiiotool deep.png -d half --mulc 3 -o half.exr; oiiotool deep.png -d float -o float.exr; "
        "convert clear.png clear.tif; ffmpeg -v error -i deep.png -pix_fmt gbrp10be ten.dpx; "
        "for i in dwaa b44; do oiiotool deep.png -d half --compression $i -o $i.exr; done");
    for (const std::string name : {"deep.png", "clear.png", "half.exr", "float.exr", "dwaa.exr",
                                   "b44.exr", "clear.tif", "ten.dpx"}) {
        const Picture picture = readPicture(path(name), {}, stored);
        EXPECT_THAT(writePicture(path("again-" + name), picture), IsEmpty());
        const Picture again = readPicture(path("again-" + name), {}, stored);
        EXPECT_EQ(values(again.world), values(picture.world)) << name;
        EXPECT_EQ(again.depth, picture.depth) << name;
    }
}

// At a width whose rows end within a word of 32 bits, for readers that don't take such rows.
TEST_F(StillsTest, RowsOfDpxAreFilledUp) {
    const Picture picture = readPicture(path("deep.png"), {}, stored);
    for (const int bits : {8, 10, 12, 16}) {
        writePicture(path("out.dpx"), picture, {.depth = Depth{bits, false}});
        const double most = 1.01 / (std::pow(2, bits) - 1);
        shell("ffmpeg -v error -y -i out.dpx out.png");
        EXPECT_LE(greatest(theirs("out.dpx", "-set colorspace sRGB"), values(picture.world)), most)
            << bits;
        EXPECT_LE(greatest(theirs("out.png", ""), values(picture.world)), most) << bits;
        EXPECT_LE(
            greatest(values(readPicture(path("out.dpx"), {}, stored).world), values(picture.world)),
            most)
            << bits;
    }
}

TEST_F(StillsTest, LayersPassThroughAndAreNamedWhereTheyAreLost) {
    shell("oiiotool deep.png -d half -o c.exr; oiiotool --pattern noise 37x29 3 --chnames "
          "diffuse.R,diffuse.G,diffuse.B -d float -o d.exr; oiiotool --pattern "
          "constant:color=7.25 37x29 1 --chnames Z -d float -o z.exr; "
          "oiiotool c.exr d.exr --chappend -o layers.exr; "
          "oiiotool c.exr d.exr --attrib name b z.exr --siappendall -o parts.exr; "
          "oiiotool c.exr --crop 20x10+5+6 -o window.exr");
    const PictureRequest diffuse{WorldDepth::Stored, "diffuse"};
    for (const char* name : {"layers.exr", "parts.exr"}) {
        for (const PictureRequest& request : {stored, diffuse}) {
            writePicture(path("out.exr"), readPicture(path(name), {}, request));
            EXPECT_THAT(shell("oiiotool -a --diff out.exr " + std::string(name)),
                        HasSubstr("PASS"));
        }
        EXPECT_NE(values(readPicture(path(name), {}, diffuse).world),
                  values(readPicture(path(name), {}, stored).world));
        EXPECT_EQ(errorOf([&] {
                      readPicture(path(name), {}, {WorldDepth::Stored, "none"});
                  }),
                  "cannot read '" + std::string(name) +
                      "': it has no layer 'none'; its layers are " +
                      (std::string(name) == "parts.exr" ? "subimage00, " : "") + "diffuse");
    }
    writePicture(path("out.exr"), readPicture(path("window.exr"), {}, stored));
    EXPECT_THAT(shell("oiiotool --info -v out.exr"), HasSubstr("pixel data origin: x=5, y=6"));
    EXPECT_EQ(readPicture(path("window.exr")).world.width(), 37);
    EXPECT_THAT(writePicture(path("a.png"), readPicture(path("layers.exr"), {}, stored)),
                ElementsAre(HasSubstr("PNG holds 16 bits a channel, not floats: what lies"),
                            HasSubstr("PNG has no place for 3 further channels (diffuse.R, ")));
    EXPECT_EQ(
        errorOf([&] { readPicture(path("z.exr")); }),
        "cannot read 'z.exr': it has no red, green and blue, and no gray; its channels are Z");
}

TEST_F(StillsTest, WhatStandsBesideThePixelsStaysOrIsNamed) {
    shell("convert deep.png -density 300 -units PixelsPerInch in.jpg; oiiotool in.jpg --attrib "
          "ExposureTime 0.2499 --attrib ImageDescription hello -o in.jpg");
    const Picture picture = readPicture(path("in.jpg"));
    for (const char* name : {"out.jpg", "out.tif", "out.exr", "out.png"}) {
        writePicture(path(name), picture);
        const std::string text = shell("oiiotool --info -v " + std::string(name));
        EXPECT_THAT(text, testing::AllOf(HasSubstr("hello"),
                                         testing::ContainsRegex("XResolution: (300|299.99)"),
                                         testing::ContainsRegex("ExposureTime: 0.(24|25)")))
            << name;
    }
    EXPECT_THAT(writePicture(path("out.hdr"), picture),
                Contains(HasSubstr("Radiance HDR has no place for EXIF, IPTC and XMP")));
}

TEST_F(StillsTest, WhatIsLeftOutIsNamed) {
    shell("convert deep.png deep.png pages.tif; heif-enc deep.png deep.png -o pages.heic; oiiotool "
          "deep.png -d uint32 -o whole.tif; "
          "oiiotool deep.png -d double -o double.tif; oiiotool clear.png --ch R,G,B,A=0 -d float "
          "-o light.exr; oiiotool light.exr -d uint16 -o associated.tif; oiiotool deep.png -d half "
          "-otex levels.exr; convert deep.png -set comment "
          "hello -depth 8 text.png; mkfifo pipe");
    const std::string light = "light that covers nothing, colour at an alpha of 0, is lost";
    const struct {
        const char *in, *out;
        std::vector<std::string> lines; // parts of them
    } rows[] = {
        {"pages.tif", "out.tif", {"only the first of 2 pictures is read"}},
        {"pages.heic", "out.tif", {"only the first of 2 pictures is read"}},
        {"whole.tif", "out.tif", {"32 bits a channel are read as floats of 32"}},
        {"double.tif", "out.tif", {"floats of double precision are read as fl"}},
        {"light.exr", "out.png", {"PNG holds 16 bits a channel, not floats", light}},
        {"light.exr",
         "out.pam",
         {"PAM holds 16 bits a channel, not floats", light, "EXIF", "the transfer linear"}},
        {"light.exr", "out.tif", {}},
        {"light.exr", "out.exr", {}},
        {"associated.tif", "out.tif", {light}},
        {"levels.exr", "out.exr", {"the smaller sizes of its texture are left out"}},
        {"deep.png",
         "out.hdr",
         {"Radiance HDR holds 8 bits a channel with one exponent for all",
          "Radiance HDR has no place for how its values are coded: readers take them"}},
    };
    std::vector<std::string> lines;
    ReadLimits limits;
    limits.warn = [&](const Error& left) { lines.emplace_back(left.what()); };
    for (const auto& row : rows) {
        lines.clear();
        const Picture picture = readPicture(path(row.in), limits, stored);
        const std::vector<std::string> losses = writePicture(path(row.out), picture);
        lines.insert(lines.end(), losses.begin(), losses.end());
        ASSERT_EQ(lines.size(), row.lines.size()) << testing::PrintToString(lines);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_THAT(lines[i], HasSubstr(row.lines[i])) << row.in << row.out;
        }
    }
    EXPECT_THAT(shell("oiiotool --info -v out.exr"), Not(HasSubstr("MIP-map levels")));
    lines.clear();
    shell("(exec > /dev/null 2>&1; cat text.png > pipe) &");
    readPicture(path("pipe"), limits);
    EXPECT_THAT(lines, ElementsAre(HasSubstr("EXIF, XMP, IPTC and texts of its pic")));
    shell("(exec > /dev/null 2>&1; cat pages.tif > pipe) &");
    ClipInput input;
    input.file = path("pipe");
    EXPECT_EQ(errorOf([&] { openClip(input); }),
              "cannot read 'pipe': a picture in the format tiff can't come from a pipe: give the "
              "name of its file");
    shell("convert deep.png -set comment hello -colorspace CMYK inks.jpg; "
          "(exec > /dev/null 2>&1; cat inks.jpg > pipe) &");
    EXPECT_EQ(errorOf([&] { readPicture(path("pipe")); }),
              "cannot read 'pipe': a JPEG of inks (CMYK) is read of a file of its own alone");
    Picture profiled = readPicture(path("deep.png"));
    profiled.colorProfile.resize(200);
    EXPECT_THAT(writePicture(path("out.exr"), profiled),
                ElementsAre(HasSubstr("OpenEXR has no place for a colour profile")));
}

TEST_F(StillsTest, WhatIsCutOffOrShownWrongIsRefused) {
    shell(
        "convert deep.png a.tif; convert deep.png a.dpx; convert deep.png a.hdr; convert deep.png "
        "a.jp2; convert deep.png -interlace JPEG a.jpg; oiiotool deep.png -d half -o a.exr; "
        "oiiotool deep.png -d uint8 -o a.tga -o a.rla -o a.iff; convert deep.png a.dds; "
        "convert clear.png -colorspace CMYK inks.tif");
    for (const std::string ending :
         {"tif", "dpx", "hdr", "jp2", "jpg", "exr", "tga", "rla", "iff", "dds"}) {
        for (const double part : {0.5, 0.8}) {
            const auto size = static_cast<double>(std::filesystem::file_size(path("a." + ending)));
            std::filesystem::copy_file(path("a." + ending), path("cut." + ending),
                                       std::filesystem::copy_options::overwrite_existing);
            std::filesystem::resize_file(path("cut." + ending),
                                         static_cast<std::uintmax_t>(size * part));
            EXPECT_NE(errorOf([&] { readPicture(path("cut." + ending)); }), "") << ending << part;
        }
    }
    EXPECT_THAT(errorOf([&] { readPicture(path("inks.tif")); }), HasSubstr("other inks than CMYK"));
    ReadLimits limits;
    limits.pixels = 37 * 29 - 1;
    EXPECT_EQ(errorOf([&] { readPicture(path("a.exr"), limits); }),
              "cannot read 'a.exr': its 37x29 pixels are more than 1072");
}

// EXIF, XMP and IPTC that no library takes apart come back byte for byte, but for the orientation.
TEST_F(StillsTest, BlocksBesideThePixelsAreCarriedAsTheyAre) {
    using namespace std::string_literals;
    shell("convert -size 24x16 gradient:red-blue plain.jpg");
    const auto contents = [&](const std::string& name) {
        std::ostringstream text;
        text << std::ifstream(path(name), std::ios::binary).rdbuf();
        return text.str();
    };
    const auto exif = [](char orientation) { // two entries, the second of a maker's own
        return "Exif\0\0MM\0*\0\0\0\x08\0\x02\x01\x12\0\x03\0\0\0\x01\0"s + orientation +
               "\0\0\xC6\x01\0\x02\0\0\0\x04own\0\0\0\0\0"s;
    };
    const std::string xmp = "<x:xmpmeta xmlns:x='adobe:ns:meta/'><own>\xC3\xA9</own></x:xmpmeta>";
    const auto segment = [](char type, const std::string& data) {
        return "\xFF"s + type + '\0' + static_cast<char>(data.size() + 2) + data;
    };
    const std::string profile = segment('\xE2', "ICC_PROFILE\0\1\1"s + std::string(16, '\0') +
                                                    "GRAY"s + std::string(120, '\0'));
    const std::string iptc = segment('\xED', "Photoshop 3.0\0 8BIM of its own"s);
    std::string file = contents("plain.jpg");
    file.insert(2, segment('\xE1', exif(6)) +
                       segment('\xE1', "http://ns.adobe.com/xap/1.0/\0"s + xmp) + iptc +
                       segment('\xFE', "a comment") + segment('\xE2', "MPF\0"s) + profile);
    std::ofstream(path("in.jpg"), std::ios::binary) << file;
    std::vector<std::string> lines;
    ReadLimits limits;
    limits.warn = [&](const Error& left) { lines.emplace_back(left.what()); };
    const Picture picture = readPicture(path("in.jpg"), limits);
    EXPECT_THAT(lines, ElementsAre(HasSubstr("which isn't one of RGB colours, is left out"),
                                   HasSubstr("further pictures, such as a gain map")));
    EXPECT_EQ(picture.world.width(), 16);
    EXPECT_THAT(writePicture(path("out.jpg"), picture), IsEmpty());
    const std::string jpeg = contents("out.jpg");
    EXPECT_THAT(jpeg, AllOf(HasSubstr(exif(1)), HasSubstr(xmp), HasSubstr(iptc),
                            HasSubstr(segment('\xFE', "a comment"))));
    EXPECT_EQ(readPicture(path("out.jpg")).world.width(), 16);
    EXPECT_THAT(writePicture(path("out.png"), picture), ElementsAre(HasSubstr("IPTC")));
    EXPECT_THAT(contents("out.png"), AllOf(HasSubstr("eXIf" + exif(1).substr(6)), HasSubstr(xmp)));
    EXPECT_EQ(readPicture(path("out.png")).world.width(), 16);
    EXPECT_THAT(writePicture(path("out.webp"), picture),
                ElementsAre(HasSubstr("no place for EXIF"), HasSubstr("the JPEG's comment"),
                            HasSubstr("written without texts")));
}

} // namespace
