#pragma once

/// A GL name that each context has for itself: GL shares textures, buffers and programs between the
/// contexts of a group, but not frame buffers and vertex arrays. Their numbers repeat from context
/// to context, so a wrong one can seem to work.

#include <glbinding/gl33core/gl.h>

#include <cstdint>

namespace Vexorel::PrismDrift {

/// Holds one name per context, keyed by the context's unique number. Read as a number it is the
/// name in the context current on the calling thread; 0 if that has none, or if none of ours is
/// current. Any thread may use it in the context that is current there.
class PerContextName {
public:
    using Generate = void (*)(gl::GLsizei count, gl::GLuint* names);
    using Delete = void (*)(gl::GLsizei count, const gl::GLuint* names);

    PerContextName();
    ~PerContextName();
    PerContextName(const PerContextName&) = delete;
    PerContextName& operator=(const PerContextName&) = delete;

    operator gl::GLuint() const;

    /// Makes a name in the current context with `function`, such as glGenFramebuffers, unless it
    /// has one.
    void generate(Generate function);

    /// Deletes the current context's name, if it has one. The names of other contexts stay: they
    /// can be deleted only there, or go with their context.
    void remove(Delete function);

    /// Forgets the names that all objects of this class hold for a context that is gone. Makes no
    /// GL call.
    static void forgetContext(std::uint64_t number);
};

} // namespace Vexorel::PrismDrift
