// Access to the host's suites, and scripts that run through them.

#include "Shared/Helper/ScriptHelper.h"
#include "Shared/Helper/SuiteScoper.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace Vexorel::PrismDrift {
namespace {

using testing::ElementsAre;
using Scoper = SuiteScoper<PF_ANSICallbacksSuite1>;

static_assert(!std::is_copy_constructible_v<Scoper> && !std::is_copy_assignable_v<Scoper>);

/// The host: what it gives for "NAME VERSION" (a result, and a pointer unless that is null), what
/// was called, and the texts that a script leaves behind (no handle without a text).
struct Host {
    std::map<std::string, std::pair<PF_Err, void*>> suites;
    std::vector<std::string> calls;
    std::optional<std::string> result, error;
    bool locks = true;
};
Host gHost;

std::int32_t acquire(const char* name, std::int32_t version, void** suite) {
    const std::string key = std::string(name) + " " + std::to_string(version);
    gHost.calls.push_back("acquire " + key);
    const auto [answer, table] =
        gHost.suites.count(key) != 0 ? gHost.suites.at(key) : std::pair<PF_Err, void*>(1, nullptr);
    *suite = table != nullptr ? table : *suite;
    return answer;
}

std::int32_t release(const char* name, std::int32_t version) {
    gHost.calls.push_back(std::string("release ") + name + " " + std::to_string(version));
    return 1; // a complaint, which nobody is to look at
}

AEGP_MemHandle handleOf(std::optional<std::string>& text) {
    return text ? reinterpret_cast<AEGP_MemHandle>(&*text) : nullptr;
}

PF_Err execute(AEGP_PluginID plugin, const char* script, bool platformEncoding,
               AEGP_MemHandle* result, AEGP_MemHandle* error) {
    EXPECT_TRUE(plugin == 0 && !platformEncoding);
    gHost.calls.emplace_back(script);
    *result = handleOf(gHost.result);
    *error = handleOf(gHost.error);
    return 1;
}

PF_Err lock(AEGP_MemHandle handle, void** text) {
    *text = gHost.locks ? reinterpret_cast<std::string*>(handle)->data() : nullptr;
    return 1;
}

PF_Err freeText(AEGP_MemHandle handle) {
    gHost.calls.emplace_back(handle == handleOf(gHost.result) ? "free result" : "free error");
    return 1;
}

class Suites : public testing::Test {
protected:
    void SetUp() override {
        gHost = {};
        gHost.suites = {{"Paint 3", {0, &tables[0]}},
                        {"Refused 3", {5, &tables[0]}},
                        {"Null 3", {0, nullptr}},
                        {"DRAWBOT Draw Suite 1", {0, &tables[0]}},
                        {"DRAWBOT Supplier Suite 1", {0, &tables[1]}},
                        {"DRAWBOT Surface Suite 2", {0, &tables[2]}},
                        {"DRAWBOT Path Suite 1", {0, &tables[3]}},
                        {"AEGP Utility Suite 11", {0, &utility}},
                        {"AEGP Memory Suite 1", {0, &memory}}};
        utils.ansi.sprintf = std::sprintf;
        in.utils = &utils;
        in.pica_basicP = &basic;
        out.out_flags = 1; // a flag that was there before
    }

    /// The message that the host is asked to show; none is "". Forgets it, for the next one.
    std::string shown() {
        const std::string message = out.return_msg;
        EXPECT_EQ(out.out_flags, message.empty() ? 1 : 1 | PF_OutFlag_DISPLAY_ERROR_MESSAGE);
        out.out_flags = 1;
        out.return_msg[0] = '\0';
        return message;
    }

    SPBasicSuite basic{acquire, release};
    PF_UtilCallbacks utils{};
    PF_InData in{};
    PF_OutData out{};
    int tables[4] = {};
    AEGP_UtilitySuite5 utility{execute};
    AEGP_MemorySuite1 memory{lock, freeText};
};

TEST_F(Suites, AreHeldForAScopeOrThrow) {
    struct Case {
        const char* name;
        const char* text;
        bool hasBasic;
        int thrown;
        const char* message;
        std::vector<std::string> calls;
    };
    const std::string none = "Not able to acquire AEFX Suite.";
    const Case cases[] = {
        {"Paint", "text", true, 0, "", {"acquire Paint 3", "inside", "release Paint 3"}},
        {"Null", "text", true, 0, "", {"acquire Null 3", "inside"}}, // nothing to release
        {"Refused", "100% gone", true, 13, "100% gone", {"acquire Refused 3"}},
        {"Unknown", nullptr, true, 13, none.c_str(), {"acquire Unknown 3"}},
        {"Paint", nullptr, false, 13, none.c_str(), {}},
    };
    for (const Case& c : cases) {
        SPBasicSuite* const from = c.hasBasic ? &basic : nullptr;
        in.pica_basicP = from;
        const std::function<void()> holders[] = {
            [&] {
                const Scoper suite(&in, c.name, 3, &out, c.text);
                EXPECT_EQ(suite.get(), gHost.suites.at(c.name + std::string(" 3")).second);
                gHost.calls.emplace_back("inside");
                throw 0; // what ends the scope makes no difference
            },
            [&] {
                const Scoper suite(from, c.name, 3);
                gHost.calls.emplace_back("inside");
                throw 0;
            }};
        for (const auto& hold : holders) {
            SCOPED_TRACE(c.name);
            gHost.calls.clear();
            try {
                hold();
            } catch (int code) {
                EXPECT_EQ(code, c.thrown);
            }
            EXPECT_EQ(gHost.calls, c.calls);
            EXPECT_EQ(shown(), &hold == &holders[0] ? c.message : "");
        }
    }
}

TEST_F(Suites, AreAcquiredAndReleasedByHandWithAMessage) {
    const std::string longText(5000, 'x');
    const std::string unknown = "Not able to acquire AEFX Suite-";
    struct Case {
        std::string name;
        const char* text;
        bool hasBasic;
        std::string acquired, released; // the messages; "" for success
    };
    const Case cases[] = {
        {"Paint", "text", true, "", ""},
        {"Refused", nullptr, true, "", ""}, // only the pointer counts
        {"Null", nullptr, true, unknown + "Null-3", ""},
        {"No", "Needs %s", true, "Needs %s", ""},
        {longText, nullptr, true, (unknown + longText).substr(0, 255), ""},
        {"Paint", nullptr, false, unknown + "Paint-3", "Not able to release AEFX Suite."},
        {"Paint", longText.c_str(), false, longText.substr(0, 255), longText.substr(0, 255)},
    };
    for (const Case& c : cases) {
        in.pica_basicP = c.hasBasic ? &basic : nullptr;
        void* suite = nullptr;
        EXPECT_EQ(AcquireSuite(&in, &out, c.name.c_str(), 3, c.text, &suite),
                  c.acquired.empty() ? 0 : 516);
        EXPECT_EQ(suite, c.acquired.empty() ? &tables[0] : nullptr);
        EXPECT_EQ(shown(), c.acquired);
        EXPECT_EQ(ReleaseSuite(&in, &out, c.name.c_str(), 3, c.text), c.hasBasic ? 0 : 516);
        EXPECT_EQ(shown(), c.released);
    }
}

TEST_F(Suites, OfTheDrawingKindComeAndGoInTheirOrder) {
    const auto calls = [](const std::string& what, std::size_t count) {
        std::vector<std::string> all{
            what + " DRAWBOT Draw Suite 1", what + " DRAWBOT Supplier Suite 1",
            what + " DRAWBOT Surface Suite 2", what + " DRAWBOT Path Suite 1"};
        all.resize(count);
        return all;
    };
    DRAWBOT_Suites suites{};
    EXPECT_EQ(AcquireDrawbotSuites(&in, &out, &suites), 0);
    EXPECT_THAT((std::vector<void*>{suites.draw, suites.supplier, suites.surface, suites.path}),
                ElementsAre(&tables[0], &tables[1], &tables[2], &tables[3]));
    EXPECT_EQ(gHost.calls, calls("acquire", 4));
    gHost.calls.clear();
    EXPECT_EQ(ReleaseDrawbotSuites(&in, &out), 0);
    EXPECT_EQ(gHost.calls, calls("release", 4));
    gHost.calls.clear();
    EXPECT_EQ(AcquireDrawbotSuites(&in, &out, nullptr), 514);
    EXPECT_EQ(shown(), "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
    gHost.suites.erase("DRAWBOT Surface Suite 2"); // what was acquired before stays so
    suites = {};
    EXPECT_EQ(AcquireDrawbotSuites(&in, &out, &suites), 516);
    EXPECT_EQ(gHost.calls, calls("acquire", 3));
    EXPECT_EQ(shown(), "Not able to acquire AEFX Suite-DRAWBOT Surface Suite-2");
    in.pica_basicP = nullptr;
    EXPECT_EQ(ReleaseDrawbotSuites(&in, &out), 0);
    EXPECT_EQ(shown(), "Not able to release AEFX Suite.");
}

TEST_F(Suites, OfScriptsAndTheirTextsAreGivenBack) {
    struct Case {
        std::optional<std::string> result, error;
        bool locks;
        std::string expected;
    };
    const Case cases[] = {{"  3\n", "unread", true, "  3\n"},
                          {{}, {}, true, ""},
                          {{}, "wrong", true, ""},
                          {"yes", {}, true, "yes"},
                          {"x", "y", false, ""},
                          {std::string("a\0b", 3), {}, true, "a"}};
    const std::string suiteNames[] = {"AEGP Utility Suite 11", "AEGP Memory Suite 1"};
    for (const Case& c : cases) {
        gHost.result = c.result;
        gHost.error = c.error;
        gHost.locks = c.locks;
        gHost.calls.clear();
        std::vector<std::string> calls{"acquire " + suiteNames[0], "acquire " + suiteNames[1],
                                       "1 + 2"};
        if (c.result) {
            calls.emplace_back("free result");
        }
        if (c.error) {
            calls.emplace_back("free error");
        }
        calls.push_back("release " + suiteNames[1]);
        calls.push_back("release " + suiteNames[0]);
        EXPECT_EQ(ScriptHelper::RunSriptAndGetStringResult(&basic, "1 + 2"), c.expected);
        EXPECT_EQ(gHost.calls, calls);
    }
    gHost.calls.clear();
    gHost.suites.erase(suiteNames[1]);
    try {
        ScriptHelper::RunSriptAndGetStringResult(&basic, "1 + 2");
        ADD_FAILURE() << "went on without memory";
    } catch (int code) {
        EXPECT_EQ(code, 13);
    }
    EXPECT_THAT(gHost.calls, ElementsAre("acquire " + suiteNames[0], "acquire " + suiteNames[1],
                                         "release " + suiteNames[0]));
}

TEST(TrimStringWhiteSpaces, TakesBothEndsOnly) {
    const std::pair<std::string, const char*> rows[] = {
        {"", ""},
        {"\t\n\v\f\r ", ""},
        {" a", "a"},
        {"a ", "a"},
        {"\r\n\ttwo  words\v\f\n", "two  words"},
        {" \u00a0\u2003x\u00a0 ", "\u00a0\u2003x\u00a0"}, // not of the plain classification
        {" \xff\x85\xa0 ", "\xff\x85\xa0"},
        {" \x1c\x1f ", "\x1c\x1f"},
    };
    for (const auto& [text, trimmed] : rows) {
        EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(text), trimmed);
    }
    EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(std::string(" \0 ", 3)), std::string("\0", 1));
}

} // namespace
} // namespace Vexorel::PrismDrift
