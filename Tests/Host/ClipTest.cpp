#include "Host/Media/Clip.h"
#include "Host/Library/Error.h"
#include "Host/Library/ReplaceFile.h"
#include "Host/Media/SequencePattern.h"
#include "Tests/Host/ScratchFolder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>

// The H.265 encoder's library keeps a kilobyte of its own.
extern "C" __attribute__((visibility("default"))) const char*
__lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "leak:libx265";
}

using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

class ClipTest : public testing::Test {
protected:
    fs::path path(const std::string& name) const { return mScratch.path() / name; }

    void ffmpeg(const std::string& arguments) const {
        const std::string command =
            "cd '" + mScratch.path().string() + "' && ffmpeg -v error -y -nostdin " + arguments;
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }

    // A clip of 7 frames that stay for different times, its alpha growing from left to right.
    void makeClip() const {
        ffmpeg("-f lavfi -i testsrc2=s=78x66:r=50 -vf \"format=rgba,geq=r='r(X,Y)':g='g(X,Y)':"
               "b='b(X,Y)':a='min(255,X*4)',select='eq(n,0)+eq(n,1)+eq(n,4)+eq(n,5)+eq(n,9)+"
               "eq(n,10)+eq(n,20)'\" -vsync vfr -frames:v 7 -c:v qtrle clip.mov");
    }

    std::vector<ClipFrame> read(const std::string& name) const {
        ClipInput input;
        input.file = path(name);
        const auto reader = openClip(input);
        std::vector<ClipFrame> frames;
        while (auto item = reader->next()) {
            if (auto* frame = std::get_if<ClipFrame>(&*item)) {
                frames.push_back(std::move(*frame));
            }
        }
        return frames;
    }

    // Its warnings.
    std::string copy(const std::string& from, ClipOutput output) const {
        std::string warnings;
        ClipInput input;
        input.file = path(from);
        output.warn = [&](const std::string& text) { warnings += text + "\n"; };
        const auto reader = openClip(input);
        const auto writer = openClipWriter(output, input, *reader);
        while (auto item = reader->next()) {
            writer->write(std::move(*item));
        }
        writer->finish();
        return warnings;
    }

private:
    ScratchFolder mScratch;
};

// The mean and the greatest distance of two pictures' channels.
std::pair<double, int> difference(const World& left, const World& right, bool alpha) {
    EXPECT_EQ(left.width(), right.width());
    EXPECT_EQ(left.height(), right.height());
    double sum = 0;
    int greatest = 0;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width() * 4; ++x) {
            if (x % 4 != 0 || alpha) {
                const int one = std::abs(left.row(y)[x] - right.row(y)[x]);
                sum += one;
                greatest = std::max(greatest, one);
            }
        }
    }
    return {sum / (left.width() * left.height() * 4.0), greatest};
}

TEST(FrameNumbersTest, RangesAndStepsAreReadAndNonsenseIsRefused) {
    struct Case {
        const char* text;
        std::vector<std::int64_t> numbers; // below 30
    };
    const Case cases[] = {
        {"7", {7}},
        {"3-5", {3, 4, 5}},
        {"0-9x4,20", {0, 4, 8, 20}},
        {"9,3-5,4-6x2", {3, 4, 5, 6, 9}},
        {"5-7,2-4", {2, 3, 4, 5, 6, 7}},
    };
    for (const Case& row : cases) {
        const auto numbers = FrameNumbers::parse(row.text);
        ASSERT_TRUE(numbers) << row.text;
        std::vector<std::int64_t> listed;
        std::vector<std::int64_t> contained;
        for (auto next = numbers->after(-1); next; next = numbers->after(*next)) {
            listed.push_back(*next);
        }
        for (std::int64_t i = 0; i < 30; ++i) {
            if (numbers->contains(i)) {
                contained.push_back(i);
            }
        }
        EXPECT_EQ(listed, row.numbers) << row.text;
        EXPECT_EQ(contained, row.numbers) << row.text;
        EXPECT_EQ(numbers->last(), row.numbers.back()) << row.text;
    }
    for (const char* text : {"", "a", "-3", "5-3", "1-", "1-9x0", "1-9x", "1,", ",1", "1 ", "1-2-3",
                             "99999999999", "1x2", "+1"}) {
        EXPECT_FALSE(FrameNumbers::parse(text)) << text;
    }
}

TEST_F(ClipTest, PatternsNameFilesAndFindThem) {
    const std::pair<const char*, const char*> cases[] = {
        {"a.%04d.png", "a.0012.png"}, {"a.####.png", "a.0012.png"},  {"a%d", "a12"},
        {"#.png", "12.png"},          {"100%%_%3d.x", "100%_012.x"},
    };
    for (const auto& [name, twelfth] : cases) {
        EXPECT_EQ(SequencePattern::of(path(name))->file(12), path(twelfth)) << name;
    }
    EXPECT_FALSE(SequencePattern::of("plain.png"));
    for (const char* name : {"a%d%d.png", "#_#.png", "a%s.png", "50%.png", "%99999d"}) {
        EXPECT_THROW(SequencePattern::of(name), Error) << name;
    }
    for (const char* name : {"s.07.png", "s.9.png", "s.11.png", "s.100.png", "s.-1.png", "s.1a.png",
                             "s.012.png", "t.08.png", "s.12.jpg"}) {
        std::ofstream(path(name)) << "x";
    }
    EXPECT_EQ(SequencePattern::of(path("s.##.png"))->numbersThere(),
              (std::vector<std::int64_t>{7, 11, 100}));
    // A file's own name is no pattern, but where it is to be written.
    fs::copy_file(path("s.9.png"), path("s.%d.png"));
    EXPECT_FALSE(SequencePattern::ofInput(path("s.%d.png")));
    EXPECT_TRUE(SequencePattern::of(path("s.%d.png")));
}

TEST_F(ClipTest, WhatIsWrittenComesBackWithItsTimes) {
    makeClip();
    const std::vector<ClipFrame> before = read("clip.mov");
    ASSERT_EQ(before.size(), 7);
    struct Case {
        const char* name;
        const char* codec;
        double mean; // allowed, of a channel; 0 for the same bytes
        bool alpha;
        bool keepsTimes = true;
    };
    const Case cases[] = {
        {"a.mov", "", 0, true},         {"a.mov", "png", 0, true},
        {"a.mov", "prores", 1.5, true}, {"a.mov", "h264", 8, false},
        {"a.mp4", "hevc", 8, false},    {"a.mkv", "", 0, true},
        {"a.mkv", "vp9", 12, true},     {"a.webm", "", 12, true},
        {"a.nut", "", 0, true},         {"a.y4m", "", 1.5, false, false},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(std::string(row.name) + " " + row.codec);
        ClipOutput output;
        output.file = path(row.name);
        output.codec = row.codec;
        const std::string warnings = copy("clip.mov", output);
        EXPECT_EQ(warnings.find("alpha") != std::string::npos, !row.alpha) << warnings;
        const std::vector<ClipFrame> after = read(row.name);
        ASSERT_EQ(after.size(), before.size());
        for (std::size_t i = 0; i < before.size(); ++i) {
            const auto [mean, greatest] =
                difference(before[i].picture.world, after[i].picture.world, row.alpha);
            EXPECT_LE(mean, row.mean) << i;
            EXPECT_TRUE(row.mean > 0 || greatest == 0) << i;
        }
        if (row.keepsTimes) {
            ClipInput input;
            input.file = path(row.name);
            const Ratio unit = openClip(input)->properties().timeBase;
            const auto milliseconds = [&](const ClipFrame& frame, const Ratio& base) {
                return std::lround(1000.0 * static_cast<double>(frame.time) * base.numerator /
                                   base.denominator);
            };
            input.file = path("clip.mov");
            const Ratio ownUnit = openClip(input)->properties().timeBase;
            for (std::size_t i = 0; i < before.size(); ++i) {
                EXPECT_EQ(milliseconds(after[i], unit), milliseconds(before[i], ownUnit)) << i;
            }
        }
    }
}

TEST_F(ClipTest, AVideosFramesAreFoundByTime) {
    makeClip(); // at 0, 20, 80, 100, 180, 200 and 400 ms
    ClipInput input;
    input.file = path("clip.mov");
    const auto reader = openClip(input);
    EXPECT_EQ(reader->frameCount(), 7);
    for (const auto& [seconds, index] : {std::pair(0.0, 0),
                                         {0.02, 1},
                                         {0.049, 1},
                                         {0.051, 2},
                                         {0.1, 3},
                                         {0.29, 5},
                                         {0.31, 6},
                                         {0.4, 6}}) {
        EXPECT_EQ(reader->frameAt(seconds), index) << seconds;
    }
}

// Red, green and blue by the definition of the matrix, from the eight bits of Y', Cb and Cr.
std::array<double, 3> rgbFrom(const std::array<int, 3>& ycc, double kr, double kb, bool full) {
    const double y = full ? ycc[0] / 255.0 : (ycc[0] - 16) / 219.0;
    const double cb = (ycc[1] - 128) / (full ? 255.0 : 224.0);
    const double cr = (ycc[2] - 128) / (full ? 255.0 : 224.0);
    const double red = y + 2 * (1 - kr) * cr;
    const double blue = y + 2 * (1 - kb) * cb;
    return {255 * red, 255 * (y - kr * red - kb * blue) / (1 - kr - kb), 255 * blue};
}

TEST_F(ClipTest, ColoursGoByTheClipsOwnMatrixAndRangeAndComeBack) {
    struct Case {
        const char* matrix;
        const char* range;
        double kr, kb;
    };
    const Case cases[] = {
        {"bt709", "tv", 0.2126, 0.0722},
        {"bt709", "pc", 0.2126, 0.0722},
        {"smpte170m", "tv", 0.299, 0.114},
        {"bt2020nc", "tv", 0.2627, 0.0593},
    };
    const std::array<int, 3> colour = {110, 100, 150};
    std::ofstream(path("raw"), std::ios::binary)
        << std::string(64 * 64, static_cast<char>(colour[0]))
        << std::string(64 * 64, static_cast<char>(colour[1]))
        << std::string(64 * 64, static_cast<char>(colour[2]));
    for (const Case& row : cases) {
        const bool full = std::string(row.range) == "pc";
        ffmpeg("-f rawvideo -s 64x64 -pix_fmt yuv444p -color_range " + std::string(row.range) +
               " -i raw -colorspace " + row.matrix + " -color_range " + row.range +
               " -color_primaries bt709 -c:v libx264 -qp 0 -preset ultrafast in.mp4");
        const std::array<double, 3> expected = rgbFrom(colour, row.kr, row.kb, full);
        ClipOutput output;
        output.file = path("out.mkv");
        output.codec = "ffv1";
        copy("in.mp4", output);
        for (const char* name : {"in.mp4", "out.mkv"}) {
            const std::vector<ClipFrame> frames = read(name);
            ASSERT_EQ(frames.size(), 1);
            const std::uint8_t* pixel = frames[0].picture.world.row(30) + 120;
            for (std::size_t i = 0; i < 3; ++i) {
                EXPECT_NEAR(pixel[i + 1], expected[i], 1.6)
                    << row.matrix << " " << row.range << " " << name << " " << i;
            }
        }
    }
}

TEST_F(ClipTest, AClipThatLiesIsTurnedUpright) {
    ffmpeg("-f lavfi -i testsrc2=s=40x24 -frames:v 1 -c:v qtrle -pix_fmt rgb24 plain.mov");
    const World plain = std::move(read("plain.mov")[0].picture.world);
    for (const int degrees : {90, 180, 270}) {
        ffmpeg("-i plain.mov -c copy -metadata:s:v rotate=" + std::to_string(degrees) +
               " turned.mov");
        ffmpeg("-i turned.mov -frames:v 1 turned.png"); // which turns it by itself
        const World turned = std::move(read("turned.mov")[0].picture.world);
        const World theirs = readPicture(path("turned.png")).world;
        EXPECT_EQ(difference(turned, theirs, true).second, 0) << degrees;
        EXPECT_EQ(turned.width(), degrees == 180 ? 40 : 24);
    }
    EXPECT_EQ(plain.width(), 40);
}

TEST_F(ClipTest, AFileUnderWayHasNoNameAndGoesWithoutACommit) {
    std::ofstream(path("old")) << "old";
    {
        const NewFile file(path("old"));
        ASSERT_EQ(std::distance(fs::directory_iterator(path("")), {}), 1);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(path("")), {}), 1);
    ClipInput input;
    makeClip();
    input.file = path("clip.mov");
    const auto reader = openClip(input);
    ClipOutput output;
    output.file = path("old.mov");
    {
        const auto writer = openClipWriter(output, input, *reader);
        writer->write(std::move(*reader->next()));
    }
    EXPECT_FALSE(fs::exists(path("old.mov")));
    // A link's target is replaced, and the link stays one.
    fs::create_symlink("old", path("link.mkv"));
    output.file = path("link.mkv");
    copy("clip.mov", output);
    EXPECT_TRUE(fs::is_symlink(path("link.mkv")));
    EXPECT_GT(fs::file_size(path("old")), 100);
}

} // namespace
