#include "Shared/Helper/ScriptHelper.h"

#include "FakeHost.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift {
namespace {

using testing::ElementsAre;

// The script engine's side: what it leaves, and which of its blocks are locked or not yet freed.
struct Engine {
    std::optional<std::string> result, error; // no handle without a value
    bool locks = true;
    std::string script;
    FakeHost* host = nullptr;
};

Engine* sEngine = nullptr;

AEGP_MemHandle toHandle(std::optional<std::string>& text) {
    return text ? reinterpret_cast<AEGP_MemHandle>(&*text) : nullptr;
}

const char* nameOf(AEGP_MemHandle handle) {
    return handle == toHandle(sEngine->result)  ? "result"
           : handle == toHandle(sEngine->error) ? "error"
                                                : "unknown";
}

PF_Err execute(AEGP_PluginID plugin, const char* script, bool platformEncoding,
               AEGP_MemHandle* result, AEGP_MemHandle* error) {
    EXPECT_EQ(plugin, 0);
    EXPECT_FALSE(platformEncoding);
    sEngine->host->calls.push_back("execute");
    sEngine->script = script;
    *result = toHandle(sEngine->result);
    *error = toHandle(sEngine->error);
    return 1; // nobody is to look at it
}

PF_Err lock(AEGP_MemHandle handle, void** pointer) {
    sEngine->host->calls.push_back(std::string("lock ") + nameOf(handle));
    if (sEngine->locks) {
        *pointer = reinterpret_cast<std::string*>(handle)->data();
    }
    return 1;
}

PF_Err release(AEGP_MemHandle handle) {
    sEngine->host->calls.push_back(std::string("free ") + nameOf(handle));
    return 1;
}

class ScriptHelperTest : public testing::Test {
protected:
    ScriptHelperTest() {
        engine.host = &host;
        sEngine = &engine;
        host.suites["AEGP Utility Suite 11"] = {&utility};
        host.suites["AEGP Memory Suite 1"] = {&memory};
    }

    std::string run(const char* script = "1 + 2") {
        return ScriptHelper::RunSriptAndGetStringResult(&host.basic, script);
    }

    FakeHost host;
    Engine engine;
    AEGP_UtilitySuite5 utility{execute};
    AEGP_MemorySuite1 memory{lock, release};
};

TEST_F(ScriptHelperTest, GivesTheResultAndGivesBackAllItHeld) {
    engine.result = "  3\n";
    engine.error = "unread";
    EXPECT_EQ(run("1 + 2"), "  3\n");
    EXPECT_EQ(engine.script, "1 + 2");
    EXPECT_THAT(host.calls,
                ElementsAre("acquire AEGP Utility Suite 11", "acquire AEGP Memory Suite 1",
                            "execute", "lock result", "lock error", "free result", "free error",
                            "release AEGP Memory Suite 1", "release AEGP Utility Suite 11"));
    EXPECT_EQ(host.held, 0);
}

struct Leftover {
    const char* label;
    std::optional<std::string> result, error;
    bool locks;
    std::string expected;
    std::vector<std::string> freed;
};

class ScriptLeftovers : public ScriptHelperTest, public testing::WithParamInterface<Leftover> {};

TEST_P(ScriptLeftovers, AreFreedWhateverThereIs) {
    engine.result = GetParam().result;
    engine.error = GetParam().error;
    engine.locks = GetParam().locks;
    EXPECT_EQ(run(), GetParam().expected);
    std::vector<std::string> freed;
    std::copy_if(host.calls.begin(), host.calls.end(), std::back_inserter(freed),
                 [](const std::string& call) { return call.rfind("free ", 0) == 0; });
    EXPECT_EQ(freed, GetParam().freed);
    EXPECT_EQ(host.held, 0);
}

INSTANTIATE_TEST_SUITE_P(
    , ScriptLeftovers,
    testing::Values(Leftover{"EmptyTexts", "", "", true, "", {"free result", "free error"}},
                    Leftover{"NoHandles", {}, {}, true, "", {}},
                    Leftover{"AnErrorOnly", {}, "wrong", true, "", {"free error"}},
                    Leftover{"AResultOnly", "yes", {}, true, "yes", {"free result"}},
                    Leftover{"NullTexts", "x", "y", false, "", {"free result", "free error"}},
                    Leftover{"UpToAZero", std::string("a\0b", 3), {}, true, "a", {"free result"}},
                    Leftover{"LongText",
                             std::string(1 << 20, 'z'),
                             {},
                             true,
                             std::string(1 << 20, 'z'),
                             {"free result"}}),
    [](const auto& row) { return row.param.label; });

TEST_F(ScriptHelperTest, ThrowsWhereASuiteIsMissing) {
    for (const char* missing : {"AEGP Memory Suite 1", "AEGP Utility Suite 11"}) {
        host.suites.erase(missing);
        host.calls.clear();
        try {
            run();
            ADD_FAILURE() << missing;
        } catch (int code) {
            EXPECT_EQ(code, 13);
        }
        EXPECT_EQ(host.held, 0);
        EXPECT_THAT(host.calls, testing::Not(testing::Contains("execute")));
    }
}

TEST(TrimStringWhiteSpaces, TakesBothEndsOnly) {
    const struct {
        const char* text;
        const char* trimmed;
    } rows[] = {
        {"", ""},
        {"   ", ""},
        {"\t\n\v\f\r ", ""},
        {"word", "word"},
        {" a", "a"},
        {"a ", "a"},
        {"\r\n\ttwo  words\v\f\n", "two  words"},
        {" \u00a0\u2003x\u00a0 ", "\u00a0\u2003x\u00a0"}, // not of the plain classification
        {" \xff\x85\xa0 ", "\xff\x85\xa0"},
        {" \x1c\x1f ", "\x1c\x1f"},
    };
    for (const auto& row : rows) {
        const std::string text = row.text;
        EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(text), row.trimmed);
        EXPECT_EQ(text, row.text);
    }
    EXPECT_EQ(ScriptHelper::TrimStringWhiteSpaces(std::string(" \0 ", 3)), std::string("\0", 1));
}

} // namespace
} // namespace Vexorel::PrismDrift
