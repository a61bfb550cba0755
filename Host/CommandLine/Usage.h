#pragma once

/// What the user wrote wrongly, and the help to write it right.

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

/// The command line makes no sense; the text says which part and what would.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& text, std::string shown = "")
        : std::runtime_error(text), mShown(std::move(shown)) {}

    /// Lines that show where a text is wrong, printable as they are; empty for none.
    const std::string& shown() const { return mShown; }

private:
    std::string mShown;
};

/// "; did you mean 'NAME'?" for the known name that is written most alike, an empty text if none is
/// near enough.
std::string nearestHint(std::string_view written, const std::vector<std::string>& known);

} // namespace Vexorel::PrismDrift::CommandLine
