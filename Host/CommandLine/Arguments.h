#pragma once

/// What the program was asked to do, read from its command line.

#include "Host/CommandLine/ParameterOptions.h"
#include "Host/CommandLine/Progress.h"
#include "Host/Media/Clip.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The part of the command line that must be known before the effect is there.
struct EarlyArguments {
    std::optional<std::filesystem::path> plugin, script;
    bool verbose = false;
    bool help = false;
    bool version = false;
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
    Vexorel::PrismDrift::Host::ClipInput input;
    Vexorel::PrismDrift::Host::ClipOutput output;     ///< without its descriptor and its warnings
    std::filesystem::path script, preset, savePreset; ///< empty where not given
    /// The options for parameters that were given, each with its text; a later one stands.
    std::vector<std::pair<const ParameterOption*, std::string>> values;
};

/// Throws UsageError, which names the option and what it takes.
Arguments readArguments(int count, const char* const* arguments,
                        const std::vector<ParameterOption>& options);

/// The help; without the effect's options where there are none.
std::string helpText(const std::vector<ParameterOption>& options);
