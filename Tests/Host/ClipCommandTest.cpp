// Sequences, video and pipes through the program, judged with the ffmpeg programs.

#include "Host/Media/Picture.h"
#include "Tests/Host/ProgramTest.h"

#include <algorithm>
#include <regex>

using namespace Vexorel::PrismDrift::Host;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

class ClipCommandTest : public ProgramTest {
protected:
    void makeSequence(int first, int count) const {
        output("$SOURCE=s=48x32 -frames:v " + std::to_string(count) + " -start_number " +
               std::to_string(first) + " in.%04d.png");
    }

    // The picture's bytes of a clip or a sequence, frame by frame.
    std::string frames(const std::string& input) const {
        return output("$FF -i " + input +
                      " -map 0:v -vsync passthrough -f framemd5 -pix_fmt rgba - | grep -v '^#' | "
                      "awk '{print $NF}'");
    }
};

using ClipDrawing = WithRenderer<ClipCommandTest>;
INSTANTIATE_TEST_SUITE_P(With, ClipDrawing, eachRenderer);

TEST_F(ClipCommandTest, ASequenceKeepsItsNumbersAndSaysWhatIsMissing) {
    makeSequence(8, 5);
    EXPECT_EQ(output("$PROGRAM $FAKE in.####.png 'out.%03d.png'; ls out.*"),
              "out.008.png\nout.009.png\nout.010.png\nout.011.png\nout.012.png\n");
    EXPECT_EQ(output("rm out.*; $PROGRAM $FAKE in.%04d.png out.%d.png --frames 9-12x2; ls out.*"),
              "out.11.png\nout.9.png\n");
    output("rm out.* in.0010.png");
    EXPECT_THAT(run("$PROGRAM $FAKE in.%04d.png o.%02d.png").errors,
                HasSubstr("'in.0010.png' is missing; --missing skip leaves"));
    for (const auto& [missing, numbers] :
         {std::pair("skip", "08 09 11 12 "), {"hold", "08 09 10 11 12 "}}) {
        EXPECT_EQ(output(std::string("$PROGRAM $FAKE in.%04d.png o.%02d.png --missing ") + missing +
                         "; for f in o.*; do printf '%s ' ${f:2:2}; rm $f; done"),
                  numbers);
    }
    // Nobody has drawn what isn't there.
    output(
        "run() { $PROGRAM $FAKE \"$@\" --missing skip; }; run in.%04d.png whole.mov --codec png; "
        "run in.%04d.png d.%04d.png; $PROGRAM in.%04d.png joined.mov --codec png --missing skip "
        "--drawn d.%04d.png; cmp whole.mov joined.mov");
}

TEST_P(ClipDrawing, PartsOfARunGiveTheSameBytes) {
    output("$SOURCE=s=48x32:r=10 -frames:v 6 -pix_fmt yuv420p -c:v libx264 in.mp4");
    const std::string look = " --shift-distance 7.5 --shift-angle 30";
    output("$PROGRAM in.mp4 whole.%d.png" + look);
    output("for part in 0-1 2-4x2 3,5; do $PROGRAM in.mp4 part.%d.png --frames $part" + look +
           " || exit; done");
    output("for i in 0 1 2 3 4 5; do cmp whole.$i.png part.$i.png || exit; done; ! cmp -s "
           "whole.0.png whole.2.png");
    EXPECT_THAT(run("$PROGRAM in.mp4 more.%d.png --frames 5-7").errors,
                HasSubstr("cannot read 'in.mp4': there is no frame 7, it has the frames 0 to 5"));
    // A frame of a clip is what the program makes of it as a picture.
    output("$FF -i in.mp4 -c:v qtrle -pix_fmt rgb24 in.mov");
    output("$FF -i in.mov still.%d.png");
    output("$PROGRAM in.mov out.mov" + look);
    output("for i in 1 2 3 4 5 6; do $PROGRAM still.$i.png still.$i.png" + look + "; done");
    EXPECT_EQ(frames("out.mov"), frames("still.%d.png"));
}

// Clips whose frames have times of their own, with sound, of 8 bits and of 10.
TEST_F(ClipCommandTest, FramesOfAFarmMakeTheSameFile) {
    output("$SOURCE=s=48x32:r=25 -f lavfi -i sine -t 0.5 -vf \"select='not(eq(mod(n,5),2))',"
           "setsar=4/3\" -vsync vfr -color_range pc -colorspace bt709 -pix_fmt yuv420p -c:v "
           "libx264 -c:a aac -shortest in.mp4; $FF -i in.mp4 -vsync passthrough -pix_fmt "
           "yuv422p10le -c:v prores -color_trc smpte2084 -c:a copy deep.mov");
    const std::string look = " --shift-distance '0=0; -1=9' --channel-scale 100,110,90";
    for (const std::string job : {"in.mp4 png --codec=qtrle", "deep.mov tif --depth=float"}) {
        output("run() { $PROGRAM $1 whole.mov" + look +
               " ${3/--depth*}; for part in 0-3 4-9; do $PROGRAM $1 d%02d.$2 --frames $part" +
               look +
               " ${3/--codec*}; done; $PROGRAM $1 joined.mov --drawn d%02d.$2 ${3/--depth*}; }; "
               "set -e; run " +
               job + "; cmp whole.mov joined.mov; rm whole.mov joined.mov");
    }
    for (const auto& [change, message] :
         {std::pair("mv d00.png kept", "--drawn: 'd%02d.png' lacks frame 0\n"),
          {"mv d05.png kept", "--drawn: 'd05.png' is missing\n"},
          {"mv d09.png kept", "--drawn: 'd%02d.png' lacks frame 9\n"},
          {"cp d09.png d10.png", "has a frame 10, which the clip doesn't have\n"},
          {"$SOURCE=s=46x32 -frames:v 1 d03.png", "46x32 pixels at frame 3, the clip 48x32 pixels"},
          {"$FF -i d03.png -pix_fmt rgb48be t.png; mv t.png d03.png",
           "has 16 bits a channel at frame 3"},
          {"oiiotool d03.tif -o d03.exr; mv d03.exr d03.png",
           "has floats at frame 3; here it has to have 8 bits a channel"}}) {
        const Result result = run("mkdir was; cp d*.png was; " + std::string(change) +
                                  "; ! $PROGRAM in.mp4 out.mov --drawn d%02d.png; rm d*.png; "
                                  "mv was/* .; rm -r was; test ! -e out.mov");
        EXPECT_EQ(result.status, 0) << change;
        EXPECT_THAT(result.errors, HasSubstr(message)) << change;
    }
}

// Whatever was in the memory that an encoder is given.
TEST_F(ClipCommandTest, EachRunEncodesTheSameBytes) {
    output("$SOURCE=s=320x180 -t 2 -pix_fmt yuv420p -c:v libx264 in.mp4");
    for (const char* codec : {"h264", "hevc"}) {
        output("for fill in 1 77 200; do MALLOC_PERTURB_=$fill $PROGRAM $FAKE in.mp4 $fill.mp4 "
               "--codec " +
               std::string(codec) + " || exit; cmp 1.mp4 $fill.mp4 || exit; done");
    }
}

TEST_F(ClipCommandTest, EverythingElseInTheFileIsHandedOn) {
    std::ofstream(path("s.srt")) << "1\n00:00:00,200 --> 00:00:00,700\nOne\n";
    std::ofstream(path("m.txt"))
        << ";FFMETADATA1\ntitle=A "
           "title\nownkey=kept\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=400\ntitle=First\n";
    output("$SOURCE=s=48x32:r=25 -f lavfi -i sine -i s.srt -i m.txt -map 0 -map 1 -map 2 "
           "-map_metadata 3 -t 1 -vf \"select='not(eq(mod(n,5),2))',setsar=4/3\" -vsync vfr "
           "-pix_fmt yuv420p -c:v libx264 -color_primaries bt709 -color_trc bt709 -colorspace "
           "bt709 -c:a aac -metadata:s:a language=deu -c:s srt in.mkv");
    output("$FF -i in.mkv -map 0 -c copy -c:s mov_text -movflags use_metadata_tags in.mp4");
    const std::string probe =
        "ffprobe -v error -show_chapters -show_entries "
        "packet=stream_index,pts_time,duration_time,size,data_hash:stream=sample_aspect_ratio,"
        "color_space,color_range,color_primaries:stream_tags=language,title:format_tags=title,"
        "ownkey -show_data_hash md5 -of compact ";
    for (const char* kind : {"mkv", "mp4"}) {
        const std::string name = std::string(".") + kind;
        output("$PROGRAM in" + name + " out" + name + " --shift-distance 3");
        // Of the picture's packets, the times alone are compared.
        const auto probed = [&](const std::string& file) {
            return output(probe + file + " | sed '/stream_index=0/s/|duration_time=.*//' | sort");
        };
        EXPECT_EQ(probed("in" + name), probed("out" + name));
        EXPECT_THAT(probed("out" + name),
                    AllOf(HasSubstr("stream_index=1|"), HasSubstr("stream_index=2|"),
                          HasSubstr("First"), HasSubstr("=kept\n")));
    }
}

TEST_P(ClipDrawing, PipesCarryWhatFilesCarry) {
    output("$SOURCE=s=48x32:r=10 -frames:v 5 -c:v qtrle -pix_fmt argb in.mov");
    output("$PROGRAM in.mov file.mov --shift-distance 5");
    const std::string expected = frames("file.mov");
    const std::string raw = "-f rawvideo -video_size 48x32 -framerate 10 -pixel_format ";
    const std::pair<std::string, std::string> pipes[] = {
        {"-f rawvideo -pix_fmt bgra - | $PROGRAM --input-format rawvideo --video-size 48x32 "
         "--pixel-format bgra --framerate 10 - - --output-format rawvideo",
         raw + "bgra -i"},
        {"-c:v ffv1 -f nut - | $PROGRAM - - --output-format rawvideo --output-pixel-format rgba",
         raw + "rgba -i"},
        {"-c:v png -f image2pipe - | $PROGRAM --framerate 10 - - --output-format png",
         "-f png_pipe -i"},
        {"-c:v ffv1 -f nut - | $PROGRAM - - --output-format matroska", "-i"},
        {"-c:v ffv1 -f nut - | $PROGRAM - - --output-format mov --codec qtrle", "-i"},
    };
    for (const auto& [pipe, reader] : pipes) {
        output("$FF -i in.mov " + pipe + " --shift-distance 5 >out");
        EXPECT_EQ(output("$FF " + reader +
                         " out -f framemd5 -pix_fmt rgba - | grep -v '^#' | awk '{print $NF}'"),
                  expected)
            << pipe;
    }
    // A named pipe is opened once, or its writer would take the first look for its reader.
    output("mkfifo pipe; $FF -i in.mov -c:v ffv1 -f matroska pipe & $PROGRAM pipe piped.mov "
           "--codec qtrle --shift-distance 5 && wait $!");
    EXPECT_EQ(frames("piped.mov"), expected);
    // Pipes that another program has made non-blocking.
    output(
        "$FF -i in.mov -s 640x480 -c:v rawvideo -f nut in.nut; (sleep 0.5; cat in.nut) | { python3 "
        "-c 'import os; os.set_blocking(0, False); os.set_blocking(1, False)'; $PROGRAM $FAKE - "
        "- --output-format nut; } | (sleep 2; cat) >out.nut; cat in.nut | $PROGRAM $FAKE - - "
        "--output-format nut | cmp - out.nut");
    // The frames of yuv4mpegpipe are in YUV, as near as that allows.
    output("$FF -i in.mov -pix_fmt yuv444p -f yuv4mpegpipe - | $PROGRAM - - --output-format "
           "yuv4mpegpipe >out.y4m");
    EXPECT_THAT(output("head -1 out.y4m"), StartsWith("YUV4MPEG2 W48 H32 F10:1 Ip"));
    const std::string likeness =
        run("ffmpeg -nostdin -i in.mov -i out.y4m -lavfi '[0]format=yuv444p[a];[a][1]psnr' -f null "
            "- 2>&1 | grep -o 'min:[0-9inf]*'")
            .output;
    ASSERT_THAT(likeness, StartsWith("min:"));
    EXPECT_TRUE(likeness.substr(4) == "inf\n" || std::stoi(likeness.substr(4)) > 38) << likeness;
}

TEST_F(ClipCommandTest, AFailedWriteLeavesNoFile) {
    output("$SOURCE=s=160x120 -t 2 -pix_fmt yuv420p -c:v libx264 in.mp4");
    EXPECT_EQ(output("set +o pipefail; $PROGRAM $FAKE --quiet in.mp4 - --output-format rawvideo | "
                     "head -c 100 >one; echo ${PIPESTATUS[0]}"),
              "1\n");
    // An idle pipe doesn't hold the error back.
    EXPECT_EQ(run("timeout 10 $PROGRAM $FAKE --quiet --input-format rawvideo --video-size 64x64 "
                  "--pixel-format rgba - - --output-format rawvideo >/dev/full < <(head -c 65536 "
                  "/dev/zero; exec sleep 30); echo $? >&2; pkill -P $$ sleep")
                  .errors,
              "prismdrift: error: cannot write to standard output: No space left on device\n1\n");
    const Result full =
        run("trap '' XFSZ; ulimit -f 20; $PROGRAM $FAKE in.mp4 big.mkv --codec ffv1");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.errors, "prismdrift: error: cannot write 'big.mkv': File too large\n");
    // Of the calls that fail, none is waited for.
    for (const char* target : {"o.mkv", "o.png --frames 0", "- --output-format nut"}) {
        EXPECT_THAT(
            run(std::string("timeout 10 $FAILING FAIL_CALLS=write $PROGRAM $FAKE in.mp4 ") +
                target + "; echo $? >&2")
                .errors,
            MatchesRegex("prismdrift: error: cannot write .*: No space left on device\n1\n"));
    }
    // Nor is a disk trusted that loses what it took.
    for (const char* target : {"o.mkv", "o.mov"}) {
        EXPECT_THAT(
            run(std::string("$FAILING FAIL_CALLS=lost $PROGRAM $FAKE in.mp4 ") + target).errors,
            MatchesRegex("prismdrift: error: cannot write 'o.*': what was written can't be read "
                         "back: .*\n"));
    }
    // What the plug-in prints stays out of the pipe.
    EXPECT_EQ(run("$FAILING FAIL_CALLS=open FAIL_AT=1 $PROGRAM $FAKE in.mp4 - --output-format nut "
                  "| head -c 6")
                  .output,
              "");
    EXPECT_THAT(files(), ElementsAre("in.mp4", "one"));
}

TEST_F(ClipCommandTest, AFileThatExistsIsNoPattern) {
    output("$SOURCE=s=48x32:r=10 -frames:v 3 -pix_fmt yuv420p 50%.mp4 && $FF -i 50%.mp4 -frames:v "
           "1 -update 1 50%.png; cp 50%.png a#.png");
    for (const std::string name : {"50%.png", "a#.png", "50%.mp4"}) {
        output("$PROGRAM $FAKE '" + name + "' out.mkv && $PROGRAM sheet '" + name + "' sheet.png");
        EXPECT_EQ(frames("out.mkv").size(), name == "50%.mp4" ? 3 * 33 : 33) << name;
    }
}

TEST_F(ClipCommandTest, WhatGetsLostIsSaid) {
    output("$SOURCE=s=48x32 -frames:v 1 -pix_fmt rgb24 a.1.png");
    output("$SOURCE=s=48x32 -frames:v 1 -vf format=rgba,colorchannelmixer=aa=0.5 -pix_fmt rgba64be "
           "a.2.png");
    output("$SOURCE=s=48x32 -frames:v 9 -vf \"select='lt(n,2)+gt(n,6)'\" -vsync vfr -c:v qtrle "
           "vfr.mov");
    const std::pair<const char*, const char*> cases[] = {
        {"a.%d.png a.mov", "the alpha of 'a.mov' is lost"},
        {"a.%d.png b.mov", "the input has 16 bits a channel; the renderer keeps 8 bits a channel"},
        {"vfr.mov a.y4m", ".y4m has one frame rate: the frames' own times are lost"},
        {"vfr.mov b.mov --quality 50", "qtrle has no quality to choose"},
        {"vfr.mov b.mov --encoder-preset fast", "qtrle has no encoder presets to choose"},
    };
    for (const auto& [arguments, warning] : cases) {
        const Result result = run(std::string("$PROGRAM $FAKE ") + arguments);
        EXPECT_EQ(result.status, 0) << arguments;
        EXPECT_THAT(result.errors, HasSubstr(std::string("prismdrift: warning: ") + warning));
    }
    // Where memory isn't zero when it is new, the encoder of H.265 makes up times.
    output("$SOURCE=s=64x64 -frames:v 1 one.png; MALLOC_PERTURB_=85 $PROGRAM $FAKE one.png one.mkv "
           "--codec hevc");
    // A name without the format's ending.
    output("$PROGRAM $FAKE a.1.png picture --output-format png; $PROGRAM $FAKE a.1.png named.png; "
           "cmp picture named.png");
}

TEST_F(ClipCommandTest, AnInterruptedRunEndsWithWhatIsDone) {
    output(
        "$SOURCE=s=320x240 -frames:v 2000 -pix_fmt yuv420p -c:v libx264 -preset ultrafast in.mp4");
    const auto interrupted = [&](const std::string& signal, const std::string& out) {
        return run("set -m; $PROGRAM in.mp4 " + out +
                   " --progress kv 2>log & child=$!; until grep -q progress=continue log; do sleep "
                   "0.05; done; kill -" +
                   signal + " $child; wait $child; echo $?; tail -1 log; rm log");
    };
    for (const auto& [signal, status] : {std::pair("INT", "130"), {"TERM", "143"}}) {
        const Result result = interrupted(signal, "out.mp4");
        std::smatch found;
        const std::regex expected(
            std::string(status) +
            "\nprismdrift: interrupted after ([0-9]+) frames, which are written\n");
        ASSERT_TRUE(std::regex_match(result.output, found, expected)) << result.output;
        EXPECT_EQ(output("ffprobe -v error -count_frames -show_entries stream=nb_read_frames -of "
                         "csv=p=0 out.mp4"),
                  found[1].str() + "\n");
        EXPECT_THAT(files(), ElementsAre("in.mp4", "out.mp4"));
        output("rm out.mp4");
    }
    interrupted("KILL", "out.mp4");
    EXPECT_THAT(files(), ElementsAre("in.mp4"));
    interrupted("INT", "out.%04d.png");
    EXPECT_GT(files().size(), 1);
    output("for f in out.*; do ffmpeg -v error -xerror -nostdin -i $f -f null - || exit; done");
    // Waiting for a pipe that nobody writes to, and for one that nothing comes from.
    makeSequence(1, 1);
    EXPECT_EQ(
        run("mkfifo in.0002.png; set -m; timeout -s KILL 9 $PROGRAM $FAKE in.%04d.png s.%d.png & "
            "sleep 1; kill -INT $!; wait $!; echo $?")
            .output,
        "130\n");
    EXPECT_EQ(run("(ffmpeg -v quiet -nostdin -i in.mp4 -f yuv4mpegpipe - | head -c 500000; sleep "
                  "30) | { set -m; $PROGRAM - pipe.mp4 & sleep 2; kill -INT $!; wait $!; echo $?; "
                  "pkill -P $$ sleep; }")
                  .output,
              "130\n");
    EXPECT_GT(std::stoi(output("ffprobe -v error -count_frames -show_entries stream=nb_read_frames "
                               "-of csv=p=0 pipe.mp4")),
              0);
}

TEST_F(ClipCommandTest, ProgressSuitsWhoeverLooks) {
    makeSequence(1, 30);
    const std::string command = "$PROGRAM $FAKE in.%04d.png out.mkv";
    EXPECT_EQ(run(command).errors, ""); // it is over before a line is due
    EXPECT_EQ(run(command + " --quiet --progress kv").errors, "");
    const std::regex blocks(
        "(frame=[0-9]+\nfps=[0-9.]+\nout_time_us=[0-9]+\nout_time_ms=[0-9]+\nout_time=00:00:0[0-9.]"
        "+\ndup_frames=0\ndrop_frames=0\nspeed=[0-9.e+]+x\nprogress=(continue|end)\n)+");
    const std::string report = run(command + " --progress kv").errors;
    EXPECT_TRUE(std::regex_match(report, blocks)) << report;
    EXPECT_THAT(report,
                AllOf(HasSubstr("frame=30\n"), HasSubstr("out_time_us=1200000\n"),
                      HasSubstr("out_time=00:00:01.200000\n"), HasSubstr("progress=end\n")));
    makeSequence(1, 300); // in software they are over, too
    const std::string terminal =
        output("script -qec '$PROGRAM --renderer gl in.%04d.png out.mkv' /dev/null");
    EXPECT_TRUE(std::regex_search(
        terminal,
        std::regex("\r\\[#+\\.*\\] +[0-9]+%  [0-9]+/300  [0-9.]+ frames/s  [0-9:]+ left")))
        << terminal;
    EXPECT_THAT(terminal, HasSubstr("] 100%  300/300  "));
}

} // namespace
