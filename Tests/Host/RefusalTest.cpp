// Everything that the program refuses: what it says, the status it ends with, and that it leaves
// every file as it was.

#include "Host/Media/Picture.h"
#include "Tests/Host/ProgramTest.h"

using namespace Vexorel::PrismDrift::Host;

namespace {

struct Refusal {
    std::string arguments;
    int status;
    const char* message;     // a regular expression, matched against the error
    std::string preset = {}; // what bad.json holds
};

const Refusal commandLine[] = {
    {"", 2, ": INPUT and OUTPUT are missing; --help tells more\n"},
    {"in.png", 2, ": OUTPUT is missing; --help tells more\n"},
    {"in.png kept.png more", 2, "'more' is one argument too many; an INPUT and an OUTPUT are tak"},
    {"--shift-distnce 3 in.png kept.png", 2, "'--shift-distnce'; did you mean '--shift-distance'"},
    {"--channel-sc 3 in.png kept.png", 2, "did you mean '--channel-scale'"},
    {"--frobnicate in.png kept.png", 2, "unknown option '--frobnicate'; --help lists them all"},
    {"-x in.png kept.png", 2, "unknown option '-x'; --help lists them all"},
    {"--about --about=3", 2, ": --about takes no value\n"},
    {"in.png kept.png --shift-angle", 2, ": --shift-angle takes a value: DEGREES\n"},
    {"--shift-angle --shift-distance 3 in.png kept.png", 2, "--shift-angle takes a value: DEG"},
    {"in.png kept.png --shift-distance=", 2, ": --shift-distance takes a value: PIXELS\n"},
    {"--codec= in.png kept.png", 2, ": --codec takes a value: NAME\n"},
    {"--shift-angle 32768 in.png kept.png", 2,
     "takes a number from -32768 up to, not including, 32768, in degrees, not '32768'"},
    {"--shift-distance nan in.png kept.png", 2, "in pixels, not 'nan'"},
    {"--shift-distance 1000.01 in.png kept.png", 2, "in pixels, not '1000.01'"},
    {"--shift-distance 1,2 in.png kept.png", 2, "in pixels, not '1,2'"},
    {"--channel-order RGV in.png kept.png", 2, "not 'RGV'; did you mean 'RGB'"},
    {"--channel-scale 1,2 in.png kept.png", 2, "or one for all, not '1,2'"},
    {"--channel-scale 1,,2 in.png kept.png", 2, "or one for all, not '1,,2'"},
    {"--channel-lightness -101 in.png kept.png", 2, "or one for all, not '-101'"},
    {"--downsample 0 in.png kept.png", 2, "a whole number from 1 to 65536, not '0'"},
    {"--downsample 1.5 in.png kept.png", 2, "a whole number from 1 to 65536, not '1.5'"},
    {"--renderer opengl in.png kept.png", 2, "takes auto, gl or software, not 'opengl'"},
    {"--renderer software in.png kept.png", 2, "software draws without a plug-in; leave out"},
    {"--frames 5-3 in.png o.mkv", 2,
     "--frames takes numbers up to 2147483647 and asc.*, not '5-3'"},
    {"--missing maybe in.png o.mkv", 2, "--missing takes skip or hold, not 'maybe'"},
    {"--framerate fast in.png o.mkv", 2, "'fast' is no frame rate: .* \\(--framerate\\)\n"},
    {"--framerate 200000 in.png o.mkv", 2, "'200000' is no .* up to 100000 such"},
    {"--input-format nosuch none.mp4 o.mkv", 2,
     "no input format 'nosuch'.* \\(--input-format\\)\n"},
    {"--video-size 8x none.raw o.mkv", 2, "'8x' is no video size: .* \\(--video-size\\)\n"},
    {"--pixel-format foo none.raw o.mkv", 2, "no pixel format 'foo'.* \\(--pixel-format\\)\n"},
    {"- o.mkv --input-format rawvideo", 2, "; give --video-size and --pixel-format\n"},
    {"none.mp4 o.mkv --output-pixel-format foo", 2,
     "'foo' is no .* of .mkv, which takes yuv420p, "},
    {"none.mp4 o.nut --output-pixel-format cuda", 2, "'cuda' is no pixel format of .nut; 'ffmpeg"},
    {"--quality 101 in.png o.mp4", 2, "--quality takes a number from 0 to 100, not '101'"},
    {"--progress loud in.png o.mkv", 2, "--progress takes bar, lines, kv or none, not 'loud'"},
    {"in.png o.png --drawn d.png --shift-angle 3", 2, "drawn already; leave out --shift-angle\n"},
    {"in.png o.png --drawn d.png --preset a", 2, "drawn already; leave out --preset\n"},
    {"in.png o.png --drawn d.png --downsample 2", 2, "drawn already; leave out --downsample\n"},
    {"in.png o.png --drawn -", 2, "--drawn takes a sequence or a clip in a file, not standard in"},
    {"--columns 2 in.png o.png", 2, "--columns is an option of 'prismdrift sheet' only"},
    {"in.png o.gif3", 2, "one of .png, .jpg, .* .webm, .y4m, .raw, .nut\n"},
    {"in.png o.mkv --codec mpeg1", 2, "takes the codecs h264, .*, not 'mpeg1' \\(--codec\\)\n"},
    {"in.png o.%d.mkv", 2, "a video is one file"},
    {"in.png o.%d.png --codec png", 2, "; leave out --codec\n"},
    {"in.png o.mov --codec qtrle --quality 3", 2, "qtrle has no .*; leave out --quality\n"},
    {"in.png o.mp4 --encoder-preset fastest", 2,
     "no encoder preset 'fastest'; the presets of h264 and hevc are ultrafast, superfast, .*, "
     "veryslow, placebo \\(--encoder-preset\\)\n"},
    {"in.png o.mkv --codec vp9 --encoder-preset 6", 2, "of vp9 are 5, 4, 3, 2, 1, 0 "},
    {"in.png o.mov --codec prores --encoder-preset slow", 2,
     "prores has no encoder presets .*; leave out --encoder-preset\n"},
    {"in.png o.%d.png --encoder-preset slow", 2, "; leave out --encoder-preset\n"},
    {"in.png o.mp4 --codec h264 --output-pixel-format rgb24", 2,
     "'rgb24' is no pixel format of h264, which takes yuv420p.* \\(--output-pixel-format\\)\n"},
    {"in.png -", 2, "to standard output: .*; give --output-format\n"},
    {"in.png o.mkv --output-format flv", 2, "there is no output format 'flv'"},
    {"in.%04d.%d.png o.mkv", 2, "'in.%04d.%d.png' is no pattern"},
    {"in.png o%.png", 2, "'o%.png' is no pattern"},
    {"--plugin no.so --about", 1, "cannot load the plug-in 'no.so'"},
    {"--plugin /lib/x86_64-linux-gnu/libm.so.6 --about", 1, "has no EntryPointFunc"},
    {"--list-parameters >/dev/full", 1, "cannot write to standard output: No space left"},
    {"--list-parameters >&-", 1, "cannot write to standard output: "},
    {"--script fail.js", 1, "'fail.js' failed: ReferenceError: .*'lens' undefined \\(line 2\\)\n"},
    {"--script zero.js", 1, "the script 'zero.js' is not a text: it holds a zero byte\n"},
    {"--script none.js", 1, "cannot read the script 'none.js': No such file or directory\n"},
    {"--script .", 1, "cannot read the script '.': Is a directory\n"},
    {"--script", 2, ": --script takes a value: FILE\n"},
    {"--script fail.js in.png o.png", 2, "--script takes no INPUT and OUTPUT .*'in.png'\n"},
    {"--about in.png o.png", 2, "--about takes no INPUT and OUTPUT .*'in.png'\n"},
    {"--list-parameters --save-preset p.json", 2, "takes no --save-preset beside it; leave one"},
    {"'' o.png --save-preset p.json", 2, "INPUT is an empty name"},
    {"sheet in.png o.png --vary --shift-angle=1,2", 2, "begins with -- is written --vary=VALUE"},
    {"--script fail.js --shift-angle 3", 2, "no options of the effect .* '--shift-angle'\n"},
    {"--script fail.js --verbos", 2, "unknown option '--verbos'; did you mean '--verbose'"},
};

const Refusal fileRefusals[] = {
    {"none.png kept.png", 1, "cannot read 'none.png': No such file or directory\n"},
    {"$'n\\n\\e[2J\\xe2\\x80\\xae\\xc3\\xa4\\xff' kept.png", 1,
     "'n.n.x1b\\[2J.u202e\u00e4.xff': No"},
    {"in.png folder.png", 1, "cannot write 'folder.png': it is a directory"},
    {"in.png kept.png/kept.png", 1, "Not a directory"},
    {"in.png o.mp4 --codec hevc", 1, "hevc takes 64x16 pixels and more, not 40x30 \\(--codec\\)\n"},
    {"in.mp4 none/o.%d.png", 1, "cannot write 'none/o.*': the folder '.*none': No such file"},
    {"in.mp4 o.mkv --layer x", 1,
     "'in.mp4': it has no layer 'x': only pictures have layers; leave out --layer\n"},
    {"- o.mkv --layer x <cut.gif", 1, "standard input: it has no layer 'x': only"},
    {"/dev/zero o.mkv --layer x --input-format rawvideo --video-size 8x8", 1, "no layer 'x': only"},
    {"in.mp4 kept.png", 1, "it holds one picture, and the input has more.* with --frames\n"},
    {"hit.mp4 o.mkv", 1, "cannot read 'hit.mp4': frame [0-9]+: "},
    {"crc.mkv o.mkv", 1, "cannot read 'crc.mkv': frame [0-9]+: it is damaged"},
    {"cut.mkv o.mkv", 1, "cannot read 'cut.mkv': frame [0-9]+: .*(cut off|damaged)"},
    {"lost.mkv o.mkv", 1, "cannot read 'lost.mkv': frame [0-9]+: "},
    {"cut.y4m o.mkv", 1, "cannot read 'cut.y4m': frame 3: it is cut off"},
    {"cut.gif o.mkv", 1, "cannot read 'cut.gif': frame [0-9]+: it is cut off"},
    {"- o.mkv <cut.gif", 1, "cannot read standard input: frame [0-9]+: it is cut off"},
    {"cut.mp4 o.mkv", 1, "cannot read 'cut.mp4': it is no picture or video of a known format"},
    {"sound.mp4 o.mkv", 1, "cannot read 'sound.mp4': there is no picture in it"},
    {"empty.mp4 o.mkv", 1, "cannot read 'empty.mp4': the file is empty"},
    {"list.m3u8 o.mkv", 1, "cannot read 'list.m3u8': it is no picture"},
    {"http://localhost/a.mp4 o.mkv", 1, "cannot read 'http://localhost/a.mp4': No such file"},
    {"in.mp4 o.mov --frames 48-50", 1, "there is no frame 50, it has the frames 0 to 49"},
    {"in.mp4 - --output-format nut >/dev/full", 1, "cannot write to standard output: No space"},
    {"in.mp4 - --output-format png >/dev/full", 1, "cannot write to standard output: No space"},
    {"in.mp4 - --output-format rawvideo >&-", 1, "cannot write to standard output: Bad file"},
    {"- o.mkv", 1, "cannot read standard input: "},
    {"in.mp4 o.mkv --missing hold", 1, "only a sequence, .*; leave out --missing\n"},
    {"in.mp4 o.mkv --channel-lightness '0=1;-51=2'", 1, "Channel Lightness, R Channel: .*'-51' "},
};

const Refusal sheets[] = {
    {"sheet in.png", 2, "OUTPUT is missing"},
    {"sheet in.png o.mp4", 2, "a sheet is a picture, so its name must end in one of .png, "},
    {"sheet in.png -", 2, "cannot write '-'"},
    {"sheet none.raw o.png --input-format x", 2, "no input format 'x'"},
    {"SHEET --vray shift-angle=1", 2, "did you mean '--vary'"},
    {"SHEET --codec h264", 2, "--codec is no option of 'prismdrift sheet'"},
    {"SHEET --vary shift", 2, "such as shift-distance=0,10,20, not 'shift'"},
    {"SHEET --vary shift-angel=1", 2, "'shift-angel'; did you mean 'shift-angle'"},
    {"SHEET --vary blur=1", 2, "it has channel-order, shift-angle"},
    {"SHEET --vary shift-distance=0,,1", 2, "--vary: --shift-distance takes a num"},
    {"SHEET --vary channel-scale=1:2", 2, "R,G,B, each a number from 0 to 200"},
    {"SHEET --vary shift-angle=1 --vary shift-angle=2", 2, "--shift-angle twice"},
    {"SHEET --vary=channel-{order,scale,lightness}=3", 2, "--vary may be given at most twice"},
    {"SHEET --columns 2 --vary=shift-{angle,distance}=1", 2, "the second one makes the columns"},
    {"SHEET --vary shift-angle=1 --shift-angle 3", 2, "--shift-angle and --vary of the same"},
    {"SHEET --channel-order RGB", 2, "a sheet shows all values of --channel-order"},
    {"SHEET --columns 501", 2, "a whole number from 1 to 500, not '501'"},
    {"SHEET --cell-width 95.5", 2, "from 96 to 8192, not '95.5'"},
    {"SHEET --frames 1-3", 2, "--frames takes the number of one frame here"},
    {"SHEET --vary shift-distance=$(seq -s, 501)", 2, "501 cells; .* at most 500"},
};

// What concerns the text alone is found before any file is opened.
const Refusal keyframes[] = {
    {"none.png o.png --shift-distance '0=0; 25?=40'", 2,
     "--shift-distance: keyframes need .* between time and value\n  0=0; 25.=40\n         \\^\n"},
    {"none.png o.png --preset none.json --channel-scale '1,0=201,3'", 2,
     "--channel-scale: a key takes a number from 0 to 200, not '201'\n  0=201\n    \\^\n"},
    {"none.png o.png --channel-order 0=GBR", 2,
     "takes RGB, .* or BGR, not '0=GBR': it cannot change over time\n"},
    {"in.png o.png --shift-angle '0=1;0.001s=2'", 1, ": Shift Angle: .* '0' and '0.001s' "},
    {"--input-format rawvideo --video-size 2x2 --pixel-format rgba - o.mkv <text.png "
     "--shift-angle '0=1;-1s=2'",
     1, "Shift Angle: the key at '-1s' counts from the end, which is not known of a pipe"},
};

const std::string given = "{\"prismdrift\": 1, \"parameters\": {";
const char* const loading = "--save-preset o.json --preset bad.json";
const Refusal presets[] = {
    {"--preset - - o.mkv", 2, "--preset and INPUT can't both be standard input"},
    {"--save-preset - in.png - --output-format png", 2, "can't both be standard output"},
    {"--save-preset o.json --preset - <text.png", 1, "the preset on standard input: it is not J"},
    {"--save-preset - >/dev/full", 1, "cannot write to standard output: No space left"},
    {"--preset bad.json", 2, "INPUT and OUTPUT are missing"},
    {"--save-preset kept.png --shift-angle x", 2, "not 'x'"},
    {"--save-preset kept.png in.png o.nope", 2, "one of .png, "},
    {"--save-preset kept.png in.png", 2, "OUTPUT is missing"},
    {"--save-preset none/o.json", 1, "No such file"},
    {"--save-preset o.json --preset none.json", 1, "cannot read the preset 'none.json': No such"},
    {"--save-preset o.json --preset .", 1, "cannot read the preset '.': Is a directory\n"},
    {"--save-preset o.json --preset /dev/zero", 1, "the preset '/dev/zero': .* larger than 1 MiB"},
    {loading, 1, "'bad.json': it is not JSON at line 1, column 2: syntax error while parsing", " "},
    {loading, 1, "not JSON at line 3, column 3: syntax error", "{\n  \"prismdrift\": 1,\n  x"},
    {loading, 1, "it is not JSON at line 1, column 37: ", given + "}} 1"},
    {loading, 1, "it is not JSON at line 1, column 35: ", given + "\"\xFF\": 1}}"},
    {loading, 1, "\"Shift Angle\" has a number that is too", given + "\"Shift Angle\": 1e400}}"},
    {loading, 1, "it is nested more than 8 deep", std::string(200000, '[')},
    {loading, 1, "it is not a preset: it takes an object, not an array", "[1]"},
    {loading, 1, "the key \"parameters\" is missing", "{\"prismdrift\": 1}"},
    {loading, 1, "it has version 2, .* reads version 1", "{\"prismdrift\": 2, \"parameters\": 5}"},
    {loading, 1, "takes the version 1, not 1.5", "{\"prismdrift\": 1.5, \"parameters\": {}}"},
    {loading, 1, "takes an object of the effect", "{\"prismdrift\": 1, \"parameters\": []}"},
    {loading, 1, "\"paramters\"; did you mean 'para", "{\"prismdrift\": 1, \"paramters\": {}}"},
    {loading, 1, "\"Shift Agle\"; did you mean 'Shift Angle'", given + "\"Shift Agle\": 1}}"},
    {loading, 1, "key \"R Channel\"; it takes \"Channel Or", given + "\"R Channel\": 1}}"},
    {loading, 1, "the key \"Shift Angle\" appears twice",
     given + "\"Shift Angle\": 1, \"Shift Angle\": 1}}"},
    {loading, 1, "or keyframes as a string, not null", given + "\"Shift Angle\": null}}"},
    {loading, 1, "not \"\u00e4.x7f.n\"\n", given + "\"Shift Angle\": \"\u00e4\x7F\\n\"}}"},
    {loading, 1, "or keyframes as a string, not \"30\"", given + "\"Shift Angle\": \"30\"}}"},
    {loading, 1, "up to, not including, 32768, or key", given + "\"Shift Angle\": 32768}}"},
    {loading, 1, "between time and value, at character 8 of \"0=0; 25.=4\"",
     given + "\"Shift Angle\": 5, \"Shift Distance\": \"0=0; 25?=4\"}}"},
    {loading, 1, "not \"gbr\"; did you mean 'GBR'", given + "\"Channel Order\": \"gbr\"}}"},
    {loading, 1, "GBR, BRG or BGR, not 4", given + "\"Channel Order\": 4}}"},
    {loading, 1, "takes an object with \"R Channel\"", given + "\"Channel Scale\": 110}}"},
    {loading, 1, "key \"R Chanel\" in \"Channel Scale\"; did you mean 'R Channel'",
     given + "\"Channel Scale\": {\"R Chanel\": 1}}}"},
    {loading, 1, "\"Channel Scale\", \"R Channel\" takes a number from 0 to 200, or keyframes",
     given + "\"Channel Scale\": {\"R Channel\": -1}}}"},
};

class RefusalTest : public ProgramTest {
protected:
    RefusalTest() {
        writePicture(path("in.png"), {World(40, 30), {}});
        output("printf kept >kept.png; printf 'no picture' >text.png; mkdir folder.png; "
               "printf '\\nlens.blur()' >fail.js; printf '1\\0 2' >zero.js; : >bad.json");
    }

    void makeClips() const {
        output(R"(
            ff="ffmpeg -v error -nostdin"
            hit() { printf "%0$2d" 0 | dd of=$1 bs=1 seek=$3 conv=notrunc status=none; }
            $ff -f lavfi -i testsrc2=s=160x120 -f lavfi -i sine -t 2 -pix_fmt yuv420p \
                -c:v libx264 -c:a aac in.mp4
            $ff -i in.mp4 -c copy in.mkv; $ff -i in.mp4 -c copy -vn sound.mp4
            cp in.mp4 hit.mp4; hit hit.mp4 200 20000
            $ff -i in.mp4 -c:v ffv1 -level 3 -slicecrc 1 -an crc.mkv; hit crc.mkv 200 90000
            cp in.mkv lost.mkv; hit lost.mkv 900 12000
            $ff -i in.mp4 -f yuv4mpegpipe - | head -c 100000 >cut.y4m
            $ff -i in.mp4 -t 0.5 a.gif; head -c 9000 a.gif >cut.gif
            head -c 20000 in.mkv >cut.mkv; head -c 20000 in.mp4 >cut.mp4; : >empty.mp4
            printf '#EXTM3U\n#EXTINF:1,\nin.mp4\n' >list.m3u8)");
    }

    template <std::size_t count>
    void expectAll(const Refusal (&rows)[count]) const {
        const auto before = files();
        for (const Refusal& row : rows) {
            std::ofstream(path("bad.json"), std::ios::binary) << row.preset;
            const bool isSheet = row.arguments.substr(0, 5) == "sheet" || row.arguments[0] == 'S';
            const Result result = run("render() { $PROGRAM $FAKE --quiet \"$@\"; }; "
                                      "sheet() { $PROGRAM sheet $FAKE --quiet \"$@\"; }; "
                                      "SHEET() { sheet in.png o.png \"$@\"; }; " +
                                      std::string(isSheet ? "" : "render ") + row.arguments);
            SCOPED_TRACE(row.arguments + " " + row.preset.substr(0, 80));
            EXPECT_EQ(result.status, row.status);
            EXPECT_EQ(result.output, "");
            EXPECT_THAT(result.errors, testing::StartsWith("prismdrift: error: "));
            EXPECT_THAT(result.errors, testing::ContainsRegex(row.message));
            const bool shows = result.errors.find("\n  ") != std::string::npos; // a place in a text
            EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), shows ? 3 : 1);
            EXPECT_EQ(files(), before);
            EXPECT_EQ(contents(path("kept.png")), "kept");
        }
    }
};

// clang-format off
TEST_F(RefusalTest, OfOptions) { expectAll(commandLine); }
TEST_F(RefusalTest, OfFiles) { makeClips(); expectAll(fileRefusals); }
TEST_F(RefusalTest, OfSheets) { expectAll(sheets); }
TEST_F(RefusalTest, OfKeyframes) { expectAll(keyframes); }
TEST_F(RefusalTest, OfPresets) { expectAll(presets); }
// clang-format on

} // namespace
