#pragma once

/// Files that appear whole or not at all.

#include <cstddef>
#include <filesystem>

namespace Vexorel::PrismDrift::Host {

/// Creates or replaces `target` in one step, with `size` bytes and the permissions of a new file.
/// A symbolic link is followed, also to where no file is yet. Throws Error on any failure, and the
/// target stays as it was. SIGINT, SIGTERM and SIGHUP are held back from this thread until it is
/// done.
void replaceFile(const std::filesystem::path& target, const void* bytes, std::size_t size);

/// Throws Error where `replaceFile` can't succeed: the folder is missing or not writable, or the
/// target exists and is not a plain file or not writable.
void checkReplaceable(const std::filesystem::path& target);

/// Writes all bytes, in several calls if need be, and waits where the descriptor doesn't. Gives 0,
/// or the errno of a failure.
int writeAll(int descriptor, const void* bytes, std::size_t size);

/// Has `check` called before any file takes its target's place; what it throws is thrown, and the
/// target stays as it was. For a process that may find out that its results are not to be trusted.
void setCommitCheck(void (*check)());

/// A file that replaces its target once it is complete. Until `commit` the target stays as it was,
/// and the new file has no name where the file system supports that, so that not even a killed
/// program leaves it behind.
class NewFile {
public:
    /// Throws Error as `checkReplaceable` does, and where the file can't be created.
    explicit NewFile(const std::filesystem::path& target);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    /// Removes the new file, unless it was committed.
    ~NewFile();

    /// Open for reading and writing. `commit` closes it; the caller must not.
    int descriptor() const { return mDescriptor; }

    /// Puts the new file in the target's place, in one step, once the disk has it whole. Throws
    /// Error if that fails, and the target stays as it was.
    void commit();

private:
    std::filesystem::path mTarget;      // as the caller named it
    std::filesystem::path mDestination; // the target with symbolic links followed
    std::filesystem::path mTemporary;   // the new file's name, empty while it has none
    int mDescriptor = -1;
};

} // namespace Vexorel::PrismDrift::Host
