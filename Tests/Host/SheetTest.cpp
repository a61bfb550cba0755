// Contact sheets: the layout's places and pixels from their definition, and the program's sheets
// beside the same layout filled with pictures that it renders one by one.

#include "Host/CommandLine/Sheet/SheetLayout.h"
#include "Host/Media/Picture.h"
#include "Tests/Host/ErrorOf.h"
#include "Tests/Host/ProgramTest.h"

#include <cmath>
#include <cstring>

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

// The part of the pixel at `i` of a row that lies between `from` and `to`.
double overlap(int i, double from, double to) {
    return std::max(0.0, std::min(i + 1.0, to) - std::max<double>(i, from));
}

// The mean over an area of the picture, laid over the checkerboard's square.
double meanOver(const World& picture, double left, double top, double width, double height,
                int channel, int square) {
    double sum = 0;
    for (int y = static_cast<int>(top); y < picture.height() && y < top + height; ++y) {
        for (int x = static_cast<int>(left); x < picture.width() && x < left + width; ++x) {
            const std::uint8_t* pixel = picture.row(y) + x * std::ptrdiff_t{4};
            sum += overlap(x, left, left + width) * overlap(y, top, top + height) *
                   (square + pixel[0] / 255.0 * (pixel[channel] - square));
        }
    }
    return sum / width / height;
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
    const SheetLayout layout({"", "", {"one", "two"}}, 240, 120, 100, 2);
    World sheet = layout.emptySheet();
    layout.draw(sheet, 1, picture);
    const Area area = layout.picture(1);
    for (int i = 0; i < 100 * 50 * 3; ++i) {
        const int x = i / 3 % 100, y = i / 300, channel = i % 3 + 1;
        const int square = (x / 8 + y / 8) % 2 == 0 ? 0x99 : 0x66;
        ASSERT_NEAR(sheet.row(area.y + y)[(area.x + x) * 4 + channel],
                    meanOver(picture, x * 2.4, y * 2.4, 2.4, 2.4, channel, square), 2.0)
            << x << " " << y;
    }
    std::vector<int> labels[2];
    int shades = 0; // between the background's and the letters'
    for (int y = area.y + area.height; y < sheet.height(); ++y) {
        for (int x = 0; x < 2 * 100; ++x) {
            const int cell = x / 100;
            const int shade = sheet.row(y)[(layout.picture(cell).x + x % 100) * 4 + 1];
            labels[cell].push_back(shade);
            shades += shade > 0x24 + 20 && shade < 0xDC - 20 ? 1 : 0;
        }
    }
    EXPECT_EQ(*std::max_element(labels[0].begin(), labels[0].end()), 0xDC);
    EXPECT_TRUE(shades > 20 && labels[0] != labels[1]) << shades;
}

class SheetTest : public ProgramTest {
protected:
    SheetTest() { writePicture(path("in.png"), {testPicture(), {}}); }

    // Cells: a label, and options to render the input with, none for the input itself.
    void expectSheet(const std::string& arguments, int columns, const std::string& title,
                     const std::string& subtitle,
                     const std::vector<std::pair<std::string, std::string>>& cells,
                     const std::string& input = "in.png") const {
        EXPECT_EQ(output("$PROGRAM sheet --cell-width 100 " + arguments + " sheet.png 2>&1"), "");
        const World sheet = std::move(readPicture(path("sheet.png")).world);
        SheetText text{title, "240x120" + subtitle, {}};
        for (const auto& cell : cells) {
            text.labels.push_back(cell.first);
        }
        const SheetLayout layout(text, 240, 120, 100, columns);
        World expected = layout.emptySheet();
        int index = 0;
        for (const auto& cell : cells) {
            output(cell.second.empty() ? "cp " + input + " cell.png"
                                       : "$PROGRAM " + input + " cell.png " + cell.second);
            layout.draw(expected, index++, readPicture(path("cell.png")).world);
        }
        ASSERT_TRUE(sheet.width() == expected.width() && sheet.height() == expected.height());
        for (int y = 0; y < sheet.height(); ++y) {
            const auto bytes = static_cast<std::size_t>(sheet.width()) * 4;
            ASSERT_EQ(std::memcmp(sheet.row(y), expected.row(y), bytes), 0) << arguments << y;
        }
    }
};

TEST_F(SheetTest, ShowsTheOriginalAndAllOrdersAtADistanceThatShows) {
    for (const bool isGiven : {false, true}) {
        const std::string distance = isGiven ? "7" : "10"; // 4 % of 240, rounded
        std::vector<std::pair<std::string, std::string>> cells = {{"original", ""}};
        for (const std::string order : {"RGB", "RBG", "GRB", "GBR", "BRG", "BGR"}) {
            cells.emplace_back("channel-order " + order +
                                   (isGiven ? "" : "\nshift-distance " + distance),
                               "--channel-order " + order + " --shift-distance " + distance);
        }
        expectSheet(
            isGiven ? "in.png --columns 3 --shift-distance 7" : "in.png", isGiven ? 3 : 4, "in.png",
            isGiven ? ", shift-distance 7" : ", shift-distance 10 (chosen, as none was given)",
            cells);
    }
}

TEST_F(SheetTest, VariesGroupsPairsAndKeyframes) {
    std::filesystem::copy_file(path("in.png"), path("sheet")); // not the sub-command
    expectSheet(
        "./sheet --vary channel-lightness=10,40:0:-40 --channel-order BRG --columns 1", 1, "sheet",
        ", channel-order BRG",
        {{"channel-lightness 10", "--channel-lightness 10 --channel-order BRG"},
         {"channel-lightness 40,0,-40", "--channel-lightness 40,0,-40 --channel-order BRG"}});
    std::vector<std::pair<std::string, std::string>> cells;
    for (const std::string angle : {"0", "90"}) {
        for (const std::string distance : {"10", "25", "40"}) {
            cells.emplace_back("shift-angle " + angle + "\nshift-distance " + distance,
                               "--shift-angle " + angle + " --shift-distance " + distance);
        }
    }
    expectSheet("in.png --vary shift-angle=0,90 --vary shift-distance=10,25,40", 3, "in.png", "",
                cells);
    output("ffmpeg -v error -nostdin -f lavfi -i testsrc2=s=240x120:r=10 -frames:v 9 -c:v ffv1 "
           "-pix_fmt bgr0 clip.mkv && $PROGRAM --save-preset look.json --shift-distance 30 && "
           "ffmpeg -v error -nostdin -i clip.mkv -start_number 0 -pix_fmt rgb24 frame%d.png");
    // The last but one of nine frames is number 7.
    expectSheet("clip.mkv --frames 6 --preset look.json --vary 'channel-scale=100,0=100;-2=70'", 2,
                "clip.mkv, frame 6", ", preset look.json",
                {{"channel-scale 100", "--preset look.json"},
                 {"channel-scale 0=100;-2=70", "--preset look.json --channel-scale 74.285714286"}},
                "frame6.png");
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
