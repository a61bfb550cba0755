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

/// A frame rate or a unit of time; 0/1 where it isn't known.
struct Ratio {
    int numerator = 0, denominator = 1;
};

/// The frame nearest to a time at a steady rate; of two equally near ones the even one.
std::int64_t nearestFrame(double seconds, const Ratio& frameRate);

/// The frame rate in a text as ffmpeg takes it: "25", "30000/1001", "ntsc". Throws Error.
Ratio frameRateFrom(const std::string& text);

/// What happens where a sequence lacks a picture: an error, no frame, or the picture before again.
enum class Missing { Refuse, Skip, Hold };

struct ClipInput {
    std::filesystem::path file; ///< a picture, a pattern, a video file, or "-": standard input
    /// By ffmpeg's names and notation, for input that doesn't describe itself; otherwise empty.
    /// `frameRate` also applies to a sequence, which has 25 frames a second unless given.
    std::string format, videoSize, pixelFormat, frameRate;
    Missing missing = Missing::Refuse;
    /// The frames to read: a sequence's by the numbers in its names, others counted from 0.
    FrameNumbers frames;
    PictureRequest picture;
    ReadLimits limits;
};

struct ClipOutput {
    std::filesystem::path file; ///< as for an input; "-" is `standardOutput`
    int standardOutput = 1;     ///< the descriptor
    /// A container or a picture's ending, a codec, a pixel format. Empty ones are chosen to suit
    /// the clip.
    std::string format, codec, pixelFormat;
    std::optional<double> quality; ///< 0 to 100, for codecs with loss
    /// One of the codec's own presets, of its speed against the size of the file; empty for a
    /// usual one.
    std::string encoderPreset;
    /// What pixels are written with, as in PictureOutput.
    std::optional<Depth> depth = {};
    bool dithers = false;
    /// Called with one line for each thing of the clip that gets lost, by `openClipWriter` and then
    /// on the thread that writes.
    std::function<void(const std::string&)> warn;
};

/// One frame.
struct ClipFrame {
    Picture picture;
    std::int64_t index = 0;  ///< in the whole input, from 0, chosen or not
    std::int64_t number = 0; ///< in its file's name; the index where there is none
    std::int64_t time = 0;   ///< in `ClipProperties::timeBase`, from 0 at the input's start
    std::int64_t duration = 0;
};

/// A piece of sound, subtitles or other data, which is handed on as it is.
struct ClipPacket {
    std::shared_ptr<AVPacket> packet;
};

using ClipItem = std::variant<ClipFrame, ClipPacket>;

enum class ClipKind { Still, Sequence, Video };

struct ClipProperties {
    ClipKind kind = ClipKind::Still;
    Ratio frameRate{25, 1};
    Ratio timeBase{1, 25};
    /// How many frames `next` will give, if that is known without reading them all; for progress.
    std::optional<std::int64_t> expected;
    /// A video's file with all its streams, valid as long as the reader. Null for pictures.
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
    /// The next frame or packet in the file's order; nothing at the end. Throws Error, which names
    /// the file, the frame and the reason. Where frames are chosen that don't exist, it throws
    /// after the last one that does.
    virtual std::optional<ClipItem> next() = 0;
    /// The frames of the whole input, chosen or not; nothing for a pipe. May read through the file.
    virtual std::optional<std::int64_t> frameCount() = 0;
    /// The index of the frame nearest to this time; of two equally near ones the even one, as MLT
    /// rounds. May read through the file.
    virtual std::int64_t frameAt(double seconds) = 0;
    /// Makes a `next` that waits for a pipe give up, once a signal ends its wait. From any thread.
    virtual void stop() {}
};

/// Throws Error for an input that no file would suit: settings whose values are unknown or missing,
/// or a name that is no pattern.
void checkClipInput(const ClipInput& input);

/// Throws Error as `checkClipInput` and the readers do, a ClipError where a setting is to blame.
std::unique_ptr<ClipReader> openClip(const ClipInput& input);

/// Writes a clip. One thread at a time.
class ClipWriter {
public:
    ClipWriter() = default;
    ClipWriter(const ClipWriter&) = delete;
    ClipWriter& operator=(const ClipWriter&) = delete;
    /// Without `finish` no video file appears; of a sequence, the pictures written so far stay.
    virtual ~ClipWriter() = default;

    /// In the order of the times. Throws Error, which names the output and the reason.
    virtual void write(ClipItem&& item) = 0;
    /// After the last item. Throws Error.
    virtual void finish() = 0;
};

/// Checks what can be known before any work is done: throws Error for a format, a codec or a place
/// that can't be written, and for a clip that the output can't hold. The reader must outlive the
/// writer.
std::unique_ptr<ClipWriter> openClipWriter(const ClipOutput& output, const ClipInput& input,
                                           const ClipReader& reader);

/// Throws Error for an output that is wrong for every input: an unknown ending, format, codec or
/// pixel format, or settings that exclude each other.
void checkClipOutput(const ClipOutput& output);

} // namespace Vexorel::PrismDrift::Host
