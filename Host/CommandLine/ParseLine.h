#pragma once

/// The command line, taken apart once, before the effect is loaded.

#include "Host/CommandLine/ParameterOptions.h"

#include <map>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

enum class Command { Render, Sheet };

/// The words of a command line by the options that they belong to. Nothing is interpreted yet, and
/// what is wrong is only noted, so that --help and --version work on any line.
struct ParsedLine {
    /// An option that the program doesn't have: the effect's, or a mistake.
    struct OtherOption {
        std::string name;
        std::string text; ///< empty where no value was given
    };

    Command command = Command::Render;
    /// What was given for each of the program's options and files, by name; a flag has empty texts.
    std::map<std::string, std::vector<std::string>> texts;
    std::vector<OtherOption> others;
    std::vector<std::string> surplus; ///< files beyond INPUT and OUTPUT
    std::string problem;              ///< what else is wrong, in a line; empty for nothing

    bool has(const std::string& name) const { return texts.count(name) > 0; }
    /// The last text of the option, empty where it wasn't given.
    std::string last(const std::string& name) const {
        return has(name) ? texts.at(name).back() : "";
    }
};

/// An option's value may stand behind '=' or be the next word; one that begins with "--" needs '='.
/// "sheet" as the first word is the command.
ParsedLine parseLine(int count, const char* const* words);

/// The help of a command, with the effect's options if there are any.
std::string helpText(Command command, const std::vector<ParameterOption>& effectOptions);

} // namespace Vexorel::PrismDrift::CommandLine
