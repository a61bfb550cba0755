// Scripts of an effect in the host's real engine, their texts in the host's real handles.

#include "Host/Library/ScriptEngine.h"
#include "Host/Library/Error.h"
#include "Host/Library/Memory.h"
#include "Host/Library/OfferedSuites.h"
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

/// The value, or the error.
std::string outcomeOf(const std::string& script) {
    try {
        return evaluateScript(script);
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

TEST_F(ScriptEngineTest, GivesTheValueAsTextOrWhatWentWrongAndWhere) {
    const struct {
        const char* script;
        const char* value; // null for a failure
        const char* error;
    } rows[] = {
        {"1 + 2", "3", ""},
        {"", "undefined", ""},
        {"'  two\\n'", "  two\n", ""},
        {"var a = [1, 2]; a.push('x'); a", "1,2,x", ""},
        {"0.1 + 0.2", "0.30000000000000004", ""},
        {"'Привет, 世界'", "Привет, 世界", ""},
        {"'😀' + '\\ud83d' + '\\ude00'", "😀😀", ""},
        {"'😀'.length", "2", ""},
        {"'a\\ud800b\\udc00' + '\\ud800'", "a\uFFFDb\uFFFD\uFFFD", ""},
        {"'до\\u0000после'", "до", ""},
        {"\uFEFF'marked'", "marked", ""},
        {"\n\nlens", nullptr, "ReferenceError: identifier 'lens' undefined (line 3)"},
        {"throw 'plain'", nullptr, "plain"},
        {"throw ''", nullptr, "the script failed and did not say why"},
        {"throw {toString: function () { throw new Error('inner') }}", nullptr, "Error: inner"},
        {"({toString: function () { throw new Error('deep') }})", nullptr, "Error: deep (line 1)"},
        {"'\xFF'", nullptr, "SyntaxError: source decode failed (line 0)"},
    };
    for (const auto& [script, value, error] : rows) {
        EXPECT_EQ(run(script), value != nullptr ? value : "") << script;
        EXPECT_EQ(outcomeOf(script), value != nullptr ? value : error) << script;
    }
    EXPECT_EQ(run("var s = 'x'; while (s.length < 1048576) s += s; s"), std::string(1 << 20, 'x'));
    EXPECT_THAT(outcomeOf("function deep() { return 1 + deep() } deep()"),
                testing::StartsWith("RangeError: "));
}

TEST_F(ScriptEngineTest, LeavesHandlesAsItsCallersExpect) {
    const struct {
        const char* script;
        PF_Err answer;
        const char* result; // null for no handle
        const char* error;
    } rows[] = {{"'ok'", PF_Err_NONE, "ok", ""},
                {"throw 'no'", PF_Err_BAD_CALLBACK_PARAM, nullptr, "no"},
                {nullptr, PF_Err_BAD_CALLBACK_PARAM, nullptr, nullptr}};
    const auto execute = utilitySuite().AEGP_ExecuteScript;
    const auto expectText = [](AEGP_MemHandle handle, const char* expected) {
        void* text = nullptr;
        if (handle != nullptr) {
            EXPECT_EQ(memorySuite().AEGP_LockMemHandle(handle, &text), PF_Err_NONE);
        }
        EXPECT_STREQ(static_cast<const char*>(text), expected);
        if (handle != nullptr) {
            EXPECT_EQ(memorySuite().AEGP_FreeMemHandle(handle), PF_Err_NONE);
        }
    };
    AEGP_MemHandle result = nullptr;
    AEGP_MemHandle error = nullptr;
    for (const auto& row : rows) {
        EXPECT_EQ(execute(0, row.script, true, &result, &error), row.answer);
        expectText(result, row.result);
        expectText(error, row.error);
    }
    EXPECT_EQ(execute(0, "1", false, &result, nullptr), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(execute(0, "1", false, nullptr, &error), PF_Err_BAD_CALLBACK_PARAM);
}

TEST_F(ScriptEngineTest, RunsScriptsOfManyThreadsApart) {
    std::vector<std::thread> threads(4);
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([own = std::to_string(i)] {
            for (int round = 0; round < 20; ++round) {
                EXPECT_EQ(run(("typeof kept + (kept = " + own + ")").c_str()), "undefined" + own);
                EXPECT_EQ(outcomeOf("throw " + own), own);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
