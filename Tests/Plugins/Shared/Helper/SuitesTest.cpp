// Access to the host's suites, and scripts that run through them.

#include "Shared/Helper/ScriptHelper.h"
#include "Shared/Helper/SuiteScoper.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace Vexorel::PrismDrift {
namespace {

using std::to_string;
using Scoper = SuiteScoper<PF_ANSICallbacksSuite1>;
static_assert(!std::is_copy_constructible_v<Scoper> && !std::is_copy_assignable_v<Scoper>);

/// A host: its suites by "NAME VERSION", a log of what is asked of it, and the two texts that a
/// script leaves, each of which serves as its own handle. What it answers tells of failure wherever
/// the answer must not matter.
struct Host {
    std::map<std::string, void*> suites;
    std::string log;
    std::optional<std::string> texts[2];
    bool locks = true;
} gHost;

std::int32_t acquire(const char* name, std::int32_t version, void** suite) {
    const std::string key = name + (" " + to_string(version));
    gHost.log += "+" + key + ";";
    const auto found = gHost.suites.find(key);
    if (found != gHost.suites.end()) {
        *suite = found->second;
    }
    return found == gHost.suites.end() || key == "Refused 3" ? 5 : 0;
}

std::int32_t release(const char* name, std::int32_t version) {
    gHost.log += "-" + (name + (" " + to_string(version))) + ";";
    return 1;
}

PF_Err execute(AEGP_PluginID plugin, const char* script, bool platformEncoding,
               AEGP_MemHandle* result, AEGP_MemHandle* error) {
    gHost.log += to_string(plugin) + to_string(platformEncoding) + script + ";";
    const auto handleOf = [](auto& text) { return text ? static_cast<void*>(&text) : nullptr; };
    *result = static_cast<AEGP_MemHandle>(handleOf(gHost.texts[0]));
    *error = static_cast<AEGP_MemHandle>(handleOf(gHost.texts[1]));
    return 1;
}

std::size_t logText(const char* what, AEGP_MemHandle handle) {
    const std::size_t index = static_cast<void*>(handle) == &gHost.texts[0] ? 0 : 1;
    gHost.log += what + to_string(index) + ";";
    return index;
}

PF_Err lock(AEGP_MemHandle handle, void** text) {
    std::optional<std::string>& locked = gHost.texts[logText("lock", handle)];
    *text = gHost.locks ? locked.value().data() : nullptr;
    return 1;
}

PF_Err freeText(AEGP_MemHandle handle) {
    gHost.texts[logText("free", handle)].reset();
    return 1;
}

class Suites : public testing::Test {
protected:
    Suites() {
        gHost = {};
        gHost.suites = {{"Paint 3", &tables[0]},
                        {"Refused 3", &tables[0]},
                        {"Null 3", nullptr},
                        {"DRAWBOT Draw Suite 1", &tables[0]},
                        {"DRAWBOT Supplier Suite 1", &tables[1]},
                        {"DRAWBOT Surface Suite 2", &tables[2]},
                        {"DRAWBOT Path Suite 1", &tables[3]},
                        {"AEGP Utility Suite 11", &utility},
                        {"AEGP Memory Suite 1", &memory}};
        utils.ansi.sprintf = std::sprintf;
        in.utils = &utils;
        in.pica_basicP = &basic;
    }

    /// A result, what was asked of the host since the last one, and the message to be shown.
    std::string report(int result) {
        const std::string message = out.return_msg;
        EXPECT_EQ(out.out_flags, message.empty() ? 1 : 1 | PF_OutFlag_DISPLAY_ERROR_MESSAGE);
        out = PF_OutData{0, 0, 1, 0, ""};
        return to_string(result) + " " + std::exchange(gHost.log, "") + message;
    }

    SPBasicSuite basic{acquire, release};
    PF_UtilCallbacks utils{};
    PF_InData in{};
    PF_OutData out{0, 0, 1, 0, ""}; // with a flag that must stay
    int tables[4] = {};
    AEGP_UtilitySuite5 utility{execute};
    AEGP_MemorySuite1 memory{lock, freeText};
};

TEST_F(Suites, AreHeldForAScopeOrByHandOrReported) {
    const std::string none = "Not able to acquire AEFX Suite.";
    const std::string unknown = "Not able to acquire AEFX Suite-";
    const std::string noRelease = "Not able to release AEFX Suite.";
    const std::string longText(5000, 'x');
    const std::string cut(255, 'x');
    const struct {
        std::string name;
        const char* text;
        bool hasBasic;
        int thrown;                             // by the holder
        std::string scoped, acquired, released; // the messages; "" for success
    } cases[] = {{"Paint", "text", true, 0, "", "", ""},
                 {"Null", nullptr, true, 0, "", unknown + "Null-3", ""}, // by hand it must be there
                 {"Refused", "100% gone", true, 13, "100% gone", "", ""},
                 {"No", nullptr, true, 13, none, unknown + "No-3", ""},
                 {longText, "Needs %s", true, 13, "Needs %s", "Needs %s", ""},
                 {longText, nullptr, true, 13, none, unknown + cut.substr(unknown.size()), ""},
                 {"Paint", nullptr, false, 13, none, unknown + "Paint-3", noRelease},
                 {"Paint", longText.c_str(), false, 13, cut, cut, cut}};
    for (const auto& c : cases) {
        const char* name = c.name.c_str();
        const std::string asked = c.hasBasic ? "+" + c.name + " 3;" : "";
        const std::string given = c.hasBasic ? "-" + c.name + " 3;" : "";
        const std::string held =
            to_string(c.thrown) + " " + asked + (c.name == "Paint" && c.thrown == 0 ? given : "");
        in.pica_basicP = c.hasBasic ? &basic : nullptr;
        const auto hold = [&](auto make) {
            try {
                EXPECT_EQ(make().get(), gHost.suites.at(c.name + " 3"));
            } catch (int code) {
                return report(code);
            }
            return report(0);
        };
        EXPECT_EQ(hold([&] { return Scoper(in.pica_basicP, name, 3); }), held);
        EXPECT_EQ(hold([&] { return Scoper(&in, name, 3, &out, c.text); }), held + c.scoped);
        void* suite = nullptr;
        EXPECT_EQ(report(AcquireSuite(&in, &out, name, 3, c.text, &suite)),
                  (c.acquired.empty() ? "0 " : "516 ") + asked + c.acquired);
        EXPECT_EQ(suite, c.acquired.empty() ? &tables[0] : nullptr);
        EXPECT_EQ(report(ReleaseSuite(&in, &out, name, 3, c.text)),
                  (c.hasBasic ? "0 " : "516 ") + given + c.released);
    }
}

TEST_F(Suites, OfTheDrawingKindComeAndGoInTheirOrder) {
    DRAWBOT_Suites suites{};
    EXPECT_EQ(report(AcquireDrawbotSuites(&in, &out, &suites)),
              "0 +DRAWBOT Draw Suite 1;+DRAWBOT Supplier Suite 1;"
              "+DRAWBOT Surface Suite 2;+DRAWBOT Path Suite 1;");
    EXPECT_TRUE(suites.draw == &tables[0] && suites.supplier == &tables[1]);
    EXPECT_TRUE(suites.surface == &tables[2] && suites.path == &tables[3]);
    EXPECT_EQ(report(ReleaseDrawbotSuites(&in, &out)),
              "0 -DRAWBOT Draw Suite 1;-DRAWBOT Supplier Suite 1;"
              "-DRAWBOT Surface Suite 2;-DRAWBOT Path Suite 1;");
    EXPECT_EQ(report(AcquireDrawbotSuites(&in, &out, nullptr)),
              "514 NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
    gHost.suites.erase("DRAWBOT Supplier Suite 1"); // the one before it stays acquired
    EXPECT_EQ(report(AcquireDrawbotSuites(&in, &out, std::make_unique<DRAWBOT_Suites>().get())),
              "516 +DRAWBOT Draw Suite 1;+DRAWBOT Supplier Suite 1;"
              "Not able to acquire AEFX Suite-DRAWBOT Supplier Suite-1");
    in.pica_basicP = nullptr;
    EXPECT_EQ(report(ReleaseDrawbotSuites(&in, &out)), "0 Not able to release AEFX Suite.");
}

TEST_F(Suites, OfScriptsAndTheirTextsAreGivenBackInTheirOrder) {
    const struct {
        std::optional<std::string> result, error;
        bool locks;
        std::string expected, log;
    } cases[] = {{"  3\n", "unread", true, "  3\n", "lock0;lock1;free0;free1;"},
                 {"x", "y", false, "", "lock0;lock1;free0;free1;"},
                 {{}, "wrong", true, "", "lock1;free1;"},
                 {{}, {}, true, "", ""},
                 {std::string("a\0b", 3), {}, true, "a", "lock0;free0;"}};
    const std::string acquired = "0 +AEGP Utility Suite 11;+AEGP Memory Suite 1;";
    for (const auto& c : cases) {
        gHost.texts[0] = c.result;
        gHost.texts[1] = c.error;
        gHost.locks = c.locks;
        EXPECT_EQ(ScriptHelper::RunSriptAndGetStringResult(&basic, "1 + 2"), c.expected);
        EXPECT_EQ(report(0),
                  acquired + "001 + 2;" + c.log + "-AEGP Memory Suite 1;-AEGP Utility Suite 11;");
    }
    gHost.suites.erase("AEGP Memory Suite 1");
    EXPECT_THROW(ScriptHelper::RunSriptAndGetStringResult(&basic, "1 + 2"), int);
    EXPECT_EQ(report(0), acquired + "-AEGP Utility Suite 11;");
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
