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
    /// Adds to the new file the metadata of the clip's file, and, unless only a part of its frames
    /// is written, its streams and chapters. Warns of what the new file has no place for. The clip
    /// has a container, which is not used afterwards; the muxer is.
    StreamCopier(const ClipProperties& clip, bool isPartial, Muxer& muxer,
                 const ClipOutput& output);

    /// Before the header: the new file begins with this frame of the clip, so its time code does.
    void advanceTimecodes(std::int64_t frame);

    /// Where the whole clip is written: writes a packet of the clip's file if its stream is one of
    /// those that are handed on.
    void write(const ClipPacket& packet);

private:
    struct Stream {
        AVRational unit;        // of the times in the clip's file
        AVStream* to = nullptr; // in the new file, null for one that is left out
    };

    void addStreams(const AVFormatContext& source, int videoStream);
    void warnOfLostStreams(const AVFormatContext& source, int videoStream) const;
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
