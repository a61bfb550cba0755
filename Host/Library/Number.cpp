#include "Host/Library/Number.h"

#include <array>
#include <charconv>
#include <cmath>

namespace Vexorel::PrismDrift::Host {

std::optional<double> parseNumber(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    double number = 0.0;
    const char* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || rest != end || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

std::optional<std::int64_t> parseWholeNumber(std::string_view text, std::int64_t least,
                                             std::int64_t most) {
    const auto number = parseNumber(text);
    const bool isTaken = number && *number == std::floor(*number) &&
                         *number >= static_cast<double>(least) &&
                         *number <= static_cast<double>(most);
    return isTaken ? std::optional(static_cast<std::int64_t>(*number)) : std::nullopt;
}

std::optional<std::int64_t> takeDigits(std::string_view& text) {
    std::int64_t number = 0;
    const auto [rest, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || text.front() == '-') {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
    return number;
}

std::string numberText(double number) {
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return {buffer.data(), result.ptr};
}

} // namespace Vexorel::PrismDrift::Host
