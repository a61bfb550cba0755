#include "Support/GLWatch.h"

#include "Platform/OpenGL/OpenGLContext.h"
#include "Shared/GL/MessageSink.h"

#include <glbinding/AbstractFunction.h>
#include <glbinding/Value.h>
#include <glbinding/callbacks.h>
#include <glbinding/gl33core/gl.h>

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <utility>

namespace Testing {
namespace {

using namespace gl33core;

struct Record {
    std::mutex mutex; ///< guards the rest
    bool watching = false;
    std::map<std::string, int> calls;
    std::map<std::string, std::string> errors; ///< by function
    std::map<std::string, int> allowed;        ///< functions, with the errors seen
    bool lostNamesAllowed = false;
    /// By kind; of those that GL doesn't share, with the context's number.
    std::map<std::string, std::set<std::pair<std::uint64_t, GLuint>>> names;
    std::set<std::string> strayDeletions;
    std::string messages;
};

Record& record() {
    static Record& instance = *new Record;
    return instance;
}

bool isPerContext(const std::string& kind) {
    return kind == "Framebuffers" || kind == "VertexArrays";
}

/// The way to a value that glbinding keeps to itself.
template <typename T>
struct ValueAccess : glbinding::Value<T> {
    static T of(const glbinding::AbstractValue* value) {
        return static_cast<const glbinding::Value<T>*>(value)->*(&ValueAccess::value);
    }
};

void noteNames(const std::string& function, const glbinding::FunctionCall& call) {
    Record& r = record();
    const std::uint64_t context = NSOpenGLContext::currentNumber();
    const auto made = [&](const std::string& kind, GLuint name) {
        r.names[kind].insert({isPerContext(kind) ? context : 0, name});
    };
    const auto deleted = [&](const std::string& kind, GLuint name) {
        if (name != 0 && r.names[kind].erase({isPerContext(kind) ? context : 0, name}) == 0) {
            r.strayDeletions.insert(function + " " + std::to_string(name));
        }
    };
    if (function.rfind("glGen", 0) == 0 && function != "glGenerateMipmap") {
        const auto count = ValueAccess<GLsizei>::of(call.parameters[0]);
        const GLuint* names = ValueAccess<GLuint*>::of(call.parameters[1]);
        for (GLsizei i = 0; i < count; ++i) {
            made(function.substr(5), names[i]);
        }
    } else if (function == "glCreateProgram" || function == "glCreateShader") {
        made(function.substr(8) + "s", ValueAccess<GLuint>::of(call.returnValue));
    } else if (function == "glDeleteProgram" || function == "glDeleteShader") {
        deleted(function.substr(8) + "s", ValueAccess<GLuint>::of(call.parameters[0]));
    } else if (function.rfind("glDelete", 0) == 0) {
        const auto count = ValueAccess<GLsizei>::of(call.parameters[0]);
        const GLuint* names = ValueAccess<const GLuint*>::of(call.parameters[1]);
        for (GLsizei i = 0; i < count; ++i) {
            deleted(function.substr(8), names[i]);
        }
    }
}

void afterCall(const glbinding::FunctionCall& call) {
    const std::string function = call.function->name();
    Record& r = record();
    const std::lock_guard<std::mutex> lock(r.mutex);
    if (!r.watching) {
        return;
    }
    ++r.calls[function];
    noteNames(function, call);
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) {
        return;
    }
    const auto allowance = r.allowed.find(function);
    if (allowance != r.allowed.end()) {
        ++allowance->second;
    } else {
        r.errors[function] = glbinding::Value<GLenum>(error).asString();
    }
}

void receiveMessage(const std::string& text) {
    {
        const std::lock_guard<std::mutex> lock(record().mutex);
        record().messages += text;
    }
    if (text.rfind("OpenGL Revision", 0) == 0) {
        // glGetError is left out, or the look at the errors would bring another one.
        glbinding::setCallbackMaskExcept(glbinding::CallbackMask::After |
                                             glbinding::CallbackMask::ParametersAndReturnValue,
                                         {"glGetError"});
    }
}

} // namespace

GLWatch::GLWatch() {
    Record& r = record();
    const std::lock_guard<std::mutex> lock(r.mutex);
    r.watching = true;
    r.lostNamesAllowed = false;
    r.calls.clear();
    r.errors.clear();
    r.allowed.clear();
    r.names.clear();
    r.strayDeletions.clear();
    r.messages.clear();
    glbinding::setAfterCallback(afterCall);
    Vexorel::PrismDrift::setMessageSink(receiveMessage);
}

GLWatch::~GLWatch() {
    Record& r = record();
    const std::lock_guard<std::mutex> lock(r.mutex);
    r.watching = false;
    for (const auto& [function, error] : r.errors) {
        ADD_FAILURE() << function << " gave " << error;
    }
    for (const auto& [function, count] : r.allowed) {
        EXPECT_GT(count, 0) << function << " was to give an error";
    }
    if (r.lostNamesAllowed) {
        return;
    }
    for (const std::string& deletion : r.strayDeletions) {
        ADD_FAILURE() << deletion << ": no such name was made";
    }
    for (const auto& [kind, names] : r.names) {
        EXPECT_TRUE(isPerContext(kind) || names.empty()) << names.size() << " " << kind << " left";
    }
}

void GLWatch::allowErrorsOf(const std::string& function) {
    const std::lock_guard<std::mutex> lock(record().mutex);
    record().allowed.emplace(function, 0);
}

void GLWatch::allowLostNames() {
    const std::lock_guard<std::mutex> lock(record().mutex);
    record().lostNamesAllowed = true;
}

int GLWatch::names(const std::string& kind) {
    const std::lock_guard<std::mutex> lock(record().mutex);
    return static_cast<int>(record().names[kind].size());
}

int GLWatch::sharedNames() {
    int count = 0;
    for (const char* kind : {"Textures", "Buffers", "Renderbuffers", "Programs", "Shaders"}) {
        count += names(kind);
    }
    return count;
}

int GLWatch::callsOf(const std::string& function) {
    const std::lock_guard<std::mutex> lock(record().mutex);
    return record().calls[function];
}

int GLWatch::calls() {
    const std::lock_guard<std::mutex> lock(record().mutex);
    int count = 0;
    for (const auto& entry : record().calls) {
        count += entry.second;
    }
    return count;
}

std::string GLWatch::messages() {
    const std::lock_guard<std::mutex> lock(record().mutex);
    return record().messages;
}

void GLWatch::clearMessages() {
    const std::lock_guard<std::mutex> lock(record().mutex);
    record().messages.clear();
}

} // namespace Testing
