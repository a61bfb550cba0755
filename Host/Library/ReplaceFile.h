#pragma once

/// Files that appear whole or not at all.

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

/// Writes all of it, however often the system takes a part only. 0, or the error's number.
int writeAll(int descriptor, const void* bytes, std::size_t size);

/// A file under way to take its target's place. Until `commit` the target is as it was, and the
/// file has no name where the file system can do that, so that not even a killed program leaves it
/// behind.
class NewFile {
public:
    /// Throws Error as `checkReplaceable` does, and where the file can't be made.
    explicit NewFile(const std::filesystem::path& target);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    /// Without a `commit` nothing is left of it.
    ~NewFile();

    /// Open for reading and writing, and to be left open.
    int descriptor() const { return mDescriptor; }

    /// Makes it the target, in one step. Throws Error, and the target is as it was.
    void commit();

private:
    std::filesystem::path mTarget;    // as it was named
    std::filesystem::path mEnd;       // where it leads
    std::filesystem::path mTemporary; // its name for now, empty for none
    int mDescriptor = -1;
};

} // namespace Vexorel::PrismDrift::Host
