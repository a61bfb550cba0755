#pragma once

/// The pictures of an OpenFX host: R, G, B, A in rows from the bottom, anywhere in the plane.

#include "Host/OpenFX/HostSuites.h"

#include <cstddef>
#include <cstdint>

namespace Vexorel::PrismDrift::Host {

bool isEmpty(const OfxRectI& area);
/// What both have; empty where that is nothing.
OfxRectI intersection(const OfxRectI& left, const OfxRectI& right);

enum class Depth { Byte, Short, Float };

/// A picture's memory and geometry, in pixels of the picture. It owns nothing.
struct Image {
    std::uint8_t* data = nullptr; ///< the pixel at the left and bottom of the bounds
    std::ptrdiff_t rowBytes = 0;  ///< to the row above; below 0 where that comes before
    OfxRectI bounds{};            ///< of the pixels in memory
    OfxRectI region{};            ///< of the whole picture, which may be more
    Depth depth = Depth::Float;
    bool isPremultiplied = false;
    double scaleX = 1.0, scaleY = 1.0; ///< pixels for one of the full resolution
    double aspect = 1.0;               ///< a pixel's width in pixel heights
    /// Where only one field of interlaced material is written: 0 for its even rows, 1 for the odd.
    std::optional<int> field;

    std::uint8_t* at(int x, int y) const;
    std::size_t pixelBytes() const;
};

/// One picture of a clip, from its fetching to its release.
class FetchedImage {
public:
    /// Throws Refusal where the host fails, and for pixels that it doesn't draw. Where the clip has
    /// no picture at this time, the object is empty.
    FetchedImage(const Suites& suites, OfxImageEffectHandle instance, const char* clip,
                 OfxTime time);
    FetchedImage(const FetchedImage&) = delete;
    FetchedImage& operator=(const FetchedImage&) = delete;
    ~FetchedImage();

    const Image* operator->() const { return &*mImage; }
    const Image& operator*() const { return *mImage; }
    explicit operator bool() const { return mImage.has_value(); }

private:
    const Suites mSuites;
    OfxPropertySetHandle mHandle = nullptr;
    std::optional<Image> mImage;
};

/// What a clip says of its pictures before they are there. Throws Refusal.
struct ClipFormat {
    ClipFormat(const Suites& suites, OfxImageEffectHandle instance, const char* clip);

    std::string depth; ///< the standard's word
    bool isPremultiplied = false;
    OfxImageClipHandle handle = nullptr;
};

} // namespace Vexorel::PrismDrift::Host
