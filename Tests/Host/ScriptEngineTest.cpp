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
        {"typeof kept + (kept = 1)", "undefined1"}, // runs twice, each time in a new engine
    };
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (const auto& [script, value] : values) {
                EXPECT_EQ(evaluateScript(script), value) << script;
                EXPECT_EQ(run(script), value) << script;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(run("var s = 'x'; while (s.length < 1048576) s += s; s"), std::string(1 << 20, 'x'));
    const std::pair<const char*, const char*> failures[] = {
        {"\n\nlens", "ReferenceError: identifier 'lens' undefined (line 3)"},
        {"throw 'plain'", "plain"},
        {"throw ''", "the script failed and did not say why"},
        {"throw '\\u0000hidden'", "the script failed and did not say why"},
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
    const auto execute = utilitySuite().AEGP_ExecuteScript;
    int any = 0;
    const auto stale = reinterpret_cast<AEGP_MemHandle>(&any);
    AEGP_MemHandle result = stale, error = stale;
    EXPECT_EQ(execute(0, "throw 'no'", true, &result, &error), 516);
    EXPECT_TRUE(result == nullptr && memorySuite().AEGP_FreeMemHandle(error) == 0);
    for (const char* script : {"1", static_cast<const char*>(nullptr)}) {
        AEGP_MemHandle* const place = script == nullptr ? &error : nullptr;
        result = error = stale;
        EXPECT_EQ(execute(0, script, false, &result, place), 516);
        EXPECT_TRUE(result == nullptr && (place == nullptr || error == nullptr));
    }
    EXPECT_EQ(execute(0, "1", false, nullptr, &error), 516);
}

} // namespace
