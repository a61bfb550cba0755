#pragma once

/// Rows of single components as FFmpeg's formats lay them out, and of the pixels that they make up.
/// Internal to the media library.

#include "Host/Media/FFmpeg.h"

#include <array>
#include <cstdint>

struct AVPixFmtDescriptor;

namespace Vexorel::PrismDrift::Host {

/// Columns of a component's own plane, from the first one on.
struct Columns {
    int first = 0, count = 0;
};

/// Whether every value of the component is a byte of its own.
bool isPlainByte(const AVPixFmtDescriptor& format, int component);

/// Copies values of row `y` of a component's plane to `to`, which is where the first of them goes.
/// The first form is for components that are plain bytes, the second for all of up to 16 bits, the
/// third for floats.
void readRow(const AVFrame& frame, int component, int y, Columns columns, std::uint8_t* to);
void readRow(const AVFrame& frame, int component, int y, Columns columns, std::uint16_t* to);
void readRow(const AVFrame& frame, int component, int y, Columns columns, float* to);

/// The same in the other direction, into a frame that `prepareForRows` has had.
void writeRow(const std::uint8_t* from, AVFrame& frame, int component, int y, Columns columns);
void writeRow(const std::uint16_t* from, AVFrame& frame, int component, int y, Columns columns);
void writeRow(const float* from, AVFrame& frame, int component, int y, Columns columns);

/// Clears a new frame of which the rows leave parts alone: of a format whose components share
/// words, or of packed 4:2:2 where the last pair has a pixel only.
void prepareForRows(AVFrame& frame);

/// Makes pixels of three or four bytes out of a row for each byte; a null row ends the pixel. Of
/// floats there are four.
void interleave(const std::array<const std::uint8_t*, 4>& rows, int count, std::uint8_t* pixels);
void interleave(const std::array<const float*, 4>& rows, int count, float* pixels);

/// Makes a row for each channel out of pixels of four.
void separate(const std::uint8_t* pixels, int count, const std::array<std::uint8_t*, 4>& rows);
void separate(const float* pixels, int count, const std::array<float*, 4>& rows);

} // namespace Vexorel::PrismDrift::Host
