#pragma once

/// Text in pictures, in the system's sans-serif font. In a build without the library that draws
/// text, every operation throws Error.

#include "Host/CommandLine/Sheet/Compose.h"
#include "Host/Library/World.h"

#include <string>

namespace Vexorel::PrismDrift::CommandLine {

struct TextStyle {
    int size = 14; ///< the font's, in pixels
    bool bold = false;
    bool centred = false;
    Shade shade;
};

/// Throws Error, which says what to install, where no text can be drawn: there is no font, or the
/// program was built without the library.
void checkLettering();

/// Whether the fonts have all letters of the text. Missing ones are drawn as a box with their
/// number.
bool canShow(const std::string& text);

/// The height of the text in lines of at most `width` pixels. Lines are broken at blanks, and
/// within words that are too long.
int textHeight(const std::string& text, int width, const TextStyle& style);

/// Draws the text in such lines into an opaque world, from `x`, `y` right and down. Bytes that are
/// not UTF-8 show as replacement characters.
void drawText(Host::World& world, int x, int y, int width, const std::string& text,
              const TextStyle& style);

} // namespace Vexorel::PrismDrift::CommandLine
