#pragma once

/// Clips, read and written frame by frame: stills, sequences of pictures, video files and pipes.

#include "Host/Media/FrameNumbers.h"
#include "Host/Media/Picture.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

struct AVFormatContext;
struct AVPacket;

namespace Vexorel::PrismDrift::Host {

/// Of frame rates and units of time; 0/1 where none is known.
struct Ratio {
    int numerator = 0, denominator = 1;
};

/// The frame nearest to a time at a steady rate, of two as near the even one.
std::int64_t nearestFrame(double seconds, const Ratio& frameRate);

/// The frame rate in a text as ffmpeg takes it: "25", "30000/1001", "ntsc". Throws Error.
Ratio frameRateFrom(const std::string& text);

/// What to do about a picture that a sequence lacks.
enum class Missing { Refuse, Skip, Hold };

struct ClipInput {
    std::filesystem::path file; ///< a picture, a pattern, a video file, or "-": standard input
    /// As ffmpeg names and writes them, for pipes and files that don't say; empty for what the file
    /// says. `frameRate` is also that of a sequence, 25 unless given.
    std::string format, videoSize, pixelFormat, frameRate;
    Missing missing = Missing::Refuse;
    /// Those to read: a sequence's by the numbers in its names, others counted from 0.
    FrameNumbers frames;
};

struct ClipOutput {
    std::filesystem::path file; ///< as for an input; "-" is `standardOutput`
    int standardOutput = 1;     ///< the descriptor
    /// A container or a picture's ending, a codec, a pixel format; empty for what suits.
    std::string format, codec, pixelFormat;
    std::optional<double> quality; ///< 0 to 100, for codecs with loss
    /// Told, in one line each, what of the clip gets lost. Called on the thread that writes.
    std::function<void(const std::string&)> warn;
};

/// One frame.
struct ClipFrame {
    Picture picture;
    std::int64_t index = 0;  ///< from 0 at the first of the whole input, read or not
    std::int64_t number = 0; ///< in its file's name, else the index
    std::int64_t time = 0;   ///< in `ClipProperties::timeBase`, from 0 at the input's start
    std::int64_t duration = 0;
};

/// A piece of sound, subtitles or the like, to be handed on as it is.
struct ClipPacket {
    std::shared_ptr<AVPacket> packet;
};

using ClipItem = std::variant<ClipFrame, ClipPacket>;

enum class ClipKind { Still, Sequence, Video };

struct ClipProperties {
    ClipKind kind = ClipKind::Still;
    Ratio frameRate{25, 1};
    Ratio timeBase{1, 25};
    /// How many frames `next` will give, as far as is known without reading them all; for progress.
    std::optional<std::int64_t> expected;
    /// Of a video, valid as long as its reader: what else is in the file.
    const AVFormatContext* container = nullptr;
    int videoStream = -1;
};

/// Reads a clip from its start. One thread at a time.
class ClipReader {
public:
    ClipReader() = default;
    ClipReader(const ClipReader&) = delete;
    ClipReader& operator=(const ClipReader&) = delete;
    virtual ~ClipReader() = default;

    virtual const ClipProperties& properties() const = 0;
    /// In the order of the file; nothing at the end. Throws Error, which names the file, the frame
    /// and the reason. Asked for frames that aren't there, it throws after the last that is.
    virtual std::optional<ClipItem> next() = 0;
    /// Of the whole input, read or not; nothing for a pipe. May read through the file.
    virtual std::optional<std::int64_t> frameCount() = 0;
    /// The index of the frame nearest to this time, of two as near the even one, as MLT rounds. May
    /// read through the file.
    virtual std::int64_t frameAt(double seconds) = 0;
    /// Has a `next` that waits for a pipe give up, once a signal ends its wait. From any thread.
    virtual void stop() {}
};

/// Throws Error as the readers do.
std::unique_ptr<ClipReader> openClip(const ClipInput& input);

/// Writes a clip. One thread at a time.
class ClipWriter {
public:
    ClipWriter() = default;
    ClipWriter(const ClipWriter&) = delete;
    ClipWriter& operator=(const ClipWriter&) = delete;
    /// Without `finish`, a video file is left out and a sequence keeps the pictures written so far.
    virtual ~ClipWriter() = default;

    /// In the order of the times. Throws Error, which names the output and the reason.
    virtual void write(ClipItem&& item) = 0;
    /// After the last item. Throws Error.
    virtual void finish() = 0;
};

/// Checks, before any work is done, what can be known of the output: throws Error for a format, a
/// codec or a place that can't be written, and for a clip that doesn't go into it. The reader must
/// outlive the writer.
std::unique_ptr<ClipWriter> openClipWriter(const ClipOutput& output, const ClipInput& input,
                                           const ClipReader& reader);

/// Throws Error where the output makes no sense whatever the input is: an unknown ending, format,
/// codec, pixel format, or two that exclude each other.
void checkClipOutput(const ClipOutput& output);

} // namespace Vexorel::PrismDrift::Host
