#include "Host/Media/WrittenFile.h"

#include "Host/Library/Error.h"
#include "Host/Media/ClipError.h"
#include "Host/Media/Demuxer.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

std::string sizeOf(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

ClipInput inputFor(int descriptor, const Container& container, const AVCodecContext& encoder) {
    ClipInput input;
    input.file = "/proc/self/fd/" + std::to_string(descriptor);
    input.format = container.name;
    if (input.format == "rawvideo") { // which doesn't describe itself
        input.videoSize = sizeOf(encoder.width, encoder.height);
        input.pixelFormat = av_get_pix_fmt_name(encoder.pix_fmt);
    }
    return input;
}

std::int64_t countPictures(Demuxer& demuxer) {
    const AVStream& stream = *demuxer.context().streams[0];
    if (stream.nb_frames > 0) {
        return stream.nb_frames;
    }
    demuxer.context().flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    auto packet = owned(av_packet_alloc());
    std::int64_t count = 0;
    while (demuxer.read(*packet)) {
        count += packet->stream_index == 0 ? 1 : 0;
        av_packet_unref(packet.get());
    }
    if (!demuxer.endError().empty()) {
        throw Error(demuxer.endError());
    }
    return count;
}

void expectSame(const char* name, const std::string& found, const std::string& expected) {
    if (found != expected) {
        throw Error(std::string("its ") + name + " is " + found + ", not " + expected);
    }
}

} // namespace

void checkWrittenFile(int descriptor, const Container& container, const AVCodecContext& encoder,
                      std::int64_t pictures) {
    try {
        Demuxer demuxer(inputFor(descriptor, container, encoder));
        if (demuxer.context().nb_streams == 0) {
            throw Error("it has no picture");
        }
        const AVCodecParameters& found = *demuxer.context().streams[0]->codecpar;
        // The encoder of yuv4mpegpipe hands frames on as they are.
        const AVCodecID codec = encoder.codec_id == AV_CODEC_ID_WRAPPED_AVFRAME
                                    ? AV_CODEC_ID_RAWVIDEO
                                    : encoder.codec_id;
        expectSame("codec", avcodec_get_name(found.codec_id), avcodec_get_name(codec));
        expectSame("size", sizeOf(found.width, found.height),
                   sizeOf(encoder.width, encoder.height));
        expectSame("number of pictures", std::to_string(countPictures(demuxer)),
                   std::to_string(pictures));
    } catch (const std::exception&) {
        rethrowWithPrefix("what was written can't be read back: ");
    }
}

} // namespace Vexorel::PrismDrift::Host
