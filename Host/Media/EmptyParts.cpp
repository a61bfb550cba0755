#include "Host/Media/EmptyParts.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr std::size_t wordBytes = sizeof(std::uint64_t);

// The word number `index` of a buffer. By chance a picture holds one in 2^64 cases.
std::uint64_t fillingWord(std::size_t index) {
    constexpr std::uint64_t spread = 0x9E3779B97F4A7C15; // odd, near 2^64 over the golden ratio
    return (index + 1) * spread;
}

std::uint8_t fillingByte(std::size_t offset) {
    const std::uint64_t word = fillingWord(offset / wordBytes);
    std::uint8_t bytes[wordBytes];
    std::memcpy(bytes, &word, wordBytes);
    return bytes[offset % wordBytes];
}

void fill(AVBufferRef& buffer) {
    for (std::size_t offset = 0; offset + wordBytes <= buffer.size; offset += wordBytes) {
        const std::uint64_t word = fillingWord(offset / wordBytes);
        std::memcpy(buffer.data + offset, &word, wordBytes);
    }
}

// The visible part of a plane, as rows of one of the frame's buffers.
struct Plane {
    const std::uint8_t* buffer;
    std::ptrdiff_t offset, stride; // of the first row in the buffer, and of a row to the next
    std::size_t rowBytes;
    int rows;
};

// Some decoders invert the whole picture at the end.
template <typename Unsigned>
bool isFilling(Unsigned found, Unsigned filling) {
    return found == filling || found == static_cast<Unsigned>(~filling);
}

bool hasFilledWord(const Plane& plane) {
    for (int y = 0; y < plane.rows; ++y) {
        const auto start = static_cast<std::size_t>(plane.offset + y * plane.stride);
        const std::size_t end = start + plane.rowBytes;
        for (std::size_t word = (start + wordBytes - 1) / wordBytes; (word + 1) * wordBytes <= end;
             ++word) {
            std::uint64_t found = 0;
            std::memcpy(&found, plane.buffer + word * wordBytes, wordBytes);
            if (isFilling(found, fillingWord(word))) {
                return true;
            }
        }
    }
    return false;
}

bool hasFilledRun(const Plane& plane) {
    std::size_t run = 0;
    for (int y = 0; y < plane.rows; ++y) {
        const auto start = static_cast<std::size_t>(plane.offset + y * plane.stride);
        for (std::size_t at = start; at < start + plane.rowBytes; ++at) {
            run = isFilling(plane.buffer[at], fillingByte(at)) ? run + 1 : 0;
            if (run == 2 * wordBytes) {
                return true;
            }
        }
    }
    return false;
}

// Null rows where the plane is in none of the frame's buffers.
Plane planeOf(const AVFrame& frame, const AVPixFmtDescriptor& descriptor, int number) {
    const bool isChroma = number == 1 || number == 2;
    const auto format = static_cast<AVPixelFormat>(frame.format);
    Plane plane{nullptr, 0, frame.linesize[number], 0, 0};
    for (const AVBufferRef* buffer : frame.buf) {
        if (buffer != nullptr && frame.data[number] >= buffer->data &&
            frame.data[number] < buffer->data + buffer->size) {
            plane.buffer = buffer->data;
            plane.offset = frame.data[number] - buffer->data;
            plane.rowBytes = static_cast<std::size_t>(
                std::max(0, av_image_get_linesize(format, frame.width, number)));
            plane.rows =
                isChroma ? AV_CEIL_RSHIFT(frame.height, descriptor.log2_chroma_h) : frame.height;
        }
    }
    return plane;
}

} // namespace

void fillEmptyFrame(AVFrame& frame) {
    const bool hasPalette = frame.format == AV_PIX_FMT_PAL8;
    for (AVBufferRef* buffer : frame.buf) {
        if (buffer != nullptr && !(hasPalette && buffer->data == frame.data[1])) {
            fill(*buffer);
        }
    }
}

bool hasEmptyPart(const AVFrame& frame) {
    const AVPixFmtDescriptor* descriptor =
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (descriptor == nullptr) {
        return false;
    }
    int planes = 0;
    for (int i = 0; i < descriptor->nb_components; ++i) {
        planes = std::max(planes, descriptor->comp[i].plane + 1);
    }
    for (int number = 0; number < planes; ++number) {
        const Plane plane = planeOf(frame, *descriptor, number);
        if (plane.rowBytes < 2 * wordBytes ? hasFilledRun(plane) : hasFilledWord(plane)) {
            return true;
        }
    }
    return false;
}

} // namespace Vexorel::PrismDrift::Host
