// Keyframes: their notation, their places in a clip, and their values beside MLT's own.

#include "Host/Library/ParameterValues.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <dlfcn.h>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <set>

using namespace Vexorel::PrismDrift::Host;
using testing::HasSubstr;

namespace {

Parameter distance() {
    Parameter parameter;
    parameter.index = 1;
    parameter.name = "Distance";
    parameter.varies = true;
    parameter.minimum = -1000;
    parameter.maximum = 1000;
    return parameter;
}

ClipTiming timing(std::optional<std::int64_t> count, double rate = 25.0) {
    return {[count] { return count; },
            [rate](double seconds) { return std::lrint(seconds * rate); }};
}

double valueAt(const ValueSource& source, std::int32_t frame) {
    return source({frame * 1001, 1001, 30000});
}

// The message of the Error that the body throws.
template <typename Body>
std::string errorOf(const Body& body) {
    try {
        body();
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

// MLT's library, which knows nothing of this code.
class Mlt {
public:
    Mlt()
        : mNew(get<void*()>("mlt_properties_new")),
          mClose(get<void(void*)>("mlt_properties_close")),
          mSet(get<int(void*, const char*, const char*)>("mlt_properties_set")),
          mSetData(
              get<int(void*, const char*, void*, int, void*, void*)>("mlt_properties_set_data")),
          mGet(get<double(void*, const char*, int, int)>("mlt_properties_anim_get_double")) {}

    std::vector<double> values(const std::string& text, int rate, int count, int length) const {
        Profile profile{"", rate, 1001};
        void* properties = mNew();
        mSetData(properties, "_profile", &profile, 0, nullptr, nullptr);
        mSet(properties, "value", text.c_str());
        std::vector<double> values;
        for (int frame = 0; frame < length; ++frame) {
            values.push_back(mGet(properties, "value", frame, count));
        }
        mClose(properties);
        return values;
    }

private:
    // The head of MLT's record; nothing else of it is read here.
    struct Profile {
        const char* description;
        int numerator, denominator;
        char rest[64] = {};
    };

    template <typename Signature>
    Signature* get(const char* name) {
        void* address = mLibrary != nullptr ? dlsym(mLibrary, name) : nullptr;
        EXPECT_NE(address, nullptr) << name << " in libmlt-7.so.7";
        return reinterpret_cast<Signature*>(address);
    }

    void* mLibrary = dlopen("libmlt-7.so.7", RTLD_NOW);
    void* (*mNew)();
    void (*mClose)(void*);
    int (*mSet)(void*, const char*, const char*);
    int (*mSetData)(void*, const char*, void*, int, void*, void*);
    double (*mGet)(void*, const char*, int, int);
};

// Texts in any of the forms that MLT has too, no two keys on one frame.
class RandomTexts {
public:
    explicit RandomTexts(unsigned seed) : mRandom(seed) {}

    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(mRandom); }

    std::string text(int count, double rate) {
        static const char* const ways[] = {"=", "|=", "~="};
        std::set<long> taken;
        std::string text;
        for (int left = 1 + below(7); left > 0; --left) {
            const auto [time, frame] = key(count, rate);
            if (taken.insert(frame).second) {
                text += (text.empty()    ? ""
                         : below(2) == 0 ? ";"
                                         : " ; ") +
                        time + ways[below(3)] + std::to_string(below(20001) / 10.0 - 1000);
            }
        }
        return text;
    }

private:
    std::pair<std::string, long> key(int count, double rate) {
        char text[32];
        const int frame = below(count + 20);
        const double seconds = frame / rate + below(500) / 1000.0;
        switch (below(5)) {
        case 0:
            return {std::to_string(-1 - frame % count), count - 1 - frame % count};
        case 1: { // to the millisecond, which is no frame's own time
            std::snprintf(text, sizeof text, "00:%02d:%06.3f", static_cast<int>(seconds / 60),
                          std::fmod(seconds, 60));
            double last = 0;
            int minutes = 0;
            std::sscanf(text, "00:%d:%lf", &minutes, &last);
            return {text, std::lrint((minutes * 60 + last) * rate)};
        }
        case 2: { // seconds and frames
            const int whole = static_cast<int>(seconds), rest = below(12);
            std::snprintf(text, sizeof text, below(2) == 0 ? "%d:%d" : "00:00:%02d:%02d", whole,
                          rest);
            return {text, std::lrint(whole * rate) + rest};
        }
        default:
            return {std::to_string(frame), frame};
        }
    }

    std::mt19937 mRandom;
};

TEST(Keyframes, AreThoseOfMltAtEveryFrame) {
    const Mlt mlt;
    ASSERT_FALSE(HasFailure());
    const Parameter parameter = distance();
    RandomTexts random(20);
    for (int i = 0; i < 400 && !HasFailure(); ++i) {
        const int rate = i % 2 == 0 ? 25025 : i % 4 == 1 ? 30000 : 60000; // in 1001 seconds
        const int count = 1 + random.below(i % 10 == 0 ? 3 : 120);
        const std::string text = random.text(count, rate / 1001.0);
        const ValueSource source =
            Keyframes::parse(text, parameter).resolved(timing(count, rate / 1001.0));
        const std::vector<double> expected = mlt.values(text, rate, count, count + 30);
        for (int frame = 0; frame < count + 30; ++frame) {
            EXPECT_NEAR(valueAt(source, frame), expected[static_cast<std::size_t>(frame)], 1e-6)
                << text << " of " << count << " at " << frame;
        }
    }
}

TEST(Keyframes, TheDocumentedValuesAreMltsAndOurs) {
    std::ifstream page(PRISMDRIFT_SOURCE_ROOT "/Documentation/keyframes.md");
    const std::string text = "0=0; 25~=40; 50|=80; -1=0";
    const ValueSource source = Keyframes::parse(text, distance()).resolved(timing(100));
    const std::vector<double> mlt = Mlt().values(text, 25025, 100, 100);
    int rows = 0;
    for (std::string line; std::getline(page, line);) {
        std::size_t frame = 0;
        double value = 0;
        if (std::sscanf(line.c_str(), "| %zu | %lf |", &frame, &value) == 2 && frame < 100) {
            EXPECT_NEAR(valueAt(source, static_cast<std::int32_t>(frame)), value, 5e-5) << line;
            EXPECT_NEAR(mlt[frame], value, 5e-5) << line;
            ++rows;
        }
    }
    EXPECT_GE(rows, 8);
}

TEST(Keyframes, TimesBecomeFrames) {
    const std::pair<const char*, int> cases[] = {
        {"7", 7},
        {"+7", 7},
        {"007", 7},
        {"2.5s", 62},
        {".5s", 12},
        {"0:2.5", 62},
        {"1:0:0.04", 90001},
        {"90:00.0", 135000},
        {"1:05", 30},
        {"1:0:05", 1505},
        {"0:0:2:0", 50},
        {"-1", 199},
        {"-200", 0},
        {"-0", 0},
        {"-2s", 150},
        {"-00:00:01.", 175},
        {"-1:00", 175},
        {"-0:0:0:5", 195},
        {"2147483647", 2147483647},
    };
    for (const auto& [time, frame] : cases) {
        const auto source = Keyframes::parse(std::string("\t") + time + " |= 1 ; ", distance())
                                .resolved(timing(200));
        EXPECT_EQ(valueAt(source, 0), 1) << time; // what is first holds before it
        if (frame > 1 && frame < 150000) {
            const auto step = Keyframes::parse("0|=1;" + std::string(time) + "=2", distance())
                                  .resolved(timing(200));
            EXPECT_EQ(valueAt(step, frame - 1), 1) << time;
            EXPECT_EQ(valueAt(step, frame), 2) << time;
        }
    }
}

TEST(Keyframes, WhatIsWrongIsPointedAt) {
    struct Case {
        const char* what;
        std::vector<std::string> texts; // with a '^' before the place
    };
    const Case cases[] = {
        {"need '=', '|=' or '~=' between",
         {"0=0; 25^?=40", "0=0;25^", "0=0;25 ^|", "0=0;25^| =1", "0=0;25^~1", "0=0;25^!=1",
          "0=0;9^x10=1", "0=0;1^e1=2", "0=0;1^,5=2"}},
        {"begins with its time: a frame (25), a clock time",
         {"^",
          "^;",
          "0=0;^=3",
          "0=0;^;3=1",
          "0=0; ^;",
          "0=0;^a=1",
          "^1.5=0",
          "^1:2:3:4:5=0",
          "^1:2:3:4.5=0",
          "^1.5:2=0",
          "^1:=0",
          "^:1=0",
          "^1::2=0",
          "^--1=0",
          "^1-1=0",
          "^s=0",
          "^1:2s=0",
          "^1ss=0",
          "^.s=0",
          "^2147483648=0",
          "^0:0:2147483648=0",
          "^600000:0:0.0=0",
          "^99999999999999999999s=0"}},
        {"from -1000 to 1000, which is missing", {"0=^", "0= ^;1=2"}},
        {"from -1000 to 1000, not '",
         {"0=1;2|=^x", "0=^50%", "0=^1000.5", "0=^nan", "0=^1e400", "0=^1=2", "0=^1 2;"}},
        {"two keys have the time '", {"3=1;4=1;^3=2", "-1=1;^-01=2"}},
    };
    for (const Case& row : cases) {
        for (std::string text : row.texts) {
            const std::size_t place = text.find('^');
            text.erase(place, 1);
            try {
                Keyframes::parse(text, distance());
                ADD_FAILURE() << text;
            } catch (const KeyframesError& error) {
                EXPECT_EQ(error.place(), place) << text;
                EXPECT_THAT(error.what(), HasSubstr(row.what)) << text;
            }
        }
    }
}

TEST(Keyframes, TheCaretStandsUnderThePlace) {
    const auto shown = [](const std::string& text, std::size_t place) {
        return KeyframesError("", text, place).shown();
    };
    EXPECT_EQ(shown("0=0; 25?=40", 7), "  0=0; 25?=40\n         ^");
    EXPECT_EQ(shown("0=", 2), "  0=\n    ^");
    EXPECT_EQ(shown("\xC3\xA4\t\x1B=0", 4), "  \xC3\xA4  =0\n     ^");
    EXPECT_EQ(shown(std::string(100, '1'), 3), "  " + std::string(72, '1') + "...\n     ^");
    EXPECT_EQ(shown(std::string(99, '1') + "x", 99),
              "  ..." + std::string(40, '1') + "x\n" + std::string(45, ' ') + "^");
}

TEST(Keyframes, AnyTextIsReadOrRefused) {
    std::mt19937 random(5);
    const std::string letters = "0123456789=|~;:.-+s \t%ex\xC3";
    int read = 0;
    for (int i = 0; i < 5000; ++i) {
        std::string text = "0=0; 0:25.5~=40; -50|=80; 2s=-1";
        for (int edits = static_cast<int>(random() % 4); edits >= 0; --edits) {
            text[random() % text.size()] = letters[random() % letters.size()];
        }
        try {
            Keyframes::parse(text, distance()).resolved(timing(100));
            ++read;
        } catch (const KeyframesError& error) {
            EXPECT_LE(error.place(), text.size()) << text;
        } catch (const Error&) { // two keys on a frame, or before the start
            ++read;
        }
    }
    EXPECT_GT(read, 500);
    EXPECT_LT(read, 4500);
}

TEST(Keyframes, PlacesThatAClipLacksAreErrors) {
    struct Case {
        const char* text;
        std::optional<std::int64_t> count;
        const char* what;
    };
    const Case cases[] = {
        {"0=1;-1=2", std::nullopt, "the key at '-1' counts from the end, which is not known"},
        {"0=1; -5s =2", 10, "the key at '-5s' lies before the start of the clip, which has 10 f"},
        {"-2=1", 1, "has 1 frame"},
        {"5=1;0.2s=2", 10, "the keys at '5' and '0.2s' are both at frame 5"},
        {"-1=1;4=2", 5, "the keys at '-1' and '4' are both at frame 4"},
    };
    for (const Case& row : cases) {
        const Keyframes keyframes = Keyframes::parse(row.text, distance());
        EXPECT_THAT(errorOf([&] { keyframes.resolved(timing(row.count)); }), HasSubstr(row.what));
    }
    EXPECT_EQ(errorOf([] { Keyframes::parse("0=1;9=2", distance()).resolved(timing({})); }), "");
    EXPECT_EQ(Keyframes::parse("0=1;-1=2", distance()).resolved(timing(1))({}), 2); // a picture
}

TEST(Keyframes, StandBesideNumbersInTheValues) {
    auto parameters = std::make_shared<std::vector<Parameter>>(3, distance());
    (*parameters)[1].group = "Group";
    (*parameters)[2].varies = false;
    ParameterValues values(parameters);
    const Keyframes rising = Keyframes::parse(" 0~=1000; 4=1000; 5=-1000;-1=0 ;", distance());
    values.set(2, rising);
    EXPECT_THAT(errorOf([&] { values.at(2, {}); }), HasSubstr("no places in a clip yet"));
    EXPECT_THAT(errorOf([&] { values.set(3, rising); }), HasSubstr("cannot change over time"));
    EXPECT_EQ(values.keyframes(1), nullptr);
    EXPECT_EQ(values.keyframes(2)->text(), "0~=1000; 4=1000; 5=-1000;-1=0 ;");

    values.resolve(timing(8));
    EXPECT_EQ(values.at(2, {3, 1, 25}), 1000); // the curve goes beyond the range
    EXPECT_EQ(values.at(2, {6 * 1001, 1001, 30000}), -500);
    EXPECT_THAT(errorOf([&] { values.resolve(timing(5)); }),
                HasSubstr("Group, Distance: the keys"));
    EXPECT_EQ(values.at(2, {6, 1, 25}), -500);
    values.resolve(timing(10));
    EXPECT_EQ(values.at(2, {7, 1, 25}), -500);
    values.set(2, 3.0);
    EXPECT_EQ(values.keyframes(2), nullptr);
    values.resolve(timing({}));
    EXPECT_EQ(values.at(2, {}), 3);
}

} // namespace
