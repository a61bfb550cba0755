// Keyframes: their notation, their places in a clip, and their values beside MLT's own.

#include "Host/Library/HostedEffect.h"
#include "Host/Library/Text.h"
#include "Tests/Host/ErrorOf.h"
#include "Tests/Host/FakeEffect.h"

#include <cmath>
#include <cstdio>
#include <dlfcn.h>
#include <fstream>
#include <gmock/gmock.h>
#include <random>

using namespace Vexorel::PrismDrift::Host;
using testing::HasSubstr;

namespace {

const std::vector<Parameter>& parameters() {
    static const HostedEffect effect(&FakeEffect::entry);
    return effect.parameters();
}

Keyframes parsed(std::string_view text) {
    return Keyframes::parse(text, parameters()[2]); // from -1000 to 1000
}

ClipTiming timing(std::optional<std::int64_t> count, double rate = 25.0) {
    return {[count] { return count; },
            [rate](double seconds) { return std::lrint(seconds * rate); }};
}

double valueAt(const ValueSource& source, std::int64_t frame) {
    return source({static_cast<std::int32_t>(frame * 1001), 1001, 30000});
}

template <typename Signature>
Signature* mltFunction(const char* name) {
    static void* const library = dlopen("libmlt-7.so.7", RTLD_NOW);
    void* address = library != nullptr ? dlsym(library, name) : nullptr;
    EXPECT_NE(address, nullptr) << name << " in libmlt-7.so.7";
    return reinterpret_cast<Signature*>(address);
}

// The values that MLT's library has for the text in a clip of `count` frames.
std::vector<double> mltValues(const std::string& text, int rate, int count, int length) {
    struct { // the head of MLT's record; nothing else of it is read here
        const char* description;
        int numerator, denominator;
        char rest[64] = {};
    } profile{"", rate, 1001};
    static const auto make = mltFunction<void*()>("mlt_properties_new");
    static const auto close = mltFunction<void(void*)>("mlt_properties_close");
    static const auto set = mltFunction<int(void*, const char*, const char*)>("mlt_properties_set");
    static const auto setData =
        mltFunction<int(void*, const char*, void*, int, void*, void*)>("mlt_properties_set_data");
    static const auto get =
        mltFunction<double(void*, const char*, int, int)>("mlt_properties_anim_get_double");
    std::vector<double> values(static_cast<std::size_t>(length));
    void* properties = make();
    setData(properties, "_profile", &profile, 0, nullptr, nullptr);
    set(properties, "value", text.c_str());
    for (int frame = 0; frame < length; ++frame) {
        values[static_cast<std::size_t>(frame)] = get(properties, "value", frame, count);
    }
    close(properties);
    return values;
}

// Keys in any of the forms that MLT has too.
std::string randomText(std::mt19937& random, int count) {
    const auto below = [&](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    std::string text;
    for (int left = 1 + below(7); left > 0; --left) {
        char time[32];
        const int frame = below(count + 20);
        const char* const forms[] = {"%d", "%d", "-%d", "%d:%d", "00:00:%02d:%02d"};
        const int form = below(6);
        if (form < 5) {
            std::snprintf(time, sizeof time, forms[form], form < 3 ? frame : frame / 25, below(12));
        } else { // to the millisecond, which is no frame's own time
            std::snprintf(time, sizeof time, "00:%02d:%02d.%03d", frame / 1500, frame / 25 % 60,
                          below(1000));
        }
        const char* const marks[] = {"=", "|=", "~="};
        text += (text.empty()    ? ""
                 : below(2) == 0 ? ";"
                                 : " ; ") +
                std::string(time) + marks[below(3)] + std::to_string(below(20001) / 10.0 - 1000);
    }
    return text;
}

TEST(Keyframes, AreThoseOfMltAtEveryFrame) {
    std::mt19937 random(20);
    int compared = 0;
    for (int i = 0; i < 800 && !HasFailure(); ++i) {
        const int rate = i % 2 == 0 ? 25025 : i % 4 == 1 ? 30000 : 60000; // in 1001 seconds
        const int count = 1 + static_cast<int>(random() % (i % 10 == 0 ? 3 : 120));
        const std::string text = randomText(random, count);
        ValueSource source;
        if (!errorOf([&] {
                 source = parsed(text).resolved(timing(count, rate / 1001.0));
             }).empty()) {
            continue; // two keys on a frame, or one before the start
        }
        ++compared;
        int frame = 0;
        for (const double expected : mltValues(text, rate, count, count + 30)) {
            EXPECT_NEAR(valueAt(source, frame++), expected, 1e-6) << text << " of " << count;
        }
    }
    EXPECT_GT(compared, 400);
}

TEST(Keyframes, HaveTheDocumentedValues) {
    std::ifstream page(PRISMDRIFT_SOURCE_ROOT "/Documentation/keyframes.md");
    const ValueSource source = parsed("0=0; 25~=40; 50|=80; -1=0").resolved(timing(100));
    int rows = 0, frame = 0;
    double value = 0;
    for (std::string line; std::getline(page, line);) {
        if (std::sscanf(line.c_str(), "| %d | %lf |", &frame, &value) == 2) {
            EXPECT_NEAR(valueAt(source, frame), value, 5e-5) << line;
            ++rows;
        }
    }
    EXPECT_GE(rows, 8);
}

TEST(Keyframes, TimesThatMltLacksBecomeFrames) {
    const std::pair<const char*, int> rows[] = {
        {"+7", 7},  {"007", 7},          {"2.5s", 62},  {".5s", 12},
        {"-0", 0},  {"-200", 0},         {"-2s", 150},  {"-00:00:01.", 175},
        {"0:2", 2}, {"1:0:0.04", 90001}, {"-1:5", 170}, {"2147483647", 2147483647},
    };
    for (const auto& [time, frame] : rows) {
        const auto source =
            parsed("-199=0;" + std::string("\t") + time + " |= 1 ; ").resolved(timing(200));
        const auto at = [&, &expected = frame](int offset) {
            return source({expected + offset, 1, 1});
        };
        EXPECT_EQ(at(0), 1) << time;
        EXPECT_TRUE(frame == 0 || at(-1) < 1) << time;
    }
}

TEST(Keyframes, WhatIsWrongIsPointedAt) {
    const struct {
        const char* what;
        const char* texts; // between '/', each with a '^' before the place
    } rows[] = {
        {"need '=', '|=' or '~=' between",
         "0=0; 25^?=40/0=0;25^/0=0;25 ^|/0=0;25^| =1/0=0;25^~1/0=0;9^x10=1/0=0;1^e1=2/0=0;1^,5=2"},
        {"begins with its time: a frame (25), a clock time",
         "^/^;/0=0;^=3/0=0;^;3=1/0=0; ^;/^1.5=0/^1:2:3:4:5=0/^1:2:3:4.5=0/^1.5:2=0/^1:=0/^:1=0/"
         "^1::2=0/^--1=0/^1-1=0/^s=0/^1:2s=0/^1ss=0/^.s=0/^2147483648=0/^0:0:2147483648=0/"
         "^600000:0:0.0=0/^99999999999999999999s=0"},
        {"from -1000 to 1000, which is missing", "0=^/0= ^;1=2"},
        {"from -1000 to 1000, not '", "0=1;2|=^x/0=^50%/0=^1000.5/0=^nan/0=^1=2/0=^1 2;"},
        {"two keys have the time '", "3=1;4=1;^3=2/-1=1;^-01=2"},
    };
    for (const auto& row : rows) {
        for (const std::string_view marked : split(row.texts, '/')) {
            std::string text(marked);
            const std::size_t place = text.find('^');
            text.erase(place, 1);
            try {
                parsed(text);
                ADD_FAILURE() << text;
            } catch (const KeyframesError& error) {
                EXPECT_EQ(error.place(), place) << text;
                EXPECT_THAT(error.what(), HasSubstr(row.what)) << text;
            }
        }
    }
    const auto shown = [](const std::string& text, std::size_t place) {
        return KeyframesError("", text, place).shown();
    };
    EXPECT_EQ(shown("0=", 2), "  0=\n    ^");
    EXPECT_EQ(shown("\xC3\xA4\t\x1B=0", 4), "  \xC3\xA4  =0\n     ^");
    EXPECT_EQ(shown(std::string(100, '1'), 3), "  " + std::string(72, '1') + "...\n     ^");
    EXPECT_EQ(shown(std::string(99, '1') + "x", 99),
              "  ..." + std::string(40, '1') + "x\n" + std::string(45, ' ') + "^");
}

TEST(Keyframes, PlacesThatAClipLacksAreErrors) {
    const std::tuple<const char*, std::optional<std::int64_t>, const char*> rows[] = {
        {"0=1;-1=2", std::nullopt, "the key at '-1' counts from the end, which is not known"},
        {"0=1; -5s =2", 10, "the key at '-5s' lies before the start of the clip, which has 10 f"},
        {"-2=1", 1, "has 1 frame"},
        {"5=1;0.2s=2", 10, "the keys at '5' and '0.2s' are both at frame 5"},
        {"-1=1;4=2", 5, "the keys at '-1' and '4' are both at frame 4"},
        {"0=1;0.01s=2", 1, "are both at frame 0"},
    };
    for (const auto& [text, count, what] : rows) {
        EXPECT_THAT(
            errorOf([&, &text = text, &count = count] { parsed(text).resolved(timing(count)); }),
            HasSubstr(what));
    }
    EXPECT_EQ(valueAt(parsed("0=1;9=2").resolved(timing({})), 9), 2); // a pipe
    EXPECT_EQ(valueAt(parsed("0=1;-1=2").resolved(timing(1)), 0), 2); // a picture
}

TEST(Keyframes, StandBesideNumbersInTheValues) {
    ParameterValues values(std::make_shared<const std::vector<Parameter>>(parameters()));
    const Keyframes rising = parsed(" 0~=1000; 4=1000; 5=-1000;-1=0 ;");
    values.set(3, rising);
    EXPECT_THAT(errorOf([&] { values.at(3, {}); }), HasSubstr("not placed in a clip yet"));
    EXPECT_THAT(errorOf([&] { values.set(1, rising); }), HasSubstr("cannot change over time"));
    EXPECT_TRUE(values.keyframes(2) == nullptr && values.constant(2) && !values.constant(3));
    EXPECT_EQ(values.keyframes(3)->text(), "0~=1000; 4=1000; 5=-1000;-1=0 ;");
    values.set(2, parsed("0=0;-1=70"));

    values.resolve(timing(8));
    EXPECT_EQ(values.at(3, {3, 1, 25}), 1000); // the curve goes beyond the range
    EXPECT_EQ(values.at(3, {6 * 1001, 1001, 30000}), -500);
    EXPECT_THAT(errorOf([&] { values.resolve(timing(5)); }), HasSubstr("Shift Distance: the keys"));
    EXPECT_TRUE(values.at(3, {6, 1, 25}) == -500 && values.at(2, {1, 1, 25}) == 10);
    values.resolve(timing(10));
    EXPECT_EQ(values.at(3, {7, 1, 25}), -500);
    values.set(2, 2.0);
    values.set(3, 3.0);
    values.resolve(timing({}));
    EXPECT_TRUE(values.keyframes(3) == nullptr && values.at(3, {}) == 3.0);
}

} // namespace
