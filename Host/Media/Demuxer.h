#pragma once

/// A file or a pipe, opened by FFmpeg's libraries, and nothing that it refers to. Internal to the
/// media library.

#include "Host/Media/Clip.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/InputFile.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace Vexorel::PrismDrift::Host {

/// Throws Error, with the reason alone, where a file can't be opened, is a directory or is empty.
void checkReadable(const std::filesystem::path& file);

/// Whether it is a file whose bytes can be read more than once. Standard input, "-", is not.
bool isPlainFile(const std::filesystem::path& file);

/// Whether OpenImageIO or FFmpeg takes the file for a single picture. False where it can't tell.
/// Throws Error, which names the file, where the file can't be read.
bool isStillPicture(const std::filesystem::path& file);

/// Its functions throw Error with the reason alone.
class Demuxer {
public:
    /// Opens the input's file with its format, size, pixel format and frame rate.
    explicit Demuxer(const ClipInput& input);
    /// The same with a limit for what the file's header may take, for calls that no other thread
    /// runs beside: FFmpeg's limit is one for the whole process.
    static std::unique_ptr<Demuxer> openAlone(const ClipInput& input);
    Demuxer(const Demuxer&) = delete;
    Demuxer& operator=(const Demuxer&) = delete;
    ~Demuxer() = default;

    AVFormatContext& context() { return *mFormat; }
    const AVFormatContext& context() const { return *mFormat; }

    /// Reads as far into the file as it takes to describe its streams. Once is enough.
    void findStreams();

    /// The stream of the picture, of several the best. Describes the streams if it has to.
    AVStream& pictureStream();

    /// Whether the format is that of a single picture, or of one after the other.
    bool isOfStills() const;

    /// Whether the format may begin in the middle of a stream, with packets that can't be decoded.
    bool mayStartBroken() const;

    /// Gives the next packet. False at the end.
    bool read(AVPacket& packet);

    /// At the end, why it is not the real one, by the errors that were logged: some formats take a
    /// file that is cut off or damaged for one that has ended. Empty for the real one.
    const std::string& endError() const { return mEndError; }

private:
    std::string reasonOfEnd() const;

    void open(const ClipInput& input);
    void check(int result) const;

    std::int64_t mMostPixels;
    std::optional<InputFile> mFile;
    FFmpegPtr<AVFormatContext> mFormat;
    bool mHasFoundStreams = false;
    std::int64_t mPlace = 0;   // in the file, after the last packet
    std::string mEarlyMessage; // the first error that was logged before a packet was read
    std::string mEndError;
};

} // namespace Vexorel::PrismDrift::Host
