#pragma once

/// What the program was asked to do, read from its command line.

#include "Host/CommandLine/ParameterOptions.h"
#include "Host/CommandLine/Progress.h"
#include "Host/Media/Clip.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

/// The part of the command line that must be known before the effect is there.
struct EarlyArguments {
    std::optional<std::filesystem::path> plugin, script;
    bool verbose = false;
    bool help = false;
    bool version = false;
};

/// What a sub-command has of its own; the rest of its options are the program's.
struct SubCommand {
    struct Option {
        std::string name, takes, meaning;
    };
    std::string usage, meaning;
    std::string group;                ///< of its own options in the help
    std::vector<Option> options;      ///< its own, each may be given several times
    std::vector<Option> wording;      ///< for the program's options that mean something else here
    std::vector<std::string> leftOut; ///< the program's options that it doesn't take
};

/// Takes out what it knows and complains about nothing.
EarlyArguments readEarlyArguments(int count, const char* const* arguments);

/// The whole of it.
struct Arguments {
    bool listParameters = false;
    bool about = false;
    bool quiet = false;
    std::optional<ProgressStyle> progress; ///< nothing: the one that suits
    std::uint32_t downsample = 1;
    Host::ClipInput input;
    Host::ClipOutput output;                          ///< without its descriptor and its warnings
    std::filesystem::path script, preset, savePreset; ///< empty where not given
    /// The options for parameters that were given, each with its text; a later one stands.
    std::vector<std::pair<const ParameterOption*, std::string>> values;
    /// What was given for the sub-command's own options, by their names.
    std::map<std::string, std::vector<std::string>> own;
};

/// Throws UsageError, which names the option and what it takes. A sub-command's arguments start
/// behind its name.
Arguments readArguments(int count, const char* const* arguments,
                        const std::vector<ParameterOption>& options,
                        const SubCommand* subCommand = nullptr);

/// The help; without the effect's options where there are none.
std::string helpText(const std::vector<ParameterOption>& options,
                     const SubCommand* subCommand = nullptr);

} // namespace Vexorel::PrismDrift::CommandLine
