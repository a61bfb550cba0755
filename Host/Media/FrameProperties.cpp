#include "Host/Media/FrameProperties.h"

#include <cstring>
#include <new>

namespace Vexorel::PrismDrift::Host {

std::shared_ptr<const AVFrame> propertiesOf(const AVFrame& frame) {
    auto properties = owned(av_frame_alloc());
    if (av_frame_copy_props(properties.get(), &frame) < 0) {
        throw std::bad_alloc();
    }
    properties->format = frame.format;
    properties->width = frame.width;
    properties->height = frame.height;
    return {properties.release(), FFmpegDeleter()};
}

Orientation orientationOf(const AVFrame& frame) {
    const AVFrameSideData* matrix = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX);
    return Orientation::of(matrix != nullptr ? reinterpret_cast<const std::int32_t*>(matrix->data)
                                             : nullptr);
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
