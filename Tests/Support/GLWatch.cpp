#include "Support/GLWatch.h"

#include "Platform/OpenGL/OpenGLContext.h"
#include "Shared/GL/MessageSink.h"

#include <glbinding/AbstractFunction.h>
#include <glbinding/Value.h>
#include <glbinding/callbacks.h>
#include <glbinding/gl33core/gl.h>

#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace Testing {
namespace {

using namespace gl33core;

struct Record {
    bool watching = false;
    bool lostNamesAllowed = false;
    bool errorsLeft = false;
    bool logging = false;
    std::vector<std::string> log;
    std::map<GLenum, GLint> limits; ///< the answers that are replaced
    std::map<std::string, int> calls;
    std::map<std::string, int> allowed; ///< functions, with the errors seen
    std::set<std::string> errors;
    std::set<std::string> strayDeletions;
    /// By kind; of those that GL doesn't share, with the context's number.
    std::map<std::string, std::set<std::pair<std::uint64_t, GLuint>>> names;
    std::string messages;
};

Record& theRecord() {
    static Record& record = *new Record;
    return record;
}

std::mutex& theMutex() {
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

/// Works on the record while no other thread does.
template <typename Work>
auto onRecord(Work work) {
    const std::lock_guard<std::mutex> lock(theMutex());
    return work(theRecord());
}

bool isPerContext(const std::string& kind) {
    return kind == "Framebuffers" || kind == "VertexArrays";
}

bool startsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

/// The way to a value that glbinding keeps to itself.
template <typename T>
struct ValueAccess : glbinding::Value<T> {
    static T of(const glbinding::AbstractValue* value) {
        return static_cast<const glbinding::Value<T>*>(value)->*(&ValueAccess::value);
    }
};

void noteNames(Record& record, const std::string& function, const glbinding::FunctionCall& call) {
    const bool single = function == "glCreateProgram" || function == "glCreateShader" ||
                        function == "glDeleteProgram" || function == "glDeleteShader";
    const bool deletes = startsWith(function, "glDelete");
    const bool generates = startsWith(function, "glGen") && function != "glGenerateMipmap";
    if (!single && !deletes && !generates) {
        return;
    }
    const std::string kind = single ? function.substr(8) + "s" : function.substr(deletes ? 8 : 5);
    std::vector<GLuint> names;
    if (single) {
        names = {ValueAccess<GLuint>::of(deletes ? call.parameters[0] : call.returnValue)};
    } else {
        const GLuint* first = deletes ? ValueAccess<const GLuint*>::of(call.parameters[1])
                                      : ValueAccess<GLuint*>::of(call.parameters[1]);
        names = {first, first + ValueAccess<GLsizei>::of(call.parameters[0])};
    }
    for (const GLuint name : names) {
        const std::pair key(isPerContext(kind) ? NSOpenGLContext::currentNumber() : 0, name);
        if (!deletes) {
            record.names[kind].insert(key);
        } else if (name != 0 && record.names[kind].erase(key) == 0) {
            record.strayDeletions.insert(function + " " + std::to_string(name));
        }
    }
}

/// "Name(argument, ARGUMENT)", without the prefixes gl and GL_.
std::string textOf(const glbinding::FunctionCall& call) {
    std::string text = std::string(call.function->name()).substr(2) + "(";
    for (const auto* parameter : call.parameters) {
        const std::string argument = parameter->asString();
        text += (parameter != call.parameters.front() ? ", " : "") +
                argument.substr(startsWith(argument, "GL_") ? 3 : 0);
    }
    return text + ")";
}

void replaceAnswer(const Record& record, const glbinding::FunctionCall& call) {
    const auto limit = record.limits.find(ValueAccess<GLenum>::of(call.parameters[0]));
    if (limit != record.limits.end()) {
        *ValueAccess<GLint*>::of(call.parameters[1]) = limit->second;
    }
}

void afterCall(const glbinding::FunctionCall& call) {
    onRecord([&](Record& record) {
        const std::string function = call.function->name();
        if (!record.watching) {
            return;
        }
        ++record.calls[function];
        if (record.logging) {
            record.log.push_back(textOf(call));
        }
        if (function == "glGetIntegerv") {
            replaceAnswer(record, call);
        }
        noteNames(record, function, call);
        const GLenum error = record.errorsLeft ? GL_NO_ERROR : glGetError();
        if (error == GL_NO_ERROR) {
            return;
        }
        const auto allowance = record.allowed.find(function);
        if (allowance != record.allowed.end()) {
            ++allowance->second;
        } else {
            record.errors.insert(function + " gave " + glbinding::Value<GLenum>(error).asString());
        }
    });
}

void receiveMessage(const std::string& text) {
    onRecord([&](Record& record) { record.messages += text; });
    if (startsWith(text, "OpenGL Revision")) {
        // glGetError is left out, or the look at the errors would bring another one.
        glbinding::setCallbackMaskExcept(glbinding::CallbackMask::After |
                                             glbinding::CallbackMask::ParametersAndReturnValue,
                                         {"glGetError"});
    }
}

} // namespace

GLWatch::GLWatch() {
    onRecord([](Record& record) {
        record = {};
        record.watching = true;
    });
    glbinding::setAfterCallback(afterCall);
    Vexorel::PrismDrift::setMessageSink(receiveMessage);
}

GLWatch::~GLWatch() {
    expectNoErrors();
    onRecord([](Record& record) {
        record.watching = false;
        for (const auto& [function, count] : record.allowed) {
            EXPECT_GT(count, 0) << function << " was to give an error";
        }
        if (record.lostNamesAllowed) {
            return;
        }
        for (const std::string& deletion : record.strayDeletions) {
            ADD_FAILURE() << deletion << ": no such name was made";
        }
        for (const auto& [kind, names] : record.names) {
            EXPECT_TRUE(isPerContext(kind) || names.empty()) << names.size() << " " << kind;
        }
    });
}

void GLWatch::expectNoErrors() {
    for (const std::string& error : onRecord([](Record& record) { return record.errors; })) {
        ADD_FAILURE() << error;
    }
}

void GLWatch::allowErrorsOf(const std::string& function) {
    onRecord([&](Record& record) { record.allowed.emplace(function, 0); });
}

void GLWatch::allowLostNames() {
    onRecord([](Record& record) { record.lostNamesAllowed = true; });
}

void GLWatch::leaveErrors(bool leave) {
    onRecord([&](Record& record) { record.errorsLeft = leave; });
}

void GLWatch::pretendLimit(GLenum name, GLint value) {
    onRecord([&](Record& record) { record.limits[name] = value; });
}

int GLWatch::names(const std::string& kind) {
    return onRecord([&](Record& record) { return static_cast<int>(record.names[kind].size()); });
}

int GLWatch::sharedNames() {
    return names("Textures") + names("Buffers") + names("Renderbuffers") + names("Programs") +
           names("Shaders");
}

int GLWatch::callsOf(const std::string& function) {
    return onRecord([&](Record& record) { return record.calls[function]; });
}

std::string GLWatch::callsDuring(const std::function<void()>& work, const std::string& functions) {
    onRecord([](Record& record) { record.logging = true; });
    work();
    const auto log = onRecord([](Record& record) {
        record.logging = false;
        return std::exchange(record.log, {});
    });
    std::string wanted;
    for (const std::string& call : log) {
        const std::string name = " " + call.substr(0, call.find('(')) + " ";
        if (functions.empty() || (" " + functions + " ").find(name) != std::string::npos) {
            wanted += (wanted.empty() ? "" : " ") + call;
        }
    }
    return wanted;
}

std::string GLWatch::messages() {
    return onRecord([](Record& record) { return record.messages; });
}

void GLWatch::forgetMessages() {
    onRecord([](Record& record) { record.messages.clear(); });
}

} // namespace Testing
