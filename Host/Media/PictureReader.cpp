#include "Host/Media/Picture.h"

#include "Host/Library/Error.h"
#include "Host/Media/Demuxer.h"
#include "Host/Media/FrameProperties.h"
#include "Host/Media/PixelConversion.h"

#include <new>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

// Decodes the first picture of one file.
class Decoder {
public:
    explicit Decoder(const fs::path& file) : mDemuxer(file) { openCodec(); }

    FFmpegPtr<AVFrame> firstFrame() {
        auto frame = owned(av_frame_alloc());
        auto packet = owned(av_packet_alloc());
        for (;;) {
            const int read = av_read_frame(&mDemuxer.context(), packet.get());
            if (read < 0 && read != AVERROR_EOF) {
                check(read);
            }
            if (read >= 0 && packet->stream_index != mStream) {
                av_packet_unref(packet.get());
                continue;
            }
            check(avcodec_send_packet(mCodec.get(), read < 0 ? nullptr : packet.get()));
            av_packet_unref(packet.get());
            const int received = avcodec_receive_frame(mCodec.get(), frame.get());
            if (received == 0) {
                break;
            }
            if (received != AVERROR(EAGAIN)) {
                check(received == AVERROR_EOF ? AVERROR_INVALIDDATA : received);
            }
        }
        if ((frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame->decode_error_flags != 0) {
            check(AVERROR_INVALIDDATA);
        }
        return frame;
    }

private:
    void check(int result) const {
        if (result == AVERROR_INVALIDDATA) {
            throw Error("it is damaged, cut off or no picture at all (" + reasonFor(result) + ")");
        }
        checkResult(result);
    }

    void openCodec() {
        mStream = av_find_best_stream(&mDemuxer.context(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        if (mStream < 0 || parameters().codec_id == AV_CODEC_ID_NONE) {
            check(avformat_find_stream_info(&mDemuxer.context(), nullptr));
            mStream =
                av_find_best_stream(&mDemuxer.context(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        }
        if (mStream < 0) {
            throw Error("there is no picture in it");
        }
        const AVCodec* codec = avcodec_find_decoder(parameters().codec_id);
        if (codec == nullptr) {
            throw Error(std::string("there is no decoder for ") +
                        avcodec_get_name(parameters().codec_id));
        }
        mCodec = owned(avcodec_alloc_context3(codec));
        check(avcodec_parameters_to_context(mCodec.get(), &parameters()));
        mCodec->thread_count = 1; // it is one picture, and its messages come on this thread
        // A picture that breaks off is an error; a tag that FFmpeg's TIFF doesn't know is none.
        if (codec->id != AV_CODEC_ID_TIFF) {
            mCodec->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
        }
        mCodec->max_pixels = largestPixelCount();
        check(avcodec_open2(mCodec.get(), codec, nullptr));
    }

    const AVCodecParameters& parameters() const {
        return *mDemuxer.context().streams[mStream]->codecpar;
    }

    Demuxer mDemuxer;
    FFmpegPtr<AVCodecContext> mCodec;
    int mStream = -1;
};

} // namespace

int depthOf(const Picture& picture) {
    return picture.source == nullptr ? 8
                                     : depthOf(static_cast<AVPixelFormat>(picture.source->format));
}

Picture readPicture(const fs::path& file) {
    try {
        Decoder decoder(file);
        const auto frame = decoder.firstFrame();
        World world = worldFromFrame(*frame);
        const Orientation orientation = orientationOf(*frame);
        if (!orientation.upright()) {
            world = turned(world, orientation);
        }
        return {std::move(world), profileOf(*frame), propertiesOf(*frame)};
    } catch (const Error& error) {
        throw Error("cannot read '" + file.string() + "': " + error.what());
    } catch (const std::bad_alloc&) {
        throw Error("cannot read '" + file.string() + "': there is not enough memory");
    }
}

} // namespace Vexorel::PrismDrift::Host
