#pragma once

/// What `prismdrift sheet` was asked to do.

#include "Host/CommandLine/Arguments.h"

namespace Vexorel::PrismDrift::CommandLine {

/// An option and the values of it that a sheet compares.
struct Variation {
    const ParameterOption* option = nullptr;
    std::vector<std::string> values; ///< as the option itself takes them
};

struct SheetArguments {
    Arguments common;
    /// None for all channel orders; one for its values in rows of columns; two for a grid, the
    /// first down and the second across.
    std::vector<Variation> variations;
};

/// Throws UsageError, which names the option and what it takes. The varied values are checked where
/// they are applied.
SheetArguments readSheetArguments(const Arguments& arguments,
                                  const std::vector<ParameterOption>& options);

} // namespace Vexorel::PrismDrift::CommandLine
