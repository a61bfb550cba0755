#pragma once

/// Text in pictures, in the system's sans-serif font. A build without the library that draws it has
/// the same operations, which all throw.

#include "Host/CommandLine/Sheet/Compose.h"
#include "Host/Library/World.h"

#include <string>

namespace Vexorel::PrismDrift::Host {

struct TextStyle {
    int size = 14; ///< the font's, in pixels
    bool bold = false;
    bool centred = false;
    Shade shade;
};

/// Throws Error, with what would help, where no text can be drawn: there is no font, or the program
/// was built without.
void checkLettering();

/// Whether the fonts have all letters of the text; others are drawn as a box with their number.
bool canShow(const std::string& text);

/// The height of the text in lines of at most `width` pixels, broken at blanks, and in a word where
/// one is too long.
int textHeight(const std::string& text, int width, const TextStyle& style);

/// Draws it so into an opaque world, from `y` down. What is no UTF-8 shows as such.
void drawText(World& world, int x, int y, int width, const std::string& text,
              const TextStyle& style);

} // namespace Vexorel::PrismDrift::Host
