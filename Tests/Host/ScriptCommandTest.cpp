// The program's --script, run as a child process.

#include "Tests/Host/ScratchFolder.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

struct Case {
    const char* label;
    std::string script;
    const char* arguments;
    int status;
    const char* output; // both streams
};

class ScriptCommandTest : public testing::TestWithParam<Case> {};

TEST_P(ScriptCommandTest, PrintsTheTrimmedValueOrWhyThereIsNone) {
    const ScratchFolder scratch;
    const std::string file = (scratch.path() / "script.js").string();
    std::ofstream(file, std::ios::binary) << GetParam().script;
    const std::string command = "cd '" + scratch.path().string() +
                                "' && '" PRISMDRIFT_PROGRAM "' " + GetParam().arguments +
                                " 2>&1 </dev/null";
    std::FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    std::array<char, 256> part{};
    while (std::fgets(part.data(), part.size(), pipe) != nullptr) {
        output += part.data();
    }
    EXPECT_EQ(WEXITSTATUS(pclose(pipe)), GetParam().status);
    EXPECT_EQ(output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    , ScriptCommandTest,
    testing::Values(
        Case{"Value", "var text = '\\n Привет 😀 \\t';\ntext", "--script script.js", 0,
             "Привет 😀\n"},
        Case{"NeedsNoEffect", "6 * 7", "--plugin none.so --script=script.js", 0, "42\n"},
        Case{"Failure", "\nlens.blur()", "--script script.js", 1,
             "prismdrift: error: the script 'script.js' failed: ReferenceError: identifier 'lens' "
             "undefined (line 2)\n"},
        Case{"ZeroByte", std::string("1\0 2", 4), "--script script.js", 1,
             "prismdrift: error: the script 'script.js' is no text: it holds a zero byte\n"},
        Case{"Missing", "", "--script none.js", 1,
             "prismdrift: error: cannot read the script 'none.js': No such file or directory\n"},
        Case{"Folder", "", "--script .", 1,
             "prismdrift: error: cannot read the script '.': Is a directory\n"},
        Case{"NoFile", "", "--script", 2, "prismdrift: error: --script takes a value: FILE\n"},
        Case{"WithPictures", "1", "--script script.js in.png out.png", 2,
             "prismdrift: error: --script stands alone, without INPUT and OUTPUT; not "
             "'in.png'\n"}),
    [](const auto& row) { return row.param.label; });

} // namespace
