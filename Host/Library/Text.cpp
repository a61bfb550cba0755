#include "Host/Library/Text.h"

#include <algorithm>

namespace Vexorel::PrismDrift::Host {

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
    return text.substr(0, text.find_last_not_of(whiteSpace) + 1);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

char lowerCase(char character) {
    constexpr char offset = 'a' - 'A';
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + offset) : character;
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char character) { return lowerCase(character); });
    return lower;
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lowerCase(a) == lowerCase(b); });
}

} // namespace Vexorel::PrismDrift::Host
