#pragma once

/// What `prismdrift sheet` was asked to do, read from its command line.

#include "Host/CommandLine/Arguments.h"

namespace Vexorel::PrismDrift::CommandLine {

/// The most cells that a sheet has.
constexpr int mostCells = 500;

/// An option and the values that a sheet shows of it.
struct Variation {
    const ParameterOption* option = nullptr;
    std::vector<std::string> values; ///< as the option itself takes them
};

struct SheetArguments {
    Arguments common;
    /// None for all channel orders; one for a row of values that is broken into columns; two for a
    /// grid, the first down and the second across.
    std::vector<Variation> variations;
    std::optional<int> columns, cellWidth;
};

const SubCommand& sheetCommand();

/// Throws UsageError, which names the option and what it takes. The values themselves are looked at
/// when they are applied.
SheetArguments readSheetArguments(int count, const char* const* arguments,
                                  const std::vector<ParameterOption>& options);

} // namespace Vexorel::PrismDrift::CommandLine
