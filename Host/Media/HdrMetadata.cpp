#include "Host/Media/HdrMetadata.h"

#include <cmath>
#include <cstring>
#include <new>

namespace Vexorel::PrismDrift::Host {
namespace {

template <typename Data>
std::optional<Data> sideData(const AVFrame& frame, AVFrameSideDataType type) {
    const AVFrameSideData* side = av_frame_get_side_data(&frame, type);
    if (side == nullptr || side->size < sizeof(Data)) {
        return std::nullopt;
    }
    Data data;
    std::memcpy(&data, side->data, sizeof data);
    return data;
}

template <typename Data>
void addSideData(AVStream& stream, AVPacketSideDataType type, const Data& data) {
    std::uint8_t* to = av_stream_new_side_data(&stream, type, sizeof data);
    if (to == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(to, &data, sizeof data);
}

void copySideData(const AVStream& stream, AVPacketSideDataType from, AVFrame& frame,
                  AVFrameSideDataType to) {
    std::size_t size = 0;
    const std::uint8_t* data = av_stream_get_side_data(&stream, from, &size);
    if (data == nullptr || av_frame_get_side_data(&frame, to) != nullptr) {
        return;
    }
    AVFrameSideData* copy = av_frame_new_side_data(&frame, to, size);
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(copy->data, data, size);
}

// In units of 1 / `parts`.
std::string partsOf(AVRational value, double parts) {
    return value.den != 0 ? std::to_string(std::llround(av_q2d(value) * parts)) : "0";
}

std::string pointOf(const AVRational (&point)[2]) {
    constexpr double parts = 50000;
    return "(" + partsOf(point[0], parts) + "," + partsOf(point[1], parts) + ")";
}

} // namespace

HdrMetadata HdrMetadata::of(const AVFrame* frame) {
    if (frame == nullptr) {
        return {};
    }
    return {sideData<AVMasteringDisplayMetadata>(*frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA),
            sideData<AVContentLightMetadata>(*frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL)};
}

std::string HdrMetadata::parameters(const char* displayName, const char* lightName) const {
    std::string text;
    if (display && display->has_primaries != 0 && display->has_luminance != 0) {
        constexpr double parts = 10000; // of a candela per square metre
        const auto& [red, green, blue] = display->display_primaries;
        text += std::string(":") + displayName + "=G" + pointOf(green) + "B" + pointOf(blue) + "R" +
                pointOf(red) + "WP" + pointOf(display->white_point) + "L(" +
                partsOf(display->max_luminance, parts) + "," +
                partsOf(display->min_luminance, parts) + ")";
    }
    if (light) {
        text += std::string(":") + lightName + "=" + std::to_string(light->MaxCLL) + "," +
                std::to_string(light->MaxFALL);
    }
    return text;
}

void HdrMetadata::addTo(AVStream& stream) const {
    if (display) {
        addSideData(stream, AV_PKT_DATA_MASTERING_DISPLAY_METADATA, *display);
    }
    if (light) {
        addSideData(stream, AV_PKT_DATA_CONTENT_LIGHT_LEVEL, *light);
    }
}

bool hasDynamicHdr(const AVFrame& frame) {
    for (const AVFrameSideDataType type :
         {AV_FRAME_DATA_DYNAMIC_HDR_PLUS, AV_FRAME_DATA_DYNAMIC_HDR_VIVID,
          AV_FRAME_DATA_DOVI_METADATA, AV_FRAME_DATA_DOVI_RPU_BUFFER}) {
        if (av_frame_get_side_data(&frame, type) != nullptr) {
            return true;
        }
    }
    return false;
}

void addHdrMetadata(const AVStream& stream, AVFrame& frame) {
    copySideData(stream, AV_PKT_DATA_MASTERING_DISPLAY_METADATA, frame,
                 AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
    copySideData(stream, AV_PKT_DATA_CONTENT_LIGHT_LEVEL, frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL);
}

} // namespace Vexorel::PrismDrift::Host
