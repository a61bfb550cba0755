// The program as its users meet it: run as a child process, looked at from outside.

#include "Host/Media/Picture.h"
#include "Tests/Host/ProgramTest.h"

#include <algorithm>
#include <cstring>

using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
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
    }
};

using CommandLineDrawing = WithRenderer<CommandLineTest>;
INSTANTIATE_TEST_SUITE_P(With, CommandLineDrawing, eachRenderer);

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
    output("$PROGRAM $FAKE in.png -- --out.png && mv ./--out.png out.png && $PROGRAM $FAKE in.png "
           "in.png && cmp in.png out.png");
}

TEST_F(CommandLineTest, StandardOutputIsTheProgramsOwn) {
    EXPECT_EQ(output("$PROGRAM $FAKE --about"), "Fake v2\nfor tests\n");
    std::ofstream(path("script.js")) << "var text = '\\n Привет 😀 \\t';\ntext";
    EXPECT_EQ(output("$PROGRAM --plugin none.so --script=script.js"), "Привет 😀\n");
    Result result = run("$PROGRAM $FAKE in.png in.png --verbose");
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("the fake effect renders"));
    EXPECT_EQ(run("$PROGRAM $FAKE in.png out.png <&- >&- 2>&-").status, 0);
    EXPECT_EQ(run("$PROGRAM $FAKE in.png out.png; $PROGRAM out.png out.jpg").errors, "");
    result = run("FAKE_EFFECT_RENDER_RESULT=9 $PROGRAM $FAKE in.png new.png");
    EXPECT_EQ(result.errors, "prismdrift: error: the effect could not render a frame of 20x10 "
                             "pixels: it gave the error 9\n");
    EXPECT_TRUE(result.status == 1 && !fs::exists(path("new.png")));
}

TEST_F(CommandLineTest, ThePluginIsFoundBesideAndInAnInstalledTree) {
    fs::create_directories(path("tree/bin"));
    fs::create_directories(path("tree/lib/prismdrift"));
    fs::copy_file(PRISMDRIFT_PROGRAM, path("tree/bin/prismdrift"));
    const std::string own = path("tree/bin/prismdrift").string();
    Result result = run(own + " in.png out.png");
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
}

TEST_F(CommandLineTest, TheLibrariesOfPicturesAreLoadedWhenAPictureIs) {
    fs::create_directories(path("tree/bin"));
    fs::create_directories(path("tree/lib/prismdrift"));
    fs::copy_file(PRISMDRIFT_PROGRAM, path("tree/bin/prismdrift"));
    const std::string own = path("tree/bin/prismdrift").string();
    std::ofstream(path("script.js")) << "1";
    for (const char* line : {" --help", " --script script.js", " $FAKE --list-parameters",
                             " $FAKE --about", " $FAKE --save-preset -"}) {
        EXPECT_EQ(run(own + line).errors, "") << line;
    }
    EXPECT_THAT(run(own + " --version").output, HasSubstr("no FFmpeg libraries: the module"));
    const fs::path module = path("tree/lib/prismdrift/prismdrift_media.so");
    for (const char* line : {" $FAKE in.png out.png", " $FAKE --about --input-format none"}) {
        const Result result = run(own + line);
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, AllOf(HasSubstr("the module for pictures and video was not"),
                                         HasSubstr(module.string())));
    }
    std::ofstream(module) << "no module";
    EXPECT_THAT(run(own + " $FAKE in.png out.png").errors,
                AllOf(HasSubstr("cannot load the module"), HasSubstr(module.string())));
    fs::remove(module);
    fs::copy_file(fs::path(PRISMDRIFT_PROGRAM).replace_filename("prismdrift_media.so"), module);
    EXPECT_EQ(run(own + " $FAKE in.png out.png").status, 0);
}

TEST_F(CommandLineTest, TheRealEffectPublishes) {
    EXPECT_EQ(run("$PROGRAM --about").output, "Prism Drift v1.0\nPrism Drift\n");
    const Result list = run("$PROGRAM --list-parameters");
    EXPECT_EQ(std::count(list.output.begin(), list.output.end(), '\n'), 1 + 9);
    EXPECT_THAT(list.output, HasSubstr("--channel-scale      Channel Scale, R Channel      a "
                                       "number from 0 to 200, in percent"));
}

TEST_P(CommandLineDrawing, MovesTheChannelsOrNothing) {
    output("$PROGRAM in.png out.png");
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
}

// Takes the driver away in three ways.
TEST_F(CommandLineTest, WithoutADriverSoftwareDraws) {
    output("$PROGRAM in.png wanted.png --renderer software --shift-distance 3");
    fs::create_directory(path("drivers"));
    for (const char* without :
         {"__EGL_VENDOR_LIBRARY_FILENAMES=/dev/null", "__EGL_VENDOR_LIBRARY_DIRS=drivers",
          "MESA_GL_VERSION_OVERRIDE=2.1"}) {
        for (const char* arguments : {"in.png out.png", "in.png out.mkv", "sheet in.png out.png"}) {
            const std::string command = "export " + std::string(without) + "; $PROGRAM " +
                                        arguments + " --shift-distance 3";
            const Result result = run(command + " --renderer gl");
            EXPECT_EQ(result.status, 1) << command;
            EXPECT_THAT(result.errors,
                        StartsWith("prismdrift: error: no OpenGL 3.3 context could be made: "));
            EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
            EXPECT_FALSE(fs::exists(path("out.png")) || fs::exists(path("out.mkv"))) << command;
            EXPECT_EQ(output(command), "");
            output(arguments == std::string("in.png out.png") ? "cmp out.png wanted.png; rm out.png"
                                                              : "rm out.*");
        }
    }
}

TEST_F(CommandLineTest, NoOptionOfTheEffectIsShadowed) {
    const std::pair<const char*, const char*> cases[] = {{"Quiet", "--effect-quiet"},
                                                         {"VARY", "--effect-vary"},
                                                         {"shift angle", "--effect-shift-angle"},
                                                         {"%", "--parameter"}};
    for (const auto& [name, option] : cases) {
        const Result list =
            run("export FAKE_EFFECT_PARAMETER='" + std::string(name) +
                "'; $PROGRAM $FAKE --list-parameters; $PROGRAM $FAKE --help "
                ">help && $PROGRAM $FAKE " +
                option + " 8 --save-preset - | $PROGRAM $FAKE --preset - --save-preset -");
        EXPECT_THAT(list.output, HasSubstr("\": 8,")) << list.errors;
        EXPECT_THAT(list.output, HasSubstr("\n" + std::string(option) + " "));
    }
}

TEST_F(CommandLineTest, TellsWhatItRunsOn) {
    const std::string libraries = "\nFFmpeg libraries: libavformat [0-9.]+, libavcodec [0-9.]+, "
                                  "libswscale [0-9.]+, libavutil [0-9.]+, under the .*\n";
    EXPECT_THAT(output("$PROGRAM $FAKE --version"),
                MatchesRegex("prismdrift [0-9.]+\neffect: Fake v2" + libraries +
                             "renderer: gl, since --plugin asks for it; OpenGL [0-9.]+.*, on .+, "
                             "by .+\n"));
    EXPECT_THAT(
        output("__EGL_VENDOR_LIBRARY_FILENAMES=/dev/null $PROGRAM --plugin none.so --version"),
        MatchesRegex("prismdrift [0-9.]+\nno effect: .*'none.so'.*" + libraries +
                     "renderer: gl, .*; no OpenGL: no EGL driver was found\n"));
    EXPECT_THAT(output("$PROGRAM --renderer no --version"),
                HasSubstr("renderer: --renderer takes auto, gl or software, not 'no'\n"));
}

// What draws, by what EGL lists and what OpenGL draws with, and whether EGL is started for that.
TEST_F(CommandLineTest, ChoosesTheRenderer) {
    const std::string listed = "FAKE_NODE=/dev/null ";
    const std::string hardware = listed + "FAKE_DRIVER=Some\\ Card ";
    struct Row {
        std::string environment, options, line;
        bool startsEgl;
    };
    const Row rows[] = {
        {"", "", "software, since EGL lists no graphics hardware; drawn with .*", false},
        {"PRISMDRIFT_RENDERER=gl ", "", "gl, since PRISMDRIFT_RENDERER asks for it; OpenGL [^;]*",
         true},
        {"PRISMDRIFT_RENDERER=gl ", "--renderer auto", "software, since EGL .*", false},
        {"PRISMDRIFT_RENDERER=no ", "--renderer gl", "gl, since --renderer asks for it; .*", true},
        {hardware, "--renderer software", "software, since --renderer asks for it; .*", false},
        {hardware, "",
         "gl, since graphics hardware draws; OpenGL .*, on Some Card, by .*; more than 8 bits a "
         "channel in software, with .*",
         true},
        {listed + "FAKE_DRIVER=LLVMpipe ", "",
         "software, since the OpenGL driver draws in software, too: LLVMpipe; .*", true},
        {listed + "MESA_GL_VERSION_OVERRIDE=2.1 ", "",
         "software, since no OpenGL 3.3 context could be made: .*", true},
        {"FAKE_NODE=$PWD/no FAKE_DRIVER=Some\\ Card ", "",
         "software, since the graphics device '.*/no' can't be opened: No such file .*", false},
        {"FAKE_NODE=$PWD/no FAKE_EXTENSIONS=EGL_NV_device_cuda FAKE_DRIVER=Some\\ Card ", "",
         "gl, since graphics hardware draws; OpenGL .*", true},
        {hardware + "LIBGL_ALWAYS_SOFTWARE=true ", "",
         "software, since LIBGL_ALWAYS_SOFTWARE asks for software; .*", false},
    };
    for (const auto& [environment, options, line, startsEgl] : rows) {
        const std::string program = "$DEVICES " + environment + "$PROGRAM " + options;
        const Result version = run(program + " --version 2>errors");
        const Result drawn = run(program + " --verbose in.png out.png");
        EXPECT_EQ(drawn.status, 0) << environment << drawn.errors;
        const std::string last = version.output.substr(version.output.rfind("\nrenderer: ") + 1);
        EXPECT_THAT(last, MatchesRegex("renderer: " + line + "\n")) << environment;
        EXPECT_THAT(drawn.errors, HasSubstr("prismdrift: " + last)) << environment;
        EXPECT_EQ(!contents(path("errors")).empty(), startsEgl) << environment;
        EXPECT_EQ(drawn.errors.find("EGL is started") != std::string::npos, startsEgl);
    }
    EXPECT_EQ(run("PRISMDRIFT_RENDERER=no $PROGRAM in.png out.png").errors,
              "prismdrift: error: PRISMDRIFT_RENDERER takes auto, gl or software, not 'no'\n");
    EXPECT_EQ(run("PRISMDRIFT_RENDERER=software $PROGRAM $FAKE in.png out.png").status, 0);
}

TEST_F(CommandLineTest, HelpFitsATerminalAndNamesWhatEachCommandTakes) {
    const std::string both[] = {"--channel-order RGB|RBG|GRB|GBR|BRG|BGR", "--preset FILE",
                                "--shift-distance PIXELS"};
    for (const char* command :
         {"$PROGRAM --help --nonsense", "$PROGRAM $FAKE sheet --help", "$PROGRAM sheet -h"}) {
        const std::string help = output(command);
        const bool isSheet = help.find("--vary OPTION=VALUE,...") != std::string::npos;
        EXPECT_EQ(isSheet, command == std::string("$PROGRAM sheet -h"));
        EXPECT_EQ(help.find("--codec NAME") == std::string::npos, isSheet);
        EXPECT_THAT(help,
                    AllOf(HasSubstr(both[0]), HasSubstr(both[1]), HasSubstr(both[2]),
                          HasSubstr(isSheet ? "--frames N" : "--frames RANGE"),
                          HasSubstr("or keyframes, or one for all"), Not(HasSubstr("\n\n\n"))));
        std::istringstream lines(help);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(line.size(), 80U) << line;
        }
    }
}

} // namespace
