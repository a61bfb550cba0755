#include "Host/Library/ReplaceFile.h"

#include "Host/Library/Error.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <random>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

std::atomic<void (*)()> commitCheck = nullptr;

[[noreturn]] void refuse(const fs::path& target, const std::string& reason) {
    throw Error("cannot write '" + target.string() + "': " + reason);
}

[[noreturn]] void refuse(const fs::path& target, int error) {
    refuse(target, std::generic_category().message(error));
}

// Holds the signals that end a program back from this thread, so that no temporary file is left
// behind.
class SignalsHeld {
public:
    SignalsHeld() {
        sigset_t held;
        sigemptyset(&held);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            sigaddset(&held, signal);
        }
        pthread_sigmask(SIG_BLOCK, &held, &mBefore);
    }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }

private:
    sigset_t mBefore{};
};

fs::path temporaryName(const fs::path& target) {
    std::random_device random;
    return target.parent_path() / (".prismdrift-" + std::to_string(random()));
}

// Where a file of this name is, or will be: a link may point to a file that isn't there yet.
fs::path withLinksFollowed(const fs::path& target) {
    constexpr int most = 40; // as the system counts
    std::error_code ignored;
    fs::path end = fs::absolute(target, ignored);
    for (int links = 0; links < most && fs::is_symlink(end, ignored); ++links) {
        end = end.parent_path() / fs::read_symlink(end, ignored);
    }
    return end.empty() ? target : end;
}

// Some file systems have nothing to do.
bool isSynchronised(int descriptor) {
    return fsync(descriptor) == 0 || errno == EINVAL || errno == ENOSYS || errno == ENOTSUP;
}

} // namespace

int writeAll(int descriptor, const void* bytes, std::size_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = write(descriptor, next, size);
        if (written < 0 && errno == EAGAIN) { // another program has made it so
            pollfd waiting = {descriptor, POLLOUT, 0};
            poll(&waiting, 1, -1);
        } else if (written == 0 || (written < 0 && errno != EINTR)) {
            return written == 0 ? EIO : errno;
        }
        if (written > 0) {
            next += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return 0;
}

void checkReplaceable(const fs::path& target) {
    const fs::path end = withLinksFollowed(target);
    std::error_code failure;
    const fs::file_status status = fs::status(target, failure);
    if (fs::is_directory(status)) {
        refuse(target, "it is a directory");
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        refuse(target, "it is not a plain file");
    }
    if (fs::exists(status) && access(end.c_str(), W_OK) != 0) {
        refuse(target, errno);
    }
    if (fs::is_symlink(end, failure)) {
        refuse(target, ELOOP);
    }
    const fs::path folder = end.parent_path();
    int error = access(folder.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
    if (error != ENOENT && !fs::is_directory(folder, failure)) {
        error = ENOTDIR;
    }
    if (error != 0) {
        refuse(target,
               "the folder '" + folder.string() + "': " + std::generic_category().message(error));
    }
}

void setCommitCheck(void (*check)()) {
    commitCheck = check;
}

NewFile::NewFile(const fs::path& target)
    : mTarget(target), mDestination(withLinksFollowed(target)) {
    checkReplaceable(target);
    constexpr mode_t mode = 0666;
    mDescriptor = open(mDestination.parent_path().c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, mode);
    while (mDescriptor < 0) { // a file system without nameless files
        mTemporary = temporaryName(mDestination);
        mDescriptor = open(mTemporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (mDescriptor < 0 && errno != EEXIST) {
            refuse(mTarget, errno);
        }
    }
}

NewFile::~NewFile() {
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
    if (!mTemporary.empty()) {
        unlink(mTemporary.c_str());
    }
}

void NewFile::commit() {
    const SignalsHeld signals;
    if (auto* const check = commitCheck.load()) {
        check();
    }
    // A disk that is full may say so no earlier than here, or when the file is closed.
    if (!isSynchronised(mDescriptor)) {
        refuse(mTarget, errno);
    }
    const std::string own = "/proc/self/fd/" + std::to_string(mDescriptor);
    while (mTemporary.empty()) {
        const fs::path name = temporaryName(mDestination);
        if (linkat(AT_FDCWD, own.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            mTemporary = name;
        } else if (errno != EEXIST) {
            refuse(mTarget, errno);
        }
    }
    if (close(std::exchange(mDescriptor, -1)) != 0 ||
        rename(mTemporary.c_str(), mDestination.c_str()) != 0) {
        refuse(mTarget, errno);
    }
    mTemporary.clear();
}

void replaceFile(const fs::path& target, const void* bytes, std::size_t size) {
    const SignalsHeld signals;
    NewFile file(target);
    const int error = writeAll(file.descriptor(), bytes, size);
    if (error != 0) {
        refuse(target, error);
    }
    file.commit();
}

} // namespace Vexorel::PrismDrift::Host
