#pragma once

/// The plug-in, opened as hosts do, and instances of it with pictures and with what the renderer
/// makes of them.

#include "Host/Software/Software.h"
#include "Tests/Host/OpenFX/OpenFXHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <dlfcn.h>
#include <random>

namespace Testing {

using namespace Vexorel::PrismDrift;
using namespace Vexorel::PrismDrift::Host;

inline void* module() {
    static void* const opened = dlopen(OPENFX_MODULE, RTLD_NOW | RTLD_LOCAL);
    return opened;
}

inline OfxPlugin& plugin() {
    return *reinterpret_cast<OfxPlugin* (*)(int)>(dlsym(module(), "OfxGetPlugin"))(0);
}

template <typename Object>
OfxPropertySetHandle setOf(Object& properties) {
    return reinterpret_cast<OfxPropertySetHandle>(&properties);
}

inline OfxStatus act(const char* action, OpenFXEffect& effect, OpenFXProperties& in,
                     OpenFXProperties& out) {
    return plugin().mainEntry(action, &effect, setOf(in), setOf(out));
}

inline OfxStatus act(const char* action, OpenFXEffect& effect) {
    return plugin().mainEntry(action, &effect, nullptr, nullptr);
}

// Loads and describes the effect as a host does for the first time.
inline OfxStatus described(OpenFXEffect& effect) {
    plugin().setHost(OpenFXHost::get());
    for (const char* action : {kOfxActionLoad, kOfxActionDescribe,
                               kOfxImageEffectActionDescribeInContext, kOfxActionCreateInstance}) {
        const OfxStatus status = plugin().mainEntry(
            action, action == kOfxActionLoad ? nullptr : &effect, nullptr, nullptr);
        if (status != kOfxStatOK) {
            return status;
        }
    }
    return kOfxStatOK;
}

template <typename Value>
Value valueOf(const OpenFXProperties& properties, const char* name, std::size_t index = 0) {
    return std::get<Value>(properties.values.at(name).at(index));
}

struct Drawing {
    const char* name;
    const char* depth = kOfxBitDepthByte;
    OfxRectI source{0, 0, 37, 23}, region{0, 0, 37, 23}, output{0, 0, 37, 23}, window{0, 0, 37, 23};
    bool upsideDown = false;
    bool isPremultiplied = false;
    std::array<double, 2> scale{1, 1}, argumentScale{1, 1};
    double aspect = 1;
    double distance = 5.25, angle = 30;
    /// In the image's own pixels.
    double drawnDistance = distance, drawnAngle = angle;
    bool isOpaque = false;
};

/// An instance with its pictures.
struct Scene {
    explicit Scene(const Drawing& given)
        : drawing(given),
          source(given.depth, given.source, given.upsideDown),
          output(given.depth, given.output, given.upsideDown) {
        EXPECT_EQ(described(effect), kOfxStatOK);
        const std::map<const char*, double> settings{{"channelOrder", BRG},
                                                     {"shiftDistance", given.distance},
                                                     {"shiftAngle", given.angle},
                                                     {"scaleR", 120},
                                                     {"scaleG", 100},
                                                     {"scaleB", 85},
                                                     {"lightnessR", 0},
                                                     {"lightnessG", -20},
                                                     {"lightnessB", 35}};
        for (const auto& [name, value] : settings) {
            set(name, value);
        }
        const OfxRectI& region = given.region;
        for (OpenFXPicture* picture : {&source, &output}) {
            auto& values = picture->properties.values;
            values[kOfxImagePropRegionOfDefinition] = {region.x1, region.y1, region.x2, region.y2};
            values[kOfxImageEffectPropRenderScale] = {given.scale[0], given.scale[1]};
            values[kOfxImagePropPixelAspectRatio] = {given.aspect};
            if (given.isPremultiplied) {
                values[kOfxImageEffectPropPreMultiplication] = {
                    std::string(kOfxImagePreMultiplied)};
            }
        }
        for (OpenFXClip* clip : {&effect.clips["Source"], &effect.clips["Output"]}) {
            clip->properties.values = source.properties.values;
            clip->region = {-1, -2, 50, 60};
        }
        effect.clips["Source"].picture = &source;
        effect.clips["Output"].picture = &output;
        const OfxRectI& window = given.window;
        arguments.values = {
            {kOfxPropTime, {3.0}},
            {kOfxImageEffectPropRenderWindow, {window.x1, window.y1, window.x2, window.y2}},
            {kOfxImageEffectPropRenderScale, {given.argumentScale[0], given.argumentScale[1]}}};
        paint();
    }

    void set(const char* name, double value) {
        effect.parameters.at(name).value = [value](double) { return value; };
    }

    void paint() {
        std::mt19937 random(7);
        const double white = source.white();
        for (int y = drawing.source.y1; y < drawing.source.y2; ++y) {
            for (int x = drawing.source.x1; x < drawing.source.x2; ++x) {
                const double part = drawing.isOpaque ? 1 : static_cast<double>(random() % 3) / 2;
                const double alpha = white == 1 ? part : std::floor(part * white);
                source.set(x, y, 3, alpha);
                for (int i = 0; i < 3; ++i) {
                    const double most = drawing.isPremultiplied ? alpha : white;
                    const double value = std::uniform_real_distribution<double>(0, most)(random);
                    source.set(x, y, i, white == 1 ? value : std::floor(value));
                }
            }
        }
    }

    OfxStatus render() { return act(kOfxImageEffectActionRender, effect, arguments, answers); }

    Drawing drawing;
    OpenFXEffect effect;
    OpenFXPicture source, output;
    OpenFXProperties arguments, answers;
};

inline bool isIn(const OfxRectI& area, int x, int y) {
    return x >= area.x1 && x < area.x2 && y >= area.y1 && y < area.y2;
}

/// The scene's frame by the renderer, from the top, in its own values.
inline World wanted(const Scene& scene) {
    const Drawing& drawing = scene.drawing;
    const OfxRectI& frame = drawing.region;
    const double white = scene.source.white();
    const bool asBytes = white == 255 && (!drawing.isPremultiplied || drawing.isOpaque);
    const auto format = asBytes ? PF_PixelFormat_ARGB32 : PF_PixelFormat_ARGB128;
    World input(frame.x2 - frame.x1, frame.y2 - frame.y1, format);
    World result(input.width(), input.height(), format);
    for (int y = frame.y1; y < frame.y2; ++y) {
        for (int x = frame.x1; x < frame.x2; ++x) {
            if (!isIn(drawing.source, x, y)) {
                continue;
            }
            const double alpha = scene.source.get(x, y, 3);
            for (int channel = 0; channel < 4; ++channel) { // of the world: A, R, G, B
                const double value = scene.source.get(x, y, (channel + 3) % 4);
                const bool isDivided = drawing.isPremultiplied && channel != 0 && alpha > 0;
                const int place = (x - frame.x1) * 4 + channel;
                std::uint8_t* row = input.row(frame.y2 - 1 - y);
                if (asBytes) {
                    row[place] = static_cast<std::uint8_t>(value);
                } else {
                    reinterpret_cast<float*>(row)[place] =
                        static_cast<float>(value) / static_cast<float>(isDivided ? alpha : white);
                }
            }
        }
    }
    ChannelValues values;
    values.order = BRG;
    values.distance = static_cast<float>(drawing.drawnDistance);
    values.angle = static_cast<float>(drawing.drawnAngle);
    values.scale = {1.2F, 1.0F, 0.85F};
    values.lightness = {0.0F, -0.2F, 0.35F};
    renderInSoftware(input, result, {values});
    return result;
}

/// How many of the output's values differ from the renderer's frame: to the bit, where
/// premultiplied or at a distance that was worked out within a step.
inline int wrongValues(const Scene& scene) {
    const Drawing& drawing = scene.drawing;
    const OfxRectI& frame = drawing.region;
    const auto white = static_cast<float>(scene.output.white());
    const World world = wanted(scene);
    const double untouched = OpenFXPicture(drawing.depth, {0, 0, 1, 1}).get(0, 0, 0);
    const auto drawn = [&](int x, int y, int channel) -> double {
        const std::uint8_t* row = world.row(frame.y2 - 1 - y);
        const int pixel = (x - frame.x1) * 4;
        if (world.format() == PF_PixelFormat_ARGB32) {
            return row[pixel + (channel + 1) % 4];
        }
        const auto* floats = reinterpret_cast<const float*>(row) + pixel;
        const float full = drawing.isPremultiplied && channel != 3 ? floats[0] * white : white;
        const float value = floats[(channel + 1) % 4] * full;
        return white == 1 ? value : std::floor(std::clamp(value + 0.5F, 0.0F, white));
    };
    const bool isExact = drawing.drawnDistance == drawing.distance && !drawing.isPremultiplied;
    const double step = isExact ? 0 : white == 1 ? 2e-5 : 1;
    int wrong = 0;
    for (int y = drawing.output.y1; y < drawing.output.y2; ++y) {
        for (int i = 0; i < (drawing.output.x2 - drawing.output.x1) * 4; ++i) {
            const int x = drawing.output.x1 + i / 4;
            const double value = !isIn(drawing.window, x, y) ? untouched
                                 : isIn(frame, x, y)         ? drawn(x, y, i % 4)
                                                             : 0;
            wrong += std::abs(scene.output.get(x, y, i % 4) - value) <= step ? 0 : 1;
        }
    }
    return wrong + (scene.output.hasGuards() ? 0 : 1);
}

} // namespace Testing
