#include "Host/Media/PixelRows.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <type_traits>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

const AVPixFmtDescriptor& descriptorOf(const AVFrame& frame) {
    return *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
}

// Whether a value of more than 8 bits has a word of 16 for itself.
bool isAlone(const AVComponentDescriptor& place) {
    return place.offset % 2 == 0 && (place.shift == 0 || place.depth + place.shift == 16);
}

// Whether the bytes of a value are in the other order than this processor's.
bool isSwapped(const AVPixFmtDescriptor& format) {
    constexpr bool isBigEndian = std::endian::native == std::endian::big;
    return ((format.flags & AV_PIX_FMT_FLAG_BE) != 0) != isBigEndian;
}

std::uint16_t swapped(std::uint16_t word) {
    return static_cast<std::uint16_t>(word << 8 | word >> 8);
}

std::uint32_t swapped(std::uint32_t word) {
    return word << 24 | (word & 0xff00U) << 8 | (word >> 8 & 0xff00U) | word >> 24;
}

// Whether each value lies in a word of 16 bits, alone or beside others.
bool isInWord(const AVPixFmtDescriptor& format, int component) {
    const AVComponentDescriptor& place = format.comp[component];
    return place.depth > 8 && place.depth + place.shift <= 16 &&
           (format.flags & AV_PIX_FMT_FLAG_BITSTREAM) == 0;
}

// Whether a value can't be written without regard to what else its word holds.
bool shareWords(const AVPixFmtDescriptor& format) {
    for (int i = 0; i < format.nb_components; ++i) {
        const bool isFloat = (format.flags & AV_PIX_FMT_FLAG_FLOAT) != 0;
        if (!isFloat && !isPlainByte(format, i) &&
            !(isInWord(format, i) && isAlone(format.comp[i]))) {
            return true;
        }
    }
    return false;
}

// Whether a row of packed pixels ends in values of pixels that the frame doesn't have.
bool hasIdlePixels(const AVPixFmtDescriptor& format, int width) {
    return (format.flags & AV_PIX_FMT_FLAG_PLANAR) == 0 && width % (1 << format.log2_chroma_w) != 0;
}

// Where the first of the columns lies.
std::uint8_t* placeOf(const AVFrame& frame, const AVComponentDescriptor& component, int y,
                      Columns columns) {
    return frame.data[component.plane] + std::ptrdiff_t{y} * frame.linesize[component.plane] +
           component.offset + std::ptrdiff_t{columns.first} * component.step;
}

// The compiler makes vector code of steps that it knows.
template <int Step>
void copyEvery(const std::uint8_t* from, int count, std::uint8_t* to) {
    for (int x = 0; x < count; ++x) {
        to[x] = from[std::ptrdiff_t{x} * Step];
    }
}

void copyEvery(int step, const std::uint8_t* from, int count, std::uint8_t* to) {
    switch (step) {
    case 1:
        std::memcpy(to, from, static_cast<std::size_t>(count));
        break;
    case 2:
        copyEvery<2>(from, count, to);
        break;
    case 3:
        copyEvery<3>(from, count, to);
        break;
    case 4:
        copyEvery<4>(from, count, to);
        break;
    default:
        for (int x = 0; x < count; ++x) {
            to[x] = from[std::ptrdiff_t{x} * step];
        }
    }
}

template <bool IsSwapped>
void takeWords(const std::uint8_t* from, const AVComponentDescriptor& place, int count,
               std::uint16_t* to) {
    const int shift = place.shift;
    const unsigned mask = (1U << place.depth) - 1;
    const auto take = [=](auto by) {
        for (int x = 0; x < count; ++x) {
            std::uint16_t word = 0;
            std::memcpy(&word, from + std::ptrdiff_t{x} * by, sizeof word);
            word = IsSwapped ? swapped(word) : word;
            to[x] = static_cast<std::uint16_t>((word >> shift) & mask);
        }
    };
    if (place.step == 2) {
        take(std::integral_constant<int, 2>()); // of which the compiler makes vector code
    } else {
        take(place.step);
    }
}

// Words of 32 bits, each `step` bytes after the one before at both ends.
void copyWords(const std::uint8_t* from, int fromStep, std::uint8_t* to, int toStep, int count,
               bool isSwapped) {
    for (int x = 0; x < count; ++x) {
        std::uint32_t word = 0;
        std::memcpy(&word, from + std::ptrdiff_t{x} * fromStep, sizeof word);
        word = isSwapped ? swapped(word) : word;
        std::memcpy(to + std::ptrdiff_t{x} * toStep, &word, sizeof word);
    }
}

template <int Channels, typename Value>
void interleaveValues(const std::array<const Value*, 4>& rows, int count, Value* pixels) {
    const auto [first, second, third, fourth] = rows;
    for (int x = 0; x < count; ++x) {
        Value* pixel = pixels + std::ptrdiff_t{x} * Channels;
        pixel[0] = first[x];
        pixel[1] = second[x];
        pixel[2] = third[x];
        if constexpr (Channels == 4) {
            pixel[3] = fourth[x];
        }
    }
}

template <typename Value>
void separateValues(const Value* pixels, int count, const std::array<Value*, 4>& rows) {
    const auto [first, second, third, fourth] = rows;
    for (int x = 0; x < count; ++x) {
        const Value* pixel = pixels + std::ptrdiff_t{x} * 4;
        first[x] = pixel[0];
        second[x] = pixel[1];
        third[x] = pixel[2];
        fourth[x] = pixel[3];
    }
}

} // namespace

bool isPlainByte(const AVPixFmtDescriptor& format, int component) {
    const AVComponentDescriptor& place = format.comp[component];
    return place.depth == 8 && place.shift == 0 &&
           (format.flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_PAL)) == 0;
}

void readRow(const AVFrame& frame, int component, int y, Columns columns, std::uint8_t* to) {
    const AVComponentDescriptor& place = descriptorOf(frame).comp[component];
    copyEvery(place.step, placeOf(frame, place, y, columns), columns.count, to);
}

void readRow(const AVFrame& frame, int component, int y, Columns columns, std::uint16_t* to) {
    const AVPixFmtDescriptor& format = descriptorOf(frame);
    const AVComponentDescriptor& place = format.comp[component];
    if (isInWord(format, component)) {
        const auto take = isSwapped(format) ? &takeWords<true> : &takeWords<false>;
        take(placeOf(frame, place, y, columns), place, columns.count, to);
    } else {
        std::array<const std::uint8_t*, 4> planes{};
        std::copy_n(frame.data, planes.size(), planes.begin());
        av_read_image_line2(to, planes.data(), frame.linesize, &format, columns.first, y, component,
                            columns.count, 0, sizeof *to);
    }
}

void writeRow(const std::uint8_t* from, AVFrame& frame, int component, int y, Columns columns) {
    const AVComponentDescriptor& place = descriptorOf(frame).comp[component];
    std::uint8_t* to = placeOf(frame, place, y, columns);
    if (place.step == 1) {
        std::memcpy(to, from, static_cast<std::size_t>(columns.count));
        return;
    }
    for (int x = 0; x < columns.count; ++x) {
        to[std::ptrdiff_t{x} * place.step] = from[x];
    }
}

void writeRow(const std::uint16_t* from, AVFrame& frame, int component, int y, Columns columns) {
    const AVPixFmtDescriptor& format = descriptorOf(frame);
    const AVComponentDescriptor& place = format.comp[component];
    if (shareWords(format)) {
        std::array<std::uint8_t*, 4> planes{};
        std::copy_n(frame.data, planes.size(), planes.begin());
        av_write_image_line2(from, planes.data(), frame.linesize, &format, columns.first, y,
                             component, columns.count, sizeof *from);
        return;
    }
    std::uint8_t* to = placeOf(frame, place, y, columns);
    const bool isOther = isSwapped(format);
    if (place.step == 2 && place.shift == 0 && !isOther) {
        std::memcpy(to, from, static_cast<std::size_t>(columns.count) * sizeof *from);
        return;
    }
    for (int x = 0; x < columns.count; ++x) {
        auto word = static_cast<std::uint16_t>(from[x] << place.shift);
        word = isOther ? swapped(word) : word;
        std::memcpy(to + std::ptrdiff_t{x} * place.step, &word, sizeof word);
    }
}

void readRow(const AVFrame& frame, int component, int y, Columns columns, float* to) {
    const AVPixFmtDescriptor& format = descriptorOf(frame);
    const AVComponentDescriptor& place = format.comp[component];
    copyWords(placeOf(frame, place, y, columns), place.step, reinterpret_cast<std::uint8_t*>(to),
              sizeof *to, columns.count, isSwapped(format));
}

void writeRow(const float* from, AVFrame& frame, int component, int y, Columns columns) {
    const AVPixFmtDescriptor& format = descriptorOf(frame);
    const AVComponentDescriptor& place = format.comp[component];
    copyWords(reinterpret_cast<const std::uint8_t*>(from), sizeof *from,
              placeOf(frame, place, y, columns), place.step, columns.count, isSwapped(format));
}

void prepareForRows(AVFrame& frame) {
    const AVPixFmtDescriptor& format = descriptorOf(frame);
    const bool isCleared = shareWords(format) || hasIdlePixels(format, frame.width);
    const int planes = isCleared ? av_pix_fmt_count_planes(av_pix_fmt_desc_get_id(&format)) : 0;
    for (int plane = 0; plane < planes; ++plane) {
        const bool isChroma = plane == 1 || plane == 2;
        const int height = isChroma ? -(-frame.height >> format.log2_chroma_h) : frame.height;
        for (int y = 0; y < height; ++y) {
            std::memset(frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane], 0,
                        static_cast<std::size_t>(std::abs(frame.linesize[plane])));
        }
    }
}

void interleave(const std::array<const std::uint8_t*, 4>& rows, int count, std::uint8_t* pixels) {
    if (rows[3] != nullptr) {
        interleaveValues<4>(rows, count, pixels);
    } else {
        interleaveValues<3>(rows, count, pixels);
    }
}

void interleave(const std::array<const float*, 4>& rows, int count, float* pixels) {
    interleaveValues<4>(rows, count, pixels);
}

void separate(const std::uint8_t* pixels, int count, const std::array<std::uint8_t*, 4>& rows) {
    separateValues(pixels, count, rows);
}

void separate(const float* pixels, int count, const std::array<float*, 4>& rows) {
    separateValues(pixels, count, rows);
}

} // namespace Vexorel::PrismDrift::Host
