#include "Platform/OpenGL/OpenGLContext.h"

#include "Platform/OpenGL/EglDisplay.h"
#include "Platform/OpenGL/Glx.h"
#include "Platform/Threads/Mutex.h"

#include <map>

namespace {

using Platform::RenderingApiScope;

/// The contexts that have not been invalidated, by number. Never destroyed: threads may end, and
/// their contexts with them, after the process's static objects.
struct LivingContexts {
    Platform::Mutex mutex;
    std::map<std::uint64_t, NSOpenGLContext*> byNumber PRISMDRIFT_GUARDED_BY(mutex);
    std::uint64_t lastNumber PRISMDRIFT_GUARDED_BY(mutex) = 0;
};

LivingContexts& living() {
    static LivingContexts& contexts = *new LivingContexts;
    return contexts;
}

NSOpenGLContext* findLiving(std::uint64_t number) {
    LivingContexts& contexts = living();
    const Platform::MutexLock lock(contexts.mutex);
    const auto found = contexts.byNumber.find(number);
    return found != contexts.byNumber.end() ? found->second : nullptr;
}

/// What this layer last made current on the thread. A host may have switched since, and another
/// thread may have invalidated it, so ownCurrent() checks both.
struct OwnCurrent {
    std::uint64_t number = 0;
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
};

thread_local OwnCurrent tOwnCurrent;

/// Whether the driver still knows the context. The handle alone proves nothing.
bool driverKnows(EGLDisplay display, EGLContext context) {
    EGLint type = 0;
    return eglQueryContext(display, context, EGL_CONTEXT_CLIENT_TYPE, &type) == EGL_TRUE;
}

/// The living context of ours that is current on this thread, or null.
NSOpenGLContext* ownCurrent() {
    if (tOwnCurrent.number == 0 || eglGetCurrentContext() != tOwnCurrent.context) {
        return nullptr;
    }
    return findLiving(tOwnCurrent.number);
}

/// Whether what is current on this thread is a context of ours that another thread has invalidated.
/// Its handle can name a context of the host's by now, but that one the driver knows.
bool zombieIsCurrent() {
    return tOwnCurrent.number != 0 && eglGetCurrentContext() == tOwnCurrent.context &&
           findLiving(tOwnCurrent.number) == nullptr &&
           !driverKnows(tOwnCurrent.display, tOwnCurrent.context);
}

void releaseEgl() {
    if (eglGetCurrentContext() != EGL_NO_CONTEXT) {
        eglMakeCurrent(eglGetCurrentDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
}

bool makeEglCurrent(const CGLContextObj& context) {
    const CGLContextObj glx = Platform::currentGlxContext();
    if (glx) {
        Platform::releaseGlxContext();
    }
    if (eglMakeCurrent(context.display, reinterpret_cast<EGLSurface>(context.drawSurface),
                       reinterpret_cast<EGLSurface>(context.readSurface),
                       context.context) == EGL_TRUE) {
        return true;
    }
    if (glx) {
        Platform::makeGlxContextCurrent(glx);
    }
    return false;
}

/// Releases EGL's context first, and makes it current again if GLX refuses.
bool makeGlxCurrent(const CGLContextObj& context) {
    const CGLContextObj former = CGLGetCurrentContext();
    releaseEgl();
    if (Platform::makeGlxContextCurrent(context)) {
        return true;
    }
    if (former.layer == CGLContextObj::Layer::egl) {
        makeEglCurrent(former);
    }
    return false;
}

} // namespace

CGLContextObj CGLGetCurrentContext() {
    const RenderingApiScope api;
    CGLContextObj current;
    EGLContext context = eglGetCurrentContext();
    if (context == EGL_NO_CONTEXT) {
        return Platform::currentGlxContext();
    }
    current.layer = CGLContextObj::Layer::egl;
    current.display = eglGetCurrentDisplay();
    current.context = context;
    current.drawSurface = reinterpret_cast<std::uintptr_t>(eglGetCurrentSurface(EGL_DRAW));
    current.readSurface = reinterpret_cast<std::uintptr_t>(eglGetCurrentSurface(EGL_READ));
    current.number = NSOpenGLContext::currentNumber();
    return current;
}

bool CGLSetCurrentContext(const CGLContextObj& context) {
    if (context.number != 0) {
        NSOpenGLContext* own = findLiving(context.number);
        return own != nullptr && own->makeCurrentContext();
    }
    const RenderingApiScope api;
    switch (context.layer) {
    case CGLContextObj::Layer::egl:
        return makeEglCurrent(context);
    case CGLContextObj::Layer::glx:
        return makeGlxCurrent(context);
    case CGLContextObj::Layer::none:
        break;
    }
    releaseEgl();
    Platform::releaseGlxContext();
    return true;
}

NSOpenGLPixelFormat*
NSOpenGLPixelFormat::initWithAttributes(const NSOpenGLPixelFormatAttribute* attributes) {
    while (*attributes != 0) {
        switch (*attributes++) {
        case NSOpenGLPFAClosestPolicy:
        case NSOpenGLPFANoRecovery:
            break;
        case NSOpenGLPFAAlphaSize:
        case NSOpenGLPFAColorSize:
        case NSOpenGLPFAStencilSize:
        case NSOpenGLPFADepthSize:
            ++attributes;
            break;
        case NSOpenGLPFAOpenGLProfile:
            if (*attributes++ != NSOpenGLProfileVersion3_2Core) {
                return nullptr;
            }
            break;
        default:
            return nullptr;
        }
    }
    return new NSOpenGLPixelFormat;
}

void NSOpenGLPixelFormat::retain() {
    ++mReferences;
}

void NSOpenGLPixelFormat::release() {
    if (--mReferences == 0) {
        delete this;
    }
}

NSOpenGLContext* NSOpenGLContext::initWithFormat(NSOpenGLPixelFormat* format,
                                                 NSOpenGLContext* share) {
    const CGLContextObj shared = share != nullptr ? share->lowLevelContext() : CGLContextObj();
    if (format == nullptr || (share != nullptr && !shared)) {
        return nullptr;
    }
    std::string ignored;
    const Platform::EglContext made = Platform::makeEglContext(shared.context, ignored);
    if (made.context == EGL_NO_CONTEXT) {
        return nullptr;
    }
    try {
        return new NSOpenGLContext(made.display, made.context);
    } catch (...) {
        eglDestroyContext(made.display, made.context);
        throw;
    }
}

NSOpenGLContext::NSOpenGLContext(void* display, void* context)
    : mDisplay(display), mContext(context), mNumber([this] {
          LivingContexts& contexts = living();
          const Platform::MutexLock lock(contexts.mutex);
          contexts.byNumber.emplace(++contexts.lastNumber, this);
          return contexts.lastNumber;
      }()) {}

NSOpenGLContext::~NSOpenGLContext() {
    invalidate();
}

NSOpenGLContext* NSOpenGLContext::currentContext() {
    return ownCurrent();
}

std::uint64_t NSOpenGLContext::currentNumber() {
    return ownCurrent() != nullptr ? tOwnCurrent.number : 0;
}

void NSOpenGLContext::retain() {
    ++mReferences;
}

void NSOpenGLContext::release() {
    if (--mReferences == 0) {
        delete this;
    }
}

CGLContextObj NSOpenGLContext::lowLevelContext() const {
    CGLContextObj own;
    if (mContext != nullptr) {
        own.layer = CGLContextObj::Layer::egl;
        own.display = mDisplay;
        own.context = mContext;
        own.number = mNumber;
    }
    return own;
}

bool NSOpenGLContext::makeCurrentContext() {
    const CGLContextObj own = lowLevelContext();
    const RenderingApiScope api;
    if (!own) {
        return false;
    }
    // The driver is asked first: to make current what is current already succeeds without a look
    // at it.
    if (!driverKnows(own.display, own.context)) {
        mLost = true;
        return false;
    }
    if (!makeEglCurrent(own)) {
        return false;
    }
    tOwnCurrent = {mNumber, own.display, own.context};
    return true;
}

void NSOpenGLContext::invalidate() {
    void* context = mContext.exchange(nullptr);
    if (context == nullptr) {
        return;
    }
    if (tOwnCurrent.number == mNumber) {
        Platform::releaseOwnContext();
    }
    {
        LivingContexts& contexts = living();
        const Platform::MutexLock lock(contexts.mutex);
        contexts.byNumber.erase(mNumber);
    }
    // A lost context went with its display; its handle may name another one by now.
    if (!mLost) {
        eglDestroyContext(mDisplay, context);
    }
}

namespace Platform {

void releaseOwnContext() {
    const RenderingApiScope api;
    if (ownCurrent() != nullptr || zombieIsCurrent()) {
        releaseEgl();
    }
    tOwnCurrent = {};
}

} // namespace Platform
