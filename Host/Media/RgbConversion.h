#pragma once

/// Between frames of RGB, gray or a palette and worlds of 8 bits or of floats, value by value.
/// Whole numbers become floats by one division and 8 bits by one rounding; floats keep their value
/// in floats. Internal to the media library.

#include "Host/Library/World.h"
#include "Host/Media/PixelLayout.h"

#include <array>
#include <cstdint>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// Whether frames of this format are converted here: whole numbers of up to 16 bits, floats of 32;
/// for writing, whole numbers of 8 bits and more.
bool isReadAsRgb(AVPixelFormat format);
bool isWrittenAsRgb(AVPixelFormat format);

class RgbToWorld {
public:
    explicit RgbToWorld(const PixelLayout& layout);

    /// Fills the world whole. Both have the layout's size.
    void convert(const AVFrame& frame, World& world);

private:
    // Where one channel of the world comes from.
    struct Channel {
        int component = -1;               // -1: there is none, the channel is opaque
        int black = 0, range = 0;         // of the component's values
        std::vector<std::uint8_t> values; // of 8 bits, by the component's; empty where it is a byte
        std::vector<std::uint8_t> row;
        std::vector<float> floats; // the same row
    };

    void prepareChannels();
    void convertRow(const AVFrame& frame, int y, std::uint8_t* to);
    void convertRow(const AVFrame& frame, int y, float* to);
    void readFloats(const AVFrame& frame, int y, Channel& channel);
    void readBytes(const AVFrame& frame, int y, Channel& channel);
    void convertPalette(const AVFrame& frame, World& world) const;

    PixelLayout mLayout;
    bool mIsFloat, mIsInverted;
    std::array<Channel, 4> mChannels; // alpha, red, green, blue
    std::vector<std::uint16_t> mLine;
};

class WorldToRgb {
public:
    /// With `dithers`, floats are dithered into 8 bits, but for alpha.
    WorldToRgb(const PixelLayout& layout, bool dithers);

    /// Fills the frame, which has its buffers. Both have the layout's size.
    void convert(const World& world, AVFrame& frame);

private:
    void preparePacked();
    void separateRow(const World& world, int y);
    void setLuma();
    void writeBytes(AVFrame& frame, int component, int y);
    void writeFloats(AVFrame& frame, int component, int y);

    PixelLayout mLayout;
    bool mIsFloat, mDithers;
    std::array<std::vector<std::uint8_t>, 5> mRows;   // alpha, red, green, blue, and opaque ones
    std::array<std::vector<float>, 4> mFloats;        // alpha, red, green, blue
    std::array<const std::uint8_t*, 4> mPackedRows{}; // of mRows, by the byte in a packed pixel
    std::vector<std::uint16_t> mLine;                 // of one component
};

} // namespace Vexorel::PrismDrift::Host
