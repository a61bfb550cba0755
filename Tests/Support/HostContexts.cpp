#include "Support/HostContexts.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glx.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace Testing {
namespace {

template <typename Value>
std::uintptr_t asNumber(Value value) {
    return (std::uintptr_t)value; // a pointer or a number, as the interface has it
}

class EglHost : public HostContext {
public:
    explicit EglHost(bool embedded) : mApi(embedded ? EGL_OPENGL_ES_API : EGL_OPENGL_API) {
        mDisplay = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
        eglInitialize(mDisplay, nullptr, nullptr);
        eglBindAPI(mApi);
        const std::array<EGLint, 5> wanted{EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE,
                                           embedded ? EGL_OPENGL_ES2_BIT : EGL_OPENGL_BIT,
                                           EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        eglChooseConfig(mDisplay, wanted.data(), &config, 1, &count);
        const std::array<EGLint, 3> version{EGL_CONTEXT_MAJOR_VERSION, embedded ? 2 : 3, EGL_NONE};
        mContext = eglCreateContext(mDisplay, config, EGL_NO_CONTEXT, version.data());
        const std::array<EGLint, 5> size{EGL_WIDTH, 8, EGL_HEIGHT, 8, EGL_NONE};
        mDraw = eglCreatePbufferSurface(mDisplay, config, size.data());
        mRead = eglCreatePbufferSurface(mDisplay, config, size.data());
    }
    ~EglHost() override {
        eglMakeCurrent(mDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroySurface(mDisplay, mDraw);
        eglDestroySurface(mDisplay, mRead);
        eglDestroyContext(mDisplay, mContext);
        eglBindAPI(EGL_OPENGL_ES_API); // as a thread starts
    }
    bool makeCurrent() override {
        return eglBindAPI(mApi) == EGL_TRUE && mDraw != mRead &&
               eglMakeCurrent(mDisplay, mDraw, mRead, mContext) == EGL_TRUE;
    }

private:
    EGLenum mApi;
    EGLDisplay mDisplay = EGL_NO_DISPLAY;
    EGLContext mContext = EGL_NO_CONTEXT;
    EGLSurface mDraw = EGL_NO_SURFACE;
    EGLSurface mRead = EGL_NO_SURFACE;
};

/// An Xvfb on a display number of its own choice.
class DisplayServer {
public:
    DisplayServer() {
        std::array<int, 2> pipe{};
        if (::pipe(pipe.data()) != 0) {
            return;
        }
        mProcess = fork();
        if (mProcess == 0) {
            execlp("Xvfb", "Xvfb", "-displayfd", std::to_string(pipe[1]).c_str(), "-screen", "0",
                   "64x64x24", "-nolisten", "tcp", static_cast<char*>(nullptr));
            _exit(127);
        }
        close(pipe[1]);
        std::array<char, 16> digits{};
        if (read(pipe[0], digits.data(), digits.size() - 1) > 0) {
            mName = ":" + std::to_string(std::atoi(digits.data()));
        }
        close(pipe[0]);
    }
    ~DisplayServer() {
        if (mProcess > 0) {
            kill(mProcess, SIGTERM);
            waitpid(mProcess, nullptr, 0);
        }
    }
    DisplayServer(const DisplayServer&) = delete;
    DisplayServer& operator=(const DisplayServer&) = delete;

    /// Null if it didn't start.
    Display* open() const { return mName.empty() ? nullptr : XOpenDisplay(mName.c_str()); }

private:
    pid_t mProcess = -1;
    std::string mName;
};

class GlxHost : public HostContext {
public:
    GlxHost() {
        if (mDisplay == nullptr) {
            return;
        }
        const std::array<int, 5> wanted{GLX_DRAWABLE_TYPE, GLX_PBUFFER_BIT, GLX_RENDER_TYPE,
                                        GLX_RGBA_BIT, None};
        int count = 0;
        GLXFBConfig* configs =
            glXChooseFBConfig(mDisplay, DefaultScreen(mDisplay), wanted.data(), &count);
        if (count > 0) {
            const std::array<int, 5> size{GLX_PBUFFER_WIDTH, 8, GLX_PBUFFER_HEIGHT, 8, None};
            mContext = glXCreateNewContext(mDisplay, configs[0], GLX_RGBA_TYPE, nullptr, True);
            mDraw = glXCreatePbuffer(mDisplay, configs[0], size.data());
            mRead = glXCreatePbuffer(mDisplay, configs[0], size.data());
        }
        XFree(configs);
    }
    ~GlxHost() override {
        if (mContext != nullptr) {
            glXMakeContextCurrent(mDisplay, None, None, nullptr);
            glXDestroyPbuffer(mDisplay, mDraw);
            glXDestroyPbuffer(mDisplay, mRead);
            glXDestroyContext(mDisplay, mContext);
        }
        if (mDisplay != nullptr) {
            XCloseDisplay(mDisplay);
        }
    }
    bool makeCurrent() override {
        return mContext != nullptr && mDraw != mRead &&
               glXMakeContextCurrent(mDisplay, mDraw, mRead, mContext) == True;
    }

private:
    DisplayServer mServer;
    Display* mDisplay = mServer.open();
    GLXContext mContext = nullptr;
    GLXPbuffer mDraw = None;
    GLXPbuffer mRead = None;
};

} // namespace

std::vector<std::uintptr_t> currentState() {
    return {asNumber(eglQueryAPI()),
            asNumber(eglGetCurrentContext()),
            asNumber(eglGetCurrentDisplay()),
            asNumber(eglGetCurrentSurface(EGL_DRAW)),
            asNumber(eglGetCurrentSurface(EGL_READ)),
            asNumber(glXGetCurrentContext()),
            asNumber(glXGetCurrentDisplay()),
            asNumber(glXGetCurrentDrawable()),
            asNumber(glXGetCurrentReadDrawable())};
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
    std::unique_ptr<HostContext> host;
    if (api == HostApi::glx) {
        whyNot = "no GLX context could be made on an Xvfb (package xvfb)";
        host = std::make_unique<GlxHost>();
    } else {
        whyNot = "no EGL context with pixel buffers could be made on the surfaceless display";
        host = std::make_unique<EglHost>(api == HostApi::eglEmbedded);
    }
    return host->makeCurrent() ? std::move(host) : nullptr;
}

} // namespace Testing
