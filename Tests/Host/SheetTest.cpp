// Contact sheets: the layout's places and pixels from their definition, and the program's sheets
// beside the same layout filled with pictures that it renders one by one.

#include "Host/CommandLine/Sheet/SheetLayout.h"
#include "Host/Library/Text.h"
#include "Host/Media/Picture.h"
#include "Tests/Host/ErrorOf.h"
#include "Tests/Host/ProgramTest.h"

#include <set>

using namespace Vexorel::PrismDrift::CommandLine;
using namespace Vexorel::PrismDrift::Host;
using testing::HasSubstr;

namespace {

// Half of it more or less transparent; no shift maps it to itself.
World testPicture() {
    World world(240, 120);
    for (int y = 0; y < 120; ++y) {
        for (int x = 0; x < 240; ++x) {
            const int values[] = {x < 120 ? 255 : 2 * x - 225, x * 255 / 239,
                                  (x / 12 + y / 12) % 2 * 200, 255 - (x + y) * 255 / 358};
            std::copy(values, values + 4, world.row(y) + x * std::ptrdiff_t{4});
        }
    }
    return world;
}

// The mean over the 2.4 x 2.4 pixels of the picture that a pixel at x, y of the reduced one stands
// for, laid over a square of the checkerboard.
double meanOver(const World& picture, int x, int y, int channel) {
    const double square = (x / 8 + y / 8) % 2 == 0 ? 0x99 : 0x66;
    double sum = 0;
    for (int i = 0; i < 12 * 12; ++i) { // in fifths of a pixel
        const std::uint8_t* pixel =
            picture.row((y * 12 + i / 12) / 5) + (x * 12 + i % 12) / 5 * std::ptrdiff_t{4};
        sum += square + pixel[0] / 255.0 * (pixel[channel] - square);
    }
    return sum / (12 * 12);
}

TEST(SheetLayout, PlacesPicturesOfOneSizeInRows) {
    const SheetText text{"title", "subtitle", std::vector<std::string>(5, "label")};
    const SheetLayout layout(text, 240, 120, 100, 2);
    const Area first = layout.picture(0), second = layout.picture(1), last = layout.picture(4);
    EXPECT_TRUE(first.width == 100 && first.height == 50 && first.x == 22);
    EXPECT_TRUE(second.x == 22 + 100 + 16 && second.y == first.y && last.x == first.x);
    EXPECT_EQ(layout.width(), second.x + 100 + 22);
    const int step = layout.picture(2).y - first.y;
    EXPECT_TRUE(step > 50 + 11 + 16 && last.y == first.y + 2 * step);
    EXPECT_EQ(layout.height(), last.y + step - 16 + 22);
    const Area high = SheetLayout(text, 100, 1000, 100, 5).picture(0);
    EXPECT_TRUE(high.width == 20 && high.height == 200 && high.x == 22 + 40);
    EXPECT_EQ(SheetLayout(text, 50, 10, 100, 5).picture(0).width, 50); // not enlarged
    const std::pair<int, int> columns[] = {{1, 1}, {3, 3}, {4, 2}, {5, 5}, {7, 4}, {37, 7}};
    for (const auto& [cells, expected] : columns) {
        EXPECT_EQ(defaultColumns(cells), expected) << cells;
    }
    EXPECT_THAT(errorOf([&] { SheetLayout(text, 8192, 8192, 8192, 5); }),
                HasSubstr("is too large: the limit is 65535 a side and 200 million in all"));
}

TEST(SheetLayout, DrawsReducedPicturesAndSmoothLabels) {
    const World picture = testPicture();
    const SheetLayout layout({"title", "subtitle", {"one", "two"}}, 240, 120, 100, 2);
    World sheet = layout.emptySheet();
    layout.draw(sheet, 1, picture);
    const Area area = layout.picture(1);
    for (int i = 0; i < 100 * 50 * 3; ++i) {
        const int x = i / 3 % 100, y = i / 300, channel = i % 3 + 1;
        ASSERT_NEAR(sheet.row(area.y + y)[(area.x + x) * 4 + channel],
                    meanOver(picture, x, y, channel), 2.0);
    }
    std::set<int> titleShades;
    for (int i = 0; i < area.y * sheet.width(); ++i) {
        titleShades.insert(sheet.row(i / sheet.width())[i % sheet.width() * 4 + 1]);
    }
    EXPECT_TRUE(titleShades.count(0xF4) == 1 && titleShades.count(0xA8) == 1);
    std::vector<int> labels[2];
    for (int y = area.y + area.height; y < sheet.height(); ++y) {
        for (int x = 0; x < 2 * 100; ++x) {
            labels[x / 100].push_back(sheet.row(y)[(layout.picture(x / 100).x + x % 100) * 4 + 1]);
        }
    }
    EXPECT_EQ(*std::max_element(labels[0].begin(), labels[0].end()), 0xDC);
    EXPECT_TRUE(std::set(labels[0].begin(), labels[0].end()).size() > 10 && labels[0] != labels[1]);
}

class SheetTest : public ProgramTest {
protected:
    SheetTest() {
        std::string profile(128, 'x');
        profile.replace(16, 4, "RGB ");
        writePicture(path("in.png"), {testPicture(), {profile.begin(), profile.end()}});
    }

    // The cells' labels name the options, beside `options`, that the input is rendered with.
    void expectSheet(const std::string& input, const std::string& options, const std::string& own,
                     int columns, const SheetText& text) const {
        EXPECT_EQ(output("$PROGRAM sheet --cell-width 100 " + input +
                         " sheet.png --progress none " + own + options + " 2>&1"),
                  "");
        const SheetLayout layout(text, 240, 120, 100, columns);
        Picture expected{layout.emptySheet(), {}};
        int cell = 0;
        for (const std::string& label : text.labels) {
            std::string command = "$PROGRAM " + input + " cell.png " + options;
            for (const std::string_view line : split(label, '\n')) {
                std::string option(line);
                std::replace(option.begin(), option.end(), ' ', '=');
                command.append(" '--").append(option).append("'");
            }
            output(label == "original" ? "cp " + input + " cell.png" : command);
            const Picture picture = readPicture(path("cell.png"));
            layout.draw(expected.world, cell++, picture.world);
            expected.colorProfile = picture.colorProfile;
        }
        writePicture(path("expected.png"), expected);
        EXPECT_TRUE(contents(path("sheet.png")) == contents(path("expected.png"))) << own;
    }
};

using SheetDrawing = WithRenderer<SheetTest>;
INSTANTIATE_TEST_SUITE_P(With, SheetDrawing, eachRenderer);

TEST_P(SheetDrawing, ShowsWhatTheProgramRenders) {
    std::vector<std::string> labels = {"original"};
    for (const std::string order : {"RGB", "RBG", "GRB", "GBR", "BRG", "BGR"}) {
        labels.push_back("channel-order " + order + "\nshift-distance 10"); // 4 % of 240, rounded
    }
    expectSheet("in.png", "", "", 4,
                {"in.png", "240x120, shift-distance 10 (chosen, as it was 0)", labels});
    std::filesystem::copy_file(path("in.png"), path("sheet")); // not the sub-command
    expectSheet("in.png", "--downsample 2", "--vary shift-angle=0,90 ", 2,
                {"in.png",
                 "240x120, downsample 2, shift-distance 20 (chosen, as it was 0)",
                 {"shift-angle 0\nshift-distance 20", "shift-angle 90\nshift-distance 20"}});
    expectSheet("./sheet", "--shift-distance 7", "--vary channel-order=RGB,GBR --columns 1 ", 1,
                {"sheet", "240x120, shift-distance 7", {"channel-order RGB", "channel-order GBR"}});
    expectSheet("in.png", "", "--vary channel-lightness=10,40:0:-40 ", 2,
                {"in.png", "240x120", {"channel-lightness 10", "channel-lightness 40,0,-40"}});
    expectSheet("in.png", "", "--vary shift-angle=0,90 --vary shift-distance=10,25 ", 2,
                {"in.png",
                 "240x120",
                 {"shift-angle 0\nshift-distance 10", "shift-angle 0\nshift-distance 25",
                  "shift-angle 90\nshift-distance 10", "shift-angle 90\nshift-distance 25"}});
    output("ffmpeg -v error -nostdin -f lavfi -i testsrc2=s=240x120:r=10 -frames:v 9 -c:v ffv1 "
           "-pix_fmt bgr0 clip.mkv && $PROGRAM --save-preset look.json --shift-distance 30");
    expectSheet("clip.mkv", "--frames 6 --preset look.json",
                "--vary 'channel-scale=100,0=100;-2=70' ", 2,
                {"clip.mkv, frame 6",
                 "240x120, preset look.json",
                 {"channel-scale 100", "channel-scale 0=100;-2=70"}});
    output("$PROGRAM sheet in.png long.png --vary shift-angle=1,2 --shift-distance \"$(seq -f %g=1 "
           "-s\\; 0 9000)\"");
    EXPECT_LT(readPicture(path("long.png")).world.height(), 500);
}

TEST_F(SheetTest, FailuresLeaveNoFile) {
    std::filesystem::create_directory(path("fonts"));
    std::ofstream(path("none.conf"))
        << "<fontconfig><dir>" << path("fonts").string() << "</dir></fontconfig>";
    const std::pair<const char*, const char*> rows[] = {
        {"FONTCONFIG_FILE=$PWD/none.conf $PROGRAM sheet in.png out.png",
         "there is no font to label pictures with; install one"},
        {"FAKE_EFFECT_RENDER_RESULT=9 $PROGRAM sheet $FAKE in.png out.png", "gave the error 9"},
        {"$PROGRAM sheet in.png out.png --frames 3", "there is no frame 3"},
        {"$PROGRAM sheet in.png out.webp --vary shift-distance=$(seq -s, 90) --columns 90",
         "WebP takes at most 16383 pixels a side"},
        {"$PROGRAM sheet in.png none/out.png", "No such file or directory"},
    };
    for (const auto& [command, message] : rows) {
        const Result result = run(command);
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_THAT(result.errors, HasSubstr(message));
    }
    EXPECT_THAT(files(), testing::ElementsAre("fonts", "in.png", "none.conf"));
}

} // namespace
