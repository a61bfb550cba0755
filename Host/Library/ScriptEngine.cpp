#include "Host/Library/ScriptEngine.h"

#include "Host/Library/Error.h"
#include "Host/Library/Memory.h"

#include <duktape.h>

#include <cstring>
#include <memory>
#include <new>
#include <string_view>

namespace Vexorel::PrismDrift::Host {
namespace {

struct DestroyEngine {
    void operator()(duk_context* engine) const { duk_destroy_heap(engine); }
};

using Engine = std::unique_ptr<duk_context, DestroyEngine>;

struct Outcome {
    bool failed = false;
    std::string text; // the value, or the error
};

// Runs the script that `text` points to and leaves its value as a string. The engine leaves these
// two functions by a jump when a script fails, so nothing in them has a destructor.
duk_ret_t evaluate(duk_context* engine, void* text) {
    duk_push_string(engine, static_cast<const char*>(text));
    duk_push_string(engine, "script"); // the file's name, for errors
    duk_compile(engine, DUK_COMPILE_EVAL);
    duk_call(engine, 0);
    duk_to_string(engine, -1);
    return 1;
}

// Replaces what a script threw by its text, with the line where the error carries one.
duk_ret_t describe(duk_context* engine, void* /*unused*/) {
    duk_int_t line = 0;
    if (duk_is_error(engine, -1)) {
        duk_get_prop_string(engine, -1, "lineNumber");
        line = duk_to_int(engine, -1);
        duk_pop(engine);
    }
    const char* text = duk_safe_to_string(engine, -1);
    if (line > 0 && std::strstr(text, "(line ") == nullptr) { // syntax errors name it
        duk_push_sprintf(engine, "%s (line %ld)", text, static_cast<long>(line));
    }
    return 1;
}

// The engine stores a character above U+FFFF as two surrogates of three bytes each. UTF-8 has one
// form of four bytes for it, and none for a single surrogate, which U+FFFD replaces.
std::string toUtf8(std::string_view text) {
    const auto isSurrogate = [&](std::size_t at, unsigned first) {
        return at + 2 < text.size() && text[at] == '\xED' &&
               (static_cast<unsigned char>(text[at + 1]) & 0xF0U) == first;
    };
    const auto low10 = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at + 1]) & 0x0FU) << 6 |
               (static_cast<unsigned char>(text[at + 2]) & 0x3FU);
    };
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (isSurrogate(i, 0xA0) && isSurrogate(i + 3, 0xB0)) {
            const unsigned code = 0x10000U + (low10(i) << 10 | low10(i + 3));
            for (unsigned shift : {18U, 12U, 6U, 0U}) {
                const unsigned mark = shift == 18 ? 0xF0U : 0x80U;
                result += static_cast<char>(mark | (code >> shift & (shift == 18 ? 0x07U : 0x3FU)));
            }
            i += 6;
        } else if (isSurrogate(i, 0xA0) || isSurrogate(i, 0xB0)) {
            result += "\xEF\xBF\xBD"; // the replacement character
            i += 3;
        } else {
            result += text[i++];
        }
    }
    return result;
}

std::string textOnTop(duk_context* engine) {
    duk_size_t length = 0;
    const char* text = duk_get_lstring(engine, -1, &length);
    return text != nullptr ? toUtf8({text, length}) : std::string();
}

Outcome run(const char* script) {
    const Engine engine(duk_create_heap(nullptr, nullptr, nullptr, nullptr, nullptr));
    if (!engine) {
        throw std::bad_alloc();
    }
    Outcome outcome;
    // The engine's interface takes the text without const; `evaluate` only reads it.
    outcome.failed = duk_safe_call(engine.get(), evaluate, const_cast<char*>(script), 0, 1) != 0;
    if (outcome.failed) {
        duk_safe_call(engine.get(), describe, nullptr, 1, 1);
    }
    outcome.text = textOnTop(engine.get());
    if (outcome.failed && *outcome.text.c_str() == '\0') { // its readers stop at a zero
        outcome.text = "the script failed and did not say why";
    }
    return outcome;
}

// Puts the outcome's texts into handles: all of them, or none without memory.
PF_Err handOver(const Outcome& outcome, AEGP_MemHandle* result, AEGP_MemHandle* error) {
    *result = outcome.failed ? nullptr : newTextHandle(outcome.text);
    *error = newTextHandle(outcome.failed ? outcome.text : std::string());
    if (*error != nullptr && (outcome.failed || *result != nullptr)) {
        return outcome.failed ? PF_Err_BAD_CALLBACK_PARAM : PF_Err_NONE;
    }
    for (AEGP_MemHandle* handle : {result, error}) {
        if (*handle != nullptr) {
            memorySuite().AEGP_FreeMemHandle(*handle);
            *handle = nullptr;
        }
    }
    return PF_Err_OUT_OF_MEMORY;
}

PF_Err executeScript(AEGP_PluginID /*plugin_id*/, const char* script, bool /*platform_encoding*/,
                     AEGP_MemHandle* result, AEGP_MemHandle* error) try {
    for (AEGP_MemHandle* handle : {result, error}) {
        if (handle != nullptr) {
            *handle = nullptr;
        }
    }
    if (script == nullptr || result == nullptr || error == nullptr) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    return handOver(run(script), result, error);
} catch (const std::bad_alloc&) {
    return PF_Err_OUT_OF_MEMORY;
}

struct FreeText {
    void operator()(AEGP_MemBlock* handle) const { memorySuite().AEGP_FreeMemHandle(handle); }
};

using Text = std::unique_ptr<AEGP_MemBlock, FreeText>;

std::string copyOf(const Text& handle) {
    void* text = nullptr;
    if (handle) {
        memorySuite().AEGP_LockMemHandle(handle.get(), &text);
    }
    return text != nullptr ? static_cast<const char*>(text) : std::string();
}

} // namespace

const AEGP_UtilitySuite5& utilitySuite() {
    static const AEGP_UtilitySuite5 suite = {&executeScript};
    return suite;
}

std::string evaluateScript(const std::string& script) {
    AEGP_MemHandle result = nullptr;
    AEGP_MemHandle error = nullptr;
    const PF_Err err = utilitySuite().AEGP_ExecuteScript(0, script.c_str(), false, &result, &error);
    const Text resultText(result);
    const Text errorText(error);
    if (err == PF_Err_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    if (err != PF_Err_NONE) {
        throw Error(copyOf(errorText), err);
    }
    return copyOf(resultText);
}

} // namespace Vexorel::PrismDrift::Host
