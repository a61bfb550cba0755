#pragma once

/// A file that appears whole or not at all.

#include <cstddef>
#include <filesystem>

namespace Vexorel::PrismDrift::Host {

/// Puts `size` bytes into `target`, which is made or replaced in one step and left as it was on any
/// failure, which is thrown as Error. A symbolic link is followed. The file gets the permissions of
/// a new one. SIGINT, SIGTERM and SIGHUP wait until it is done.
void replaceFile(const std::filesystem::path& target, const void* bytes, std::size_t size);

/// Throws Error where `replaceFile` is bound to fail: the folder is missing or may not be written
/// to, or what stands there is no plain file or is protected against writing.
void checkReplaceable(const std::filesystem::path& target);

} // namespace Vexorel::PrismDrift::Host
