#include "Host/Media/VideoDecoder.h"

#include "Host/Library/Error.h"
#include "Host/Media/EmptyParts.h"
#include "Host/Media/InputFormats.h"

#include <string_view>

namespace Vexorel::PrismDrift::Host {
namespace {

// VP8 and VP9 keep alpha beside the picture, which only libvpx decodes.
const AVCodec* findDecoder(const AVStream& stream) {
    const AVCodecID codec = stream.codecpar->codec_id;
    if (!isDecoded(codec)) {
        throw Error(std::string("its format, ") + avcodec_get_name(codec) + ", isn't read");
    }
    const AVDictionaryEntry* alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
    const AVCodec* decoder = nullptr;
    if (alpha != nullptr && std::string_view(alpha->value) == "1") {
        if (codec == AV_CODEC_ID_VP9) {
            decoder = avcodec_find_decoder_by_name("libvpx-vp9");
        } else if (codec == AV_CODEC_ID_VP8) {
            decoder = avcodec_find_decoder_by_name("libvpx");
        }
    }
    decoder = decoder != nullptr ? decoder : avcodec_find_decoder(codec);
    if (decoder == nullptr) {
        throw Error(std::string("there is no decoder for ") + avcodec_get_name(codec));
    }
    return decoder;
}

// Whether the decoder may report every irregularity as an error. Those for stills may, but TIFF's
// takes a tag that it doesn't know for one; in video, those of pictures that stand alone.
bool isStrict(AVCodecID codec, ClipKind kind) {
    if (kind == ClipKind::Still) {
        return codec != AV_CODEC_ID_TIFF;
    }
    for (const AVCodecID picture : {AV_CODEC_ID_PNG, AV_CODEC_ID_APNG, AV_CODEC_ID_MJPEG,
                                    AV_CODEC_ID_GIF, AV_CODEC_ID_WEBP, AV_CODEC_ID_BMP}) {
        if (codec == picture) {
            return true;
        }
    }
    return false;
}

// Whether the decoder writes all of each frame, into buffers that it lets others provide.
bool writesWholeFrames(const AVCodec& decoder, ClipKind kind) {
    const AVCodecDescriptor* codec = avcodec_descriptor_get(decoder.id);
    const bool standsAlone = codec != nullptr && (codec->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
    return (kind == ClipKind::Still || standsAlone) &&
           (decoder.capabilities & AV_CODEC_CAP_DR1) != 0;
}

} // namespace

VideoDecoder::VideoDecoder(const AVStream& stream, ClipKind kind, const ClipInput& input,
                           bool mayStartBroken)
    : mData(stream.codecpar->codec_id, kind, input),
      mSize(stream.codecpar->codec_id, input.limits.pixels),
      mIsStill(kind == ClipKind::Still),
      mMayStartBroken(mayStartBroken) {
    const AVCodec* decoder = findDecoder(stream);
    mContext = owned(avcodec_alloc_context3(decoder));
    checkResult(avcodec_parameters_to_context(mContext.get(), stream.codecpar));
    mData.limit(*mContext);
    mContext->pkt_timebase = stream.time_base;
    mContext->max_pixels = mSize.pixels();
    if (isStrict(decoder->id, kind)) {
        mContext->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
    }
    mIsEachFrameWhole = writesWholeFrames(*decoder, kind);
    mContext->opaque = this;
    mContext->get_buffer2 = &newBuffer;
    // Threads work on the slices of one frame, never on several frames: those give a frame before
    // its damage is known, and log on threads of their own. A still is decoded on this one.
    mContext->thread_type = FF_THREAD_SLICE;
    mContext->thread_count = kind == ClipKind::Still ? 1 : 0; // 0: as many as processors
    checkResult(avcodec_open2(mContext.get(), decoder, nullptr));
}

int VideoDecoder::newBuffer(AVCodecContext* context, AVFrame* frame, int flags) {
    auto& decoder = *static_cast<VideoDecoder*>(context->opaque);
    if (!decoder.mSize.allows(*frame)) {
        return AVERROR_INVALIDDATA;
    }
    const int result = avcodec_default_get_buffer2(context, frame, flags);
    if (result >= 0 && decoder.mIsEachFrameWhole) {
        fillEmptyFrame(*frame);
    }
    return result;
}

void VideoDecoder::send(const AVPacket* packet) {
    if (packet == nullptr) {
        check(avcodec_send_packet(mContext.get(), nullptr));
        return;
    }
    mSize.add(*packet);
    const int sent = avcodec_send_packet(mContext.get(), &mData.checked(*packet));
    if (!isSkipped(sent)) {
        check(sent);
    }
}

AVFrame* VideoDecoder::receive() {
    int received = 0;
    do {
        received = avcodec_receive_frame(mContext.get(), mFrame.get());
    } while (isSkipped(received));
    mHasEnded = received == AVERROR_EOF;
    if (received == AVERROR(EAGAIN) || (mHasEnded && mHasGivenFrame)) {
        return nullptr;
    }
    check(mHasEnded ? AVERROR_INVALIDDATA : received);
    checkWhole();
    mData.limit(*mFrame);
    if (mContext->codec_id == AV_CODEC_ID_WEBP) { // so says the format; the decoder says nothing
        mFrame->chroma_location = AVCHROMA_LOC_CENTER;
    }
    mHasGivenFrame = true;
    return mFrame.get();
}

void VideoDecoder::check(int result) const {
    if (result < 0) {
        mSize.throwIfRefused();
    }
    if (result == AVERROR_INVALIDDATA) {
        throw Error((mHasGivenFrame ? "it is damaged or cut off ("
                                    : "it is damaged, cut off or no picture at all (") +
                    reasonFor(result) + ")");
    }
    checkResult(result);
}

void VideoDecoder::checkWhole() const {
    // The decoder of FFV1 repairs a damaged slice, and does no more than log it.
    const bool isRepaired = mContext->codec_id == AV_CODEC_ID_FFV1 &&
                            firstLoggedError().find("CRC") != std::string::npos;
    if ((mFrame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || mFrame->decode_error_flags != 0 ||
        isRepaired) {
        throw Error("it is damaged");
    }
    // A decoder that complains and goes on has made something up.
    if (mIsStill && !firstLoggedError().empty()) {
        throw Error("it is damaged (" + firstLoggedError() + ")");
    }
    if (mIsStill && !loggedMissingFeature().empty()) {
        throw Error("its decoder doesn't know " + loggedMissingFeature());
    }
    if (mIsEachFrameWhole && hasEmptyPart(*mFrame)) {
        throw Error("the decoder left a part of the picture empty: it is damaged, or stored in a "
                    "way that isn't read");
    }
}

bool VideoDecoder::isSkipped(int result) const {
    return result == AVERROR_INVALIDDATA && mMayStartBroken && !mHasGivenFrame;
}

} // namespace Vexorel::PrismDrift::Host
