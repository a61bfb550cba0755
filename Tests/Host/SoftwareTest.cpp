// The renderer in software: against exact arithmetic, against the plug-in, and against its own
// plain form on every vector unit.

#include "Host/Software/Software.h"

#include "Host/Software/Drawing.h"
#include "Plugins/PrismDrift/Sources/Embedded.h"
#include "Tests/Host/ErrorOf.h"
#include "Tests/Host/FakeEffect.h"
#include "Tests/Host/SoftwareCases.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <hwy/highway.h>
#include <limits>
#include <thread>

using namespace Vexorel::PrismDrift;
using namespace Vexorel::PrismDrift::Host;
using testing::HasSubstr;

namespace {

constexpr PF_PixelFormat formats[] = {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64,
                                      PF_PixelFormat_ARGB128};

/// The share that a pixel of an axis has in a value, and the next one's; along one side.
struct Neighbours {
    int first, second;
    double share;
};

/// `Number` is what positions are worked out in: float as the shader does, or double.
template <typename Number>
Neighbours neighbours(double inverse, double shift, int length, int pixel) {
    const double middle = static_cast<float>(length) * 0.5F;
    const auto factor = static_cast<Number>(inverse);
    const auto offset = static_cast<Number>(middle + shift + inverse * -middle);
    const Number place = factor * (static_cast<Number>(pixel) + Number(0.5)) + offset;
    const Number part = place / static_cast<Number>(length);
    Number at = (part - std::floor(part)) * static_cast<Number>(length) - Number(0.5);
    if constexpr (std::is_same_v<Number, double>) {
        at = std::fmod(std::fmod(place, length) + length, length) - 0.5;
    }
    if (std::isnan(at)) {
        return {length - 1, length - 1, 0};
    }
    const int first = static_cast<int>(std::floor(at));
    return {std::clamp(first, 0, length - 1), std::clamp(first + 1, 0, length - 1),
            static_cast<double>(at) - first};
}

/// What exact arithmetic makes of a channel, 1 for red, at that pixel; straight.
template <typename Number>
double exact(const World& input, const ChannelValues& values, int x, int y, int channel) {
    constexpr std::string_view orders = "RGBRBGGRBGBRBRGBGR";
    const auto c = static_cast<std::size_t>(channel - 1);
    const float factor =
        values.order < 0
            ? 1.0F
            : static_cast<float>(
                  orders.substr(static_cast<std::size_t>(values.order) * 3, 3).find("RGB"[c])) -
                  1.0F;
    const double radians = double{values.angle} * (3.14159265358979323846 / 180.0);
    const double shift = factor * values.distance;
    const double inverse =
        values.scale[c] == 0
            ? 0.0
            : static_cast<double>(static_cast<float>(1.0 / static_cast<double>(values.scale[c])));
    const auto across = neighbours<Number>(
        inverse, values.angle == 0 ? shift : shift * std::cos(radians), input.width(), x);
    const auto down = neighbours<Number>(inverse, values.angle == 0 ? 0 : shift * std::sin(radians),
                                         input.height(), y);
    const auto row = [&](int r) {
        return valueAt(input, across.first, r, channel) * (1 - across.share) +
               valueAt(input, across.second, r, channel) * across.share;
    };
    const double read = row(down.first) * (1 - down.share) + row(down.second) * down.share;
    const double lightness = values.lightness[c];
    return lightness >= 0 ? read + (whiteOf(input.format()) - read) * lightness
                          : read * (1 + lightness);
}

/// Calls for all values of both worlds, colours and alpha (0).
template <typename Check>
void forValues(const World& world, const Check& check) {
    for (int y = 0; y < world.height(); ++y) {
        for (int x = 0; x < world.width(); ++x) {
            for (int channel = 0; channel < 4; ++channel) {
                check(x, y, channel);
            }
        }
    }
}

World drawn(const World& input, const ChannelValues& values, unsigned threads = 0) {
    World output(input.width(), input.height(), input.format());
    renderInSoftware(input, output, {values, threads});
    return output;
}

Drawing drawingOf(const World& input, World& output, const SoftwareSettings& settings) {
    return {{input.row(0), input.rowBytes(), input.width(), input.height()},
            {output.row(0), output.rowBytes(), output.width(), output.height()},
            input.format(),
            settings};
}

/// The first row that differs between worlds of one size; -1 for none.
int firstDifference(const World& one, const World& other) {
    const auto bytes = static_cast<std::size_t>(one.width()) * one.pixelBytes();
    for (int y = 0; y < one.height(); ++y) {
        if (std::memcmp(one.row(y), other.row(y), bytes) != 0) {
            return y;
        }
    }
    return -1;
}

/// What the premultiplied target holds for a colour.
double stored(double value, double alpha) {
    return std::round(value * alpha / 255.0);
}

void expectExactBytes(const World& input, const ChannelValues& values) {
    const World output = drawn(input, values);
    double worst = 0;
    double worstStep = 0; // of the target
    forValues(output, [&](int x, int y, int channel) {
        const double value = valueAt(output, x, y, channel);
        const double alpha = valueAt(input, x, y, 0);
        if (channel == 0) {
            ASSERT_EQ(value, alpha);
            return;
        }
        const double right = exact<float>(input, values, x, y, channel);
        if (alpha == 255) {
            worst = std::max(worst, std::abs(value - right));
        } else if (alpha == 0) {
            ASSERT_EQ(value, 0);
        } else {
            const double step = stored(value, alpha);
            ASSERT_NEAR(value, step * 255 / alpha, 0.5001) << "not one of its colours";
            worstStep = std::max(worstStep, std::abs(step - right * alpha / 255));
        }
    });
    EXPECT_LE(worst, 0.53);
    EXPECT_LE(worstStep, 1.0);
}

TEST(Software, DrawsBytesWithinHalfALevelOfExactArithmetic) {
    for (unsigned seed = 0; seed < 120; ++seed) {
        SCOPED_TRACE(seed);
        Case random(seed);
        const World input = random.world(PF_PixelFormat_ARGB32);
        expectExactBytes(input, random.values());
    }
    // Where the frame is wide, single precision leaves even whole pixels between two neighbours.
    // The lightness makes black and white almost a half, so that a trace of a neighbour counts.
    for (const float distance : {0.0F, 16.0F}) {
        SCOPED_TRACE(distance);
        ChannelValues values;
        values.distance = distance;
        expectExactBytes(Case(1).world(PF_PixelFormat_ARGB32, 7001, 3), values);
        values.lightness = {1 / 512.0F, 1 / 512.0F, -1 / 512.0F};
        expectExactBytes(Case(2).world(PF_PixelFormat_ARGB32, 7001, 9), values);
    }
}

TEST(Software, DrawsBytesAsThePlugInDoes) {
    HostedEffect plugIn(&EntryPointFunc);
    for (unsigned seed = 1000; seed < 1060; ++seed) {
        Case random(seed);
        const World input = random.world(PF_PixelFormat_ARGB32);
        ParameterValues values = plugIn.defaultValues();
        values.set(1, random.one({1, 2, 3, 4, 5, 6}));
        values.set(2, random.one({0.0, 90.0, random.number(-400, 400)}));
        values.set(3, random.one({0.0, 16.0, -1000.0, random.number(-1000, 1000)}));
        for (int i = 0; i < 3; ++i) {
            // The smallest scales have no inverse in single precision.
            values.set(5 + i, random.one({100.0, 0.0, 200.0, 1e-37, random.number(0, 200)}));
            values.set(10 + i, random.one({0.0, 100.0, -100.0, random.number(-100, 100)}));
        }
        const FrameSettings frame{{}, random.one({1U, 3U})};
        World right(input.width(), input.height());
        plugIn.render(input, right, values, frame);
        World output(input.width(), input.height());
        renderInSoftware(input, output, softwareSettings(values, frame));
        double worst = 0;
        forValues(output, [&](int x, int y, int channel) {
            const double alpha = valueAt(input, x, y, 0);
            const double difference =
                alpha == 0 || channel == 0
                    ? (valueAt(output, x, y, channel) == (channel == 0 ? alpha : 0) ? 0 : 256)
                    : std::abs(stored(valueAt(output, x, y, channel), alpha) -
                               stored(valueAt(right, x, y, channel), alpha));
            worst = std::max(worst, difference);
        });
        EXPECT_LE(worst, 1) << "seed " << seed;
    }
}

TEST(Software, DrawsDeepWorldsExactly) {
    for (unsigned seed = 2000; seed < 2080; ++seed) {
        Case random(seed);
        const bool isFloat = seed % 2 == 0;
        const World input = random.world(isFloat ? PF_PixelFormat_ARGB128 : PF_PixelFormat_ARGB64);
        const ChannelValues values = random.values();
        const World output = drawn(input, values);
        double worst = 0;
        forValues(output, [&](int x, int y, int channel) {
            const double value = valueAt(output, x, y, channel);
            if (channel == 0) {
                ASSERT_EQ(value, valueAt(input, x, y, 0));
            } else {
                worst =
                    std::max(worst, std::abs(value - exact<double>(input, values, x, y, channel)));
            }
        });
        EXPECT_LE(worst, isFloat ? 1e-6 : 0.51) << "seed " << seed;
    }
    for (const PF_PixelFormat format : formats) { // neutral, and there and back by whole pixels
        Case random(1);
        World input = random.world(format);
        ChannelValues there;
        there.distance = 5;
        ChannelValues back;
        back.distance = -5;
        const World same = drawn(drawn(drawn(input, {}), there), back);
        EXPECT_TRUE(format == PF_PixelFormat_ARGB32 || firstDifference(same, input) == -1);
    }
}

TEST(Software, IsNeutralWhereItCopiesEveryPixel) {
    const struct {
        const char* what;
        void (*change)(ChannelValues&);
        bool isNeutral;
    } rows[] = {
        {"nothing", [](ChannelValues&) {}, true},
        {"an order and an angle alone", [](ChannelValues& v) { v.order = BGR, v.angle = 33; },
         true},
        {"once round", [](ChannelValues& v) { v.distance = 8, v.angle = 360; }, true},
        {"round and back", [](ChannelValues& v) { v.distance = -16, v.angle = -180; }, true},
        {"a lightness of -0", [](ChannelValues& v) { v.lightness[1] = -0.0F; }, true},
        {"no lightness", [](ChannelValues& v) { v.lightness[1] = NAN; }, true},
        {"a trace of lightness", [](ChannelValues& v) { v.lightness[2] = 1e-7F; }, false},
        {"a scale nearly 1", [](ChannelValues& v) { v.scale[0] = 1.000001F; }, false},
        {"the next scale to 1", [](ChannelValues& v) { v.scale[0] = std::nextafter(1.0F, 0.0F); },
         false},
        {"a trace of a shift", [](ChannelValues& v) { v.distance = 1e-6F; }, false},
        {"nearly round", [](ChannelValues& v) { v.distance = 8.000001F; }, false},
        {"a row down", [](ChannelValues& v) { v.distance = 1, v.angle = 90; }, false},
        {"no place", [](ChannelValues& v) { v.distance = INFINITY; }, false},
    };
    for (const auto& [what, change, isNeutral] : rows) {
        SCOPED_TRACE(what);
        ChannelValues values;
        change(values);
        for (const PF_PixelFormat format : formats) {
            World input = Case(3).world(format, 8, 4);
            if (format == PF_PixelFormat_ARGB128) { // copied all the same
                setValue(input, 1, 1, 1, NAN);
                setValue(input, 2, 1, 2, -INFINITY);
                setValue(input, 3, 1, 3, -0.0);
            }
            const bool copies = isNeutral && format != PF_PixelFormat_ARGB32;
            EXPECT_EQ(Host::isNeutral(input, {values}), copies);
            EXPECT_TRUE(!copies || firstDifference(drawn(input, values), input) == -1);
        }
    }
}

TEST(Software, KeepsWhatIsNoNumberInThePixelsThatReadIt) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    World input(9, 4, PF_PixelFormat_ARGB128);
    forValues(input, [&](int x, int y, int channel) { setValue(input, x, y, channel, 0.5); });
    setValue(input, 4, 2, 1, NAN);
    setValue(input, 4, 2, 2, inf);
    setValue(input, 4, 2, 3, -inf);
    ChannelValues values;
    values.order = BRG; // red stays, green goes left by half a pixel, blue right
    values.distance = 0.5F;
    const World output = drawn(input, values);
    World plain(9, 4, PF_PixelFormat_ARGB128);
    draw(drawingOf(input, plain, {values, 1}), plainSteps());
    forValues(output, [&](int x, int y, int channel) {
        const double value = valueAt(output, x, y, channel);
        EXPECT_EQ(std::isfinite(value), std::isfinite(valueAt(plain, x, y, channel)));
        const bool reads =
            y == 2 && ((channel == 1 && x == 4) || (channel == 2 && (x == 3 || x == 4)) ||
                       (channel == 3 && (x == 4 || x == 5)));
        EXPECT_EQ(std::isfinite(value), !reads) << x << " " << y << " " << channel;
        EXPECT_TRUE(reads || value == 0.5);
    });
    values.distance = 9; // once round
    values.angle = 180;
    EXPECT_EQ(firstDifference(drawn(input, values), input), -1);
    values.lightness = {1, -1, 1};
    const World flat = drawn(input, values);
    forValues(flat, [&](int x, int y, int channel) {
        EXPECT_EQ(valueAt(flat, x, y, channel), channel == 0 ? 0.5 : channel % 2);
    });
}

TEST(Software, GivesTheSameBytesOnEveryVectorUnit) {
    const auto units = hwy::SupportedAndGeneratedTargets();
    EXPECT_FALSE(units.empty());
    for (unsigned seed = 3000; seed < 3150; ++seed) {
        Case random(seed);
        const World input = random.world(formats[seed % 3]);
        const SoftwareSettings settings{random.values(), 1};
        World plain(input.width(), input.height(), input.format());
        draw(drawingOf(input, plain, settings), plainSteps());
        for (const std::int64_t unit : units) {
            hwy::SetSupportedTargetsForTest(unit);
            hwy::GetChosenTarget().Update(hwy::SupportedTargets());
            const World output = drawn(input, settings.values, 1);
            ASSERT_EQ(firstDifference(output, plain), -1)
                << hwy::TargetName(unit) << ", seed " << seed;
        }
        hwy::SetSupportedTargetsForTest(0);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }
}

/// Pixels of someone else in the midst of memory that must stay as it is.
struct Foreign {
    Foreign(int width, int height, PF_PixelFormat format, std::ptrdiff_t gap, bool isUpwards)
        : pixelBytes(World(1, 1, format).pixelBytes()),
          rowBytes(static_cast<std::ptrdiff_t>(pixelBytes) * width + gap),
          memory(static_cast<std::size_t>(rowBytes * height) + 100, 0xA5) {
        layer.data = memory.data() + 3 + (isUpwards ? rowBytes * (height - 1) : 0);
        layer.rowbytes = static_cast<std::int32_t>(isUpwards ? -rowBytes : rowBytes);
        layer.width = width;
        layer.height = height;
    }
    std::uint8_t* row(int y) const {
        return static_cast<std::uint8_t*>(layer.data) + std::ptrdiff_t{y} * layer.rowbytes;
    }

    std::size_t pixelBytes;
    std::ptrdiff_t rowBytes;
    std::vector<std::uint8_t> memory;
    PF_LayerDef layer{};
};

TEST(Software, DrawsInAnyRowsAndTouchesNothingElse) {
    for (unsigned seed = 4000; seed < 4060; ++seed) {
        Case random(seed);
        const World input = random.world(formats[seed % 3]);
        const ChannelValues values = seed % 5 == 0 ? ChannelValues() : random.values();
        const World right = drawn(input, values);
        const Foreign source(input.width(), input.height(), input.format(),
                             random.one<std::ptrdiff_t>({0, 1, 61}), seed % 2 == 0);
        const std::size_t bytes = source.pixelBytes;
        for (int y = 0; y < input.height(); ++y) {
            std::memcpy(source.row(y), input.row(y),
                        bytes * static_cast<std::size_t>(input.width()));
        }
        const int width = std::max(1, input.width() + random.one({-5, 0, 3}));
        const int height = std::max(1, input.height() + random.one({-3, 0, 2}));
        Foreign result(width, height, input.format(), random.one<std::ptrdiff_t>({0, 2, 40}),
                       seed % 4 < 2);
        renderInSoftware(source.layer, result.layer, input.format(), {values});
        const auto columns = static_cast<std::size_t>(std::min(width, input.width()));
        for (int y = 0; y < std::min(height, input.height()); ++y) {
            ASSERT_EQ(std::memcmp(result.row(y), right.row(y), bytes * columns), 0) << seed;
            std::memset(result.row(y), 0xA5, bytes * columns);
        }
        EXPECT_EQ(result.memory, std::vector<std::uint8_t>(result.memory.size(), 0xA5)) << seed;
    }
}

// Large enough to be written past the caches.
TEST(Software, DrawsTheSameInAnyNumberOfThreadsSeveralAtOnce) {
    Case random(7);
    World input(1027, 1023, PF_PixelFormat_ARGB128);
    forValues(input, [&](int x, int y, int channel) {
        setValue(input, x, y, channel, (x * 7 + y * 13 + channel) % 256 / 255.0);
    });
    ChannelValues values = random.values();
    values.distance = 33.3F;
    values.angle = 70;
    World right(input.width(), input.height(), input.format());
    draw(drawingOf(input, right, {values, 1}), plainSteps());
    std::vector<std::thread> threads;
    for (const unsigned count : {0U, 1U, 2U, 5U}) {
        threads.emplace_back([&, count] {
            const World output = drawn(input, values, count);
            EXPECT_EQ(firstDifference(output, right), -1) << count;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Software, RefusesWorldsThatCanNotBeDrawnAndLeavesThemAlone) {
    Foreign one(4, 3, PF_PixelFormat_ARGB32, 4, false);
    Foreign two(4, 3, PF_PixelFormat_ARGB32, 4, false);
    const auto with = [](const Foreign& foreign, auto PF_LayerDef::*field, auto value) {
        PF_LayerDef layer = foreign.layer;
        layer.*field = value;
        return layer;
    };
    const struct {
        PF_LayerDef input, output;
        int format;
        const char* what;
    } rows[] = {
        {one.layer, two.layer, 7, "no pixel format has the number 7"},
        {with(one, &PF_LayerDef::data, nullptr), two.layer, PF_PixelFormat_ARGB32,
         "the input world has no memory"},
        {one.layer, with(two, &PF_LayerDef::data, nullptr), PF_PixelFormat_ARGB32,
         "the output world has no memory"},
        {with(one, &PF_LayerDef::width, 0), two.layer, PF_PixelFormat_ARGB32,
         "the input world has 0x3 pixels; a side has 1 to 65535"},
        {one.layer, with(two, &PF_LayerDef::height, 65536), PF_PixelFormat_ARGB32,
         "the output world has 4x65536 pixels; a side has 1 to 65535"},
        {one.layer, two.layer, PF_PixelFormat_ARGB64,
         "a row of the input world has 20 bytes; its pixels take 32"},
        {one.layer, with(two, &PF_LayerDef::rowbytes, -15), PF_PixelFormat_ARGB32,
         "a row of the output world has -15 bytes; its pixels take 16"},
        {one.layer, one.layer, PF_PixelFormat_ARGB32, "share memory"},
        {one.layer, with(one, &PF_LayerDef::data, one.row(2) + 12), PF_PixelFormat_ARGB32,
         "share memory"},
    };
    for (const auto& [input, output, format, what] : rows) {
        const auto render = [&, from = input, to = output, number = format] {
            renderInSoftware(from, to, static_cast<PF_PixelFormat>(number), {});
        };
        EXPECT_THAT(errorOf(render), HasSubstr(what));
    }
    World deep(4, 3, PF_PixelFormat_ARGB64);
    World gone(4, 3);
    const World taken = std::move(gone);
    EXPECT_THAT(errorOf([&] { renderInSoftware(taken, deep, {}); }), HasSubstr("different pixel"));
    EXPECT_THAT(
        errorOf([&] { renderInSoftware(taken, gone, {}); }), // NOLINT(bugprone-use-after-move)
        HasSubstr("no memory"));
    EXPECT_EQ(one.memory, std::vector<std::uint8_t>(one.memory.size(), 0xA5));
    EXPECT_EQ(two.memory, std::vector<std::uint8_t>(two.memory.size(), 0xA5));
}

TEST(Software, BindsToThePublishedParametersAtTheFramesTime) {
    const HostedEffect effect(&EntryPointFunc);
    ParameterValues values = effect.defaultValues();
    values.set(1, 3);
    values.set(2, 36.00001);
    values.set(3, Keyframes::parse("0=0;20=10", effect.parameters()[2]));
    for (int i = 0; i < 3; ++i) {
        values.set(5 + i, 110 - i);
        values.set(10 + i, 10 * i - 10);
    }
    values.resolve({});
    const ChannelValues bound = softwareSettings(values, {{500, 50, 600}, 4}).values;
    EXPECT_EQ(bound.order, GRB);
    EXPECT_EQ(bound.angle, static_cast<float>(std::round(36.00001 * 65536) / 65536.0));
    EXPECT_EQ(bound.distance, 1.25F);
    EXPECT_THAT(bound.scale, testing::ElementsAre(1.1F, 1.09F, 1.08F));
    EXPECT_THAT(bound.lightness, testing::ElementsAre(-0.1F, 0.0F, 0.1F));

    auto others = std::make_shared<std::vector<Parameter>>(effect.parameters());
    (*others)[2].kind = ParameterKind::Angle;
    EXPECT_THAT(errorOf([&] { softwareSettings(ParameterValues(others), {}); }),
                HasSubstr("not Prism Drift: its parameter 3"));
    others->pop_back();
    others->erase(others->begin());
    EXPECT_THAT(errorOf([&] { softwareSettings(ParameterValues(others), {}); }),
                HasSubstr("not Prism Drift"));
}

} // namespace
