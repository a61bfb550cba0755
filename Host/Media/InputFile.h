#pragma once

/// What FFmpeg's libraries read from. Internal to the media library.

#include "Host/Library/Error.h"
#include "Host/Media/FFmpeg.h"

#include <atomic>
#include <cstdint>
#include <filesystem>

namespace Vexorel::PrismDrift::Host {

/// The disk, or whatever else holds a file, failed; the file itself may be fine.
class InputFailure : public Error {
public:
    using Error::Error;
};

/// A file, which may be gone back in, or a pipe. A format's reader may take a call that failed for
/// the end, or do without what it would have read, so the first failure is kept.
class InputFile {
public:
    /// Opens the file, "-" being standard input, and waits for the other end of a named pipe. Once
    /// `isStopped` is set, if there is such, a wait fails as soon as a signal ends it. Throws
    /// InputFailure with the reason alone.
    InputFile(const std::filesystem::path& file, const std::atomic<bool>* isStopped);
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    AVIOContext& context() { return *mContext; }

    /// Throws InputFailure with the reason alone if a call has failed.
    void check() const;

    bool isEmpty() const { return mIsEmpty; } ///< as far as it was read

    /// The last byte that was read and isn't zero.
    std::uint8_t lastByte() const { return mLastByte; }

private:
    static int read(void* opaque, std::uint8_t* bytes, int size);
    static std::int64_t seek(void* opaque, std::int64_t offset, int whence);
    void open(const std::filesystem::path& file);
    bool isStopped() const { return mIsStopped != nullptr && *mIsStopped; }
    int failed(int error);

    const std::atomic<bool>* mIsStopped;
    int mDescriptor = 0; // standard input, which is left open
    int mError = 0;
    bool mIsEmpty = true;
    std::uint8_t mLastByte = 0;
    AVIOContext* mContext = nullptr;
};

} // namespace Vexorel::PrismDrift::Host
