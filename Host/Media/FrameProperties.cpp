#include "Host/Media/FrameProperties.h"

#include <cstring>
#include <new>

namespace Vexorel::PrismDrift::Host {

std::shared_ptr<const AVFrame> propertiesOf(const AVFrame& frame) {
    auto properties = owned(av_frame_alloc());
    if (av_frame_copy_props(properties.get(), &frame) < 0) {
        throw std::bad_alloc();
    }
    properties->colorspace = knownOr(AVCOL_SPC_UNSPECIFIED, properties->colorspace, AVCOL_SPC_NB);
    properties->color_range =
        knownOr(AVCOL_RANGE_UNSPECIFIED, properties->color_range, AVCOL_RANGE_NB);
    properties->color_primaries =
        knownOr(AVCOL_PRI_UNSPECIFIED, properties->color_primaries, AVCOL_PRI_NB);
    properties->color_trc = knownOr(AVCOL_TRC_UNSPECIFIED, properties->color_trc, AVCOL_TRC_NB);
    properties->chroma_location =
        knownOr(AVCHROMA_LOC_UNSPECIFIED, properties->chroma_location, AVCHROMA_LOC_NB);
    properties->format = frame.format;
    properties->width = frame.width;
    properties->height = frame.height;
    return {properties.release(), FFmpegDeleter()};
}

Orientation orientationOf(const AVFrame& frame) {
    const AVFrameSideData* matrix = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
    return matrix != nullptr ? Orientation::of(matrix->data, matrix->size) : Orientation();
}

std::vector<std::uint8_t> profileOf(const AVFrame& frame) {
    const AVFrameSideData* profile = av_frame_get_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE);
    constexpr std::size_t headerSize = 128;
    constexpr std::size_t spaceOffset = 16;
    if (profile == nullptr || profile->size < headerSize ||
        std::memcmp(profile->data + spaceOffset, "RGB ", 4) != 0) {
        return {};
    }
    return {profile->data, profile->data + profile->size};
}

} // namespace Vexorel::PrismDrift::Host
