// The program as its users meet it: run as a child process, looked at from outside.

#include "Host/Media/Picture.h"
#include "Tests/Host/ProgramTest.h"

#include <algorithm>
#include <cstring>

using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class CommandLineTest : public ProgramTest {
protected:
    CommandLineTest() {
        Picture picture{World(20, 10), {}};
        for (int y = 0; y < 10; ++y) {
            for (int x = 0; x < 80; ++x) {
                picture.world.row(y)[x] = static_cast<std::uint8_t>(x % 4 == 0 ? 255 : 10 + x);
            }
        }
        writePicture(path("in.png"), picture);
        std::ofstream(path("kept.png")) << "kept";
        std::ofstream(path("text.png")) << "no picture";
        fs::create_directory(path("folder.png"));
    }

    // Nothing but what the fixture made is there, and that is as it was.
    void expectUntouched() const {
        EXPECT_EQ(contents(path("kept.png")), "kept");
        EXPECT_EQ(files().size(), 4);
    }
};

TEST_F(CommandLineTest, EveryMistakeHasItsLineAndStatus) {
    struct Case {
        const char* arguments;
        int status;
        const char* message; // the end of the line
    };
    const Case cases[] = {
        {"", 2, "INPUT and OUTPUT are missing; --help tells more"},
        {"in.png", 2, "OUTPUT is missing; --help tells more"},
        {"in.png kept.png more", 2, "one argument too many; an INPUT and an OUTPUT are taken"},
        {"--shift-distnce 3 in.png kept.png", 2, "did you mean '--shift-distance'?"},
        {"--channel-sc 3 in.png kept.png", 2, "did you mean '--channel-scale'?"},
        {"--frobnicate in.png kept.png", 2, "unknown option '--frobnicate'; --help lists them all"},
        {"--about --about=3", 2, "--about takes no value"},
        {"in.png kept.png --shift-angle", 2, "--shift-angle takes a value: DEGREES"},
        {"in.png kept.png --shift-angle 32768", 2,
         "takes a number from -32768 up to, not including, 32768, in degrees, not '32768'"},
        {"in.png kept.png --shift-distance nan", 2, "in pixels, not 'nan'"},
        {"in.png kept.png --shift-distance 1000.01", 2, "in pixels, not '1000.01'"},
        {"in.png kept.png --shift-distance 1,2", 2, "in pixels, not '1,2'"},
        {"in.png kept.png --shift-distance=", 2, "--shift-distance takes a value: PIXELS"},
        {"in.png kept.png --channel-order RGV", 2, "not 'RGV'; did you mean 'RGB'?"},
        {"in.png kept.png --channel-order 7", 2, "RGB, RBG, GRB, GBR, BRG or BGR, not '7'"},
        {"in.png kept.png --channel-scale 1,2", 2, "or one for all, not '1,2'"},
        {"in.png kept.png --channel-scale 1,,2", 2, "or one for all, not '1,,2'"},
        {"in.png kept.png --channel-lightness -101", 2, "or one for all, not '-101'"},
        {"in.png kept.png --downsample 0", 2, "a whole number from 1 to 65536, not '0'"},
        {"in.png kept.png --downsample 1.5", 2, "a whole number from 1 to 65536, not '1.5'"},
        {"in.png kept.gif3", 2,
         "one of .png, .jpg, .jpeg, .tif, .tiff, .webp, .bmp, .tga, .ppm, "
         ".pam, .sgi, .qoi, .mp4, .m4v, .mov, .mkv, .webm, .y4m, .raw, .nut"},
        {"none.png kept.png", 1, "cannot read 'none.png': No such file or directory"},
        {"text.png kept.png", 1, "no picture at all (Invalid PNG signature 0x6E6F207069637475)"},
        {"in.png folder.png", 1, "cannot write 'folder.png': it is a directory"},
        {"in.png folder.png/none/kept.png", 1, "No such file or directory"},
        {"in.png kept.png/kept.png", 1, "Not a directory"},
    };
    for (const Case& row : cases) {
        const Result result = run(std::string("$PROGRAM $FAKE ") + row.arguments);
        EXPECT_EQ(result.status, row.status) << row.arguments;
        EXPECT_EQ(result.output, "") << row.arguments;
        EXPECT_THAT(result.errors, AllOf(StartsWith("prismdrift: error: "),
                                         EndsWith(row.message + std::string("\n"))));
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
        expectUntouched();
    }
}

TEST_F(CommandLineTest, ValuesReachTheEffect) {
    const std::pair<const char*, int> cases[] = {
        {"", 100 + 300},
        {"--channel-order gbr", 400 + 300},
        {"--shift-angle -30", 400 - 30},
        {"--shift-angle -.5 --shift-distance=+.5", 400},
        {"--shift-distance -1e2 --downsample 4", 400 - 25},
        {"--channel-scale '1, 2 ,3' --channel-lightness 5", 100 + 6 + 15},
        {"--channel-lightness -1,-2,-3 --channel-lightness -4,5,6", 400 + 7},
    };
    for (const auto& [options, sum] : cases) {
        const Result result = run(std::string("$PROGRAM $FAKE in.png out.png ") + options);
        EXPECT_EQ(result.status, 0) << options;
        EXPECT_EQ(result.errors + result.output, "");
        EXPECT_EQ(readPicture(path("out.png")).world.row(0)[1], (11 + sum) % 256) << options;
    }
    EXPECT_EQ(run("$PROGRAM $FAKE in.png in.png").status, 0);
    EXPECT_EQ(contents(path("in.png")), run("$PROGRAM $FAKE out.png out.png; cat in.png").output);
}

TEST_F(CommandLineTest, TheEffectsFailureLeavesNoFile) {
    const Result result = run("FAKE_EFFECT_RENDER_RESULT=9 $PROGRAM $FAKE in.png kept.png");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "prismdrift: error: the effect could not render a frame of 20x10 "
                             "pixels: it gave the error 9\n");
    expectUntouched();
}

TEST_F(CommandLineTest, StandardOutputIsTheProgramsOwn) {
    EXPECT_EQ(run("$PROGRAM $FAKE --about").output, "Fake v2\nfor tests\n");
    Result result = run("$PROGRAM $FAKE in.png in.png --verbose");
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("the fake effect renders"));
    for (const char* place : {">/dev/full", ">&-"}) {
        result = run(std::string("$PROGRAM $FAKE --list-parameters ") + place);
        EXPECT_EQ(result.status, 1) << place;
        EXPECT_THAT(result.errors, HasSubstr("cannot write to standard output: "));
    }
    EXPECT_EQ(run("$PROGRAM $FAKE in.png out.png <&- >&- 2>&-").status, 0);
    EXPECT_THAT(run("$PROGRAM $FAKE in.png out.png; $PROGRAM out.png out.jpg").errors, "");
}

TEST_F(CommandLineTest, AWarningCanBeSilenced) {
    Picture picture = readPicture(path("in.png"));
    picture.world.row(3)[4] = 7;
    writePicture(path("clear.png"), picture);
    const Result result = run("$PROGRAM $FAKE clear.png out.jpg");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors,
              "prismdrift: warning: JPEG has no transparency: the alpha of 'out.jpg' is lost\n");
    EXPECT_EQ(run("$PROGRAM $FAKE clear.png out.jpg --quiet").errors, "");
}

TEST_F(CommandLineTest, ThePluginIsFoundBesideAndInAnInstalledTree) {
    fs::create_directories(path("tree/bin"));
    fs::create_directories(path("tree/lib/prismdrift"));
    fs::copy_file(PRISMDRIFT_PROGRAM, path("tree/bin/prismdrift"));
    const std::string own = path("tree/bin/prismdrift").string();
    Result result = run(own + " in.png kept.png");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, AllOf(HasSubstr(path("tree/bin/PrismDrift.so").string()),
                                     HasSubstr(path("tree/lib/prismdrift/PrismDrift.so").string()),
                                     HasSubstr("--plugin FILE")));
    result = run(own + " --help");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("--downsample N"), HasSubstr("options are missing"),
                                     Not(HasSubstr("--shift-angle"))));
    EXPECT_THAT(run(own + " --version").output,
                AllOf(StartsWith("prismdrift "), HasSubstr("no effect: the plug-in was not")));
    for (const char* place : {"tree/lib/prismdrift/PrismDrift.so", "tree/bin/PrismDrift.so"}) {
        fs::copy_file(FAKE_EFFECT_FILE, path(place));
        EXPECT_THAT(run(own + " --version").output, HasSubstr("effect: Fake v2")) << place;
        fs::remove(path(place));
    }
    std::ofstream(path("no.so")) << "no library";
    EXPECT_THAT(run("$PROGRAM --plugin no.so --about").errors,
                HasSubstr("cannot load the plug-in 'no.so'"));
    EXPECT_THAT(run("$PROGRAM --plugin /lib/x86_64-linux-gnu/libm.so.6 --about").errors,
                HasSubstr("has no EntryPointFunc"));
}

TEST_F(CommandLineTest, TheRealEffectPublishesDrawsAndSaysWhyItCannot) {
    EXPECT_EQ(run("$PROGRAM --about").output, "Prism Drift v1.0\nPrism Drift\n");
    const Result list = run("$PROGRAM --list-parameters");
    EXPECT_EQ(std::count(list.output.begin(), list.output.end(), '\n'), 1 + 9);
    EXPECT_THAT(list.output, HasSubstr("--channel-scale      Channel Scale, R Channel      a "
                                       "number from 0 to 200, in percent"));
    const Result help = run("$PROGRAM --help");
    for (const char* option :
         {"--channel-order RGB|RBG|GRB|GBR|BRG|BGR", "--shift-angle DEGREES",
          "--shift-distance PIXELS", "--channel-scale R,G,B", "--channel-lightness R,G,B"}) {
        EXPECT_THAT(help.output, HasSubstr(option));
    }
    Result result = run("$PROGRAM in.png out.png");
    EXPECT_EQ(result.status, 0) << result.errors;
    const World before = readPicture(path("in.png")).world;
    World after = readPicture(path("out.png")).world;
    for (int y = 0; y < before.height(); ++y) {
        EXPECT_EQ(std::memcmp(before.row(y), after.row(y), 80), 0) << "row " << y;
    }
    // Red 4 pixels to the right and blue 4 to the left, round the edge.
    run("$PROGRAM in.png out.png --shift-distance 4 --channel-order RGB");
    after = readPicture(path("out.png")).world;
    for (int x = 0; x < 20; ++x) {
        const auto source = [&](int shift, int channel) {
            return before.row(5)[(x + shift + 20) % 20 * 4 + channel];
        };
        const std::uint8_t* pixel = after.row(5) + x * std::ptrdiff_t{4};
        EXPECT_EQ(pixel[2], source(0, 2)) << x;
        EXPECT_TRUE((pixel[1] == source(4, 1) && pixel[3] == source(-4, 3)) ||
                    (pixel[1] == source(-4, 1) && pixel[3] == source(4, 3)))
            << x;
    }
    fs::remove(path("out.png"));
    fs::create_directory(path("drivers"));
    for (const char* without :
         {"__EGL_VENDOR_LIBRARY_FILENAMES=/dev/null", "__EGL_VENDOR_LIBRARY_DIRS=drivers",
          "MESA_GL_VERSION_OVERRIDE=2.1"}) {
        result = run(std::string(without) + " $PROGRAM in.png out.png");
        EXPECT_EQ(result.status, 1) << without;
        EXPECT_THAT(result.errors,
                    StartsWith("prismdrift: error: no OpenGL 3.3 context could be made: "));
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
        EXPECT_FALSE(fs::exists(path("out.png")));
    }
}

TEST_F(CommandLineTest, TellsWhatItRunsOn) {
    const char* lines = "prismdrift [0-9.]+\n%s\nFFmpeg libraries: libavformat [0-9.]+, libavcodec "
                        "[0-9.]+, libswscale [0-9.]+, libavutil [0-9.]+, under the .*\n%s\n";
    const auto matches = [&](const char* effect, const char* driver) {
        std::string pattern = lines;
        pattern.replace(pattern.find("%s"), 2, effect);
        pattern.replace(pattern.find("%s"), 2, driver);
        return testing::MatchesRegex(pattern);
    };
    EXPECT_THAT(run("$PROGRAM $FAKE --version").output,
                matches("effect: Fake v2", "OpenGL: [0-9.]+.*, on .+, by .+"));
    EXPECT_THAT(run("export __EGL_VENDOR_LIBRARY_FILENAMES=/dev/null; "
                    "$PROGRAM --plugin none.so --version")
                    .output,
                matches("no effect: .*'none.so'.*", "no OpenGL: no EGL driver was found"));
}

TEST_F(CommandLineTest, HelpFitsATerminal) {
    for (const char* command : {"$PROGRAM --help", "$PROGRAM $FAKE --help"}) {
        const std::string help = run(command).output;
        EXPECT_THAT(help, Not(HasSubstr("\n\n\n")));
        std::istringstream lines(help);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80U) << line;
        }
    }
}

} // namespace
