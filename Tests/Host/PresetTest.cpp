// Keyframes and presets through the program.

#include "Host/CommandLine/Preset.h"
#include "Host/Library/Error.h"
#include "Host/Library/HostedEffect.h"
#include "Host/Media/Picture.h"
#include "Tests/Host/ProgramTest.h"

#include <algorithm>

using namespace Vexorel::PrismDrift::CommandLine;
using namespace Vexorel::PrismDrift::Host;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class PresetTest : public ProgramTest {
protected:
    PresetTest() {
        Picture picture{World(16, 8), {}};
        std::fill_n(picture.world.row(0), 16 * 4, std::uint8_t{255});
        for (int x = 0; x < 16; ++x) {
            picture.world.row(0)[x * 4 + 1] = 7; // red, which the effect of the tests adds to
        }
        for (int y = 1; y < 8; ++y) {
            std::copy_n(picture.world.row(0), 16 * 4, picture.world.row(y));
        }
        for (int number = 1; number <= 6; ++number) {
            writePicture(path("in." + std::to_string(number) + ".png"), picture);
        }
    }

    // What the options add to the red of the frames, beside the defaults' 400.
    std::vector<int> added(const std::string& options) const {
        output("rm -f out.*; $PROGRAM $FAKE in.%d.png out.%d.png " + options);
        std::vector<int> sums;
        for (int number = 1; number <= 6; ++number) {
            const auto file = path("out." + std::to_string(number) + ".png");
            if (std::filesystem::exists(file)) {
                sums.push_back((readPicture(file).world.row(0)[1] + 512 - 7 - 400) % 256);
            }
        }
        return sums;
    }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
    }
};

TEST_F(PresetTest, KeyframesReachTheEffectAtEachFrame) {
    const std::string keys = "'0=0; 4~=40; -1|=10;'";
    EXPECT_THAT(added("--shift-distance " + keys), ElementsAre(0, 10, 20, 30, 40, 10));
    // Counted from the start of the input, whatever is rendered of it.
    EXPECT_THAT(added("--shift-distance " + keys + " --frames 4-6x2"), ElementsAre(30, 10));
    EXPECT_THAT(added("--shift-distance '1=0;0:0.2=10' --framerate 10 --shift-angle 2"),
                ElementsAre(2, 2, 12, 12, 12, 12));
    EXPECT_THAT(added("--shift-distance '0s=0;0.2s=10' --framerate 10"),
                ElementsAre(0, 5, 10, 10, 10, 10));
    EXPECT_THAT(added("--channel-scale '0=100;1=120,100,0|=100;-1=80'"),
                ElementsAre(0, 20, 20, 20, 20, 0));
    EXPECT_THAT(added("--channel-lightness '5=1;0=0'"), ElementsAre(0, 0, 1, 1, 2, 3));
}

TEST_F(PresetTest, KeyframeMistakesAreShown) {
    struct Case {
        const char* options;
        int status;
        const char* message;
    };
    const Case cases[] = {
        // Told before a file is opened.
        {"none.png out.png --shift-distance '0=0; 25?=40'", 2,
         "--shift-distance: keyframes need '=', '|=' or '~=' between time and value\n"
         "  0=0; 25?=40\n"
         "         ^\n"},
        {"none.png out.png --preset none.json --channel-scale '1,0=201,3'", 2,
         "--channel-scale: a key takes a number from 0 to 200, not '201'\n"
         "  0=201\n"
         "    ^\n"},
        {"none.png out.png --channel-order 0=GBR", 2, "--channel-order cannot change over time\n"},
        {"in.1.png out.png --shift-angle '0=1;0.001s=2'", 1,
         "Shift Angle: the keys at '0' and '0.001s' are both at frame 0\n"},
        {"in.%d.png out.%d.png --channel-lightness '0=1;-7=2'", 1,
         "Channel Lightness, R Channel: the key at '-7' lies before the start of the clip, which "
         "has 6 frames\n"},
        {"--input-format rawvideo --video-size 2x2 --pixel-format rgba - out.mkv "
         "--shift-angle '0=1;-1s=2'",
         1,
         "Shift Angle: the key at '-1s' counts from the end, which is not known of a pipe: count "
         "from the start\n"},
    };
    const auto before = files();
    for (const Case& row : cases) {
        const Result result =
            run(std::string("head -c 64 /dev/zero | $PROGRAM $FAKE ") + row.options);
        EXPECT_EQ(result.status, row.status) << row.options;
        EXPECT_EQ(result.errors, std::string("prismdrift: error: ") + row.message);
        EXPECT_EQ(files(), before) << row.options;
    }
}

TEST_F(PresetTest, EveryMistakeHasItsLine) {
    const std::string start = R"({"prismdrift": 1, "parameters": {)";
    struct Case {
        std::string text;
        const char* message; // after the file's name
    };
    const Case cases[] = {
        {"", "it is no JSON at line 1, column 1: syntax error while parsing value - unexpected"},
        {"{\n  \"prismdrift\": 1,\n  x", "it is no JSON at line 3, column 3: syntax error"},
        {start + "}} 1", "it is no JSON at line 1, column 37: "},
        {start + "\"Shift Angle\": NaN}}", "it is no JSON at line 1, column 49: "},
        {start + "\"\xFF\": 1}}", "it is no JSON at line 1, column 35: "},
        {start + "\"Shift Angle\": 1e400}}", "\"Shift Angle\" has a number that is too large"},
        {std::string(200000, '['), "it is nested more than 8 deep"},
        {start + "}}" + std::string(1 << 20, ' '), "it is larger than 1 MiB"},
        {"[1]", "it is no preset: it takes an object, not an array"},
        {"{\"prismdrift\": 1}", "it is no preset: the key \"parameters\" is missing"},
        {"{\"parameters\": {}}", "it is no preset: the key \"prismdrift\" is missing"},
        {"{\"prismdrift\": 2, \"parameters\": 5}", "it has version 2, and this program reads ver"},
        {"{\"prismdrift\": \"1\", \"parameters\": {}}", "\"prismdrift\" takes the version 1, not "},
        {"{\"prismdrift\": 1.5, \"parameters\": {}}",
         "\"prismdrift\" takes the version 1, not 1.5"},
        {"{\"prismdrift\": 1, \"parameters\": []}", "\"parameters\" takes an object of the effect"},
        {"{\"prismdrift\": 1, \"paramters\": {}}", "\"paramters\"; did you mean 'parameters'?"},
        {start + "\"Shift Agle\": 1}}", "unknown key \"Shift Agle\"; did you mean 'Shift Angle'?"},
        {start + "\"Blur\": 1}}", "unknown key \"Blur\"; what it takes is \"Channel Order\", \"S"},
        {start + "\"R Channel\": 1}}", "unknown key \"R Channel\"; what it takes is \"Channel Ord"},
        {start + "\"\": 1}}", "unknown key \"\"; what it takes is \"Channel Order\""},
        {start + "\"Shift Angle\": 1, \"Shift Angle\": 1}}", "the key \"Shift Angle\" stands the"},
        {start + "\"Shift Angle\": null}}", ", or keyframes as a string, not null"},
        {start + "\"Shift Angle\": \"30\"}}", ", or keyframes as a string, not \"30\""},
        {start + "\"Shift Angle\": 32768}}",
         "\"Shift Angle\" takes a number from -32768 up to, not including, 32768, or keyframes"},
        {start + "\"Shift Angle\": 5, \"Shift Distance\": \"0=0; 25?=4\"}}",
         "\"Shift Distance\": keyframes need '=', '|=' or '~=' between time and value, at "
         "character "
         "8 of \"0=0; 25?=4\""},
        {start + "\"Shift Distance\": \"0=0;1=1001\"}}",
         "\"Shift Distance\": a key takes a number from -1000 to 1000, not '1001', at character 7"},
        {start + "\"Channel Order\": \"gbr\"}}",
         "\"Channel Order\" takes RGB, RBG, GRB, GBR, BRG or BGR, not \"gbr\"; did you mean 'GBR"},
        {start + "\"Channel Order\": 4}}", "RGB, RBG, GRB, GBR, BRG or BGR, not 4"},
        {start + "\"Channel Order\": \"0=RGB\"}}", "RGB, RBG, GRB, GBR, BRG or BGR, not \"0=RGB\""},
        {start + "\"Channel Scale\": 110}}",
         "\"Channel Scale\" takes an object with \"R Channel\""},
        {start + "\"Channel Scale\": {\"R Chanel\": 1}}}",
         "unknown key \"R Chanel\" in \"Channel Scale\"; did you mean 'R Channel'?"},
        {start + "\"Channel Scale\": {\"R Channel\": -1}}}",
         "\"Channel Scale\", \"R Channel\" takes a number from 0 to 200, or keyframes as a string"},
        {start + "\"Channel Scale\": {\"R Channel\": {}}}}",
         "or keyframes as a string, not an obj"},
    };
    const HostedEffect effect(std::filesystem::path(FAKE_EFFECT_FILE));
    for (const Case& row : cases) {
        write("bad.json", row.text);
        ParameterValues values = effect.defaultValues();
        try {
            loadPreset(path("bad.json"), values);
            ADD_FAILURE() << row.message;
        } catch (const Error& error) {
            const std::string name = "the preset '" + path("bad.json").string() + "': ";
            EXPECT_THAT(error.what(), AllOf(StartsWith(name), HasSubstr(row.message)));
            EXPECT_THAT(error.what(), Not(HasSubstr("\n")));
        }
        EXPECT_EQ(values.constant(2), 0) << row.message;
    }
    const std::pair<const char*, const char*> files[] = {
        {"none.json", "cannot read the preset 'none.json': No such file or directory"},
        {".", "cannot read the preset '.': Is a directory"},
        {"/dev/zero", "the preset '/dev/zero': it is larger than 1 MiB"}};
    for (const auto& [file, message] : files) {
        const Result result =
            run("$PROGRAM $FAKE --save-preset out.json --preset " + std::string(file));
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, std::string("prismdrift: error: ") + message + "\n");
        EXPECT_FALSE(std::filesystem::exists(path("out.json"))) << file;
    }
    const Result alone = run("$PROGRAM $FAKE --preset bad.json");
    EXPECT_EQ(alone.status, 2);
    EXPECT_THAT(alone.errors, HasSubstr("INPUT and OUTPUT are missing"));
}

TEST_F(PresetTest, WhatIsSavedIsReadAgain) {
    output("$PROGRAM $FAKE --save-preset a.json --channel-order GBR --shift-angle -30.1 "
           "--shift-distance ' 0=0; -1s~=1e2 ;' --channel-scale 110,1e-7,'0=5' "
           "--channel-lightness -0.05");
    const std::string saved = R"({
  "prismdrift": 1,
  "parameters": {
    "Channel Order": "GBR",
    "Shift Angle": -30.1,
    "Shift Distance": "0=0; -1s~=1e2 ;",
    "Channel Scale": {
      "R Channel": 110,
      "G Channel": 1e-07,
      "B Channel": "0=5"
    },
    "Channel Lightness": {
      "R Channel": -0.05,
      "G Channel": -0.05,
      "B Channel": -0.05
    }
  }
}
)";
    EXPECT_EQ(contents(path("a.json")), saved);
    output("$PROGRAM $FAKE --preset <(cat a.json) --save-preset b.json");
    EXPECT_EQ(contents(path("b.json")), saved);
    // The page of the documentation shows what the program writes.
    EXPECT_THAT(contents(PRISMDRIFT_ROOT "/Documentation/keyframes.md"),
                HasSubstr("```json\n" +
                          output("$PROGRAM $FAKE --save-preset c.json --channel-order GBR "
                                 "--shift-angle 30 --shift-distance '0=0; 50=120'; cat c.json") +
                          "```"));
    // A link stays one, and what cannot be saved leaves what was there.
    output("ln -s b.json link.json; $PROGRAM $FAKE --save-preset link.json; test -L link.json");
    const std::string defaults = contents(path("b.json"));
    EXPECT_THAT(defaults, HasSubstr("\"Shift Distance\": 0,"));
    EXPECT_EQ(run("$PROGRAM $FAKE --save-preset b.json --shift-angle x").status, 2);
    EXPECT_EQ(run("$PROGRAM $FAKE --save-preset b.json in.1.png out.nope").status, 2);
    EXPECT_EQ(run("$PROGRAM $FAKE --save-preset b.json in.1.png").status, 2);
    EXPECT_EQ(run("$PROGRAM $FAKE --save-preset none/b.json").status, 1);
    EXPECT_EQ(contents(path("b.json")), defaults);
}

TEST_F(PresetTest, TheLineWinsOverThePreset) {
    write("p.json", R"({"parameters": {"Shift Angle": 3, "Shift Distance": "0=0; 5=10",
        "Channel Lightness": {"B Channel": 20}}, "prismdrift": 1})");
    EXPECT_THAT(added("--preset p.json"), ElementsAre(23, 25, 27, 29, 31, 33));
    EXPECT_THAT(added("--preset p.json --shift-distance 1 --save-preset q.json"),
                ElementsAre(24, 24, 24, 24, 24, 24));
    EXPECT_THAT(added("--preset q.json --channel-lightness 0"), ElementsAre(4, 4, 4, 4, 4, 4));
}

TEST_F(PresetTest, ThoseThatComeWithTheProgramAreWholeAndDraw) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(PRISMDRIFT_ROOT "/Presets")) {
        const std::string file = "'" + entry.path().string() + "'";
        output("$PROGRAM --preset " + file + " --save-preset copy.json");
        EXPECT_EQ(contents(path("copy.json")), contents(entry.path())) << file;
        output("$PROGRAM in.%d.png out.%d.png --preset " + file);
        const World drawn = readPicture(path("out.4.png")).world;
        EXPECT_FALSE(
            std::equal(drawn.row(0), drawn.row(0) + 64, readPicture(path("in.4.png")).world.row(0)))
            << file;
        const bool moves = contents(entry.path()).find('=') != std::string::npos;
        EXPECT_EQ(contents(path("out.1.png")) != contents(path("out.4.png")), moves) << file;
        ++count;
    }
    EXPECT_GE(count, 3);
}

} // namespace
