#pragma once

/// What the program was asked to do, read from its command line.

#include "Host/CommandLine/ParameterOptions.h"
#include "Host/CommandLine/ParseLine.h"
#include "Host/CommandLine/Progress.h"
#include "Host/Media/Clip.h"
#include "Host/Rendering/RendererChoice.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {

/// The most cells of a contact sheet, and so the most columns.
inline constexpr int mostCells = 500;

/// An option of the effect and the text that was given for it.
struct EffectArgument {
    const ParameterOption* option = nullptr;
    std::string text;
};

struct Arguments {
    bool listParameters = false;
    bool about = false;
    bool quiet = false;
    bool verbose = false;
    Host::RendererRequest renderer;
    std::optional<ProgressStyle> progress; ///< as given
    std::uint32_t downsample = 1;
    bool linear = false;
    Host::ClipInput input;
    std::filesystem::path drawn;                      ///< frames that were drawn before, or empty
    Host::ClipOutput output;                          ///< without its descriptor and its warnings
    std::filesystem::path script, preset, savePreset; ///< empty where not given
    std::vector<EffectArgument> values;               ///< at most one for each option
    /// The sheet's own: what was given for each --vary, and nothing where it chooses by itself.
    std::vector<std::string> variations;
    std::optional<int> columns, cellWidth;

    ProgressStyle progressStyle() const {
        return quiet ? ProgressStyle::None : progress.value_or(automaticProgress());
    }
};

/// Reads what the words of the line mean, with the options of the loaded effect; these must outlive
/// the result. The texts in `values` are only checked where they are applied. Throws UsageError,
/// which names the option and what it takes.
Arguments readArguments(const ParsedLine& line, const std::vector<ParameterOption>& effectOptions);

} // namespace Vexorel::PrismDrift::CommandLine
