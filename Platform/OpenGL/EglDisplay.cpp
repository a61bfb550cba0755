#include "Platform/OpenGL/EglDisplay.h"

#include "Platform/OpenGL/ContextFailure.h"
#include "Platform/OpenGL/EglDevices.h"
#include "Platform/Threads/Mutex.h"

#include <array>
#include <vector>

namespace Platform {
namespace {

bool isSoftwareDisplay(EGLDisplay display) {
    const auto queryDisplay =
        extensionFunction<PFNEGLQUERYDISPLAYATTRIBEXTPROC>("eglQueryDisplayAttribEXT");
    EGLAttrib device = 0;
    return queryDisplay != nullptr && queryDisplay(display, EGL_DEVICE_EXT, &device) == EGL_TRUE &&
           isSoftwareDevice(reinterpret_cast<EGLDeviceEXT>(device));
}

/// The displays to try, the best first. A display is opened only if none before it draws in
/// hardware.
class DisplayCandidates {
public:
    DisplayCandidates() {
        const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
        if (listsDevices(extensions)) {
            mDevices = hardwareDevices();
        }
        mSurfaceless = hasExtension(extensions, "EGL_MESA_platform_surfaceless");
    }

    std::size_t size() const { return mDevices.size() + (mSurfaceless ? 2 : 1); }

    EGLDisplay open(std::size_t index) const {
        if (index < mDevices.size()) {
            return eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, mDevices[index], nullptr);
        }
        if (mSurfaceless && index == mDevices.size()) {
            return eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY,
                                         nullptr);
        }
        return eglGetDisplay(EGL_DEFAULT_DISPLAY);
    }

private:
    std::vector<EGLDeviceEXT> mDevices;
    bool mSurfaceless = false;
};

std::string errorName(EGLint error) {
    switch (error) {
    case EGL_NOT_INITIALIZED:
        return "EGL_NOT_INITIALIZED";
    case EGL_BAD_ALLOC:
        return "EGL_BAD_ALLOC";
    case EGL_BAD_ATTRIBUTE:
        return "EGL_BAD_ATTRIBUTE";
    case EGL_BAD_CONFIG:
        return "EGL_BAD_CONFIG";
    case EGL_BAD_CONTEXT:
        return "EGL_BAD_CONTEXT";
    case EGL_BAD_DISPLAY:
        return "EGL_BAD_DISPLAY";
    case EGL_BAD_MATCH:
        return "EGL_BAD_MATCH";
    case EGL_BAD_PARAMETER:
        return "EGL_BAD_PARAMETER";
    default:
        return "EGL error " + std::to_string(error);
    }
}

/// One context on one display; null and the reason if that fails.
EGLContext makeContextOn(EGLDisplay display, EGLContext share, std::string& whyNot) {
    if (display == EGL_NO_DISPLAY) {
        whyNot = "no EGL driver was found";
        return EGL_NO_CONTEXT;
    }
    if (eglInitialize(display, nullptr, nullptr) != EGL_TRUE) {
        whyNot = "the EGL display could not be initialised (" + errorName(eglGetError()) + ")";
        return EGL_NO_CONTEXT;
    }
    const char* vendor = eglQueryString(display, EGL_VENDOR);
    const std::string driver = vendor != nullptr ? vendor : "unknown";
    const char* extensions = eglQueryString(display, EGL_EXTENSIONS);
    for (const char* needed : {"EGL_KHR_surfaceless_context", "EGL_KHR_no_config_context"}) {
        if (!hasExtension(extensions, needed)) {
            whyNot = "the EGL driver (" + driver + ") lacks " + needed;
            return EGL_NO_CONTEXT;
        }
    }
    const RenderingApiScope api;
    constexpr std::array<EGLint, 7> attributes{EGL_CONTEXT_MAJOR_VERSION,
                                               3,
                                               EGL_CONTEXT_MINOR_VERSION,
                                               3,
                                               EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                               EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                               EGL_NONE};
    EGLContext context = eglCreateContext(display, EGL_NO_CONFIG_KHR, share, attributes.data());
    if (context == EGL_NO_CONTEXT) {
        whyNot = "the EGL driver (" + driver + ") offers no OpenGL 3.3 core context (" +
                 errorName(eglGetError()) + ")";
    }
    return context;
}

/// Never destroyed: threads may make contexts while the process ends.
struct ChosenDisplay {
    Mutex mutex;
    EGLDisplay display PRISMDRIFT_GUARDED_BY(mutex) = EGL_NO_DISPLAY;
};

ChosenDisplay& chosenDisplay() {
    static ChosenDisplay& chosen = *new ChosenDisplay;
    return chosen;
}

EglContext chooseDisplay(std::string& whyNot) {
    EglContext software;
    const DisplayCandidates candidates;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        std::string reason;
        EglContext made;
        made.display = candidates.open(i);
        made.context = makeContextOn(made.display, EGL_NO_CONTEXT, reason);
        if (made.context == EGL_NO_CONTEXT) {
            // The first reason is that of the display that would have been preferred.
            whyNot = whyNot.empty() ? reason : whyNot;
        } else if (!isSoftwareDisplay(made.display)) {
            if (software.context != EGL_NO_CONTEXT) {
                eglDestroyContext(software.display, software.context);
            }
            return made;
        } else if (software.context == EGL_NO_CONTEXT) {
            software = made;
        } else {
            eglDestroyContext(made.display, made.context);
        }
    }
    return software;
}

} // namespace

RenderingApiScope::RenderingApiScope() : mFormer(eglQueryAPI()) {
    eglBindAPI(EGL_OPENGL_API);
}

RenderingApiScope::~RenderingApiScope() {
    if (mFormer != EGL_OPENGL_API && mFormer != EGL_NONE) {
        eglBindAPI(mFormer);
    }
}

EglContext makeEglContext(EGLContext share, std::string& whyNot) {
    ChosenDisplay& chosen = chosenDisplay();
    const MutexLock lock(chosen.mutex);
    EglContext made;
    if (chosen.display == EGL_NO_DISPLAY) {
        made = chooseDisplay(whyNot);
        if (made.context != EGL_NO_CONTEXT) {
            chosen.display = made.display;
        }
    } else {
        made.display = chosen.display;
        made.context = makeContextOn(chosen.display, share, whyNot);
    }
    return made;
}

std::string contextFailure() {
    std::string whyNot;
    const EglContext made = makeEglContext(EGL_NO_CONTEXT, whyNot);
    if (made.context == EGL_NO_CONTEXT) {
        return whyNot;
    }
    eglDestroyContext(made.display, made.context);
    return {};
}

} // namespace Platform
