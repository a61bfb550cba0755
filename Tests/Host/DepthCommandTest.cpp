// Pictures of more than 8 bits through the program, judged with the programs of others.

#include "Tests/Host/ProgramTest.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class DepthCommandTest : public ProgramTest {
protected:
    // A picture of 64x64 in this pixel format, whose levels rise in 64ths of a byte from `start`.
    void makeRamp(const std::string& name, const std::string& format, int start) const {
        const std::string level = "'(" + std::to_string(start) + "+X/64)*257'";
        output("$FF -f lavfi -i color=s=64x64,format=gbrp16le,geq=r=" + level + ":g=" + level +
               ":b=" + level + " -frames:v 1 -pix_fmt " + format + " " + name);
    }

    // Red, row by row, of bytes or of 16 bits.
    template <typename Value>
    std::vector<int> reds(const std::string& file) const {
        const std::string bytes = output("$FF -i " + file + " -frames:v 1 -f rawvideo -pix_fmt " +
                                         (sizeof(Value) == 1 ? "rgb24 -" : "rgb48le -"));
        std::vector<int> values;
        for (std::size_t x = 0; x < 64 * 64; ++x) {
            Value value = 0;
            std::memcpy(&value, bytes.data() + 3 * sizeof value * x, sizeof value);
            values.push_back(value);
        }
        return values;
    }

    std::vector<int> bytesOf(const std::string& file) const { return reds<std::uint8_t>(file); }
    std::vector<int> wordsOf(const std::string& file) const { return reds<std::uint16_t>(file); }
};

TEST_F(DepthCommandTest, TheOutputIsAsDeepAsItCanAndAnythingLostIsSaid) {
    makeRamp("deep.png", "rgb48be", 100);
    makeRamp("plain.png", "rgb24", 100);
    output("$FF -i deep.png -pix_fmt gbrpf32le deep.exr; oiiotool deep.exr -d half -o half.exr; "
           "$FF -loop 1 -i deep.png -frames:v 3 "
           "-pix_fmt yuv420p10le -c:v libx265 -x265-params log-level=none deep.mp4");
    const std::string has16 = "the input has 16 bits a channel; ";
    const std::string cutOff = ": what lies beyond 0 to 1 is cut off";
    struct Row {
        std::string files, expected, warning; // the only one
    };
    const Row rows[] = {
        {"deep.png o.png", "rgb48be", ""},
        {"deep.png o.png --depth 8", "rgb24", has16 + "8 bits a channel are kept"},
        {"deep.png o.jpg", "yuvj444p", "JPEG holds 8 bits a channel, not 16"},
        {"deep.png o.jpg --depth 8", "yuvj444p", has16 + "8 bits a channel are kept"},
        {"plain.png o.png", "rgb24", ""},
        {"plain.png o.png --depth 16", "rgb48be", ""},
        {"plain.png o.png --depth half", "rgb48be", "PNG holds 16 bits a channel, not half floats"},
        {"deep.exr o.png", "rgb48be", "PNG holds 16 bits a channel, not floats" + cutOff},
        {"deep.exr o.png --depth 8", "rgb24",
         "the input has floats; 8 bits a channel are kept" + cutOff},
        {"deep.exr o.exr", "gbrpf32le", ""},
        {"deep.exr o.exr --depth 8", "gbrpf32le", "the input has floats; half floats are kept"},
        {"half.exr o.exr --depth 8", "gbrpf32le", ""},
        {"deep.png o.mkv --codec ffv1", "gbrp16le", ""},
        {"deep.mp4 o.mp4", "yuv420p10le", ""},
        {"deep.mp4 o.mov --codec prores", "yuv422p10le", ""},
        {"deep.png o.mov --codec prores --depth 8", "yuv444p12le",
         has16 + "10 bits a channel are kept"},
        {"deep.mp4 o.mkv --output-pixel-format yuv420p", "yuv420p",
         "the input has 10 bits a channel; 8 bits a channel are kept"},
        {"deep.mp4 o.mp4 --depth 8", "yuv420p",
         "the input has 10 bits a channel; 8 bits a channel are kept"},
        {"plain.png o.mp4", "yuv420p", ""},
        {"deep.png o.png --renderer gl", "rgb24", has16 + "the renderer keeps 8 bits a channel"},
        {"deep.exr o.png --renderer gl", "rgb24",
         "the input has floats; the renderer keeps 8 bits a channel" + cutOff},
        {"sheet deep.png o.png", "rgb24", has16 + "a sheet keeps 8 bits a channel"},
    };
    for (const Row& row : rows) {
        const Result result = run("$PROGRAM " + row.files + " --shift-distance 3");
        EXPECT_EQ(result.status, 0) << row.files << "\n" << result.errors;
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'),
                  row.warning.empty() ? 0 : 1)
            << row.files << result.errors;
        EXPECT_TRUE(row.warning.empty() ||
                    result.errors.find(row.warning + "\n") != std::string::npos)
            << row.files << result.errors;
        const std::string file = row.files.substr(row.files.find("o."), 5);
        EXPECT_EQ(output("ffprobe -v error -select_streams v -show_entries stream=pix_fmt -of "
                         "csv=p=0 " +
                         file + " | tr -d '\\n'"),
                  row.expected)
            << row.files;
    }
    EXPECT_THAT(run("$PROGRAM deep.png o.png --depth 12").errors,
                HasSubstr("--depth takes 8, 16, half or float, not '12'"));
    EXPECT_EQ(run("$PROGRAM deep.png o.png --depth 16 --renderer gl").status, 2);
}

TEST_F(DepthCommandTest, ValuesKeepTheirDepthAndDitherTheirMean) {
    makeRamp("deep.png", "rgb48be", 100);
    const std::vector<int> before = wordsOf("deep.png");
    output("$PROGRAM deep.png same.png; $PROGRAM deep.png moved.png --shift-distance 0.5");
    EXPECT_EQ(wordsOf("same.png"), before);
    const std::vector<int> moved = wordsOf("moved.png");
    for (std::size_t x = 1; x < 64; ++x) {
        EXPECT_NEAR(moved[x], (before[x] + before[x - 1]) / 2.0, 0.51) << x;
    }
    // A fifth of a level of 8 bits above 100, over all of the picture.
    output("$FF -f lavfi -i color=s=64x64,format=gbrp16le,geq=r=25751:g=25751:b=25751 -frames:v 1 "
           "-pix_fmt rgb48be flat.png");
    output("$PROGRAM flat.png plain.png --depth 8 --quiet; $PROGRAM flat.png dithered.png --depth "
           "8 --dither --quiet; $PROGRAM flat.png again.png --depth 8 --dither --quiet; cmp "
           "dithered.png again.png");
    double sum = 0;
    for (const int value : bytesOf("dithered.png")) {
        sum += value / 4096.0;
    }
    EXPECT_THAT(sum, testing::AllOf(testing::Gt(100.15), testing::Lt(100.25)));
    EXPECT_EQ(bytesOf("plain.png")[0], 100);
}

TEST_F(DepthCommandTest, LinearLightMixesLightAndNeedsAKnownTransfer) {
    output("$FF -f lavfi -i color=s=64x64,format=rgb24,geq=r='mod(X\\,2)*255':g=0:b=0 -frames:v 1 "
           "stripes.png; $FF -loop 1 -i stripes.png -frames:v 2 -c:v ffv1 -pix_fmt bgr0 bare.mkv; "
           "$FF -i bare.mkv -c copy -color_trc smpte2084 pq.mkv");
    const std::string half = " --shift-distance 0.5";
    output("$PROGRAM stripes.png coded.png" + half + "; $PROGRAM stripes.png light.png --linear" +
           half + "; $PROGRAM pq.mkv pq.%d.png --linear" + half +
           "; $PROGRAM sheet stripes.png sheet.png --linear --vary shift-distance=0.5");
    EXPECT_EQ(bytesOf("coded.png")[8], 128);
    EXPECT_EQ(bytesOf("light.png")[8], 188); // sRGB's for half of the light
    EXPECT_EQ(bytesOf("pq.0.png")[8], 236);  // PQ's: 5000 of 10000 cd/m2
    EXPECT_THAT(run("$PROGRAM bare.mkv o.mkv --linear" + half).errors,
                HasSubstr("--linear needs a transfer that is known"));
    EXPECT_THAT(run("$PROGRAM stripes.png o.png --linear --renderer gl").errors,
                HasSubstr("--linear takes the software renderer here, and --renderer asks for gl"));
    EXPECT_THAT(files(), testing::Not(testing::Contains("o.mkv")));
}

TEST_F(DepthCommandTest, AssociatedColoursAreDrawnFreeOfAlphaAndNeutralOnesKept) {
    // Alpha is 1/4, colours go up by a 512th from column to column; without alpha at the bottom.
    output("oiiotool --create 64x64 4 --fill:left=0,0,0,.25:right=.125,.125,.125,.25 64x32 "
           "--fill:color=.5,.5,.5,0 64x32+0+32 -d half -o in.exr");
    output("$PROGRAM in.exr same.exr; oiiotool --diff --fail 0 in.exr same.exr");
    const Result moved = run("$PROGRAM in.exr lighter.exr --channel-lightness 50");
    EXPECT_EQ(moved.status, 0) << moved.errors;
    EXPECT_THAT(moved.errors, HasSubstr("light that covers nothing"));
    // Half way to white, which is the alpha in associated colours.
    output("oiiotool in.exr --cut 64x32+0+0 --mulc .5,.5,.5,1 --addc .125,.125,.125,0 -o "
           "expected.exr; oiiotool lighter.exr --cut 64x32+0+0 -o found.exr; "
           "oiiotool --diff --fail .0002 expected.exr found.exr");
}

} // namespace
