#pragma once

/// Watches every GL call of the process, on all threads and in all contexts: an error becomes a
/// failure that names the function, and names have to be deleted as often as they are made.

#include <glbinding/gl/types.h>

#include <functional>
#include <string>

namespace Testing {

/// Lives around what is watched, contexts included; one at a time. Contexts are noticed by the
/// description that each new one writes to the message sink, which is this object's meanwhile.
class GLWatch {
public:
    GLWatch();
    /// Fails the test for each error that was not allowed, for each allowance that was not used,
    /// for a name deleted that was not made, and for shared names that are left.
    ~GLWatch();
    GLWatch(const GLWatch&) = delete;
    GLWatch& operator=(const GLWatch&) = delete;

    /// Fails the test for each error so far that was not allowed.
    static void expectNoErrors();

    /// Errors of this function are the behaviour under test: there has to be at least one.
    void allowErrorsOf(const std::string& function);

    /// For a test whose contexts die with the names in them.
    void allowLostNames();

    /// While set, error flags stay for the code under test to read, unlooked at.
    static void leaveErrors(bool leave);

    /// From now on glGetIntegerv answers `value` for this limit of the driver.
    static void pretendLimit(gl::GLenum name, gl::GLint value);

    /// How many names of a kind there are: "Textures", "Buffers", "Renderbuffers", "Programs",
    /// "Shaders", "Framebuffers", "VertexArrays"; the last two in all living contexts together.
    static int names(const std::string& kind);
    /// All kinds that GL shares between contexts, taken together.
    static int sharedNames();

    /// How often a function was called since the object was made.
    static int callsOf(const std::string& function);

    /// The calls that `work` makes, in order, as "Name(argument, ARGUMENT) Name()", without the
    /// prefixes gl and GL_. If `functions` are given, separated by spaces, only theirs.
    static std::string callsDuring(const std::function<void()>& work,
                                   const std::string& functions = "");

    /// All that was written to the message sink since it was last forgotten.
    static std::string messages();
    static void forgetMessages();
};

} // namespace Testing
