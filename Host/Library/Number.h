#pragma once

/// Numbers as people type them and as messages show them, whatever the locale.

#include <optional>
#include <string>
#include <string_view>

namespace Vexorel::PrismDrift::Host {

/// The number that the whole of `text` is, such as "-30", "+5", ".5" or "1e3"; nothing for an empty
/// or longer text, white space, hexadecimal digits, infinities, NaN and what no double holds.
std::optional<double> parseNumber(std::string_view text);

/// The shortest text that reads back as the same number: "100", "-0.5".
std::string numberText(double number);

} // namespace Vexorel::PrismDrift::Host
