#pragma once

/// What the user wrote wrongly, and the help to write it right.

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

/// The command line makes no sense; the text says which part and what would.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// "; did you mean 'NAME'?" for the known name that is written most alike, an empty text if none is
/// near enough.
std::string nearestHint(std::string_view written, const std::vector<std::string>& known);

} // namespace Vexorel::PrismDrift::CommandLine
