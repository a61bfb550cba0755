// Scripts of an effect in the host's real engine, their texts in the host's real handles.

#include "Host/Library/ScriptEngine.h"
#include "Host/Library/Memory.h"
#include "Host/Library/OfferedSuites.h"
#include "Shared/Helper/ScriptHelper.h"
#include "Tests/Host/ErrorOf.h"

#include <gmock/gmock.h>
#include <thread>
#include <vector>

using namespace Vexorel::PrismDrift::Host;
using testing::StartsWith;

namespace {

std::string run(const std::string& script) {
    return Vexorel::PrismDrift::ScriptHelper::RunSriptAndGetStringResult(basicSuite(),
                                                                         script.c_str());
}

// The error, for which an effect gets an empty text.
std::string failureOf(const std::string& script) {
    EXPECT_EQ(run(script), "") << script;
    return errorOf([&] { evaluateScript(script); });
}

TEST(ScriptEngine, GivesTheValueAsTextOrWhatWentWrongAndWhere) {
    const std::pair<const char*, const char*> values[] = {
        {"1 + 2", "3"},
        {"", "undefined"},
        {"'  two\\n'", "  two\n"},
        {"var a = [1, 2]; a.push('x'); a", "1,2,x"},
        {"0.1 + 0.2", "0.30000000000000004"},
        {"'😀' + '\\ud83d' + '\\ude00' + '😀'.length", "😀😀2"},
        {"'a\\ud800b\\udc00' + '\\ud800'", "a\uFFFDb\uFFFD\uFFFD"},
        {"'до\\u0000после'", "до"},
        {"\uFEFF'marked'", "marked"},
    };
    for (const auto& [script, value] : values) {
        EXPECT_EQ(evaluateScript(script), value) << script;
        EXPECT_EQ(run(script), value) << script;
    }
    EXPECT_EQ(run("var s = 'x'; while (s.length < 1048576) s += s; s"), std::string(1 << 20, 'x'));
    const std::pair<const char*, const char*> failures[] = {
        {"\n\nlens", "ReferenceError: identifier 'lens' undefined (line 3)"},
        {"throw 'plain'", "plain"},
        {"throw ''", "the script failed and did not say why"},
        {"throw {toString: function () { throw new Error('inner') }}", "Error: inner"},
        {"({toString: function () { throw new Error('deep') }})", "Error: deep (line 1)"},
        {"'\xFF'", "SyntaxError: source decode failed (line 0)"},
        {"function deep() { return 1 + deep() } deep()", "RangeError: "},
    };
    for (const auto& [script, error] : failures) {
        EXPECT_THAT(failureOf(script), StartsWith(error)) << script;
    }
    EXPECT_NE(basicSuite()->ReleaseSuite("AEGP Utility Suite", 11), 0); // nothing stays acquired
    EXPECT_NE(basicSuite()->ReleaseSuite("AEGP Memory Suite", 1), 0);
}

TEST(ScriptEngine, LeavesHandlesAsItsCallersExpect) {
    const auto expectText = [](AEGP_MemHandle handle, const char* expected) {
        void* text = nullptr;
        memorySuite().AEGP_LockMemHandle(handle, &text);
        EXPECT_STREQ(static_cast<const char*>(text), expected);
        memorySuite().AEGP_FreeMemHandle(handle);
    };
    const std::tuple<const char*, PF_Err, const char*, const char*> rows[] = {
        {"'ok'", 0, "ok", ""},
        {"throw 'no'", 516, nullptr, "no"},
        {nullptr, 516, nullptr, nullptr}};
    const auto execute = utilitySuite().AEGP_ExecuteScript;
    AEGP_MemHandle result = nullptr, error = nullptr;
    for (const auto& [script, answer, resultText, errorText] : rows) {
        EXPECT_EQ(execute(0, script, true, &result, &error), answer);
        expectText(result, resultText);
        expectText(error, errorText);
    }
    EXPECT_EQ(execute(0, "1", false, &result, nullptr), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(execute(0, "1", false, nullptr, &error), PF_Err_BAD_CALLBACK_PARAM);
}

TEST(ScriptEngine, RunsScriptsOfManyThreadsApart) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([own = std::to_string(i)] {
            for (int round = 0; round < 20; ++round) {
                EXPECT_EQ(run("typeof kept + (kept = " + own + ")"), "undefined" + own);
                EXPECT_EQ(failureOf("throw " + own), own + " [516]");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
