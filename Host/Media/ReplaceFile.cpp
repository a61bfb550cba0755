#include "Host/Media/ReplaceFile.h"

#include "Host/Library/Error.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <random>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& target, const std::string& reason) {
    throw Error("cannot write '" + target.string() + "': " + reason);
}

[[noreturn]] void refuse(const fs::path& target, int error) {
    refuse(target, std::generic_category().message(error));
}

// Keeps the signals that end a program away from this thread, so that no temporary file is left.
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

// A new file beside the target, removed unless it becomes the target.
class Temporary {
public:
    explicit Temporary(const fs::path& target) {
        std::random_device random;
        do {
            mPath = target.parent_path() / (".prismdrift-" + std::to_string(random()));
            mFile = open(mPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        } while (mFile < 0 && errno == EEXIST);
        mError = mFile < 0 ? errno : 0;
        mIsThere = mFile >= 0;
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary() {
        if (mFile >= 0) {
            close(mFile);
        }
        if (mIsThere) {
            unlink(mPath.c_str());
        }
    }

    // Each gives 0 or an error number.
    int error() const { return mError; }

    int write(const char* bytes, std::size_t size) {
        while (size > 0) {
            const ssize_t written = ::write(mFile, bytes, size);
            if (written < 0 && errno != EINTR) {
                return errno;
            }
            if (written > 0) {
                bytes += written;
                size -= static_cast<std::size_t>(written);
            }
        }
        return 0;
    }

    int become(const fs::path& target) {
        if (close(std::exchange(mFile, -1)) != 0 || rename(mPath.c_str(), target.c_str()) != 0) {
            return errno;
        }
        mIsThere = false;
        return 0;
    }

private:
    fs::path mPath;
    int mFile = -1;
    int mError = 0;
    bool mIsThere = false;
};

// Where the bytes go in the end.
fs::path followed(const fs::path& target) {
    std::error_code ignored;
    fs::path end = fs::is_symlink(target, ignored) ? fs::weakly_canonical(target, ignored)
                                                   : fs::absolute(target, ignored);
    return end.empty() ? target : end;
}

} // namespace

void checkReplaceable(const fs::path& target) {
    const fs::path end = followed(target);
    std::error_code failure;
    const fs::file_status status = fs::status(end, failure);
    if (fs::is_directory(status)) {
        refuse(target, "it is a directory");
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        refuse(target, "it is not a plain file");
    }
    if (fs::exists(status) && access(end.c_str(), W_OK) != 0) {
        refuse(target, errno);
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

void replaceFile(const fs::path& target, const void* bytes, std::size_t size) {
    checkReplaceable(target);
    const fs::path end = followed(target);
    const SignalsHeld held;
    Temporary temporary(end);
    int error = temporary.error();
    if (error == 0) {
        error = temporary.write(static_cast<const char*>(bytes), size);
    }
    if (error == 0) {
        error = temporary.become(end);
    }
    if (error != 0) {
        refuse(target, error);
    }
}

} // namespace Vexorel::PrismDrift::Host
