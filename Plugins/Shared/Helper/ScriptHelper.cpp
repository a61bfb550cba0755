#include "Shared/Helper/ScriptHelper.h"

#include "Shared/Helper/SuiteScoper.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace Vexorel::PrismDrift {

namespace {

constexpr AEGP_PluginID kNoPlugin = 0;
constexpr bool kPlatformEncoding = false;

// The two texts that a script leaves. The caller frees them, the result first, without unlocking.
struct ScriptTexts {
    explicit ScriptTexts(const SuiteScoper<AEGP_MemorySuite1>& memorySuite) : memory(memorySuite) {}
    ScriptTexts(const ScriptTexts&) = delete;
    ScriptTexts& operator=(const ScriptTexts&) = delete;

    ~ScriptTexts() {
        for (AEGP_MemHandle handle : {result, error}) {
            if (handle != nullptr) {
                memory->AEGP_FreeMemHandle(handle);
            }
        }
    }

    const char* lock(AEGP_MemHandle handle) const {
        void* text = nullptr;
        if (handle != nullptr) {
            memory->AEGP_LockMemHandle(handle, &text);
        }
        return static_cast<const char*>(text);
    }

    const SuiteScoper<AEGP_MemorySuite1>& memory;
    AEGP_MemHandle result = nullptr;
    AEGP_MemHandle error = nullptr;
};

bool isWhiteSpace(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 128 && std::isspace(code) != 0;
}

} // namespace

std::string ScriptHelper::RunSriptAndGetStringResult(SPBasicSuite* basic, const char* script) {
    const SuiteScoper<AEGP_UtilitySuite5> utility(basic, "AEGP Utility Suite", 11);
    const SuiteScoper<AEGP_MemorySuite1> memory(basic, "AEGP Memory Suite", 1);
    ScriptTexts texts(memory);
    utility->AEGP_ExecuteScript(kNoPlugin, script, kPlatformEncoding, &texts.result, &texts.error);
    const char* result = texts.lock(texts.result);
    texts.lock(texts.error);
    return result != nullptr ? std::string(result) : std::string();
}

std::string ScriptHelper::TrimStringWhiteSpaces(const std::string& text) {
    const auto first = std::find_if_not(text.begin(), text.end(), isWhiteSpace);
    const auto last =
        std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), isWhiteSpace).base();
    return {first, last};
}

} // namespace Vexorel::PrismDrift
