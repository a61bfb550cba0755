#pragma once

/// Notices a lack of memory that a library kept to itself.

namespace Vexorel::PrismDrift::CommandLine {

/// Throws std::bad_alloc if FFmpeg's libraries, or another, ever asked for memory in vain. They go
/// on without a tag, a table or a chapter then, and report nothing.
void checkMemory();

} // namespace Vexorel::PrismDrift::CommandLine
