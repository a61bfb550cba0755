#include "Host/Media/PictureData.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/Demuxer.h"
#include "Host/Media/FrameProperties.h"
#include "Host/Media/JpegMarkers.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/TiffLayout.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Vexorel::PrismDrift::Host {

void warnOfLargeMetadata(const std::filesystem::path& file, const ReadLimits& limits) {
    constexpr std::int64_t mebibyte = 1 << 20;
    if (limits.warn) {
        limits.warn(ClipError(ClipReason::BeyondLimit, {ClipSetting::MaxMetadata},
                              "of " + nameOf(file) + " texts or profiles beyond " +
                                  std::to_string(limits.metadata / mebibyte) +
                                  " MiB are left out"));
    }
}

void warnOfDamagedMetadata(const std::filesystem::path& file, const ReadLimits& limits) {
    if (limits.warn) {
        limits.warn(Error("of " + nameOf(file) + " damaged metadata are left out"));
    }
}

PictureData::PictureData(AVCodecID codec, ClipKind kind, const ClipInput& input)
    : mCodec(codec),
      mKind(kind),
      mFile(input.file),
      mLimits(input.limits),
      mHasOtherReader(kind == ClipKind::Still && isPlainFile(mFile)) {}

// An animated PNG's header is kept apart from its frames.
void PictureData::limit(AVCodecContext& context) {
    if (!isPng() || context.extradata_size <= 0) {
        return;
    }
    noteMetadata(context.extradata, static_cast<std::size_t>(context.extradata_size));
    const auto png = smallerPng(context.extradata, static_cast<std::size_t>(context.extradata_size),
                                mLimits.metadata);
    if (note(png)) {
        std::copy(png->bytes.begin(), png->bytes.end(), context.extradata);
        context.extradata_size = static_cast<int>(png->bytes.size());
    }
    mPngStart = pngStart(context.extradata, static_cast<std::size_t>(context.extradata_size));
}

bool PictureData::note(const std::optional<SmallerPng>& png) {
    mLarge.isThere |= png && png->wasLarge;
    mDamaged.isThere |= png && png->wasDamaged;
    return png.has_value();
}

void PictureData::noteMetadata(const std::uint8_t* data, std::size_t size) {
    if (!mHasOtherReader && !mMetadata.isTold && !mMetadata.isThere) {
        mMetadata.isThere = isPng() ? hasPngMetadata(data, size)
                                    : mCodec == AV_CODEC_ID_MJPEG && hasJpegMetadata(data, size);
    }
}

const AVPacket& PictureData::checked(const AVPacket& packet) {
    const auto size = static_cast<std::size_t>(packet.size);
    const AVPacket* result = &packet;
    noteMetadata(packet.data, size);
    if (mCodec == AV_CODEC_ID_TIFF) {
        mTiff = tiffLayout(packet.data, size);
    } else if (mCodec == AV_CODEC_ID_MJPEG && mKind == ClipKind::Still) {
        checkJpeg(packet.data, size);
    } else if (isPng()) {
        checkPng(mPngStart, packet.data, size);
        if (const auto png = smallerPng(packet.data, size, mLimits.metadata); note(png)) {
            mSmaller = owned(av_packet_alloc());
            checkResult(av_new_packet(mSmaller.get(), static_cast<int>(png->bytes.size())));
            checkResult(av_packet_copy_props(mSmaller.get(), &packet));
            std::copy(png->bytes.begin(), png->bytes.end(), mSmaller->data);
            result = mSmaller.get();
        }
    }
    warn();
    return *result;
}

void PictureData::limit(AVFrame& frame) {
    const auto isKept = [](const AVFrameSideData& data) {
        return data.type == AV_FRAME_DATA_DISPLAYMATRIX;
    };
    const bool isOfInks =
        mCodec == AV_CODEC_ID_MJPEG && carriesAlpha(static_cast<AVPixelFormat>(frame.format));
    if (isOfInks && !mHasOtherReader) { // the decoder rounds them, and takes some for others
        throw Error("a JPEG of inks (CMYK) is read of a file of its own alone");
    }
    std::int64_t bytes = 0;
    for (int i = 0; i < frame.nb_side_data; ++i) {
        const AVFrameSideData& data = *frame.side_data[i];
        bytes += isKept(data) ? 0 : static_cast<std::int64_t>(data.size);
    }
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(frame.metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        bytes += static_cast<std::int64_t>(std::strlen(entry->key) + std::strlen(entry->value));
    }
    mDamaged.isThere |= hasLoggedDamagedMetadata();
    mUnknown.isThere |= !loggedMissingFeature().empty();
    if (bytes <= mLimits.metadata) {
        warn();
        return;
    }
    av_dict_free(&frame.metadata);
    for (int i = frame.nb_side_data - 1; i >= 0; i = std::min(i, frame.nb_side_data) - 1) {
        if (!isKept(*frame.side_data[i])) {
            av_frame_remove_side_data(&frame, frame.side_data[i]->type);
        }
    }
    mLarge.isThere = true;
    warn();
}

StoredLayout PictureData::layoutOf(const AVFrame& frame) const {
    return mCodec == AV_CODEC_ID_TIFF
               ? mTiff
               : StoredLayout{orientationOf(frame), mCodec == AV_CODEC_ID_EXR};
}

void PictureData::warn() {
    if (!mLimits.warn) {
        return;
    }
    if (mLarge.isThere && !std::exchange(mLarge.isTold, true)) {
        warnOfLargeMetadata(mFile, mLimits);
        mMetadata.isTold = true; // by this line, if there are any
    }
    if (mDamaged.isThere && !std::exchange(mDamaged.isTold, true)) {
        warnOfDamagedMetadata(mFile, mLimits);
    }
    if (mMetadata.isThere && !std::exchange(mMetadata.isTold, true)) {
        mLimits.warn(Error("of " + nameOf(mFile) +
                           " EXIF, XMP, IPTC and texts of its pictures are left out: only those "
                           "of pictures in files are carried along"));
    }
    if (mUnknown.isThere && !std::exchange(mUnknown.isTold, true)) {
        mLimits.warn(Error("of " + nameOf(mFile) + " is left out what its decoder doesn't know: " +
                           loggedMissingFeature()));
    }
}

} // namespace Vexorel::PrismDrift::Host
