#pragma once

/// The layout of a sheet: pictures of one size in rows, each with a label beneath, under a title.

#include "Host/CommandLine/Sheet/Compose.h"
#include "Host/Library/World.h"

#include <string>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

struct SheetText {
    std::string title, subtitle;
    std::vector<std::string> labels; ///< one for each cell, row by row; '\n' between lines
};

/// How many columns this many cells get: as many as rows, or more, up to twice that and to 6, where
/// this leaves fewer places of the last row empty.
int defaultColumns(int cells);

class SheetLayout {
public:
    /// For pictures of this size, made smaller to fit in columns of `cellWidth` pixels and twice as
    /// much height, never larger. Throws Error for a sheet that is too large.
    SheetLayout(SheetText text, int pictureWidth, int pictureHeight, int cellWidth, int columns);

    int width() const { return left(mColumns) - gap() + margin(); }
    int height() const { return top(mRows) - gap() + margin(); }

    /// Where the cell's picture stands, scaled down.
    Area picture(int cell) const;

    /// A sheet with its text, without pictures.
    Host::World emptySheet() const;

    /// Draws the picture, scaled down, into its cell, over a checkerboard where it is transparent.
    void draw(Host::World& sheet, int cell, const Host::World& picture) const;

private:
    int margin() const { return mFontSize * 2; }
    int gap() const { return mFontSize * 3 / 2; } // between cells
    int titleWidth() const;
    int subtitleTop() const;
    int left(int column) const;
    int top(int row) const;

    SheetText mText;
    int mCellWidth, mColumns, mRows;
    int mFontSize;
    int mPictureWidth, mPictureHeight;
    int mTitleHeight, mSubtitleHeight, mLabelHeight; // of the texts; of labels the highest
};

} // namespace Vexorel::PrismDrift::CommandLine
