#include "Host/Media/Clip.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/SequencePattern.h"
#include "Tests/Host/MediaTest.h"

#include <array>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;
using testing::MatchesRegex;

namespace {

class ClipTest : public MediaTest {
protected:
    // A clip of 7 frames at 0, 20, 80, 100, 180, 200 and 400 ms, its alpha growing from left to
    // right. It begins at 3 seconds where the container has a start.
    void makeClip(const std::string& optionsAndName) const {
        ffmpeg("-f lavfi -i testsrc2=s=78x66:r=50 -vf \"format=rgba,geq=r='r(X,Y)':g='g(X,Y)':"
               "b='b(X,Y)':a='min(255,X*4)',select='eq(n,0)+eq(n,1)+eq(n,4)+eq(n,5)+eq(n,9)+"
               "eq(n,10)+eq(n,20)'\" -vsync vfr -frames:v 7 -output_ts_offset 3 " +
               optionsAndName);
    }

    ClipInput input(const std::string& name, const char* frames = "") const {
        ClipInput input;
        input.file = path(name);
        input.frames = FrameNumbers::parse(frames).value_or(FrameNumbers());
        return input;
    }

    ClipOutput output(const std::string& name, const std::string& codec = "") const {
        ClipOutput output;
        output.file = path(name);
        output.codec = codec;
        return output;
    }

    static std::vector<ClipFrame> read(const ClipInput& input) {
        const auto reader = openClip(input);
        std::vector<ClipFrame> frames;
        while (auto item = reader->next()) {
            if (auto* frame = std::get_if<ClipFrame>(&*item)) {
                frames.push_back(std::move(*frame));
            }
        }
        return frames;
    }

    // The warnings, one a line.
    static std::string copy(const ClipInput& input, ClipOutput output) {
        std::string warnings;
        output.warn = [&](const std::string& text) { warnings += text + "\n"; };
        const auto reader = openClip(input);
        const auto writer = openClipWriter(output, input, *reader);
        while (auto item = reader->next()) {
            writer->write(std::move(*item));
        }
        writer->finish();
        return warnings;
    }
};

TEST(FrameNumbersTest, RangesAndStepsAreReadAndNonsenseIsRefused) {
    using Numbers = std::vector<std::int64_t>;
    for (const auto& [text, expected] : {std::pair("7", Numbers{7}),
                                         {"0-9x4,20", {0, 4, 8, 20}},
                                         {"9,3-5,4-6x2", {3, 4, 5, 6, 9}},
                                         {"5-7,2-4", {2, 3, 4, 5, 6, 7}}}) {
        const FrameNumbers numbers = FrameNumbers::parse(text).value();
        Numbers listed;
        for (auto next = numbers.after(-1); next; next = numbers.after(*next)) {
            listed.push_back(*next);
            EXPECT_EQ(numbers.contains(*next + 1), numbers.after(*next) == *next + 1) << text;
        }
        EXPECT_EQ(listed, expected) << text;
        EXPECT_EQ(numbers.last(), expected.back()) << text;
    }
    for (const char* text : {"", "a", "-3", "5-3", "1-", "1-9x0", "1-9x", "1,", ",1", "1 ", "1-2-3",
                             "2147483648", "1x2", "+1"}) {
        EXPECT_FALSE(FrameNumbers::parse(text)) << text;
    }
}

TEST_F(ClipTest, PatternsNameFilesAndFindThem) {
    for (const auto& [name, twelfth] : {std::pair("a.%04d.png", "a.0012.png"),
                                        {"a.####.png", "a.0012.png"},
                                        {"a%d", "a12"},
                                        {"100%%_%3d.x", "100%_012.x"}}) {
        EXPECT_EQ(SequencePattern::of(path(name))->file(12), path(twelfth)) << name;
    }
    EXPECT_FALSE(SequencePattern::of("plain.png"));
    for (const char* name : {"a%d%d.png", "#_#.png", "a%s.png", "50%.png", "%99999d"}) {
        EXPECT_THROW(SequencePattern::of(name), Error) << name;
    }
    shell(
        "touch s.07.png s.9.png s.11.png s.100.png s.-1.png s.1a.png s.012.png t.08.png s.12.jpg");
    EXPECT_EQ(SequencePattern::of(path("s.##.png"))->existingNumbers(),
              (std::vector<std::int64_t>{7, 11, 100}));
    // The name of a file that exists is taken as it is.
    for (const char* name : {"50%.png", "a%d%d.png", "%d.png"}) {
        writePicture(path(name), {noise(2, 2, false), {}});
        EXPECT_EQ(read(input(name)).size(), 1) << name;
    }
}

TEST_F(ClipTest, ASequenceKeepsItsNumbersAndMissingFramesAreSkippedOrHeld) {
    const auto write = [&](int number, int value) {
        World world(2, 2);
        std::memset(world.row(0), value, 4);
        writePicture(path("s." + std::to_string(number) + ".png"), {std::move(world), {}});
    };
    struct Case {
        Missing missing;
        const char *frames, *expected; // number, time and value of each frame, then the error
    };
    const Case cases[] = {
        {Missing::Refuse, "", "'s.10.png' is missing"},
        {Missing::Refuse, "8-9", "8@0=8 9@1=9 "},
        {Missing::Skip, "", "8@0=8 9@1=9 12@4=12 "},
        {Missing::Hold, "", "8@0=8 9@1=9 10@2=9 11@3=9 12@4=12 "},
        {Missing::Hold, "7", "'s.7.png' is missing: the sequence has the frames 8 to 12"},
    };
    for (const Case& row : cases) {
        for (const int number : {8, 9, 12}) {
            write(number, number);
        }
        std::string found;
        const std::string error = errorOf([&] {
            ClipInput sequence = input("s.%d.png", row.frames);
            sequence.missing = row.missing;
            const auto reader = openClip(sequence);
            while (auto item = reader->next()) {
                const auto& frame = std::get<ClipFrame>(*item);
                found += std::to_string(frame.number) + "@" + std::to_string(frame.time) + "=" +
                         std::to_string(frame.picture.world.row(0)[1]) + " ";
                write(frame.number == 9 ? 9 : 8, 99); // a held picture is the one that was read
            }
        });
        EXPECT_EQ(found + error, row.expected) << row.frames;
    }
}

TEST_F(ClipTest, WhatIsWrittenComesBackWithItsTimes) {
    makeClip("-c:v qtrle clip.mov");
    const std::vector<ClipFrame> before = read(input("clip.mov"));
    ASSERT_EQ(before.size(), 7);
    struct Case {
        const char *name, *codec;
        double mean; // allowed, of a channel; 0 for the same bytes
        const char* warnings = "";
    };
    const Case cases[] = {
        {"a.mov", "", 0},
        {"a.mov", "png", 0},
        {"a.mov", "prores", 1.5},
        {"a.mov", "h264", 7, "the alpha of [^\n]* is lost: h264 in yuv420p has none\n"},
        {"a.mp4", "hevc", 8, "the alpha of [^\n]* is lost: hevc in yuv420p has none\n"},
        {"a.mkv", "", 0},
        {"a.mkv", "vp9", 8},
        {"a.nut", "", 0},
        {"a.y4m", "", 1.5, "the alpha [^\n]*\n.y4m has one frame rate: [^\n]*\n"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(std::string(row.name) + " " + row.codec);
        const std::string name = row.name;
        EXPECT_THAT(copy(input("clip.mov"), output(name, row.codec)), MatchesRegex(row.warnings));
        const std::vector<ClipFrame> after = read(input(name));
        ASSERT_EQ(after.size(), before.size());
        const Ratio unit = openClip(input(name))->properties().timeBase;
        for (std::size_t i = 0; i < before.size(); ++i) {
            const auto [mean, greatest] =
                difference(before[i].picture.world, after[i].picture.world, !*row.warnings);
            EXPECT_LE(mean, row.mean) << i;
            EXPECT_TRUE(row.mean > 0 || greatest == 0) << i;
            const double time = static_cast<double>(after[i].time) * unit.numerator;
            const double expected[] = {0, .02, .08, .1, .18, .2, .4};
            EXPECT_TRUE(name == "a.y4m" || std::abs(time / unit.denominator - expected[i]) < .0006);
        }
    }
}

TEST_F(ClipTest, TheLastFrameStaysAsLongAsInTheClip) {
    makeClip("-c:v qtrle clip.mov");
    for (const char* codec : {"h264", "qtrle"}) {
        const auto reader = openClip(input("clip.mov"));
        const auto writer = openClipWriter(output("long.mov", codec), input("clip.mov"), *reader);
        while (auto item = reader->next()) {
            auto& frame = std::get<ClipFrame>(*item);
            frame.duration *= frame.index == 6 ? 10 : 1;
            writer->write(std::move(*item));
        }
        writer->finish();
        EXPECT_EQ(ffprobe("-show_entries format=duration long.mov"), "duration=0.600000\n")
            << codec;
    }
}

TEST_F(ClipTest, AFullDiskIsNoticedAtTheEnd) {
    makeClip("-c:v qtrle clip.mov");
    copy(input("clip.mov"), output("whole.mov"));
    const std::uintmax_t bytes = fs::file_size(path("whole.mov"));
    EXPECT_EQ(errorWithLimit(bytes - 9, [&] { copy(input("clip.mov"), output("o.mov")); }),
              "cannot write 'o.mov': File too large");
    EXPECT_FALSE(fs::exists(path("o.mov")));
    ClipOutput full = output("");
    full.file = "-";
    for (const char* format : {"mp4", "mov", "matroska", "nut"}) { // as into a pipe
        full.format = format;
        full.standardOutput = open(path("p").c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        copy(input("clip.mov"), full);
        const std::uintmax_t size = fs::file_size(path("p"));
        EXPECT_EQ(ftruncate(full.standardOutput, 0), 0);
        lseek(full.standardOutput, 0, SEEK_SET);
        EXPECT_EQ(errorWithLimit(size - 1, [&] { copy(input("clip.mov"), full); }),
                  "cannot write to standard output: File too large")
            << format;
        close(full.standardOutput);
    }
    full.format = "png";
    full.standardOutput = open("/dev/full", O_WRONLY);
    EXPECT_EQ(errorOf([&] { copy(input("clip.mov"), full); }),
              "cannot write to standard output: No space left on device");
    close(full.standardOutput);
}

TEST_F(ClipTest, WhatElseIsInTheFileIsHandedOnFromItsStart) {
    // The same file twice, once with all its times three seconds later.
    for (const auto& [name, seconds] : {std::pair("base", 0), {"late", 3}}) {
        std::ofstream(path("m.txt"))
            << ";FFMETADATA1\ntitle=A title\n[CHAPTER]\nTIMEBASE=1/1000\nSTART="
            << seconds * 1000 + 100 << "\nEND=" << seconds * 1000 + 400 << "\ntitle=First\n";
        std::ofstream(path("s.srt")) << "1\n00:00:00,200 --> 00:00:00,700\nOne\n";
        ffmpeg(
            "-f lavfi -i testsrc2=s=48x32:r=25:d=1 -f lavfi -i sine=d=1 -i s.srt -i m.txt -map 0 "
            "-map 1 -map 2 -map_metadata 3 -vf setsar=4/3 -pix_fmt yuv420p -c:v libx264 -c:a "
            "flac -metadata:s:a language=deu -c:s srt -output_ts_offset " +
            std::to_string(seconds) + " " + name + ".mkv");
    }
    EXPECT_EQ(copy(input("late.mkv"), output("out.mkv")), "");
    const auto probe = [&](const std::string& name) { // of the picture, the times alone
        return ffprobe("-show_chapters -show_data_hash md5 -show_entries packet=stream_index,"
                       "pts_time,duration_time,data_hash:stream=codec_name,sample_aspect_ratio:"
                       "stream_tags=language:format_tags=title " +
                       name + " | sed '/stream_index=0/s/|duration_time=.*//' | sort");
    };
    EXPECT_EQ(probe("out.mkv"), probe("base.mkv"));
    EXPECT_EQ(copy(input("late.mkv"), output("out.mp4")),
              "stream 2, subtitles (subrip), is left out: .mp4 has no place for it\n");
    EXPECT_EQ(copy(input("out.mp4"), output("out.mov")),
              "stream 1, sound (flac), is left out: .mov has no place for it\n");
    ffmpeg("-i base.mkv -map 0:v -map 0:a -c:v copy -c:a truehd -strict -2 hd.mkv -c:v copy -c:a "
           "truehd -strict -2 hd.mp4");
    EXPECT_EQ(copy(input("hd.mkv"), output("out.mp4")),
              "stream 1, sound (truehd), is left out: the input's times are too coarse for it\n");
    EXPECT_EQ(copy(input("hd.mp4"), output("out.mp4")), "");
    // A part of a clip begins at 0, with a time code of its own and without the sound.
    ffmpeg("-i base.mkv -map 0:v -map 0:a -c:v copy -timecode 01:00:00:00 in.mov");
    EXPECT_EQ(copy(input("in.mov", "10-15x2"), output("part.mov")),
              "of chosen frames only the picture is written, without sound\n");
    EXPECT_EQ(ffprobe("-select_streams v -show_entries stream=start_time,nb_frames,duration:"
                      "stream_tags=timecode part.mov"),
              "start_time=0.000000|duration=0.200000|nb_frames=3|tag:timecode=01:00:00:10\n");
    EXPECT_EQ(errorOf([&] { read(input("in.mov", "24-25")); }),
              "cannot read 'in.mov': there is no frame 25, it has the frames 0 to 24");
}

TEST_F(ClipTest, AVideosFramesAreFoundByTime) {
    makeClip("-c:v libx264 -bf 2 -pix_fmt yuv420p clip.mkv");
    const auto reader = openClip(input("clip.mkv"));
    EXPECT_EQ(reader->frameCount(), 7);
    const std::pair<double, int> cases[] = {
        {-1, 0},   {0, 0},   {.02, 1}, {.049, 1}, {.05, 2}, {.09, 2},
        {.091, 3}, {.29, 5}, {.31, 6}, {.4, 6},   {.5, 11}}; // .05 and .09 are as near to both
    for (const auto& [seconds, index] : cases) {
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
        std::string matrix, range;
        double kr, kb;
    };
    const Case cases[] = {{"bt709", "tv", 0.2126, 0.0722}, {"smpte170m", "pc", 0.299, 0.114}};
    const std::array<int, 3> colour = {0156, 0144, 0226}; // as in the raw pixels
    std::ofstream(path("raw"), std::ios::binary)
        << std::string(4096, '\156') + std::string(4096, '\144') + std::string(4096, '\226');
    const auto expectColour = [&](const char* name, const std::array<double, 3>& expected) {
        const World world = std::move(read(input(name)).at(0).picture.world);
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(world.row(30)[121 + i], expected[std::size_t(i)], 1.6) << name << " " << i;
        }
    };
    for (const auto& [matrix, range, kr, kb] : cases) {
        SCOPED_TRACE(matrix + " " + range);
        ffmpeg("-f rawvideo -s 64x64 -pix_fmt yuv444p -color_range " + range +
               " -i raw -colorspace " + matrix + " -color_range " + range +
               " -color_primaries bt709 -c:v libx264 -qp 0 -preset ultrafast in.mp4");
        const auto expected = rgbFrom(colour, kr, kb, range == "pc");
        copy(input("in.mp4"), output("out.mkv", "ffv1"));
        for (const char* name : {"in.mp4", "out.mkv"}) {
            expectColour(name, expected);
            EXPECT_EQ(ffprobe("-show_entries stream=color_range,color_space " + std::string(name)),
                      "color_range=" + range + "|color_space=" + matrix + "\n");
        }
        // Containers that don't say a matrix get BT.601's, and without a range the limited one.
        for (const char* name : {"out.nut", "out.y4m"}) {
            copy(input("in.mp4"), output(name));
            expectColour(name, expected);
        }
    }
    // Readers take gray for the full range where nothing is said.
    ffmpeg("-f lavfi -i color=black:s=64x64:r=1:d=1 -pix_fmt gray -c:v ffv1 gray.mkv");
    copy(input("gray.mkv"), output("gray.nut", "rawvideo"));
    expectColour("gray.nut", {0, 0, 0});
    for (const std::string matrix :
         {"ycgco", "bt2020c", "smpte2085", "chroma-derived-nc", "ictcp"}) {
        ffmpeg("-f rawvideo -s 64x64 -pix_fmt yuv444p -i raw -colorspace " + matrix +
               " -c:v ffv1 odd.mkv");
        EXPECT_THAT(errorOf([&] { read(input("odd.mkv")); }),
                    testing::HasSubstr("the matrix " + matrix));
    }
    // From YUV to RGB and to YUV.
    copy(input("in.mp4"), output("rgb.mov", "qtrle"));
    copy(input("rgb.mov"), output("out.mov", "prores"));
    expectColour("out.mov", rgbFrom(colour, 0.299, 0.114, true));
}

TEST_F(ClipTest, ChromaStaysInItsPlaceOrIsMovedToWhereReadersTakeItToBe) {
    for (const std::string place : {"center", "topleft"}) { // steep chroma: half a pixel counts
        ffmpeg("-f lavfi -i color=gray:s=62x50:r=2:d=1 -vf format=yuv420p,geq=lum=128:cb='8*X':cr="
               "'8*Y' -chroma_sample_location " +
               place + " -c:v ffv1 " + place + ".mkv");
    }
    struct Case {
        const char *from, *to, *codec, *location, *pixelFormat = "";
    };
    const Case cases[] = {{"center.mkv", "o.mkv", "ffv1", "center"},
                          {"topleft.mkv", "o.mp4", "h264", "topleft"},
                          {"center.mkv", "o.mp4", "h264", "left", "yuv422p"},
                          {"center.mkv", "o.y4m", "", "center"},
                          {"topleft.mkv", "o.nut", "", "unspecified"}};
    for (const auto& [from, to, codec, location, format] : cases) {
        ClipOutput written = output(to, codec);
        written.pixelFormat = format;
        copy(input(from), written);
        EXPECT_EQ(ffprobe("-show_entries stream=chroma_location " + std::string(to)),
                  std::string("chroma_location=") + location + "\n");
        const auto [mean, greatest] =
            difference(read(input(from))[0].picture.world, read(input(to))[0].picture.world);
        EXPECT_LE(mean, 0.5) << to; // the wrong place: 0.7 and more
    }
}

TEST_F(ClipTest, ColoursThatNobodyKnowsAreUnspecified) {
    ffmpeg("-f lavfi -i testsrc2=s=48x32:r=2:d=1 -pix_fmt yuv420p -c:v ffv1 plain.mkv "
           "-colorspace bt709 -color_primaries bt709 -color_trc bt709 -c:v ffv1 -pix_fmt yuv420p "
           "-write_crc32 0 in.mkv");
    shell(R"(LC_ALL=C sed -b 's/\x55\([\xB1\xBA\xBB]\)\x81\x01/\x55\1\x81\xC8/g' in.mkv >odd.mkv)");
    const auto colours = [&](const std::string& name) {
        return ffprobe("-show_entries stream=color_space,color_primaries,color_transfer " + name);
    };
    ASSERT_NE(colours("odd.mkv"), colours("in.mkv"));
    copy(input("odd.mkv"), output("out.mkv"));
    EXPECT_EQ(colours("out.mkv"), colours("plain.mkv"));
    EXPECT_EQ(difference(read(input("odd.mkv"))[1].picture.world,
                         read(input("plain.mkv"))[1].picture.world)
                  .second,
              0);
}

TEST_F(ClipTest, AClipThatLiesIsTurnedUpright) {
    ffmpeg("-f lavfi -i testsrc2=s=40x24 -frames:v 1 -c:v qtrle -pix_fmt rgb24 -aspect 3:1 a.mov");
    for (const int degrees : {90, 180, 270}) {
        ffmpeg("-i a.mov -c copy -metadata:s:v rotate=" + std::to_string(degrees) + " turned.mov");
        ffmpeg("-i turned.mov -frames:v 1 turned.png"); // which turns it by itself
        copy(input("turned.mov"), output("out.mov"));
        const World theirs = readPicture(path("turned.png")).world;
        EXPECT_EQ(difference(read(input("out.mov"))[0].picture.world, theirs).second, 0) << degrees;
        EXPECT_EQ(ffprobe("-show_entries stream=sample_aspect_ratio out.mov"),
                  degrees == 180 ? "sample_aspect_ratio=9:5\n" : "sample_aspect_ratio=5:9\n");
    }
}

TEST_F(ClipTest, TheCodecAndThePixelFormatSuitTheClip) {
    struct Case {
        const char *made, *name, *expected;
    };
    const Case cases[] = {
        {"-c:v libx264 -pix_fmt yuv422p in.mov", "o.mp4", "h264|yuv422p"},
        {"-c:v libx264 -pix_fmt yuv422p in.mov", "o.nut", "rawvideo|yuv422p"},
        {"-c:v prores -pix_fmt yuv422p10le in.mov", "o.y4m", "rawvideo|yuv422p"},
        {"-c:v libx265 -x265-params log-level=none in.mov", "o.mkv", "hevc|yuv420p"},
        {"-c:v libvpx-vp9 -pix_fmt yuv420p in.mkv", "o.mp4", "h264|yuv420p"},
        {"-c:v qtrle -pix_fmt argb in.mov", "o.mkv", "ffv1|bgra"},
        {"-c:v ffv1 -pix_fmt bgra in.mkv", "o.mov", "prores|yuva444p12le"},
        {"-c:v ffv1 -pix_fmt yuv440p in.mkv", "o.mp4", "h264|yuv444p"},
        {"-c:v ffv1 -pix_fmt gray in.mkv", "o.mov", "h264|yuv420p"},
        {"-vf format=rgb24,crop=77:65 -c:v qtrle in.mov", "o.mp4", "h264|yuv444p"},
    };
    std::string warnings;
    for (const auto& [made, name, expected] : cases) {
        ffmpeg(std::string("-f lavfi -i testsrc2=s=78x66 -frames:v 1 ") + made);
        warnings += copy(input(std::strrchr(made, ' ') + 1), output(name));
        EXPECT_EQ(shell("ffprobe -v error -show_entries stream=codec_name,pix_fmt -of "
                        "csv=p=0:s='|' " +
                        std::string(name)),
                  std::string(expected) + "\n")
            << made << " " << name;
    }
    EXPECT_EQ(warnings, "a size of 77x65 goes into h264 as yuv444p only, which some players don't "
                        "show\n");
    ClipOutput worst = output("worst.mp4");
    worst.quality = 0;
    copy(input("in.mov"), worst);
    EXPECT_GT(fs::file_size(path("o.mp4")), fs::file_size(path("worst.mp4")) + 500);
    for (const auto& [name, preset] : {std::pair("fast.mp4", "ultrafast"), {"fast.webm", "5"}}) {
        ClipOutput fast = output(name);
        fast.encoderPreset = preset;
        copy(input("in.mov"), fast);
    }
    EXPECT_GT(fs::file_size(path("fast.mp4")), fs::file_size(path("o.mp4")) + 500);
}

TEST_F(ClipTest, ARecordingMayBeginInTheMiddleButMayNotBeDamaged) {
    ffmpeg("-f lavfi -i testsrc2=s=160x120:d=2 -c:v libx264 -g 8 in.ts -c:v png in.mov -c:v ffv1 "
           "-level 3 -slicecrc 1 crc.mkv -c:v libx264 whole.mkv -pix_fmt yuv420p whole.y4m");
    shell(
        "tail -c 30000 in.ts >tail.ts; for i in in.mov crc.mkv; do printf '%0200d' 0 | dd of=$i "
        "bs=1 seek=90000 conv=notrunc status=none; done; head -c 20000 whole.mkv >cut.mkv; "
        "head -c 100000 whole.y4m >cut.y4m; ffmpeg -v error -nostdin -i in.mov -frames:v 1 c.png; "
        "ffmpeg -v error -nostdin -i whole.mkv -attach c.png -metadata:s:t filename=c.png "
        "-metadata:s:t mimetype=image/png -c copy -f matroska - | head -c 30000 >cover.mkv");
    const std::size_t count = read(input("tail.ts")).size();
    EXPECT_GT(count, 10);
    EXPECT_EQ(openClip(input("tail.ts"))->frameCount(), count);
    for (const auto& [name, reason] : {std::pair("in.mov", "it is damaged or cut off .*"),
                                       {"crc.mkv", "it is damaged"},
                                       {"cut.mkv", "the file is cut off or damaged .*"},
                                       {"cover.mkv", "the file is cut off or damaged .*"},
                                       {"cut.y4m", "it is cut off"}}) {
        EXPECT_THAT(errorOf([&, file = input(name)] { read(file); }),
                    MatchesRegex("cannot read '.*': frame [0-9]+: " + std::string(reason)));
    }
}

TEST_F(ClipTest, ErrorsCarryAReason) {
    makeClip("-c:v qtrle clip.mov");
    const auto reason = [&](const ClipOutput& output) {
        try {
            copy(input("clip.mov"), output);
        } catch (const ClipError& error) {
            return error.reason();
        }
        throw Error("no error");
    };
    EXPECT_EQ(reason(output("o.png")), ClipReason::TooManyFrames);
    EXPECT_EQ(reason(output("o.mkv", "x")), ClipReason::ValueNotTaken);
    ffmpeg("-i clip.mov -c:v libvpx-vp9 vp9.webm");
    ClipOutput fast = output("o.mkv");
    fast.encoderPreset = "fast"; // before there is a frame
    const auto reader = openClip(input("vp9.webm"));
    EXPECT_THROW(openClipWriter(fast, input("vp9.webm"), *reader), ClipError);
}

} // namespace
