#pragma once

/// The program's standard output, kept apart from what a plug-in prints.

#include "Host/Library/Text.h"

#include <string_view>

namespace Vexorel::PrismDrift::CommandLine {

/// Moves descriptor 1 aside, so that what a plug-in prints goes to standard error or nowhere, and
/// writes the program's own text to where it led. One for the life of the program.
class StandardOutput {
public:
    /// Descriptors 0 to 2 are open afterwards, whatever the program was started with.
    explicit StandardOutput(bool showPlugin);
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;
    ~StandardOutput();

    /// Writes all of it. Throws Error where that fails, a full disk for example.
    void write(std::string_view text) const;

    /// Writes lines for people, with what a terminal would obey written out.
    void show(std::string_view lines) const { write(Host::printableLines(lines)); }

    /// Where it led, for pictures; below 0 if it was closed.
    int descriptor() const { return mDescriptor; }

private:
    int mDescriptor;
    int mOpenError = 0;
};

} // namespace Vexorel::PrismDrift::CommandLine
