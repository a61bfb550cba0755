#include "Host/OpenFX/Rendering.h"

#include "Host/OpenFX/HostParameters.h"
#include "Host/OpenFX/Pixels.h"
#include "Host/Software/Software.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Vexorel::PrismDrift::Host {
namespace {

double timeOf(const Properties& arguments) {
    return arguments.needed(arguments.numbers<1>(kOfxPropTime), kOfxPropTime)[0];
}

std::optional<int> fieldOf(const Properties& arguments) {
    const auto field = arguments.text(kOfxImageEffectPropFieldToRender);
    if (field == kOfxImageFieldLower) {
        return 0;
    }
    return field == kOfxImageFieldUpper ? std::optional(1) : std::nullopt;
}

ChannelValues valuesAt(const Suites& suites, OfxImageEffectHandle instance, OfxTime time) {
    return softwareSettings(controlValues(suites, instance, time), {}).values;
}

bool isNeutral(const ChannelValues& values) {
    const auto isAll = [](const std::array<float, 3>& parts, float neutral) {
        return std::all_of(parts.begin(), parts.end(),
                           [neutral](float part) { return part == neutral; });
    };
    return values.distance == 0.0F && isAll(values.scale, 1.0F) && isAll(values.lightness, 0.0F);
}

// The shift as a vector in the image's own pixels.
void fitTo(const Image& image, ChannelValues& values) {
    const double x = image.scaleX / image.aspect;
    const double y = image.scaleY;
    if (x == y) { // every angle stays
        values.distance = static_cast<float>(values.distance * x);
        return;
    }
    const double turn = values.angle * (std::numbers::pi / 180.0);
    const double across = std::cos(turn) * x;
    const double down = std::sin(turn) * y;
    values.distance = static_cast<float>(values.distance * std::hypot(across, down));
    values.angle = static_cast<float>(std::atan2(down, across) * (180.0 / std::numbers::pi));
}

// Not every host gives its images a scale.
Image scaled(const Image& image, const Properties& arguments) {
    Image result = image;
    if (image.scaleX == 0.0 || image.scaleY == 0.0) {
        const char* name = kOfxImageEffectPropRenderScale;
        const auto scale = arguments.needed(arguments.numbers<2>(name), name);
        if (!(scale[0] > 0.0 && scale[1] > 0.0)) {
            throw Refusal(kOfxStatFailed, "the host gives no render scale above 0");
        }
        result.scaleX = scale[0];
        result.scaleY = scale[1];
    }
    return result;
}

void draw(const Image& source, const Image& output, const OfxRectI& window,
          const ChannelValues& values) {
    const OfxRectI& frame = source.region;
    const bool isStraight = !source.isPremultiplied && !output.isPremultiplied;
    const bool asBytes =
        source.depth == Depth::Byte && (isStraight || isOpaqueBytes(source, frame));
    if (!asBytes && isNeutral(values) && source.isPremultiplied == output.isPremultiplied) {
        copy(source, frame, window, output);
        return;
    }
    const OfxRectI drawn = intersection(intersection(window, output.bounds), frame);
    if (isEmpty(drawn)) {
        clear(window, output);
        return;
    }
    const PF_PixelFormat format = asBytes ? PF_PixelFormat_ARGB32 : PF_PixelFormat_ARGB128;
    const World input = worldOf(source, frame, format);
    // From the frame's left and top as far as the window goes.
    World result(drawn.x2 - frame.x1, frame.y2 - drawn.y1, format);
    renderInSoftware(input, result, {values});
    put(result, frame, window, output);
}

} // namespace

void render(const Suites& suites, OfxImageEffectHandle instance, const Properties& arguments) {
    const OfxTime time = timeOf(arguments);
    const auto sides = arguments.needed(arguments.integers<4>(kOfxImageEffectPropRenderWindow),
                                        kOfxImageEffectPropRenderWindow);
    const OfxRectI window{sides[0], sides[1], sides[2], sides[3]};
    ChannelValues values = valuesAt(suites, instance, time);
    const FetchedImage output(suites, instance, outputClip, time);
    if (!output) {
        throw Refusal(kOfxStatFailed, "the host gives no picture to draw into");
    }
    Image result = *output;
    result.field = fieldOf(arguments);
    const FetchedImage source(suites, instance, sourceClip, time);
    if (!source || isEmpty(source->region)) {
        clear(window, result); // what the standard has a missing picture stand for
        return;
    }
    if (source->depth != output->depth) {
        throw Refusal(kOfxStatErrImageFormat, "the source and the output have different depths");
    }
    const Image picture = scaled(*source, arguments);
    fitTo(picture, values);
    draw(picture, result, window, values);
}

void askForRegions(const Suites& suites, OfxImageEffectHandle instance, const Properties& arguments,
                   const Properties& answers) {
    const ClipFormat source(suites, instance, sourceClip);
    OfxRectD region{};
    require(suites.effects->clipGetRegionOfDefinition(source.handle, timeOf(arguments), &region),
            "has no region of the source");
    const std::string name = std::string(kOfxImageClipPropRoI) + sourceClip;
    const double sides[] = {region.x1, region.y1, region.x2, region.y2};
    for (int i = 0; i < 4; ++i) {
        answers.set(name.c_str(), sides[i], i);
    }
}

bool passesThrough(const Suites& suites, OfxImageEffectHandle instance, const Properties& arguments,
                   const Properties& answers) {
    const OfxTime time = timeOf(arguments);
    const ClipFormat source(suites, instance, sourceClip);
    const ClipFormat output(suites, instance, outputClip);
    const bool isCopied = source.isPremultiplied == output.isPremultiplied &&
                          source.depth == output.depth &&
                          (source.isPremultiplied || source.depth == kOfxBitDepthShort ||
                           source.depth == kOfxBitDepthFloat);
    if (!isCopied || !isNeutral(valuesAt(suites, instance, time))) {
        return false;
    }
    answers.set(kOfxPropName, sourceClip);
    answers.set(kOfxPropTime, time);
    return true;
}

} // namespace Vexorel::PrismDrift::Host
