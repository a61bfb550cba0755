#pragma once

/// The table of the program's options. Parsing, help, error messages and, through the help, the
/// tests of the completions and of the manual page take names, values and words from here.

#include "Host/CommandLine/Arguments.h"
#include "Host/Media/ClipError.h"

#include <optional>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

/// One option, or a file of the command line.
struct Option {
    const char* name;       ///< "--codec", or "INPUT" for a file
    const char* takes = ""; ///< how its value is written: "NAME"; empty for a flag and a file
    const char* help;
    /// Puts the text that was given, empty for a flag, to where it belongs. Throws UsageError. Null
    /// for options that are looked at before the others are read.
    void (*store)(Arguments& arguments, const std::string& text) = nullptr;

    std::optional<Command> onlyIn = {}; ///< the one command that takes it, nothing for all
    std::optional<Host::ClipSetting> setting = {}; ///< the field of a clip that it sets
    const char* shortName = nullptr;               ///< a second name, "-h"
    bool repeats = false;             ///< all that are given count; of others only the last
    const char* sheetTakes = nullptr; ///< `takes` in the sheet command, where that differs
    const char* sheetHelp = nullptr;  ///< `help` in the sheet command, where that differs
    const char* group = "";           ///< its heading in the help; empty for a file

    bool isFile() const { return name[0] != '-'; }
    bool isFlag() const { return !isFile() && takes[0] == '\0'; }
    bool isTakenBy(Command command) const { return onlyIn.value_or(command) == command; }
};

/// The group whose options the effect publishes; they come before the program's own in it.
inline constexpr const char* effectGroup = "The effect";

/// All options of all commands, in the order of the help.
const std::vector<Option>& programOptions();

/// The name of the option that sets this field of a clip.
std::string optionFor(Host::ClipSetting setting);

} // namespace Vexorel::PrismDrift::CommandLine
