// Access to the host's suites, and scripts that run through them.

#include "Shared/Helper/ScriptHelper.h"
#include "Shared/Helper/SuiteScoper.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>
#include <type_traits>
#include <utility>

namespace Vexorel::PrismDrift {
namespace {

using Scoper = SuiteScoper<PF_ANSICallbacksSuite1>;
static_assert(!std::is_copy_constructible_v<Scoper> && !std::is_copy_assignable_v<Scoper>);

// A host that logs what is asked of it and answers 1 wherever the answer must not matter.
std::string gLog;
std::string gMissing;  // the name of a suite that it lacks
std::string gTexts[2]; // the result and the error of a script, each its own handle; "" for none
bool gLocks = true;    // whether it gives the text of a handle

void log(const std::string& what, int number) {
    gLog += what + " " + std::to_string(number) + ";";
}

PF_Err execute(AEGP_PluginID plugin, const char* script, bool platformEncoding,
               AEGP_MemHandle* result, AEGP_MemHandle* error) {
    log(script, plugin + (platformEncoding ? 1 : 0));
    *result = reinterpret_cast<AEGP_MemHandle>(gTexts[0].empty() ? nullptr : &gTexts[0]);
    *error = reinterpret_cast<AEGP_MemHandle>(gTexts[1].empty() ? nullptr : &gTexts[1]);
    return 1;
}

PF_Err lock(AEGP_MemHandle handle, void** text) {
    log("lock", static_cast<void*>(handle) == &gTexts[0] ? 0 : 1);
    *text = gLocks ? reinterpret_cast<std::string*>(handle)->data() : nullptr;
    return 1;
}

PF_Err freeText(AEGP_MemHandle handle) {
    log("free", static_cast<void*>(handle) == &gTexts[0] ? 0 : 1);
    reinterpret_cast<std::string*>(handle)->clear();
    return 1;
}

std::int32_t acquire(const char* name, std::int32_t version, void** suite) {
    static AEGP_UtilitySuite5 utility{execute};
    static AEGP_MemorySuite1 memory{lock, freeText};
    static const std::map<std::string, void*> tables{
        {"AEGP Utility Suite", &utility}, {"AEGP Memory Suite", &memory}, {"Null", nullptr}};
    log(std::string("+") + name, version);
    if (name != gMissing) {
        *suite = tables.count(name) != 0 ? tables.at(name) : const_cast<char*>(name);
    }
    return name == gMissing || std::string("Refused") == name ? 1 : 0;
}

std::int32_t release(const char* name, std::int32_t version) {
    log(std::string("-") + name, version);
    return 1;
}

class Suites : public testing::Test {
protected:
    Suites() {
        gMissing = "No";
        utils.ansi.sprintf = std::sprintf;
        in.utils = &utils;
        in.pica_basicP = &basic;
    }

    /// A result, what was asked of the host since the last one, and the message to be shown.
    std::string report(int result) {
        const std::string message = out.return_msg;
        EXPECT_EQ(out.out_flags, message.empty() ? 1 : 1 | PF_OutFlag_DISPLAY_ERROR_MESSAGE);
        out = PF_OutData{0, 0, 1, 0, ""};
        return std::to_string(result) + " " + std::exchange(gLog, "") + message;
    }

    template <typename Call>
    std::string reportThrown(Call call) {
        int thrown = 0;
        try {
            call();
        } catch (int code) {
            thrown = code;
        }
        return report(thrown);
    }

    SPBasicSuite basic{acquire, release};
    PF_UtilCallbacks utils{};
    PF_InData in{};
    PF_OutData out{0, 0, 1, 0, ""}; // with a flag that must stay
};

TEST_F(Suites, AreHeldForAScopeOrByHandOrReported) {
    const std::string none = "Not able to acquire AEFX Suite.";
    const std::string unknown = "Not able to acquire AEFX Suite-";
    const std::string longText(5000, 'x');
    const std::string cut(255, 'x');
    const struct {
        SPBasicSuite* basic;
        std::string name;
        const char* text;
        std::string held, acquired, released;
    } cases[] = {
        {&basic, "Paint", "text", "0 +Paint 3;-Paint 3;", "0 +Paint 3;", "0 -Paint 3;"},
        {&basic, "Refused", "100% s", "13 +Refused 3;100% s", "0 +Refused 3;", "0 -Refused 3;"},
        {&basic, "Null", "none", "0 +Null 3;", "516 +Null 3;none", "0 -Null 3;"},
        {&basic, "No", nullptr, "13 +No 3;" + none, "516 +No 3;" + unknown + "No-3", "0 -No 3;"},
        {nullptr, "Paint", nullptr, "13 " + none, "516 " + unknown + "Paint-3",
         "516 Not able to release AEFX Suite."},
        {nullptr, longText, nullptr, "13 " + none, "516 " + unknown + cut.substr(unknown.size()),
         "516 Not able to release AEFX Suite."},
        {nullptr, "Paint", longText.c_str(), "13 " + cut, "516 " + cut, "516 " + cut}};
    for (const auto& c : cases) {
        in.pica_basicP = c.basic;
        const char* name = c.name.c_str();
        EXPECT_EQ(reportThrown([&] { Scoper(&in, name, 3, &out, c.text); }), c.held);
        void* suite = nullptr;
        EXPECT_EQ(report(AcquireSuite(&in, &out, name, 3, c.text, &suite)), c.acquired);
        EXPECT_EQ(suite != nullptr, c.acquired[0] == '0');
        EXPECT_EQ(report(ReleaseSuite(&in, &out, name, 3, c.text)), c.released);
    }
}

TEST_F(Suites, OfTheDrawingKindComeAndGoInTheirOrder) {
    DRAWBOT_Suites suites{};
    EXPECT_EQ(report(AcquireDrawbotSuites(&in, &out, &suites)),
              "0 +DRAWBOT Draw Suite 1;+DRAWBOT Supplier Suite 1;"
              "+DRAWBOT Surface Suite 2;+DRAWBOT Path Suite 1;");
    EXPECT_STREQ(static_cast<char*>(suites.draw), "DRAWBOT Draw Suite");
    EXPECT_STREQ(static_cast<char*>(suites.supplier), "DRAWBOT Supplier Suite");
    EXPECT_STREQ(static_cast<char*>(suites.surface), "DRAWBOT Surface Suite");
    EXPECT_STREQ(static_cast<char*>(suites.path), "DRAWBOT Path Suite");
    EXPECT_EQ(report(ReleaseDrawbotSuites(&in, &out)),
              "0 -DRAWBOT Draw Suite 1;-DRAWBOT Supplier Suite 1;"
              "-DRAWBOT Surface Suite 2;-DRAWBOT Path Suite 1;");
    EXPECT_EQ(report(AcquireDrawbotSuites(&in, &out, nullptr)),
              "514 NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
    gMissing = "DRAWBOT Supplier Suite"; // the one before it stays acquired
    suites = {};
    EXPECT_EQ(report(AcquireDrawbotSuites(&in, &out, &suites)),
              "516 +DRAWBOT Draw Suite 1;+DRAWBOT Supplier Suite 1;"
              "Not able to acquire AEFX Suite-DRAWBOT Supplier Suite-1");
    in.pica_basicP = nullptr;
    EXPECT_EQ(report(ReleaseDrawbotSuites(&in, &out)), "0 Not able to release AEFX Suite.");
}

TEST_F(Suites, OfScriptsAndTheirTextsAreGivenBackInTheirOrder) {
    const struct {
        std::string result, error;
        bool locks;
        std::string expected, log;
    } cases[] = {{"  3\n", "unread", true, "  3\n", "lock 0;lock 1;free 0;free 1;"},
                 {"x", "y", false, "", "lock 0;lock 1;free 0;free 1;"},
                 {"", "wrong", true, "", "lock 1;free 1;"},
                 {"", "", true, "", ""}};
    const auto run = [this] { return ScriptHelper::RunSriptAndGetStringResult(&basic, "1 + 2"); };
    const std::string acquired = "+AEGP Utility Suite 11;+AEGP Memory Suite 1;";
    const auto whole = [&](const std::string& log) {
        return "0 " + acquired + "1 + 2 0;" + log + "-AEGP Memory Suite 1;-AEGP Utility Suite 11;";
    };
    for (const auto& c : cases) {
        gTexts[0] = c.result;
        gTexts[1] = c.error;
        gLocks = c.locks;
        EXPECT_EQ(run(), c.expected);
        EXPECT_EQ(report(0), whole(c.log));
    }
    gMissing = "AEGP Memory Suite";
    EXPECT_EQ(reportThrown(run), "13 " + acquired + "-AEGP Utility Suite 11;");
}

TEST(TrimStringWhiteSpaces, TakesBothEndsOnly) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"\t\n\v\f\r ", ""},
        {" a", "a"},
        {"a ", "a"},
        {"\r\n\ttwo  words\v\f\n", "two  words"},
        {{" \0 ", 3}, {"\0", 1}},
        {" \u00a0\u2003\xff\x85\x1c ", "\u00a0\u2003\xff\x85\x1c"}};
    for (const auto& [text, trimmed] : rows) {
        EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(text), trimmed);
    }
}

} // namespace
} // namespace Vexorel::PrismDrift
