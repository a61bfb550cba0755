// Keyframes and presets through the program.

#include "Host/Media/Picture.h"
#include "Tests/Host/ProgramTest.h"

#include <algorithm>

using namespace Vexorel::PrismDrift::Host;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class PresetTest : public ProgramTest {
protected:
    PresetTest() {
        Picture picture{World(16, 8), {}};
        for (int i = 0; i < 16 * 8; ++i) {
            std::uint8_t* pixel = picture.world.row(i / 16) + i % 16 * std::ptrdiff_t{4};
            pixel[0] = 255;
            pixel[1] = 7; // red, which the effect of the tests adds to
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

TEST_F(PresetTest, WhatIsSavedIsReadAgain) {
    output("$PROGRAM $FAKE --save-preset a.json --channel-order GBR --shift-angle -30.1 "
           "--shift-distance ' 0=0; -1s~=1e2 ;' --channel-scale 110,1e-7,'0=5' "
           "--channel-lightness -0.05");
    const std::string saved = contents(path("a.json"));
    for (const char* line :
         {"\"Channel Order\": \"GBR\"", "\"Shift Angle\": -30.1", "\"0=0; -1s~=1e2 ;\"",
          "\"R Channel\": 110", "\"G Channel\": 1e-07", "\"B Channel\": \"0=5\""}) {
        EXPECT_THAT(saved, HasSubstr(line));
    }
    output("$PROGRAM $FAKE --preset <(cat a.json) --save-preset b.json");
    EXPECT_EQ(contents(path("b.json")), saved);
    // The page of the documentation shows what the program writes.
    EXPECT_THAT(contents(PRISMDRIFT_ROOT "/Documentation/keyframes.md"),
                HasSubstr("```json\n" +
                          output("$PROGRAM $FAKE --save-preset c.json --channel-order GBR "
                                 "--shift-angle 30 --shift-distance '0=0; 50=120'; cat c.json") +
                          "```"));
    // A link stays one.
    output("ln -s b.json link.json; $PROGRAM $FAKE --save-preset link.json; test -L link.json");
    EXPECT_THAT(contents(path("b.json")), HasSubstr("\"Shift Distance\": 0,"));
}

TEST_F(PresetTest, OptionsOverrideThePreset) {
    std::ofstream(path("p.json"))
        << R"({"parameters": {"Shift Angle": 3, "Shift Distance": "0=0; 5=10",
        "Channel Lightness": {"B Channel": 20}}, "prismdrift": 1})";
    EXPECT_THAT(added("--preset p.json"), ElementsAre(23, 25, 27, 29, 31, 33));
    EXPECT_THAT(added("--preset p.json --shift-distance 1 --save-preset q.json"),
                ElementsAre(24, 24, 24, 24, 24, 24));
    EXPECT_THAT(added("--preset q.json --channel-lightness 0"), ElementsAre(4, 4, 4, 4, 4, 4));
}

using PresetDrawing = WithRenderer<PresetTest>;
INSTANTIATE_TEST_SUITE_P(With, PresetDrawing, eachRenderer);

TEST_P(PresetDrawing, ThoseThatComeWithTheProgramAreWholeAndDraw) {
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
