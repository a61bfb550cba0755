#include "Host/Media/Picture.h"

#include "Host/Library/Error.h"
#include "Tests/Host/ScratchFolder.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

class PictureTest : public testing::Test {
protected:
    fs::path file(const std::string& name) const { return mScratch.path() / name; }

    // Raw pixels through the ffmpeg program into a picture of our choice.
    void makePicture(const std::string& name, const std::string& format, int width, int height,
                     const std::string& bytes, const std::string& options = "") const {
        std::ofstream(file("raw"), std::ios::binary) << bytes;
        const std::string command = "ffmpeg -v error -y -f rawvideo -pix_fmt " + format + " -s " +
                                    std::to_string(width) + "x" + std::to_string(height) + " -i '" +
                                    file("raw").string() + "' -frames:v 1 " + options +
                                    " -update 1 '" + file(name).string() + "'";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    std::string errorOf(const std::string& name) const {
        try {
            readPicture(file(name));
        } catch (const Error& error) {
            return error.what();
        }
        return "read";
    }

    std::size_t filesThere() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(mScratch.path()), fs::directory_iterator()));
    }

private:
    ScratchFolder mScratch;
};

World noise(int width, int height, bool alpha) {
    World world(width, height);
    std::mt19937 random(42);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width * 4; ++x) {
            world.row(y)[x] = static_cast<std::uint8_t>(x % 4 == 0 && !alpha ? 255 : random());
        }
    }
    return world;
}

int largestDifference(const World& left, const World& right, bool withAlpha = true) {
    if (left.width() != right.width() || left.height() != right.height()) {
        return 1000;
    }
    int largest = 0;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width() * 4; ++x) {
            if (x % 4 != 0 || withAlpha) {
                largest = std::max(largest, std::abs(left.row(y)[x] - right.row(y)[x]));
            }
        }
    }
    return largest;
}

std::vector<int> pixel(const World& world, int x, int y = 0) {
    const std::uint8_t* at = world.row(y) + x * std::ptrdiff_t{4};
    return {at, at + 4};
}

TEST_F(PictureTest, LosslessFormatsKeepEveryBit) {
    const std::vector<std::string> withAlpha{"a.png", "a.tif", "a.tga",          "a.pam",
                                             "a.sgi", "a.qoi", "a:b %d*[1]?.png"};
    const std::vector<std::string> without{"a.bmp", "a.ppm", "A.WEBP", "a.TIFF"};
    for (const bool alpha : {false, true}) {
        for (const std::string& name : alpha ? withAlpha : without) {
            for (const auto& [width, height] : {std::pair{1, 1}, {33, 1}, {1, 7}, {641, 5}}) {
                const Picture picture{noise(width, height, alpha), {}};
                EXPECT_EQ(writePicture(file(name), picture), "") << name;
                EXPECT_EQ(largestDifference(readPicture(file(name)).world, picture.world), 0)
                    << name << " " << width << "x" << height;
            }
        }
    }
    EXPECT_EQ(filesThere(), 11U);
}

TEST_F(PictureTest, LostAlphaIsSaid) {
    const Picture picture{noise(40, 30, true), {}};
    EXPECT_THAT(writePicture(file("a.ppm"), picture), HasSubstr("a.ppm' is lost"));
    EXPECT_EQ(largestDifference(readPicture(file("a.ppm")).world, picture.world, false), 0);
    EXPECT_THAT(writePicture(file("a.jpg"), picture), HasSubstr("JPEG has no transparency"));
}

TEST_F(PictureTest, DepthsAndPalettesAreReducedExactly) {
    // Every value of 16 bits, rounded to the nearest of 8.
    std::string ramp;
    for (int value = 0; value < 65536; ++value) {
        ramp += {static_cast<char>(value >> 8), static_cast<char>(value)};
    }
    makePicture("gray16.png", "gray16be", 256, 256, ramp);
    const World gray = readPicture(file("gray16.png")).world;
    for (int value = 0; value < 65536; ++value) {
        const int expected = static_cast<int>(std::lround(value / 257.0));
        ASSERT_EQ(pixel(gray, value % 256, value / 256),
                  (std::vector<int>{255, expected, expected, expected}))
            << value;
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
    for (const auto& c : cases) {
        makePicture(c.name, c.format, c.width, 1, c.bytes);
        EXPECT_EQ(pixel(readPicture(file(c.name)).world, c.x), c.expected) << c.format;
    }
}

TEST_F(PictureTest, JpegKeepsColoursAndRange) {
    Picture picture{World(64, 48), {}};
    World& flat = picture.world;
    const std::uint8_t colours[][4] = {
        {255, 255, 0, 0}, {255, 0, 255, 0}, {255, 0, 0, 255}, {255, 255, 255, 255}, {255, 3, 4, 5}};
    for (const auto& colour : colours) {
        for (int y = 0; y < flat.height(); ++y) {
            for (int x = 0; x < flat.width() * 4; ++x) {
                flat.row(y)[x] = colour[x % 4];
            }
        }
        std::string raw;
        for (int i = 0; i < flat.width() * flat.height(); ++i) {
            raw.append(reinterpret_cast<const char*>(colour) + 1, 3);
        }
        // One coded by somebody else with reduced chroma, and one of ours.
        makePicture("theirs.jpg", "rgb24", flat.width(), flat.height(), raw,
                    "-q:v 1 -pix_fmt yuvj420p");
        EXPECT_LE(largestDifference(readPicture(file("theirs.jpg")).world, flat), 3);
        writePicture(file("ours.jpg"), picture);
        EXPECT_LE(largestDifference(readPicture(file("ours.jpg")).world, flat), 3);
    }
}

TEST_F(PictureTest, ColourProfilesStay) {
    Picture picture{noise(4, 4, false), std::vector<std::uint8_t>(200, 7)};
    std::copy_n("RGB ", 4, picture.colorProfile.begin() + 16);
    writePicture(file("a.png"), picture);
    EXPECT_EQ(readPicture(file("a.png")).colorProfile, picture.colorProfile);
    std::copy_n("GRAY", 4, picture.colorProfile.begin() + 16);
    writePicture(file("a.png"), picture);
    EXPECT_TRUE(readPicture(file("a.png")).colorProfile.empty());
}

TEST_F(PictureTest, WhatIsNoPictureIsRefusedWithItsReason) {
    for (const std::string name :
         {"whole.png", "whole.jpg", "whole.tif", "whole.webp", "whole.bmp", "whole.tga"}) {
        writePicture(file(name), {noise(300, 300, false), {}});
        fs::copy_file(file(name), file("cut-" + name));
        fs::resize_file(file("cut-" + name), fs::file_size(file(name)) / 2);
        EXPECT_THAT(errorOf("cut-" + name), HasSubstr("cut off"));
    }
    std::ofstream(file("text.png")) << "no picture\n";
    std::ofstream(file("text")) << "no picture\n";
    std::ofstream(file("empty.png")) << "";
    std::ofstream(file("list.txt")) << "ffconcat version 1.0\nfile whole.png\n";
    std::ofstream(file("huge.ppm")) << "P6\n1000000 1000000\n255\nabc";
    std::ofstream(file("wide.ppm")) << "P6\n70000 1\n255\n" << std::string(210000, 'a');
    const std::pair<const char*, const char*> cases[] = {
        {"text.png", "no picture"},
        {"text", "no picture"},
        {"empty.png", "empty"},
        {"list.txt", "list"},
        {"huge.ppm", "1000000x1000000"},
        {"wide.ppm", "70000x1 pixels is too large"},
        {"none.png", "No such file"},
        {".", "directory"},
        {"http://host/a.png", "No such file"}};
    for (const auto& [name, reason] : cases) {
        const std::string message = errorOf(name);
        EXPECT_THAT(message, HasSubstr(reason)) << name;
        EXPECT_THAT(message, HasSubstr("cannot read '"));
        EXPECT_EQ(message.find('\n'), std::string::npos);
    }
}

TEST_F(PictureTest, AFailedWriteLeavesEverythingAsItWas) {
    const Picture picture{noise(400, 400, false), {}};
    std::ofstream(file("kept.png")) << "kept";
    const auto refused = [&](const fs::path& target) -> std::string {
        try {
            writePicture(target, picture);
        } catch (const Error& error) {
            return error.what();
        }
        return "written";
    };
    EXPECT_THAT(refused(file("kept.xyz")), HasSubstr("one of .png"));
    EXPECT_THAT(refused(file("kept")), HasSubstr("one of .png"));
    EXPECT_THAT(refused(file("none/kept.png")), HasSubstr("No such file"));
    fs::create_directory(file("folder.png"));
    EXPECT_THAT(refused(file("folder.png")), HasSubstr("it is a directory"));
    ASSERT_EQ(mkfifo(file("pipe.png").c_str(), 0600), 0);
    EXPECT_THAT(refused(file("pipe.png")), HasSubstr("not a plain file"));

    // A disk that is full after 1,000 bytes, but for the signal, which is ignored.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{1000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string full = refused(file("kept.png"));
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_THAT(full, HasSubstr("kept.png': File too large"));
    EXPECT_EQ(fs::file_size(file("kept.png")), 4U);
    EXPECT_EQ(filesThere(), 3U);

    writePicture(file("kept.png"), picture);
    fs::create_symlink("kept.png", file("link.png"));
    writePicture(file("link.png"), picture);
    EXPECT_TRUE(fs::is_symlink(file("link.png")));
    const mode_t mask = umask(027);
    fs::remove(file("kept.png"));
    writePicture(file("kept.png"), picture);
    umask(mask);
    EXPECT_EQ(fs::status(file("kept.png")).permissions(), fs::perms(0640));
    EXPECT_EQ(filesThere(), 4U);
}

} // namespace
