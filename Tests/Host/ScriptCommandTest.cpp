// The program's --script, run as a child process.

#include "Tests/Host/ProgramTest.h"

namespace {

struct Case {
    const char* label;
    std::string script;
    const char* arguments;
    int status;
    const char* output; // both streams
};

class ScriptCommandTest : public ProgramTest, public testing::WithParamInterface<Case> {};

TEST_P(ScriptCommandTest, PrintsTheTrimmedValueOrWhyThereIsNone) {
    std::ofstream(path("script.js"), std::ios::binary) << GetParam().script;
    const Result result = run(std::string("$PROGRAM 2>&1 ") + GetParam().arguments);
    EXPECT_EQ(result.status, GetParam().status);
    EXPECT_EQ(result.output, GetParam().output);
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
             "prismdrift: error: the script 'script.js' is not a text: it holds a zero byte\n"},
        Case{"Missing", "", "--script none.js", 1,
             "prismdrift: error: cannot read the script 'none.js': No such file or directory\n"},
        Case{"Folder", "", "--script .", 1,
             "prismdrift: error: cannot read the script '.': Is a directory\n"},
        Case{"NoFile", "", "--script", 2, "prismdrift: error: --script takes a value: FILE\n"},
        Case{"WithPictures", "1", "--script script.js in.png out.png", 2,
             "prismdrift: error: --script takes no INPUT and OUTPUT beside it; leave out "
             "'in.png'\n"}),
    [](const auto& row) { return row.param.label; });

} // namespace
