#pragma once

/// Numbers as people type them and as messages show them, whatever the locale.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Vexorel::PrismDrift::Host {

/// The number that the whole of `text` is, such as "-30", "+5", ".5" or "1e3"; nothing for an empty
/// or longer text, white space, hexadecimal digits, infinities, NaN and what no double holds.
std::optional<double> parseNumber(std::string_view text);

/// The whole number that `text` is in one of these notations, such as "12", "+12" or "1.2e1", from
/// `least` to `most`; nothing for another text or number. Both limits lie within 2^53.
std::optional<std::int64_t> parseWholeNumber(std::string_view text, std::int64_t least,
                                             std::int64_t most);

/// Takes the digits off the front of the text and gives their number. Nothing, and the text stays
/// as it is, where there are none or the number doesn't fit.
std::optional<std::int64_t> takeDigits(std::string_view& text);

/// The shortest text that reads back as the same number: "100", "-0.5".
std::string numberText(double number);

} // namespace Vexorel::PrismDrift::Host
