// Scripts of an effect. The engine runs a script to its end, so those that can take long are left
// out by their words, and the others are short.

#include "Host/Library/Error.h"
#include "Host/Library/OfferedSuites.h"
#include "Host/Library/ScriptEngine.h"
#include "Shared/Helper/ScriptHelper.h"
#include "Tests/Fuzz/Target.h"

using namespace Vexorel::PrismDrift;

namespace {

// Loops, and functions that may end in a call of themselves; of what is left, deep recursion ends
// where the stack does.
bool mayTakeLong(std::string_view script) {
    for (const char* word : {"while", "for", "do", "return", "try", "Array", "length", "repeat",
                             "RegExp", "*", "+="}) {
        if (script.find(word) != std::string_view::npos) {
            return true;
        }
    }
    return script.size() > 200;
}

// The bytes of the UTF-8 character that starts here, 0 where none does.
std::size_t characterAt(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t size = first < 0x80   ? 1
                             : first < 0xC2 ? 0
                             : first < 0xE0 ? 2
                             : first < 0xF0 ? 3
                             : first < 0xF5 ? 4
                                            : 0;
    if (size > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < size; ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    return first == 0xED && static_cast<unsigned char>(text[1]) >= 0xA0 ? 0 : size;
}

void expectUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t size = characterAt(text);
        ASSERT_GT(size, 0U) << testing::PrintToString(text);
        text.remove_prefix(size);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string script(Fuzz::textOf(data, size));
    if (mayTakeLong(script)) {
        return 0;
    }
    SPBasicSuite* const suites = Host::basicSuite();
    if (size % 2 == 0) {
        expectUtf8(ScriptHelper::RunSriptAndGetStringResult(suites, script.c_str()));
    } else {
        try {
            expectUtf8(Host::evaluateScript(script));
        } catch (const Host::Error& error) {
            expectUtf8(error.what());
            EXPECT_STRNE(error.what(), "");
        }
    }
    EXPECT_NE(suites->ReleaseSuite("AEGP Utility Suite", 11), 0); // nothing stays acquired
    EXPECT_NE(suites->ReleaseSuite("AEGP Memory Suite", 1), 0);
    return 0;
}
