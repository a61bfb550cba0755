#include "Host/OpenFX/Image.h"

#include "Host/Library/World.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Vexorel::PrismDrift::Host {
namespace {

OfxImageClipHandle clipOf(const Suites& suites, OfxImageEffectHandle instance, const char* name,
                          OfxPropertySetHandle* properties) {
    OfxImageClipHandle clip = nullptr;
    require(suites.effects->clipGetHandle(instance, name, &clip, properties),
            "has no clip " + std::string(name));
    return clip;
}

OfxRectI rectangle(const std::array<int, 4>& sides) {
    return {sides[0], sides[1], sides[2], sides[3]};
}

Depth depthOf(const Properties& properties) {
    const char* name = kOfxImageEffectPropPixelDepth;
    const std::string depth = properties.needed(properties.text(name), name);
    if (depth == kOfxBitDepthByte) {
        return Depth::Byte;
    }
    if (depth == kOfxBitDepthShort) {
        return Depth::Short;
    }
    if (depth == kOfxBitDepthFloat) {
        return Depth::Float;
    }
    throw Refusal(kOfxStatErrImageFormat, "a picture has the depth " + depth +
                                              "; Prism Drift draws bytes, shorts and floats");
}

// Of more than that a host can't mean to have the pixels: it stands for an endless picture.
bool isDrawable(const OfxRectI& area) {
    return !isEmpty(area) && std::int64_t{area.x2} - area.x1 <= largestSide &&
           std::int64_t{area.y2} - area.y1 <= largestSide;
}

double positive(double value) {
    return std::isfinite(value) && value > 0.0 ? value : 1.0;
}

void readGeometry(const Properties& properties, Image& image) {
    const auto integers = [&](const char* name) {
        return rectangle(properties.needed(properties.integers<4>(name), name));
    };
    image.bounds = integers(kOfxImagePropBounds);
    const auto region = properties.integers<4>(kOfxImagePropRegionOfDefinition);
    image.region = region && isDrawable(rectangle(*region)) ? rectangle(*region) : image.bounds;
    image.rowBytes =
        properties.needed(properties.integers<1>(kOfxImagePropRowBytes), kOfxImagePropRowBytes)[0];
    const auto scale = properties.numbers<2>(kOfxImageEffectPropRenderScale);
    image.scaleX = scale ? positive((*scale)[0]) : 0.0;
    image.scaleY = scale ? positive((*scale)[1]) : 0.0;
    const auto aspect = properties.numbers<1>(kOfxImagePropPixelAspectRatio);
    image.aspect = aspect ? positive((*aspect)[0]) : 1.0;
}

void checkMemory(const Image& image) {
    if (isEmpty(image.bounds)) {
        return;
    }
    const std::int64_t width = std::int64_t{image.bounds.x2} - image.bounds.x1;
    const auto bytes = width * static_cast<std::int64_t>(image.pixelBytes());
    if (image.data == nullptr || std::abs(std::int64_t{image.rowBytes}) < bytes) {
        throw Refusal(kOfxStatFailed, "a picture has no memory, or rows of " +
                                          std::to_string(image.rowBytes) + " bytes for " +
                                          std::to_string(bytes) + " bytes of pixels");
    }
}

Image read(const Properties& properties, const Properties& clip) {
    const std::string components = properties.needed(properties.text(kOfxImageEffectPropComponents),
                                                     kOfxImageEffectPropComponents);
    if (components != kOfxImageComponentRGBA) {
        throw Refusal(kOfxStatErrImageFormat,
                      "a picture consists of " + components + "; Prism Drift draws R, G, B, A");
    }
    Image image;
    image.depth = depthOf(properties);
    readGeometry(properties, image);
    auto alpha = properties.text(kOfxImageEffectPropPreMultiplication);
    if (!alpha) {
        alpha = clip.text(kOfxImageEffectPropPreMultiplication);
    }
    image.isPremultiplied = alpha == kOfxImagePreMultiplied;
    image.data = static_cast<std::uint8_t*>(
        properties.needed(properties.pointer(kOfxImagePropData), kOfxImagePropData));
    checkMemory(image);
    return image;
}

} // namespace

bool isEmpty(const OfxRectI& area) {
    return area.x1 >= area.x2 || area.y1 >= area.y2;
}

OfxRectI intersection(const OfxRectI& left, const OfxRectI& right) {
    return {std::max(left.x1, right.x1), std::max(left.y1, right.y1), std::min(left.x2, right.x2),
            std::min(left.y2, right.y2)};
}

std::size_t Image::pixelBytes() const {
    return depth == Depth::Byte ? 4 : depth == Depth::Short ? 8 : 16;
}

std::uint8_t* Image::at(int x, int y) const {
    return data + (std::ptrdiff_t{y} - bounds.y1) * rowBytes +
           (std::ptrdiff_t{x} - bounds.x1) * static_cast<std::ptrdiff_t>(pixelBytes());
}

FetchedImage::FetchedImage(const Suites& suites, OfxImageEffectHandle instance, const char* clip,
                           OfxTime time)
    : mSuites(suites) {
    OfxPropertySetHandle ofClip = nullptr;
    OfxImageClipHandle handle = clipOf(suites, instance, clip, &ofClip);
    const Properties clipProperties(suites, ofClip, clip);
    const OfxStatus status = suites.effects->clipGetImage(handle, time, nullptr, &mHandle);
    if (status == kOfxStatFailed || (status == kOfxStatOK && mHandle == nullptr)) {
        mHandle = nullptr;
        return;
    }
    if (status != kOfxStatOK) {
        mHandle = nullptr;
        require(status, "gives no picture of the clip " + std::string(clip));
    }
    try {
        mImage = read(Properties(suites, mHandle, "a picture"), clipProperties);
    } catch (...) {
        suites.effects->clipReleaseImage(mHandle);
        throw;
    }
}

FetchedImage::~FetchedImage() {
    if (mHandle != nullptr) {
        mSuites.effects->clipReleaseImage(mHandle);
    }
}

ClipFormat::ClipFormat(const Suites& suites, OfxImageEffectHandle instance, const char* clip) {
    OfxPropertySetHandle set = nullptr;
    handle = clipOf(suites, instance, clip, &set);
    const Properties properties(suites, set, clip);
    depth = properties.text(kOfxImageEffectPropPixelDepth).value_or("");
    isPremultiplied =
        properties.text(kOfxImageEffectPropPreMultiplication) == kOfxImagePreMultiplied;
}

} // namespace Vexorel::PrismDrift::Host
