#pragma once

/// The EGL display that all contexts of the process are made on, and how one is made.

#include <EGL/egl.h>

#include <string>

namespace Platform {

/// Selects desktop OpenGL as the thread's rendering API, and the former API again at its end.
class RenderingApiScope {
public:
    RenderingApiScope();
    ~RenderingApiScope();
    RenderingApiScope(const RenderingApiScope&) = delete;
    RenderingApiScope& operator=(const RenderingApiScope&) = delete;

private:
    EGLenum mFormer;
};

struct EglContext {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
};

/// Makes a context, on the display of `share` if that is given. The display is chosen at the first
/// success, for the life of the process: hardware devices first, then the surfaceless platform,
/// then the default display, and one that rasterises in software only if there is no other. It is
/// never terminated, and initialised again if someone else did. On failure the context is null and
/// `whyNot` says in one line why.
EglContext makeEglContext(EGLContext share, std::string& whyNot);

} // namespace Platform
