// Scripts of an effect in the host's real engine, their texts in the host's real handles.

#include "Host/Library/ScriptEngine.h"
#include "Host/Library/Error.h"
#include "Host/Library/Memory.h"
#include "Host/Library/Suites.h"
#include "Shared/Helper/ScriptHelper.h"

#include <gmock/gmock.h>
#include <thread>
#include <vector>

using namespace Vexorel::PrismDrift::Host;
using Vexorel::PrismDrift::ScriptHelper;

namespace {

std::string run(const char* script) {
    return ScriptHelper::RunSriptAndGetStringResult(basicSuite(), script);
}

std::string errorOf(const std::string& script) {
    try {
        return "no error, but " + runScript(script);
    } catch (const Error& error) {
        return error.what();
    }
}

// Whatever a test does, no suite and no memory stays held.
class ScriptEngineTest : public testing::Test {
protected:
    ~ScriptEngineTest() override {
        EXPECT_EQ(suiteReferences("AEGP Utility Suite", 11), 0);
        EXPECT_EQ(suiteReferences("AEGP Memory Suite", 1), 0);
        EXPECT_EQ(memoryCounts().blocks, mBefore.blocks);
        EXPECT_EQ(memoryCounts().misuses, mBefore.misuses);
    }

private:
    MemoryCounts mBefore = memoryCounts();
};

TEST_F(ScriptEngineTest, GivesTheValueAsText) {
    const struct {
        const char* script;
        const char* value;
    } rows[] = {
        {"1 + 2", "3"},
        {"", "undefined"},
        {"undefined", "undefined"},
        {"''", ""},
        {"'  two\\n'", "  two\n"},
        {"var a = [1, 2]; a.push('x'); a", "1,2,x"},
        {"0.1 + 0.2", "0.30000000000000004"},
        {"'Привет, 世界'", "Привет, 世界"},
        {"'😀' + '\\ud83d' + '\\ude00'", "😀😀"},
        {"'😀'.length", "2"},
        {"'a\\ud800b\\udc00' + '\\ud800'", "a\uFFFDb\uFFFD\uFFFD"},
        {"'до\\u0000после'", "до"},
        {"\uFEFF'marked'", "marked"},
        {"try { throw 1 } catch (e) { 'caught' }", "caught"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(run(row.script), row.value) << row.script;
        EXPECT_EQ(runScript(row.script), row.value) << row.script;
    }
    EXPECT_EQ(run("var s = 'x'; while (s.length < 1048576) s += s; s"), std::string(1 << 20, 'x'));
}

TEST_F(ScriptEngineTest, TellsWhatWentWrongAndWhere) {
    const struct {
        const char* script;
        const char* error;
    } rows[] = {
        {"\n\nlens", "ReferenceError: identifier 'lens' undefined (line 3)"},
        {"throw new Error('out of film')", "Error: out of film (line 1)"},
        {"throw 'plain'", "plain"},
        {"throw ''", "the script failed and did not say why"},
        {"throw {toString: function () { throw new Error('inner') }}", "Error: inner"},
        {"({toString: function () { throw new Error('deep') }})", "Error: deep (line 1)"},
        {"'\xFF'", "SyntaxError: source decode failed (line 0)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(run(row.script), "") << row.script;
        EXPECT_EQ(errorOf(row.script), row.error) << row.script;
    }
    EXPECT_THAT(errorOf("function deep() { return 1 + deep() } deep()"),
                testing::StartsWith("RangeError: "));
}

TEST_F(ScriptEngineTest, LeavesHandlesAsItsCallersExpect) {
    const auto execute = utilitySuite().AEGP_ExecuteScript;
    const auto textOf = [](AEGP_MemHandle handle) {
        void* text = nullptr;
        EXPECT_EQ(memorySuite().AEGP_LockMemHandle(handle, &text), PF_Err_NONE);
        std::string copy = static_cast<const char*>(text);
        EXPECT_EQ(memorySuite().AEGP_FreeMemHandle(handle), PF_Err_NONE);
        return copy;
    };
    AEGP_MemHandle result = nullptr;
    AEGP_MemHandle error = nullptr;
    EXPECT_EQ(execute(0, "'ok'", true, &result, &error), PF_Err_NONE);
    EXPECT_EQ(textOf(result), "ok");
    EXPECT_EQ(textOf(error), "");
    EXPECT_EQ(execute(0, "throw 'no'", false, &result, &error), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(textOf(error), "no");
    EXPECT_EQ(execute(0, nullptr, false, &result, &error), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(execute(0, "1", false, &result, nullptr), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(execute(0, "1", false, nullptr, &error), PF_Err_BAD_CALLBACK_PARAM);
}

TEST_F(ScriptEngineTest, RunsScriptsOfManyThreadsApart) {
    std::vector<std::thread> threads(4);
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([i] {
            const std::string own = std::to_string(i);
            for (int round = 0; round < 20; ++round) {
                EXPECT_EQ(run(("typeof kept + (kept = " + own + ")").c_str()), "undefined" + own);
                EXPECT_EQ(run(("throw " + own).c_str()), "");
                EXPECT_EQ(errorOf("throw " + own), own);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
