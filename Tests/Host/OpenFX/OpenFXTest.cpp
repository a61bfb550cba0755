// The plug-in from outside: opened as hosts do, and asked to draw for a host of our own.

#include "Host/Software/Software.h"
#include "Tests/Host/OpenFX/OpenFXHost.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <dlfcn.h>
#include <memory>
#include <random>
#include <thread>

namespace Testing {
namespace {

using namespace Vexorel::PrismDrift;
using namespace Vexorel::PrismDrift::Host;

void* module() {
    static void* const opened = dlopen(OPENFX_MODULE, RTLD_NOW | RTLD_LOCAL);
    return opened;
}

OfxPlugin& plugin() {
    return *reinterpret_cast<OfxPlugin* (*)(int)>(dlsym(module(), "OfxGetPlugin"))(0);
}

template <typename Object>
OfxPropertySetHandle setOf(Object& properties) {
    return reinterpret_cast<OfxPropertySetHandle>(&properties);
}

OfxStatus act(const char* action, OpenFXEffect& effect, OpenFXProperties& in,
              OpenFXProperties& out) {
    return plugin().mainEntry(action, &effect, setOf(in), setOf(out));
}

OfxStatus act(const char* action, OpenFXEffect& effect) {
    return plugin().mainEntry(action, &effect, nullptr, nullptr);
}

// Loads and describes the effect as a host does for the first time.
OfxStatus described(OpenFXEffect& effect) {
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
        set("channelOrder", 4); // BRG
        set("shiftDistance", given.distance);
        set("shiftAngle", given.angle);
        set("scaleR", 120);
        set("scaleG", 100);
        set("scaleB", 85);
        set("lightnessR", 0);
        set("lightnessG", -20);
        set("lightnessB", 35);
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
                const double most = drawing.isOpaque || random() % 3 == 0 ? white : white * 0.6;
                const double alpha = white == 1 ? most : std::floor(most);
                source.set(x, y, 3, alpha);
                for (int i = 0; i < 3; ++i) {
                    const double part = std::uniform_real_distribution<double>(0, 1)(random);
                    const double value = part * (drawing.isPremultiplied ? alpha : white);
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

bool isIn(const OfxRectI& area, int x, int y) {
    return x >= area.x1 && x < area.x2 && y >= area.y1 && y < area.y2;
}

/// The scene's frame by the renderer, from the top, in its own values.
World wanted(const Scene& scene) {
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
int wrongValues(const Scene& scene) {
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

void expectDrawn(const Scene& scene) {
    EXPECT_EQ(wrongValues(scene), 0) << scene.drawing.name;
    EXPECT_EQ(OpenFXHost::openPictures, 0) << scene.drawing.name;
}

Drawing away(Drawing drawing, int x, int y) {
    for (OfxRectI* area : {&drawing.source, &drawing.region, &drawing.output, &drawing.window}) {
        *area = {area->x1 + x, area->y1 + y, area->x2 + x, area->y2 + y};
    }
    return drawing;
}

std::vector<Drawing> drawings() {
    std::vector<Drawing> all;
    for (const char* depth : {kOfxBitDepthByte, kOfxBitDepthShort, kOfxBitDepthFloat}) {
        const Drawing plain{.name = depth, .depth = depth};
        all.push_back(plain);
        all.push_back(away(plain, -400, 123));
        Drawing one = plain;
        one.upsideDown = true;
        all.push_back(away(one, 9, -90));
        one = plain;
        one.isPremultiplied = true;
        all.push_back(one);
        one.isOpaque = true;
        all.push_back(one);
        one = plain; // a part of the source, more than the output, a window in it
        one.source = {-3, 5, 30, 40};
        one.output = {-9, -4, 45, 20};
        one.window = {-6, 2, 41, 18};
        all.push_back(away(one, 77, -50));
        one.window = {50, 50, 60, 60};
        all.push_back(one);
    }
    using Pair = std::array<double, 2>;
    const auto scaled = [&](const char* name, Pair scale, double aspect, double angle,
                            double distance, double drawnAngle) {
        all.push_back({.name = name,
                       .depth = kOfxBitDepthFloat,
                       .scale = scale,
                       .argumentScale = {0.9, 0.9},
                       .aspect = aspect,
                       .distance = 8,
                       .angle = angle,
                       .drawnDistance = distance,
                       .drawnAngle = drawnAngle});
    };
    scaled("half", {0.5, 0.5}, 1, 30, 4, 30);
    scaled("a third", {1 / 3.0, 1 / 3.0}, 1, -75, 8 / 3.0, -75);
    scaled("rows halved, along", {1, 0.5}, 1, 0, 8.000001, 0);
    scaled("rows halved, down", {1, 0.5}, 1, 90, 4, 90);
    scaled("rows halved, slanting", {1, 0.5}, 1, 45, std::sqrt(40.0),
           std::atan(0.5) * 45 / std::atan(1.0));
    scaled("wide pixels", {1, 1}, 2, 180, 4, 180);
    scaled("wide pixels at half height", {1, 0.5}, 2, 200, 4, 200);
    return all;
}

TEST(OpenFX, DrawsWhatTheRendererDraws) {
    for (const Drawing& drawing : drawings()) {
        Scene scene(drawing);
        ASSERT_EQ(scene.render(), kOfxStatOK) << drawing.name << ": " << OpenFXHost::message;
        expectDrawn(scene);
    }
}

TEST(OpenFX, TakesWhatHostsLeaveOut) {
    struct Row {
        const char* missing;
        double argumentScale;
        bool isPremultiplied;
        std::vector<OpenFXProperties::Value> instead;
    };
    const int endless = 1 << 30;
    const Row rows[] = {{kOfxImageEffectPropRenderScale, 0.5, false, {}},
                        {kOfxImagePropPixelAspectRatio, 1, false, {}},
                        {kOfxImagePropPixelAspectRatio, 1, false, {0.0}},
                        {kOfxImagePropRegionOfDefinition, 1, false, {}},
                        {kOfxImagePropRegionOfDefinition, 1, false, {-endless, 0, endless, 23}},
                        {kOfxImageEffectPropPreMultiplication, 1, true, {}}};
    for (const Row& row : rows) {
        const bool isHalf = row.argumentScale == 0.5;
        Scene scene({.name = row.missing,
                     .isPremultiplied = row.isPremultiplied,
                     .argumentScale = {row.argumentScale, row.argumentScale},
                     .drawnDistance = isHalf ? 2.625 : 5.25});
        for (OpenFXPicture* picture : {&scene.source, &scene.output}) {
            picture->properties.values.erase(row.missing);
            if (!row.instead.empty()) {
                picture->properties.values[row.missing] = row.instead;
            }
        }
        EXPECT_EQ(scene.render(), kOfxStatOK) << row.missing << ": " << OpenFXHost::message;
        expectDrawn(scene);
    }
    Scene scene({.name = "no source"});
    scene.effect.clips["Source"].picture = nullptr;
    EXPECT_EQ(scene.render(), kOfxStatOK);
    for (int i = 0; i < 37 * 23 * 4; ++i) {
        ASSERT_EQ(scene.output.get(i / 4 % 37, i / 148, i % 4), 0);
    }
}

TEST(OpenFX, ShiftsDownAtNinetyDegreesAndKeepsItsValuesInRange) {
    for (const double angle : {90.0, 90.0 - 360 * 1000}) {
        Scene scene({.name = "dot", .distance = 4, .angle = angle, .isOpaque = true});
        for (const char* name : {"scaleR", "scaleG", "scaleB"}) {
            scene.set(name, 100);
        }
        scene.set("lightnessG", 0);
        scene.set("lightnessB", -1e9); // black
        scene.set("channelOrder", 0);
        for (int i = 0; i < 37 * 23 * 4; ++i) {
            scene.source.set(i / 4 % 37, i / 148, i % 4, i % 4 == 3 ? 255 : 0);
        }
        for (int i = 0; i < 3; ++i) {
            scene.source.set(18, 11, i, 255);
        }
        ASSERT_EQ(scene.render(), kOfxStatOK) << OpenFXHost::message;
        std::string lit;
        for (int i = 0; i < 37 * 23 * 4; ++i) {
            if (i % 4 != 3 && scene.output.get(i / 4 % 37, i / 148, i % 4) > 0) {
                lit +=
                    "RGB"[i % 4] + std::to_string(i / 4 % 37) + "," + std::to_string(i / 148) + " ";
            }
        }
        EXPECT_EQ(lit, "R18,7 G18,11 ");
    }
}

TEST(OpenFX, RefusesWithTheReason) {
    struct Row {
        const char* property;
        OpenFXProperties::Value value;
        OfxStatus status;
        const char* message;
    };
    const Row rows[] = {
        {kOfxImageEffectPropComponents, std::string("OfxImageComponentAlpha"), 1000,
         "ComponentAlpha"},
        {kOfxImageEffectPropPixelDepth, std::string("OfxBitDepthHalf"), 1000, "OfxBitDepthHalf"},
        {kOfxImageEffectPropPixelDepth, std::string(kOfxBitDepthFloat), 1, "rows of"},
        {kOfxImagePropRowBytes, -147, 1, "rows of -147 bytes for 148"},
        {kOfxImagePropData, static_cast<void*>(nullptr), 1, "no memory"},
    };
    for (const Row& row : rows) {
        for (const bool ofSource : {true, false}) {
            Scene scene({.name = row.message});
            (ofSource ? scene.source : scene.output).properties.values[row.property] = {row.value};
            EXPECT_EQ(scene.render(), row.status) << row.message;
            EXPECT_THAT(OpenFXHost::message, testing::HasSubstr(row.message));
            EXPECT_EQ(OpenFXHost::openPictures, 0);
        }
    }
    Scene scene({.name = "values"});
    scene.set("channelOrder", 6);
    EXPECT_EQ(scene.render(), kOfxStatFailed);
    EXPECT_THAT(OpenFXHost::message, testing::HasSubstr("GBR, BRG or BGR, not 7"));
    scene.set("channelOrder", 0);
    scene.set("shiftAngle", NAN);
    EXPECT_EQ(scene.render(), kOfxStatFailed);
    EXPECT_THAT(OpenFXHost::message, testing::HasSubstr("Shift Angle"));
    scene.set("shiftAngle", 0);
    scene.effect.clips["Output"].picture = nullptr;
    EXPECT_EQ(scene.render(), kOfxStatFailed);
    EXPECT_EQ(act("OfxActionBeginInstanceEdit", scene.effect), kOfxStatReplyDefault);
    EXPECT_EQ(act(kOfxImageEffectActionRender, scene.effect), kOfxStatErrBadHandle);
}

TEST(OpenFX, PassesThroughWhatItWouldCopy) {
    struct Row {
        const char* depth;
        bool isPremultiplied, isIdentity;
    };
    const Row rows[] = {{kOfxBitDepthByte, false, false},
                        {kOfxBitDepthByte, true, true},
                        {kOfxBitDepthShort, false, true},
                        {kOfxBitDepthFloat, true, true}};
    for (const Row& row : rows) {
        Scene scene(
            {.name = row.depth, .depth = row.depth, .isPremultiplied = row.isPremultiplied});
        scene.source.set(4, 4, 3, 0); // light without cover
        for (auto& [name, parameter] : scene.effect.parameters) {
            const bool isScale = name.rfind("scale", 0) == 0;
            parameter.value = [isScale](double time) { return isScale && time == 3 ? 100 : 0; };
        }
        const auto ask = [&] {
            scene.answers.values.clear();
            return act(kOfxImageEffectActionIsIdentity, scene.effect, scene.arguments,
                       scene.answers);
        };
        EXPECT_EQ(ask(), row.isIdentity ? kOfxStatOK : kOfxStatReplyDefault) << row.depth;
        if (row.isIdentity) {
            EXPECT_EQ(valueOf<std::string>(scene.answers, kOfxPropName), "Source");
            EXPECT_EQ(valueOf<double>(scene.answers, kOfxPropTime), 3);
            EXPECT_EQ(scene.render(), kOfxStatOK);
            for (int i = 0; i < 37 * 23 * 4; ++i) {
                const int x = i / 4 % 37;
                ASSERT_EQ(scene.output.get(x, i / 148, i % 4), scene.source.get(x, i / 148, i % 4));
            }
        }
        scene.arguments.values[kOfxPropTime] = {2.0};
        EXPECT_EQ(ask(), kOfxStatReplyDefault) << row.depth;
    }
}

std::string outputOf(const std::string& command) {
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    for (int byte = 0; (byte = std::fgetc(pipe)) != EOF;) {
        text += static_cast<char>(byte);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

// A host's own libraries, drivers and script engines must not meet ours.
TEST(OpenFXModule, ExportsTwoFunctionsAndNeedsFewLibraries) {
    const std::string file = " '" OPENFX_MODULE "'";
    EXPECT_EQ(outputOf("nm -D --defined-only" + file + " | cut -d ' ' -f 3"),
              "OfxGetNumberOfPlugins\nOfxGetPlugin\n");
    EXPECT_THAT(
        outputOf("readelf -d" + file),
        testing::AllOf(testing::HasSubstr("NODELETE"), testing::HasSubstr("libhwy"),
                       testing::Not(testing::ContainsRegex("duktape|libav|EGL|GL\\.so|glb"))));
    EXPECT_EQ(reinterpret_cast<int (*)()>(dlsym(module(), "OfxGetNumberOfPlugins"))(), 1);
    EXPECT_EQ(reinterpret_cast<OfxPlugin* (*)(int)>(dlsym(module(), "OfxGetPlugin"))(1), nullptr);
}

TEST(OpenFX, TellsWhatItIs) {
    OpenFXEffect effect;
    ASSERT_EQ(described(effect), kOfxStatOK);
    EXPECT_STREQ(plugin().pluginApi, "OfxImageEffectPluginAPI");
    EXPECT_STREQ(plugin().pluginIdentifier, "net.vexorel.PrismDrift");
    const auto textAt = [&](const char* name, std::size_t index) {
        return valueOf<std::string>(effect.properties, name, index);
    };
    EXPECT_EQ(textAt(kOfxImageEffectPropSupportedContexts, 1), "OfxImageEffectContextGeneral");
    EXPECT_EQ(textAt(kOfxImageEffectPropSupportedPixelDepths, 2), "OfxBitDepthFloat");
    EXPECT_EQ(textAt(kOfxImageEffectPluginRenderThreadSafety, 0), "OfxImageEffectRenderFullySafe");
    EXPECT_EQ(valueOf<int>(effect.properties, kOfxImageEffectPropSupportsTiles), 0);
    // "identifier parent default minimum maximum", for projects that are stored.
    std::vector<std::string> described;
    for (const std::string& name : effect.order) {
        const OpenFXParameter& parameter = effect.parameters.at(name);
        std::string text = name;
        if (parameter.properties.values.count(kOfxParamPropParent) != 0) {
            text += " in " + valueOf<std::string>(parameter.properties, kOfxParamPropParent);
        }
        if (parameter.type == kOfxParamTypeDouble) {
            for (const char* of :
                 {kOfxParamPropMin, kOfxParamPropDefault, kOfxParamPropDisplayMax}) {
                text +=
                    " " + std::to_string(std::lround(valueOf<double>(parameter.properties, of)));
            }
        }
        described.push_back(text);
    }
    EXPECT_THAT(described,
                testing::ElementsAre(
                    "channelOrder", "shiftAngle -32768 0 180", "shiftDistance -1000 0 1000",
                    "channelScale", "scaleR in channelScale 0 100 200",
                    "scaleG in channelScale 0 100 200", "scaleB in channelScale 0 100 200",
                    "channelLightness", "lightnessR in channelLightness -100 0 100",
                    "lightnessG in channelLightness -100 0 100",
                    "lightnessB in channelLightness -100 0 100"));
    const OpenFXProperties& order = effect.parameters.at("channelOrder").properties;
    EXPECT_EQ(order.values.at(kOfxParamPropChoiceOption).size(), 6U);
    EXPECT_EQ(valueOf<std::string>(order, kOfxParamPropChoiceOption, 5), "BGR");
    EXPECT_EQ(valueOf<int>(order, kOfxParamPropAnimates), 0);
    EXPECT_EQ(valueOf<int>(order, kOfxParamPropDefault), 0);
    EXPECT_EQ(valueOf<std::string>(effect.parameters.at("shiftAngle").properties,
                                   kOfxParamPropDoubleType),
              "OfxParamDoubleTypeAngle");
    Scene scene({.name = "regions"});
    EXPECT_EQ(act(kOfxImageEffectActionGetRegionsOfInterest, scene.effect, scene.arguments,
                  scene.answers),
              kOfxStatOK);
    EXPECT_EQ(scene.answers.values.at("OfxImageClipPropRoI_Source"),
              (std::vector<OpenFXProperties::Value>{-1.0, -2.0, 50.0, 60.0}));
}

// Every call of the host fails once. The picture is right or the host is told.
TEST(OpenFX, SurvivesEveryFailureOfTheHost) {
    for (const OfxStatus failure : std::initializer_list<OfxStatus>{1, 3, 8, 13}) {
        OpenFXHost::failure = failure;
        int told = 0;
        for (int call = 1;; ++call) {
            OpenFXHost::failed = "";
            OpenFXEffect effect;
            OpenFXHost::calls = 0;
            OpenFXHost::failing = call;
            const OfxStatus describing = described(effect);
            OpenFXHost::failing = 0;
            Scene scene({.name = "failing", .scale = {0.5, 0.5}, .drawnDistance = 2.625});
            OpenFXHost::failing = call;
            const int before = OpenFXHost::calls = 0;
            const OfxStatus drawing = scene.render();
            for (const char* action :
                 {kOfxImageEffectActionIsIdentity, kOfxImageEffectActionGetRegionsOfInterest}) {
                OpenFXHost::calls = before;
                const OfxStatus status = act(action, scene.effect, scene.arguments, scene.answers);
                EXPECT_NE(status, failure == 13 ? 13 : -1) << OpenFXHost::failed;
            }
            OpenFXHost::failing = 0;
            EXPECT_EQ(OpenFXHost::openPictures, 0) << OpenFXHost::failed;
            if (*OpenFXHost::failed == '\0') {
                break;
            }
            told += (describing != kOfxStatOK) + (drawing != kOfxStatOK);
            const bool isMissing = failure == kOfxStatFailed && scene.output.get(9, 9, 3) == 0;
            if (drawing == kOfxStatOK && !isMissing) {
                expectDrawn(scene);
            }
        }
        EXPECT_GT(told, 40);
    }
    for (const char* missing :
         {kOfxPropertySuite, kOfxImageEffectSuite, kOfxParameterSuite, kOfxMessageSuite}) {
        OpenFXHost::missingSuites = {missing};
        OpenFXEffect effect;
        const bool isNeeded = missing != kOfxMessageSuite;
        EXPECT_EQ(described(effect), isNeeded ? kOfxStatErrMissingHostFeature : kOfxStatOK);
        OpenFXHost::missingSuites.clear();
    }
    plugin().setHost(nullptr);
    OpenFXEffect effect;
    EXPECT_EQ(act(kOfxActionDescribe, effect), kOfxStatErrMissingHostFeature);
}

// Loaded, described and made anew at each frame, on all threads at once, and never unloaded.
TEST(OpenFX, ServesEightThreadsAndThousandsOfInstances) {
    testing::internal::CaptureStdout();
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([i] {
            const auto& all = drawings();
            for (std::size_t frame = 0; frame < 150; ++frame) {
                Scene scene(all[(frame + static_cast<std::size_t>(i) * 5) % all.size()]);
                EXPECT_EQ(scene.render(), kOfxStatOK);
                EXPECT_EQ(wrongValues(scene), 0) << scene.drawing.name;
                EXPECT_EQ(act(kOfxActionDestroyInstance, scene.effect), kOfxStatOK);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(OpenFXHost::openPictures, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

} // namespace
} // namespace Testing
