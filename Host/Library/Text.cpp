#include "Host/Library/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace Vexorel::PrismDrift::Host {
namespace {

struct Character {
    std::uint32_t code = 0;
    std::size_t length = 0; // in bytes, 0 where they are no UTF-8
};

Character firstCharacter(std::string_view text) {
    const auto byte = [text](std::size_t index) -> std::uint32_t {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
    };
    const std::uint32_t lead = byte(0);
    if (lead < 0x80U) {
        return {lead, std::min<std::size_t>(1, text.size())};
    }
    if (lead < 0xC0U || lead >= 0xF8U) {
        return {};
    }
    const std::size_t length = lead < 0xE0U ? 2 : lead < 0xF0U ? 3 : 4;
    std::uint32_t code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) {
            return {};
        }
        code = code << 6U | (byte(i) & 0x3FU);
    }
    constexpr std::array<std::uint32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800U && code <= 0xDFFFU;
    return code < least.at(length) || code > 0x10FFFFU || isSurrogate ? Character{}
                                                                      : Character{code, length};
}

bool isObeyed(std::uint32_t code) {
    const auto within = [code](std::uint32_t first, std::uint32_t last) {
        return code >= first && code <= last;
    };
    return code < ' ' || within(0x7F, 0x9F) || within(0x2028, 0x202E) || within(0x2066, 0x2069);
}

// A byte as "\n" or "\x1b", a longer character as "\u202e".
std::string writtenOut(const Character& character, char byte) {
    constexpr std::string_view known = "\a\b\t\n\v\f\r";
    constexpr std::string_view letters = "abtnvfr";
    if (const std::size_t found = known.find(byte); found != std::string_view::npos) {
        return {'\\', letters[found]};
    }
    const bool isByte = character.length < 2;
    const std::uint32_t code = isByte ? static_cast<unsigned char>(byte) : character.code;
    std::string text = isByte ? "\\x" : "\\u";
    for (int shift = isByte ? 4 : 12; shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[code >> static_cast<unsigned>(shift) & 0xFU];
    }
    return text;
}

} // namespace

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

std::size_t visibleLength(std::string_view text) {
    const Character character = firstCharacter(text);
    return isObeyed(character.code) ? 0 : character.length;
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const Character first = firstCharacter(text);
        const std::size_t length = std::max<std::size_t>(1, first.length);
        if (visibleLength(text) > 0) {
            result += text.substr(0, length);
        } else {
            result += writtenOut(first, text.front());
        }
        text.remove_prefix(length);
    }
    return result;
}

std::string printableLines(std::string_view text) {
    std::string result;
    for (const std::string_view line : split(text, '\n')) {
        if (line.data() != text.data()) {
            result += '\n';
        }
        result += printable(line);
    }
    return result;
}

} // namespace Vexorel::PrismDrift::Host
