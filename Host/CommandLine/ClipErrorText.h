#pragma once

/// Names the options of the command line that would mend an error of a clip.

#include <exception>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

/// The error's text, and for a ClipError which options to give or to leave out.
std::string textWithOptions(const std::exception& error);

} // namespace Vexorel::PrismDrift::CommandLine
