// The short texts that describe times, frames and numbers.

#include "Host/Library/HostedEffect.h"
#include "Host/Library/Number.h"
#include "Host/Library/Text.h"
#include "Host/Media/Clip.h"
#include "Host/Media/SequencePattern.h"
#include "Tests/Fuzz/Target.h"
#include "Tests/Host/FakeEffect.h"

#include <cmath>

using namespace Vexorel::PrismDrift::Host;

namespace {

void expectValues(const Keyframes& keyframes, const ParameterValues& defaults, int index,
                  std::optional<std::int64_t> count) {
    ParameterValues values = defaults;
    values.set(index, keyframes);
    const Parameter& parameter = values.parameters()[static_cast<std::size_t>(index) - 1];
    try {
        values.resolve({[count] { return count; },
                        [](double seconds) {
                            return nearestFrame(seconds, {30000, 1001});
                        }});
    } catch (const Error& error) {
        Fuzz::expectHolds(error.what(), parameter.fullName());
        return;
    }
    for (const std::int32_t frame : {0, 1, 7, 50, 2'000'000}) {
        const double value = values.at(index, {frame * 1001, 1001, 30000});
        EXPECT_TRUE(value >= parameter.minimum && value <= parameter.maximum) << value;
    }
    values.at(index, {INT32_MIN, 1, 1});
    values.at(index, {INT32_MAX, INT32_MAX, UINT32_MAX});
}

void expectKeyframes(std::string_view text, const ParameterValues& defaults, int index) {
    const Parameter& parameter = defaults.parameters()[static_cast<std::size_t>(index) - 1];
    try {
        const Keyframes keyframes = Keyframes::parse(text, parameter);
        EXPECT_EQ(keyframes.text(), trimmed(text));
        for (const auto count : {std::optional<std::int64_t>(), {1}, {8}, {1'000'000'000'000}}) {
            expectValues(keyframes, defaults, index, count);
        }
    } catch (const KeyframesError& error) {
        EXPECT_LE(error.place(), text.size());
        EXPECT_EQ(split(error.shown(), '\n').size(), 2U) << error.shown();
    }
}

void expectFrameNumbers(std::string_view text) {
    const auto frames = FrameNumbers::parse(text);
    if (!frames || frames->all()) {
        return;
    }
    EXPECT_TRUE(frames->contains(*frames->last()));
    EXPECT_EQ(frames->after(*frames->last()), std::nullopt);
    std::int64_t before = -1;
    for (int i = 0; i < 20; ++i) {
        const auto next = frames->after(before);
        ASSERT_EQ(next.has_value(), before < *frames->last());
        if (!next) {
            break;
        }
        EXPECT_TRUE(*next > before && frames->contains(*next)) << *next;
        before = *next;
    }
}

void expectOtherTexts(const std::string& text) {
    if (const auto number = parseNumber(text)) {
        EXPECT_EQ(parseNumber(numberText(*number)), number);
    }
    const auto whole = parseWholeNumber(text, -5, 1'000'000);
    EXPECT_TRUE(!whole || (*whole >= -5 && *whole <= 1'000'000));
    try {
        const Ratio rate = frameRateFrom(text);
        EXPECT_TRUE(rate.numerator > 0 && rate.denominator > 0);
        nearestFrame(3.5, rate);
    } catch (const Error& error) {
        EXPECT_STRNE(error.what(), "");
    }
    try {
        if (const auto pattern = SequencePattern::of(text)) {
            EXPECT_NE(pattern->file(7), pattern->file(8));
            EXPECT_NE(pattern->file(INT64_MAX), pattern->file(0));
        }
    } catch (const Error& error) {
        EXPECT_STRNE(error.what(), "");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const HostedEffect effect(&FakeEffect::entry);
    static const ParameterValues defaults = effect.defaultValues();
    const std::string_view text = Fuzz::textOf(data, size);
    for (const int index : {2, 3}) { // an angle and a slider
        expectKeyframes(text, defaults, index);
    }
    expectFrameNumbers(text);
    expectOtherTexts(std::string(text.substr(0, text.find('\0'))));
    return 0;
}
