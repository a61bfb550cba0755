#pragma once

/// A GL name that goes with a scope unless it is handed on.

#include <glbinding/gl33core/gl.h>

#include <utility>

namespace Vexorel::PrismDrift {

/// Owns one name, 0 for none, and deletes it with the function of its kind in the context that is
/// current then.
class ScopedName {
public:
    using Delete = void (*)(gl::GLsizei count, const gl::GLuint* names);

    ScopedName(gl::GLuint name, Delete function) : mName(name), mDelete(function) {}
    ~ScopedName() { reset(); }
    ScopedName(const ScopedName&) = delete;
    ScopedName& operator=(const ScopedName&) = delete;

    gl::GLuint get() const { return mName; }

    /// Hands the name over to the caller.
    gl::GLuint release() { return std::exchange(mName, 0U); }

    void reset() {
        const gl::GLuint name = release();
        if (name != 0) {
            mDelete(1, &name);
        }
    }

private:
    gl::GLuint mName;
    Delete mDelete;
};

} // namespace Vexorel::PrismDrift
