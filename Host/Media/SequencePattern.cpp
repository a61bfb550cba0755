#include "Host/Media/SequencePattern.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostDigits = 18; // that always fit into 64 bits

// The place of a number at the start of a text: its least digits, and how many characters it takes.
struct Place {
    std::size_t digits = 0, length = 0;
};

Place hashes(std::string_view text) {
    const std::size_t count = std::min(text.find_first_not_of('#'), text.size());
    return {count, count};
}

Place percent(std::string_view text) {
    const std::size_t end = text.find_first_not_of("0123456789", 1);
    if (text.empty() || text[0] != '%' || end == std::string_view::npos || text[end] != 'd') {
        return {};
    }
    std::size_t digits = 1;
    if (end > 1) {
        std::from_chars(text.data() + 1, text.data() + end, digits);
    }
    return {std::max<std::size_t>(digits, 1), end + 1};
}

} // namespace

std::optional<SequencePattern> SequencePattern::of(const fs::path& file) {
    SequencePattern pattern;
    pattern.mFolder = file.parent_path();
    const std::string name = file.filename().string();
    bool found = false;
    for (std::string_view rest = name; !rest.empty();) {
        std::string& part = found ? pattern.mAfter : pattern.mBefore;
        const Place place = rest[0] == '#' ? hashes(rest) : percent(rest);
        if (place.length == 0) {
            const bool doubled = rest.substr(0, 2) == "%%";
            if (rest[0] == '%' && !doubled) {
                throw Error("'" + file.string() +
                            "' is no pattern: '%' stands before a number's place as in '%04d', or "
                            "doubled for itself");
            }
            part += rest[0];
            rest.remove_prefix(doubled ? 2 : 1);
            continue;
        }
        if (found || place.digits > mostDigits) {
            throw Error("'" + file.string() +
                        "' is no pattern: a name has one place for the number, of at most 18 "
                        "digits");
        }
        found = true;
        pattern.mDigits = place.digits;
        rest.remove_prefix(place.length);
    }
    return found ? std::optional(pattern) : std::nullopt;
}

std::optional<SequencePattern> SequencePattern::ofInput(const fs::path& file) {
    std::error_code failure;
    return fs::exists(file, failure) ? std::nullopt : of(file);
}

fs::path SequencePattern::file(std::int64_t number) const {
    std::string digits = std::to_string(number);
    digits.insert(0, mDigits - std::min(mDigits, digits.size()), '0');
    return mFolder / (mBefore + digits + mAfter);
}

std::vector<std::int64_t> SequencePattern::existingNumbers() const {
    std::vector<std::int64_t> numbers;
    const fs::path folder = mFolder.empty() ? "." : mFolder;
    std::error_code failure;
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string name = entry->path().filename().string();
        if (name.size() <= mBefore.size() + mAfter.size()) {
            continue;
        }
        const char* first = name.data() + mBefore.size();
        const char* last = name.data() + name.size() - mAfter.size();
        std::int64_t number = 0;
        const auto [stop, error] = std::from_chars(first, last, number);
        // Only the name that the pattern gives to this number, not 012 for ##.
        if (error == std::errc() && stop == last && number >= 0 &&
            file(number).filename() == name) {
            numbers.push_back(number);
        }
    }
    if (failure) {
        throw Error("cannot read the folder '" + folder.string() + "': " + failure.message());
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

} // namespace Vexorel::PrismDrift::Host
