// Access to the host's suites, and scripts that run through them.

#include "Shared/Helper/ScriptHelper.h"
#include "Shared/Helper/SuiteScoper.h"

#include <gmock/gmock.h>

#include <cstdio>
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
    int held = 0; // suites that were given, less those released
    void* last = nullptr;
};
Host gHost;

std::int32_t acquire(const char* name, std::int32_t version, void** suite) {
    const std::string key = std::string(name) + " " + std::to_string(version);
    gHost.calls.push_back("acquire " + key);
    const auto [answer, table] =
        gHost.suites.count(key) != 0 ? gHost.suites.at(key) : std::pair<PF_Err, void*>(1, nullptr);
    *suite = table != nullptr ? table : *suite;
    gHost.last = table;
    gHost.held += answer == 0 && table != nullptr ? 1 : 0;
    return answer;
}

std::int32_t release(const char* name, std::int32_t version) {
    gHost.calls.push_back(std::string("release ") + name + " " + std::to_string(version));
    --gHost.held;
    return 1; // a complaint, which nobody is to look at
}

AEGP_MemHandle handleOf(std::optional<std::string>& text) {
    return text ? reinterpret_cast<AEGP_MemHandle>(&*text) : nullptr;
}

PF_Err execute(AEGP_PluginID plugin, const char* script, bool platformEncoding,
               AEGP_MemHandle* result, AEGP_MemHandle* error) {
    EXPECT_TRUE(plugin == 0 && !platformEncoding && script == std::string("1 + 2"));
    *result = handleOf(gHost.result);
    *error = handleOf(gHost.error);
    return 1;
}

PF_Err lock(AEGP_MemHandle handle, void** text) {
    *text = gHost.locks ? reinterpret_cast<std::string*>(handle)->data() : nullptr;
    return 1;
}

PF_Err freeText(AEGP_MemHandle handle) {
    EXPECT_TRUE(handle == handleOf(gHost.result) || handle == handleOf(gHost.error));
    (handle == handleOf(gHost.result) ? gHost.result : gHost.error).reset();
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

TEST_F(Suites, AreHeldForAScopeOrByHandOrReported) {
    const std::string longText(5000, 'x');
    const std::string cut(255, 'x');
    const std::string none = "Not able to acquire AEFX Suite.";
    const std::string unknown = "Not able to acquire AEFX Suite-";
    const struct {
        std::string name;
        const char* text;
        bool hasBasic;
        int thrown;                             // by the holder
        std::string scoped, acquired, released; // the messages; "" for success
    } cases[] = {
        {"Paint", "text", true, 0, "", "", ""},
        {"Null", nullptr, true, 0, "", unknown + "Null-3", ""}, // by hand the pointer counts
        {"Refused", "100% gone", true, 13, "100% gone", "", ""},
        {"No", nullptr, true, 13, none, unknown + "No-3", ""},
        {longText, "Needs %s", true, 13, "Needs %s", "Needs %s", ""},
        {longText, nullptr, true, 13, none, unknown + cut.substr(unknown.size()), ""},
        {"Paint", nullptr, false, 13, none, unknown + "Paint-3", "Not able to release AEFX Suite."},
        {"Paint", longText.c_str(), false, 13, cut, cut, cut},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const char* name = c.name.c_str();
        SPBasicSuite* const from = c.hasBasic ? &basic : nullptr;
        in.pica_basicP = from;
        for (const bool direct : {false, true}) {
            int thrown = 0;
            try {
                if (direct) {
                    const Scoper suite(from, name, 3);
                } else {
                    const Scoper suite(&in, name, 3, &out, c.text);
                    EXPECT_EQ(suite.get(), gHost.last);
                    throw 0; // which makes no difference
                }
            } catch (int code) {
                thrown = code;
            }
            EXPECT_EQ(thrown, c.thrown);
            EXPECT_EQ(gHost.held, 0);
            EXPECT_EQ(shown(), direct ? "" : c.scoped);
        }
        void* suite = nullptr;
        const bool given = c.acquired.empty();
        EXPECT_EQ(AcquireSuite(&in, &out, name, 3, c.text, &suite), given ? 0 : 516);
        EXPECT_EQ(suite, given ? &tables[0] : nullptr);
        EXPECT_EQ(shown(), c.acquired);
        EXPECT_EQ(ReleaseSuite(&in, &out, name, 3, c.text), c.hasBasic ? 0 : 516);
        EXPECT_EQ(shown(), c.released);
        gHost.held = 0;
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
    for (const Case& c : cases) {
        gHost.result = c.result;
        gHost.error = c.error;
        gHost.locks = c.locks;
        EXPECT_EQ(ScriptHelper::RunSriptAndGetStringResult(&basic, "1 + 2"), c.expected);
        EXPECT_FALSE(gHost.result || gHost.error) << "not freed";
        EXPECT_EQ(gHost.held, 0);
    }
    for (const char* missing : {"AEGP Memory Suite 1", "AEGP Utility Suite 11"}) {
        gHost.suites.erase(missing);
        try {
            ScriptHelper::RunSriptAndGetStringResult(&basic, "1 + 2");
            ADD_FAILURE() << "went on without " << missing;
        } catch (int code) {
            EXPECT_EQ(code, 13);
        }
        EXPECT_EQ(gHost.held, 0);
    }
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
