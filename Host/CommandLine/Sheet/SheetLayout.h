#pragma once

/// Where the cells of a sheet stand, and how they are drawn: pictures of one size in rows, each
/// with its label beneath, under a title.

#include "Host/CommandLine/Sheet/Compose.h"
#include "Host/Library/World.h"

#include <string>
#include <vector>

struct SheetText {
    std::string title, subtitle;
    std::vector<std::string> labels; ///< one a cell, row by row; lines end in '\n'
};

/// The number of columns that leaves few gaps in rows of about as many cells as there are rows.
int suitingColumns(int cells);

class SheetLayout {
public:
    /// For pictures of this size in columns of `cellWidth` pixels; they are never enlarged. Throws
    /// Error for a sheet that is too large.
    SheetLayout(SheetText text, int pictureWidth, int pictureHeight, int cellWidth, int columns);

    int width() const { return mWidth; }
    int height() const { return mHeight; }

    /// The cell's picture, as it will be scaled down.
    Vexorel::PrismDrift::Host::Area picture(int cell) const;

    /// A sheet with its text, without pictures.
    Vexorel::PrismDrift::Host::World emptySheet() const;

    /// Scales the picture down into its cell, over a checkerboard where it is clear.
    void draw(Vexorel::PrismDrift::Host::World& sheet, int cell,
              const Vexorel::PrismDrift::Host::World& picture) const;

private:
    int titleRoom() const;
    int left(int column) const;
    int top(int row) const;

    SheetText mText;
    int mCellWidth, mColumns, mRows;
    int mFontSize, mGap, mMargin;
    int mPictureWidth, mPictureHeight;
    int mWidth, mHeight;
    int mTitleHeight, mSubtitleHeight, mLabelHeight;
};
