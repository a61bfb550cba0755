#include "Host/CommandLine/Sheet/SheetLayout.h"

#include "Host/CommandLine/Sheet/Lettering.h"
#include "Host/Library/Error.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

// Grays, so that nothing beside the pictures has a colour.
constexpr Shade background{0x24, 0x24, 0x24};
constexpr Shade titleShade{0xF4, 0xF4, 0xF4};
constexpr Shade labelShade{0xDC, 0xDC, 0xDC};
constexpr Shade subtitleShade{0xA8, 0xA8, 0xA8};
constexpr Shade lightSquare{0x99, 0x99, 0x99};
constexpr Shade darkSquare{0x66, 0x66, 0x66};
constexpr int squareSide = 8;

constexpr int smallestFont = 11;
constexpr int largestFont = 40;
constexpr int cellWidthPerFontSize = 22;

// The most pixels that FFmpeg's encoders take.
constexpr std::int64_t mostPixels = 200'000'000;

TextStyle titleStyle(int fontSize) {
    return {fontSize * 5 / 4, true, false, titleShade};
}

TextStyle subtitleStyle(int fontSize) {
    return {fontSize, false, false, subtitleShade};
}

TextStyle labelStyle(int fontSize) {
    return {fontSize, false, true, labelShade};
}

void checkSize(int width, int height) {
    if (width > Host::largestSide || height > Host::largestSide ||
        std::int64_t{width} * height > mostPixels) {
        throw Host::Error(
            "the sheet of " + std::to_string(width) + "x" + std::to_string(height) +
            " pixels is too large: the limit is " + std::to_string(Host::largestSide) +
            " a side and " + std::to_string(mostPixels / 1'000'000) +
            " million in all; a smaller --cell-width, other --columns or fewer values "
            "help");
    }
}

} // namespace

int defaultColumns(int cells) {
    const int least = static_cast<int>(std::ceil(std::sqrt(cells)));
    int best = least;
    const auto gaps = [cells](int columns) { return (columns - cells % columns) % columns; };
    constexpr int most = 6; // what fits on a screen
    for (int columns = least + 1; columns <= std::min(2 * least, most); ++columns) {
        if (gaps(columns) < gaps(best)) {
            best = columns;
        }
    }
    return best;
}

SheetLayout::SheetLayout(SheetText text, int pictureWidth, int pictureHeight, int cellWidth,
                         int columns)
    : mText(std::move(text)),
      mCellWidth(cellWidth),
      mColumns(columns),
      mRows((static_cast<int>(mText.labels.size()) + columns - 1) / columns),
      mFontSize(std::clamp(cellWidth / cellWidthPerFontSize, smallestFont, largestFont)) {
    // A picture is at most twice as high as its cell is wide.
    const double scale = std::min(
        {1.0, static_cast<double>(cellWidth) / pictureWidth, 2.0 * cellWidth / pictureHeight});
    mPictureWidth = std::max(1, static_cast<int>(std::lround(pictureWidth * scale)));
    mPictureHeight = std::max(1, static_cast<int>(std::lround(pictureHeight * scale)));

    mTitleHeight = textHeight(mText.title, titleWidth(), titleStyle(mFontSize));
    mSubtitleHeight = textHeight(mText.subtitle, titleWidth(), subtitleStyle(mFontSize));
    mLabelHeight = 0;
    for (const std::string& label : mText.labels) {
        mLabelHeight = std::max(mLabelHeight, textHeight(label, cellWidth, labelStyle(mFontSize)));
    }
    checkSize(width(), height());
}

int SheetLayout::titleWidth() const {
    constexpr int most = 16384; // well below what a surface for text may have
    return std::min(width() - 2 * margin(), most);
}

int SheetLayout::subtitleTop() const {
    return margin() + mTitleHeight + mFontSize / 4;
}

int SheetLayout::left(int column) const {
    return margin() + column * (mCellWidth + gap());
}

int SheetLayout::top(int row) const {
    return subtitleTop() + mSubtitleHeight + gap() +
           row * (mPictureHeight + mFontSize / 2 + mLabelHeight + gap());
}

Area SheetLayout::picture(int cell) const {
    return {left(cell % mColumns) + (mCellWidth - mPictureWidth) / 2, top(cell / mColumns),
            mPictureWidth, mPictureHeight};
}

Host::World SheetLayout::emptySheet() const {
    Host::World sheet(width(), height());
    fillArea(sheet, {0, 0, width(), height()}, background);
    drawText(sheet, margin(), margin(), titleWidth(), mText.title, titleStyle(mFontSize));
    drawText(sheet, margin(), subtitleTop(), titleWidth(), mText.subtitle,
             subtitleStyle(mFontSize));
    int cell = 0;
    for (const std::string& label : mText.labels) {
        const int labelTop = top(cell / mColumns) + mPictureHeight + mFontSize / 2;
        drawText(sheet, left(cell % mColumns), labelTop, mCellWidth, label, labelStyle(mFontSize));
        ++cell;
    }
    return sheet;
}

void SheetLayout::draw(Host::World& sheet, int cell, const Host::World& image) const {
    const Area area = picture(cell);
    fillCheckerboard(sheet, area, squareSide, lightSquare, darkSquare);
    drawOver(sheet, scaledDown(image, area.width, area.height), area.x, area.y);
}

} // namespace Vexorel::PrismDrift::CommandLine
