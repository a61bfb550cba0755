#include "Host/Media/Picture.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/Demuxer.h"
#include "Host/Media/FrameProperties.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/VideoDecoder.h"

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

const AVFrame& firstFrame(Demuxer& demuxer, const AVStream& stream, VideoDecoder& decoder) {
    auto packet = owned(av_packet_alloc());
    for (;;) {
        const bool isEnd = !demuxer.read(*packet);
        if (isEnd || packet->stream_index == stream.index) {
            decoder.send(isEnd ? nullptr : packet.get());
            if (const AVFrame* frame = decoder.receive()) {
                return *frame;
            }
        }
        av_packet_unref(packet.get());
    }
}

} // namespace

Picture readPicture(const fs::path& file, const ReadLimits& limits, const PictureRequest& request) {
    try {
        ClipInput input;
        input.file = file;
        input.limits = limits;
        input.picture = request;
        Demuxer demuxer(input);
        const AVStream& stream = demuxer.pictureStream();
        VideoDecoder decoder(stream, ClipKind::Still, input);
        const AVFrame& frame = firstFrame(demuxer, stream, decoder);
        World world = asShown(worldFromFrame(frame), decoder.layout());
        return {std::move(world), profileOf(frame), propertiesOf(frame),
                depthOf(static_cast<AVPixelFormat>(frame.format))};
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotRead(file));
    }
}

} // namespace Vexorel::PrismDrift::Host
