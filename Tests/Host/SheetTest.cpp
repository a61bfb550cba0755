// Contact sheets through the program: the pictures in them compared with what it renders for the
// same values, made smaller here.

#include "Host/Media/Picture.h"
#include "Tests/Host/ProgramTest.h"

#include <cmath>
#include <functional>

using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr int background = 0x24;

struct Box {
    int x, y, width, height;
};

int channelAt(const World& world, int x, int y, int channel) {
    return world.row(y)[x * 4 + channel];
}

bool isBackground(const World& sheet, int x, int y) {
    return channelAt(sheet, x, y, 1) == background && channelAt(sheet, x, y, 2) == background &&
           channelAt(sheet, x, y, 3) == background;
}

// The part of `from` to `to` that index `i` of a row of pixels covers.
double overlap(int i, double from, double to) {
    return std::max(0.0, std::min(i + 1.0, to) - std::max<double>(i, from));
}

// Pixel x, y of the picture at the box's size over the checkerboard, from the definition.
double expectedAt(const World& picture, const Box& box, int x, int y, int channel) {
    const double across = static_cast<double>(picture.width()) / box.width;
    const double down = static_cast<double>(picture.height()) / box.height;
    const double square = (x / 8 + y / 8) % 2 == 0 ? 0x99 : 0x66;
    double sum = 0;
    for (int row = static_cast<int>(y * down); row < picture.height() && row < (y + 1) * down;
         ++row) {
        for (int column = static_cast<int>(x * across);
             column < picture.width() && column < (x + 1) * across; ++column) {
            const double alpha = channelAt(picture, column, row, 0) / 255.0;
            sum += overlap(column, x * across, (x + 1) * across) *
                   overlap(row, y * down, (y + 1) * down) *
                   (alpha * channelAt(picture, column, row, channel) + (1 - alpha) * square);
        }
    }
    return sum / across / down;
}

double meanDifference(const World& sheet, const Box& box, const World& picture, double& largest) {
    double sum = 0;
    largest = 0;
    for (int y = 0; y < box.height; ++y) {
        for (int x = 0; x < box.width; ++x) {
            for (int channel = 1; channel < 4; ++channel) {
                const double difference = std::abs(channelAt(sheet, box.x + x, box.y + y, channel) -
                                                   expectedAt(picture, box, x, y, channel));
                sum += difference;
                largest = std::max(largest, difference);
            }
        }
    }
    return sum / (box.width * box.height * 3);
}

// A picture of 240x120, half of it more or less clear, that no shift maps to itself.
class SheetTest : public ProgramTest {
protected:
    SheetTest() {
        Picture picture{World(240, 120), {}};
        for (int y = 0; y < 120; ++y) {
            for (int x = 0; x < 240; ++x) {
                const int values[] = {x < 120 ? 255 : 2 * x - 225, x * 255 / 239,
                                      (x / 12 + y / 12) % 2 * 200, 255 - (x + y) * 255 / 358};
                for (int i = 0; i < 4; ++i) {
                    picture.world.row(y)[x * 4 + i] = static_cast<std::uint8_t>(values[i]);
                }
            }
        }
        writePicture(path("in.png"), picture);
    }

    World picture(const std::string& name) const {
        return std::move(readPicture(path(name)).world);
    }

    World sheet(const std::string& options) const {
        EXPECT_EQ(output("$PROGRAM sheet " + options + " 2>&1"), "");
        return picture("sheet.png");
    }

    // The picture that the program renders with these options; the input for an empty text.
    World rendered(const std::string& options, const std::string& input = "in.png") const {
        if (options.empty()) {
            return picture(input);
        }
        output("$PROGRAM " + input + " rendered.png " + options);
        return picture("rendered.png");
    }

    // Where the sheet's pictures are, row by row: areas of this size amid the background, with the
    // first corner found by looking and the steps as they repeat.
    static std::vector<Box> boxes(const World& sheet, int count, int columns, int width,
                                  int height) {
        std::vector<int> rows;
        const int left = 22; // twice the smallest font
        for (int y = 0; y < sheet.height(); ++y) {
            bool filled = true;
            for (int x = left; x < left + width; ++x) {
                filled = filled && !isBackground(sheet, x, y);
            }
            if (filled && (rows.empty() || y >= rows.back() + height)) {
                rows.push_back(y);
            }
        }
        EXPECT_EQ(static_cast<int>(rows.size()), (count + columns - 1) / columns);
        const int step = (sheet.width() - 2 * left - width) / std::max(1, columns - 1);
        std::vector<Box> found;
        for (int i = 0; i < count; ++i) {
            const auto row = static_cast<std::size_t>(i / columns);
            found.push_back(
                {left + i % columns * step, row < rows.size() ? rows[row] : 0, width, height});
        }
        return found;
    }

    // What differs from the background beneath a picture, down to the next one: its label.
    static std::vector<int> label(const World& sheet, const Box& box) {
        std::vector<int> ink;
        for (int y = box.y + box.height; y < std::min(sheet.height(), box.y + box.height + 40);
             ++y) {
            for (int x = box.x; x < box.x + box.width; ++x) {
                ink.push_back(channelAt(sheet, x, y, 1) - background);
            }
        }
        return ink;
    }

    // Each cell is the picture of its options and of no others', and labels differ as options do.
    void expectCells(const World& sheet, const std::vector<Box>& cells,
                     const std::vector<std::string>& options,
                     const std::string& input = "in.png") const {
        ASSERT_EQ(cells.size(), options.size());
        std::vector<World> pictures;
        for (const std::string& each : options) {
            pictures.push_back(rendered(each, input));
        }
        for (std::size_t i = 0; i < cells.size(); ++i) {
            for (std::size_t j = 0; j < cells.size(); ++j) {
                double largest = 0;
                const double mean = meanDifference(sheet, cells[i], pictures[j], largest);
                if (i == j) {
                    EXPECT_LT(largest, 2.0) << "cell " << i;
                } else {
                    EXPECT_GT(mean, 1.0) << "cell " << i << " and picture " << j;
                    EXPECT_NE(label(sheet, cells[i]), label(sheet, cells[j])) << i << " " << j;
                }
            }
            const std::vector<int> ink = label(sheet, cells[i]);
            EXPECT_GT(*std::max_element(ink.begin(), ink.end()), 150) << "cell " << i;
            // Anti-aliased: shades between the background and the letters.
            EXPECT_GT(std::count_if(ink.begin(), ink.end(),
                                    [](int shade) { return shade > 20 && shade < 140; }),
                      20);
        }
    }
};

TEST_F(SheetTest, ShowsTheOriginalAndAllOrdersAtADistanceThatShows) {
    const std::string distance = " --shift-distance 10"; // 4 % of 240, rounded
    std::vector<std::string> options = {""};
    for (const char* order : {"RGB", "RBG", "GRB", "GBR", "BRG", "BGR"}) {
        options.push_back(std::string("--channel-order ") + order + distance);
    }
    const World chosen = sheet("in.png sheet.png --cell-width 100");
    expectCells(chosen, boxes(chosen, 7, 4, 100, 50), options);
    // A given distance of 7 stands, with the other options.
    for (std::size_t i = 1; i < options.size(); ++i) {
        options[i].replace(options[i].find(distance), distance.size(),
                           " --shift-distance 7 --shift-angle 90");
    }
    const World given =
        sheet("in.png sheet.png --cell-width 100 --columns 3 --shift-distance 7 --shift-angle 90");
    expectCells(given, boxes(given, 7, 3, 100, 50), options);
}

TEST_F(SheetTest, VariesOneOptionAGroupOrTwo) {
    const World one =
        sheet("in.png sheet.png --cell-width 130 --vary shift-distance=-20,5,10,20.5 --columns 2 "
              "--channel-order BRG");
    const std::string order = "--channel-order BRG --shift-distance ";
    expectCells(one, boxes(one, 4, 2, 130, 65),
                {order + "-20", order + "5", order + "10", order + "20.5"});

    const World group = sheet("in.png sheet.png --cell-width 240 --vary "
                              "--channel-lightness=10,40:0:-40,-30");
    expectCells(
        group, boxes(group, 3, 3, 240, 120),
        {"--channel-lightness 10", "--channel-lightness 40,0,-40", "--channel-lightness -30"});

    const World grid = sheet("in.png sheet.png --cell-width 100 --vary shift-angle=0,90 "
                             "--vary shift-distance=10,25,40 --channel-scale 90");
    std::vector<std::string> options;
    for (const char* angle : {"0", "90"}) {
        for (const char* distance : {"10", "25", "40"}) {
            options.push_back(std::string("--channel-scale 90 --shift-angle ") + angle +
                              " --shift-distance " + distance);
        }
    }
    expectCells(grid, boxes(grid, 6, 3, 100, 50), options);
}

TEST_F(SheetTest, ShowsTheNamedFrameOfAClipWithItsKeyframesAndPreset) {
    output("ffmpeg -v error -nostdin -f lavfi -i testsrc2=s=240x120:r=10 -frames:v 9 -c:v ffv1 "
           "-pix_fmt bgr0 clip.mkv && $PROGRAM --save-preset look.json --shift-distance 30 "
           "--shift-angle 90");
    output("ffmpeg -v error -nostdin -i clip.mkv -start_number 0 -pix_fmt rgb24 frame%d.png");
    const World first = sheet("clip.mkv sheet.png --cell-width 100 --vary shift-distance=0,20");
    expectCells(first, boxes(first, 2, 2, 100, 50), {"", "--shift-distance 20"}, "frame0.png");
    const World sixth = sheet("clip.mkv sheet.png --cell-width 100 --frames 6 --preset look.json "
                              "--vary 'channel-scale=100,0=100;-2=70'");
    const std::string look = "--preset look.json --channel-scale ";
    // The last but one of nine frames is number 7.
    expectCells(sixth, boxes(sixth, 2, 2, 100, 50), {look + "100", look + "74.285714286"},
                "frame6.png");
}

TEST_F(SheetTest, AFileNamedSheetIsAnInputAndHelpTellsOfBoth) {
    fs::copy_file(path("in.png"), path("sheet"));
    output("$PROGRAM ./sheet out.png --shift-distance 5 && $PROGRAM sheet ./sheet small.jpg");
    EXPECT_EQ(picture("out.png").width(), 240);
    EXPECT_GT(picture("small.jpg").width(), 4 * 240);
    EXPECT_THAT(output("$PROGRAM --help"), HasSubstr("prismdrift sheet [options] INPUT OUTPUT"));
    const std::string help = output("$PROGRAM sheet --help");
    for (const char* option : {"--vary OPTION=VALUE,...", "--columns N", "--cell-width PIXELS",
                               "--frames N", "--channel-scale R,G,B", "--preset FILE"}) {
        EXPECT_THAT(help, HasSubstr(option));
    }
    EXPECT_THAT(help, testing::Not(HasSubstr("--codec")));
}

TEST_F(SheetTest, EveryMistakeHasItsLineAndLeavesNoFile) {
    fs::create_directory(path("fonts"));
    std::ofstream(path("none.conf"))
        << "<fontconfig><dir>" << path("fonts").string() << "</dir><cachedir>"
        << path("fonts").string() << "</cachedir></fontconfig>";
    struct Case {
        const char* arguments;
        int status;
        const char* message; // a part of the line
    };
    const Case cases[] = {
        {"in.png", 2, "OUTPUT is missing"},
        {"in.png out.mp4", 2, "a sheet is a picture, so that its name must end in one of .png, "},
        {"in.png -", 2, "cannot write '-'"},
        {"in.png out.png --vray shift-angle=1", 2, "did you mean '--vary'?"},
        {"in.png out.png --codec h264", 2, "unknown option '--codec'"},
        {"in.png out.png --vary shift", 2, "such as shift-distance=0,10,20, not 'shift'"},
        {"in.png out.png --vary shift-angel=1", 2, "'shift-angel'; did you mean 'shift-angle'?"},
        {"in.png out.png --vary blur=1", 2, "there are channel-order, shift-angle"},
        {"in.png out.png --vary shift-distance=0,,1", 2, "--shift-distance takes a number"},
        {"in.png out.png --vary shift-distance=0,1001", 2, "in pixels, not '1001'"},
        {"in.png out.png --vary channel-scale=1:2", 2, "R,G,B, each a number from 0 to 200"},
        {"in.png out.png --vary channel-order=RGB,RGV", 2, "did you mean 'RGB'?"},
        {"in.png out.png --vary shift-angle=1 --vary shift-angle=2", 2, "--shift-angle twice"},
        {"in.png out.png --vary shift-angle=1 --vary shift-distance=2 --vary channel-scale=3", 2,
         "--vary is taken at most twice"},
        {"in.png out.png --vary shift-angle=1 --vary shift-distance=2 --columns 2", 2,
         "the second --vary makes the columns"},
        {"in.png out.png --vary shift-angle=1 --shift-angle 3", 2, "beside --vary of the same"},
        {"in.png out.png --channel-order RGB", 2, "a sheet shows all values of"},
        {"in.png out.png --columns 0", 2, "a whole number from 1 to 500, not '0'"},
        {"in.png out.png --cell-width 95.5", 2, "from 96 to 8192, not '95.5'"},
        {"in.png out.png --frames 1-3", 2, "--frames takes the number of one frame here"},
        {"in.png out.png --frames 3", 1, "there is no frame 3"},
        {"in.png out.png --vary shift-distance=$(seq -s, 501)", 2, "501 cells"},
        {"in.png out.png --vary shift-distance=$(seq -s, 500) --columns 400", 1,
         "pixels is too large: the limit is 65535 a side"},
        {"in.png out.webp --vary shift-distance=$(seq -s, 90) --columns 90", 1,
         "WebP takes at most 16383 pixels a side"},
        {"none.png out.png", 1, "cannot read 'none.png'"},
        {"in.png none/out.png", 1, "No such file or directory"},
    };
    for (const Case& row : cases) {
        const Result result = run(std::string("$PROGRAM sheet ") + row.arguments);
        EXPECT_EQ(result.status, row.status) << row.arguments;
        EXPECT_THAT(result.errors, AllOf(StartsWith("prismdrift: error: "), HasSubstr(row.message),
                                         EndsWith("\n")));
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    }
    Result result = run("FONTCONFIG_FILE=$PWD/none.conf $PROGRAM sheet in.png out.png");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("there is no font to label pictures with; install one"));
    result = run("FAKE_EFFECT_RENDER_RESULT=9 $PROGRAM sheet $FAKE in.png out.png");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("it gave the error 9"));
    fs::remove_all(path("fonts"));
    EXPECT_THAT(files(), testing::ElementsAre("in.png", "none.conf"));
}

} // namespace
