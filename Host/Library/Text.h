#pragma once

/// The handling of short texts that every reader of user input shares. Letters are those of ASCII,
/// whatever the locale; other bytes are left alone.

#include <string>
#include <string_view>
#include <vector>

namespace Vexorel::PrismDrift::Host {

inline constexpr std::string_view whiteSpace = " \t\n\v\f\r";

/// The text without the white space at both ends.
std::string_view trimmed(std::string_view text);

/// The parts between separators: one more than there are separators, so that an empty text has one
/// empty part. They refer to `text`.
std::vector<std::string_view> split(std::string_view text, char separator);

char lowerCase(char character);
std::string lowerCase(std::string_view text);

bool equalIgnoringCase(std::string_view left, std::string_view right);

/// The bytes of the UTF-8 character that the text begins with, if a terminal only shows it. 0 for
/// what it would obey instead, a control character or a mark that ends a line or turns the
/// direction of writing, and for bytes that are no UTF-8.
std::size_t visibleLength(std::string_view text);

/// The text for a terminal, in one line: what it wouldn't only show is written out, as "\n",
/// "\x1b", "\u202e", or "\xff" for a byte that is no UTF-8.
std::string printable(std::string_view text);

/// The same, line by line.
std::string printableLines(std::string_view text);

} // namespace Vexorel::PrismDrift::Host
