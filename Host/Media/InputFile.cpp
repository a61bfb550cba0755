#include "Host/Media/InputFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <iterator>
#include <new>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Vexorel::PrismDrift::Host {

namespace fs = std::filesystem;

InputFile::InputFile(const fs::path& file, const std::atomic<bool>* isStopped)
    : mIsStopped(isStopped) {
    constexpr int bufferSize = 1 << 16;
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
    if (buffer != nullptr) {
        mContext = avio_alloc_context(buffer, bufferSize, 0, this, &read, nullptr, nullptr);
    }
    if (mContext == nullptr) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    try {
        open(file);
    } catch (...) { // no destructor runs
        av_free(mContext->buffer);
        avio_context_free(&mContext);
        throw;
    }
}

InputFile::~InputFile() {
    av_free(mContext->buffer); // which may be another one by now
    avio_context_free(&mContext);
    if (mDescriptor != STDIN_FILENO) {
        close(mDescriptor);
    }
}

void InputFile::open(const fs::path& file) {
    if (file == "-") {
        return;
    }
    do {
        mDescriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    } while (mDescriptor < 0 && errno == EINTR && !isStopped());
    struct stat status = {};
    if (mDescriptor < 0) {
        failed(errno);
    } else if (fstat(mDescriptor, &status) == 0 &&
               (S_ISREG(status.st_mode) || S_ISBLK(status.st_mode))) {
        mContext->seek = &seek;
        mContext->seekable = AVIO_SEEKABLE_NORMAL;
    }
    check();
}

void InputFile::check() const {
    if (mError != 0) {
        throw InputFailure(std::generic_category().message(mError));
    }
}

int InputFile::read(void* opaque, std::uint8_t* bytes, int size) {
    auto& self = *static_cast<InputFile*>(opaque);
    while (!self.isStopped()) {
        const ssize_t count = ::read(self.mDescriptor, bytes, static_cast<std::size_t>(size));
        if (count >= 0) {
            const auto end = std::make_reverse_iterator(bytes);
            const auto last = std::find_if(std::make_reverse_iterator(bytes + count), end,
                                           [](std::uint8_t byte) { return byte != 0; });
            self.mIsEmpty = self.mIsEmpty && count == 0;
            self.mLastByte = last != end ? *last : self.mLastByte;
            return count > 0 ? static_cast<int>(count) : AVERROR_EOF;
        }
        if (errno == EAGAIN) { // another program has made it so
            pollfd waiting = {self.mDescriptor, POLLIN, 0};
            poll(&waiting, 1, -1);
        } else if (errno != EINTR) {
            return self.failed(errno);
        }
    }
    return self.failed(EINTR);
}

std::int64_t InputFile::seek(void* opaque, std::int64_t offset, int whence) {
    auto& self = *static_cast<InputFile*>(opaque);
    if ((whence & AVSEEK_SIZE) != 0) {
        struct stat status = {};
        return fstat(self.mDescriptor, &status) == 0 ? status.st_size : self.failed(errno);
    }
    const off_t place = lseek(self.mDescriptor, offset, whence);
    if (place < 0 && errno == EINVAL) { // a damaged file has asked for no place at all
        return AVERROR(EINVAL);
    }
    return place < 0 ? self.failed(errno) : place;
}

int InputFile::failed(int error) {
    mError = mError != 0 ? mError : error;
    return AVERROR(error);
}

} // namespace Vexorel::PrismDrift::Host
