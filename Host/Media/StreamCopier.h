#pragma once

/// Hands on, as it is, what a video file holds beside its picture: sound, subtitles, chapters and
/// metadata. Internal to the media library.

#include "Host/Media/Clip.h"
#include "Host/Media/Muxer.h"

#include <vector>

namespace Vexorel::PrismDrift::Host {

/// Its functions throw Error with the reason alone.
class StreamCopier {
public:
    /// Adds the metadata of the clip's file to the new one, and its streams and chapters if the
    /// whole clip is written. Warns of what the new file has no place for. Of the arguments, the
    /// muxer and the output must outlive the copier.
    StreamCopier(const ClipProperties& clip, bool isPartial, Muxer& muxer,
                 const ClipOutput& output);

    /// Moves the time codes to those of this frame of the clip, with which the new file begins.
    /// Called before the header is written.
    void advanceTimecodes(std::int64_t frame);

    /// Writes a packet of the clip's file if its stream is handed on. Called only where the whole
    /// clip is written.
    void write(const ClipPacket& packet);

private:
    struct Stream {
        AVRational unit;        // of the times in the clip's file
        AVStream* to = nullptr; // in the new file, null for one that is left out
    };

    void addStreams(const AVFormatContext& source, int videoStream);
    void warnOfLostStreams(const AVFormatContext& source, int videoStream) const;
    std::string reasonToLeaveOut(const AVStream& stream) const; // empty: it is handed on
    void addStream(const AVStream& from);
    void copyChapters(const AVFormatContext& source);
    void advanceTimecode(AVDictionary*& metadata, std::int64_t frame) const;

    Muxer& mMuxer;
    const ClipOutput& mOutput;
    AVRational mFrameRate;
    std::int64_t mStart = 0;      // of the times in the clip's file, in microseconds
    std::vector<Stream> mStreams; // of the clip's file
    bool mHasWarnedOfLateStream = false;
};

} // namespace Vexorel::PrismDrift::Host
