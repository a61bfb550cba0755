#include "Host/Media/Picture.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/Demuxer.h"
#include "Host/Media/FrameProperties.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/StillLibrary.h"
#include "Host/Media/StillReader.h"
#include "Host/Media/StillsModuleLoader.h"
#include "Host/Media/VideoDecoder.h"
#include "Host/Stills/Still.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

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

Picture readByFFmpeg(const fs::path& file, const ReadLimits& limits,
                     const PictureRequest& request) {
    if (!request.layer.empty()) {
        throw Error("it has no layer '" + request.layer + "': pictures of this format have none");
    }
    ClipInput input;
    input.file = file;
    input.limits = limits;
    input.picture = request;
    Demuxer demuxer(input);
    if (!isPlainFile(file)) { // whose end isn't known, so that the packets need a parser
        demuxer.findStreams();
    }
    const AVStream& stream = demuxer.pictureStream();
    VideoDecoder decoder(stream, ClipKind::Still, input);
    const AVFrame& frame = firstFrame(demuxer, stream, decoder);
    const Depth depth = depthOf(static_cast<AVPixelFormat>(frame.format));
    const PF_PixelFormat format = worldFormatFor(request.worlds, depth);
    const StoredLayout layout = decoder.layout();
    std::vector<std::uint8_t> profile = profileOf(frame);
    if (profile.empty() && limits.warn &&
        av_frame_get_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE) != nullptr) {
        limits.warn(Error("of " + nameOf(file) + " " + otherProfile));
    }
    return {.world = asShown(worldFromFrame(frame, format), layout),
            .colorProfile = std::move(profile),
            .source = propertiesOf(frame),
            .depth = depth,
            .isAssociated = layout.isAlphaAssociated && format == PF_PixelFormat_ARGB128,
            .readBy = std::string("FFmpeg, ") + avcodec_get_name(stream.codecpar->codec_id)};
}

// Both libraries may leave out the same.
ReadLimits warningOnce(const ReadLimits& limits) {
    ReadLimits once = limits;
    if (limits.warn) {
        once.warn = [warn = limits.warn,
                     told = std::make_shared<std::set<std::string>>()](const Error& left) {
            if (told->insert(left.what()).second) {
                warn(left);
            }
        };
    }
    return once;
}

// The picture with what stands beside its pixels, and a JPEG's pixels. The other library is loaded
// only now, when the file is known to be whole.
Picture withMetadata(Picture&& decoded, const fs::path& file, const StillLibrary& library,
                     const ReadLimits& limits, const PictureRequest& request) {
    const std::string missing = reasonWithoutStills();
    if (missing.empty()) {
        return readStillPicture(file, library.openImageIOFormat, limits, request,
                                std::move(decoded));
    }
    if (limits.warn) {
        limits.warn(Error("of " + nameOf(file) + " only the pixels are read: " + missing));
    }
    return std::move(decoded);
}

// Without the module of the other library: what FFmpeg shows right, with its pixels alone.
Picture readWithoutModule(const fs::path& file, const ReadLimits& limits,
                          const PictureRequest& request, const std::string& reason) {
    std::optional<Picture> picture;
    try {
        picture = readByFFmpeg(file, limits, request);
    } catch (const Error&) {
        throw Error(reason);
    }
    if (picture->depth.isDeep()) {
        throw Error(reason);
    }
    if (limits.warn) {
        limits.warn(Error("of " + nameOf(file) + " only the pixels are read: " + reason));
    }
    return std::move(*picture);
}

} // namespace

Picture readPicture(const fs::path& file, const ReadLimits& limits, const PictureRequest& request) {
    try {
        checkReadable(file);
        const StillLibrary library = libraryFor(file);
        if (library.openImageIOFormat.empty()) {
            return readByFFmpeg(file, limits, request);
        }
        if (library.isCheckedByFFmpeg) {
            const ReadLimits once = warningOnce(limits);
            return withMetadata(readByFFmpeg(file, once, request), file, library, once, request);
        }
        if (const std::string missing = reasonWithoutStills(); !missing.empty()) {
            return readWithoutModule(file, limits, request, missing);
        }
        return readStillPicture(file, library.openImageIOFormat, limits, request);
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotRead(file));
    }
}

} // namespace Vexorel::PrismDrift::Host
