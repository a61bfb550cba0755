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

} // namespace Vexorel::PrismDrift::Host
