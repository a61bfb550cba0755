// The plug-in from outside: opened as hosts do, and asked to draw for a host of our own.

#include "Tests/Host/OpenFX/OpenFXScene.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <thread>
#include <utility>

namespace Testing {
namespace {

void expectDrawn(const Scene& scene) {
    EXPECT_EQ(wrongValues(scene), 0) << scene.drawing.name;
    EXPECT_EQ(OpenFXHost::openPictures, 0) << scene.drawing.name;
}

template <typename Function>
void forEachValue(const Function& function) {
    for (int i = 0; i < 37 * 23 * 4; ++i) {
        function(i / 4 % 37, i / (4 * 37), i % 4);
    }
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
    Drawing large{.name = "several bands", .depth = kOfxBitDepthFloat};
    large.source = large.region = large.output = large.window = {-7, 3, 393, 353};
    all.push_back(large);
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
    forEachValue([&](int x, int y, int channel) { ASSERT_EQ(scene.output.get(x, y, channel), 0); });
}

// Of interlaced material a host asks for one field after the other, in the same picture.
TEST(OpenFX, WritesTheFieldThatIsAskedFor) {
    const double untouched = OpenFXPicture(kOfxBitDepthByte, {0, 0, 1, 1}).get(0, 0, 0);
    const auto drawn = [](const char* field, bool hasSource) {
        Scene scene(away({.name = field}, 0, -5));
        scene.arguments.values[kOfxImageEffectPropFieldToRender] = {std::string(field)};
        scene.effect.clips["Source"].picture = hasSource ? &scene.source : nullptr;
        EXPECT_EQ(scene.render(), kOfxStatOK) << OpenFXHost::message;
        return scene.output;
    };
    for (const bool hasSource : {true, false}) {
        const OpenFXPicture both = drawn("OfxFieldBoth", hasSource);
        const OpenFXPicture lower = drawn("OfxFieldLower", hasSource);
        const OpenFXPicture upper = drawn("OfxFieldUpper", hasSource);
        forEachValue([&](int x, int row, int channel) {
            const int y = row - 5;
            const double value = both.get(x, y, channel);
            ASSERT_EQ(lower.get(x, y, channel), y % 2 == 0 ? value : untouched) << y;
            ASSERT_EQ(upper.get(x, y, channel), y % 2 == 0 ? untouched : value) << y;
        });
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
        forEachValue([&](int x, int y, int channel) {
            scene.source.set(x, y, channel, channel == 3 || (x == 18 && y == 14) ? 255 : 0);
        });
        ASSERT_EQ(scene.render(), kOfxStatOK) << OpenFXHost::message;
        std::string lit;
        forEachValue([&](int x, int y, int channel) {
            if (channel != 3 && scene.output.get(x, y, channel) > 0) {
                lit += "RGB"[channel] + std::to_string(x) + "," + std::to_string(y) + " ";
            }
        });
        EXPECT_EQ(lit, "R18,10 G18,14 ");
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
            forEachValue([&](int x, int y, int channel) {
                ASSERT_EQ(scene.output.get(x, y, channel), scene.source.get(x, y, channel));
            });
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
            Scene scene({.name = "failing",
                         .isPremultiplied = true,
                         .scale = {0.5, 0.5},
                         .drawnDistance = 2.625});
            const char* const describingFailed = std::exchange(OpenFXHost::failed, "");
            OpenFXHost::failing = call;
            const int before = OpenFXHost::calls = 0;
            const OfxStatus drawing = scene.render();
            // The standard's way to say that there is no picture.
            const bool isMissing =
                failure == kOfxStatFailed && OpenFXHost::failed == std::string("clipGetImage");
            if (drawing == kOfxStatOK && !isMissing) {
                expectDrawn(scene);
            }
            for (const char* action :
                 {kOfxImageEffectActionIsIdentity, kOfxImageEffectActionGetRegionsOfInterest}) {
                OpenFXHost::calls = before;
                const OfxStatus status = act(action, scene.effect, scene.arguments, scene.answers);
                EXPECT_NE(status, failure == 13 ? 13 : -1) << OpenFXHost::failed;
            }
            OpenFXHost::failing = 0;
            EXPECT_EQ(OpenFXHost::openPictures, 0) << OpenFXHost::failed;
            if (*describingFailed == '\0' && *OpenFXHost::failed == '\0') {
                break;
            }
            told += (describing != kOfxStatOK) + (drawing != kOfxStatOK);
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
