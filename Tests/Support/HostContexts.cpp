#include "Support/HostContexts.h"

#include "Support/KeepLibraries.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glx.h>

#include <cstdio>

namespace Testing {
namespace {

template <typename... Values>
std::vector<std::uintptr_t> asNumbers(Values... values) {
    return {(std::uintptr_t)values...}; // pointers and numbers, as the interfaces have them
}

std::unique_ptr<HostContext> makeEgl(bool embedded) {
    const EGLenum api = embedded ? EGL_OPENGL_ES_API : EGL_OPENGL_API;
    const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE,
                             embedded ? EGL_OPENGL_ES2_BIT : EGL_OPENGL_BIT, EGL_NONE};
    const EGLint version[] = {EGL_CONTEXT_MAJOR_VERSION, embedded ? 2 : 3, EGL_NONE};
    const EGLint size[] = {EGL_WIDTH, 8, EGL_HEIGHT, 8, EGL_NONE};
    EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
    eglInitialize(display, nullptr, nullptr);
    eglBindAPI(api);
    EGLConfig config = nullptr;
    EGLint count = 0;
    eglChooseConfig(display, wanted, &config, 1, &count);
    EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, version);
    EGLSurface draw = eglCreatePbufferSurface(display, config, size);
    EGLSurface read = eglCreatePbufferSurface(display, config, size);
    const auto makeCurrent = [=] {
        return eglBindAPI(api) == EGL_TRUE && draw != read &&
               eglMakeCurrent(display, draw, read, context) == EGL_TRUE;
    };
    const auto destroy = [=] {
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroySurface(display, draw);
        eglDestroySurface(display, read);
        eglDestroyContext(display, context);
        eglBindAPI(EGL_OPENGL_ES_API); // as a thread starts
    };
    return std::unique_ptr<HostContext>(new HostContext{makeCurrent, destroy});
}

/// On an Xvfb that chooses its display's number, and ends when its one client leaves.
std::unique_ptr<HostContext> makeGlx() {
    FILE* server = popen("exec timeout 280 Xvfb -displayfd 1 -terminate -screen 0 64x64x24 "
                         "-nolisten tcp",
                         "r");
    int number = -1;
    Display* display = nullptr;
    if (std::fscanf(server, "%d", &number) == 1) {
        display = XOpenDisplay((":" + std::to_string(number)).c_str());
    }
    if (display == nullptr) {
        pclose(server);
        return nullptr;
    }
    const int wanted[] = {GLX_DRAWABLE_TYPE, GLX_PBUFFER_BIT, GLX_RENDER_TYPE, GLX_RGBA_BIT, None};
    const int size[] = {GLX_PBUFFER_WIDTH, 8, GLX_PBUFFER_HEIGHT, 8, None};
    int count = 0;
    GLXFBConfig* configs = glXChooseFBConfig(display, DefaultScreen(display), wanted, &count);
    const GLXFBConfig config = count > 0 ? configs[0] : nullptr;
    XFree(configs);
    GLXContext context = glXCreateNewContext(display, config, GLX_RGBA_TYPE, nullptr, True);
    const GLXPbuffer draw = glXCreatePbuffer(display, config, size);
    const GLXPbuffer read = glXCreatePbuffer(display, config, size);
    const auto makeCurrent = [=] {
        return draw != read && glXMakeContextCurrent(display, draw, read, context) == True;
    };
    const auto destroy = [=] {
        glXMakeContextCurrent(display, None, None, nullptr);
        glXDestroyContext(display, context);
        if (draw != read) {
            glXDestroyPbuffer(display, draw);
            glXDestroyPbuffer(display, read);
        }
        keepLibraries(); // closing the display unloads the driver
        XCloseDisplay(display);
        pclose(server);
    };
    return std::unique_ptr<HostContext>(new HostContext{makeCurrent, destroy});
}

} // namespace

std::vector<std::uintptr_t> currentState() {
    return asNumbers(eglQueryAPI(), eglGetCurrentContext(), eglGetCurrentDisplay(),
                     eglGetCurrentSurface(EGL_DRAW), eglGetCurrentSurface(EGL_READ),
                     glXGetCurrentContext(), glXGetCurrentDisplay(), glXGetCurrentDrawable(),
                     glXGetCurrentReadDrawable());
}

bool terminateCurrentDisplay() {
    eglBindAPI(EGL_OPENGL_API);
    EGLDisplay display = eglGetCurrentDisplay();
    return display != EGL_NO_DISPLAY && eglTerminate(display) == EGL_TRUE;
}

void releaseCurrentEgl() {
    eglBindAPI(EGL_OPENGL_API);
    EGLDisplay display = eglGetCurrentDisplay();
    if (display != EGL_NO_DISPLAY) {
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
    eglBindAPI(EGL_OPENGL_ES_API);
}

std::unique_ptr<HostContext> makeHostContext(HostApi api, std::string& whyNot) {
    whyNot = "a context with two pixel buffers could not be made (GLX needs the package xvfb)";
    auto host = api == HostApi::glx ? makeGlx() : makeEgl(api == HostApi::eglEmbedded);
    return host != nullptr && host->makeCurrent() ? std::move(host) : nullptr;
}

} // namespace Testing
