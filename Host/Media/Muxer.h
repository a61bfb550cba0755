#pragma once

/// Puts encoded packets together into a video file or pipe. Internal to the media library.

#include "Host/Media/FFmpeg.h"
#include "Host/Media/VideoFormats.h"

namespace Vexorel::PrismDrift::Host {

/// Its functions throw Error with the reason alone.
class Muxer {
public:
    /// Writes to an open descriptor, which stays open. A file's is seekable, a pipe's is not. The
    /// new file has one stream, for the picture.
    Muxer(const Container& container, int descriptor, bool isSeekable);
    Muxer(const Muxer&) = delete;
    Muxer& operator=(const Muxer&) = delete;
    ~Muxer();

    const Container& container() const { return mContainer; }
    AVFormatContext& context() { return *mContext; }
    AVStream& picture() { return *mContext->streams[0]; }
    std::int64_t pictures() const { return mPictures; } ///< that were written
    AVStream& addStream();

    /// Describes the picture's stream, its times in the encoder's unit, and writes the header. All
    /// streams and metadata are there by then.
    void writeHeader(const AVCodecContext& encoder);

    /// Takes what is in the packet, whose times are in `unit`. It may be written later, in the
    /// order of all streams' times.
    void write(AVPacket& packet, const AVStream& stream, AVRational unit);

    /// Writes all that is left, and the index.
    void finish();

private:
    class Descriptor;
    struct ContextDeleter {
        void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    };

    void check(int result) const;

    const Container& mContainer;
    std::unique_ptr<Descriptor> mDescriptor;
    std::unique_ptr<AVFormatContext, ContextDeleter> mContext;
    std::int64_t mPictures = 0;
};

} // namespace Vexorel::PrismDrift::Host
