#include "Platform/OpenGL/OpenGLContext.h"

#include "Platform/OpenGL/EglDisplay.h"
#include "Platform/OpenGL/Glx.h"
#include "Platform/Threads/Mutex.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

namespace {

using Platform::RenderingApiScope;

/// A context that was invalidated while another thread had it current.
struct RetiredContext {
    std::uint64_t number;
    EGLDisplay display;
    EGLContext context;
};

/// What threads must know of each other's contexts. Never destroyed: threads may end, and their
/// contexts with them, after the process's static objects.
struct AllContexts {
    Platform::Mutex mutex;
    /// Those that have not been invalidated.
    std::map<std::uint64_t, NSOpenGLContext*> living PRISMDRIFT_GUARDED_BY(mutex);
    /// The numbers of those that this layer has made current on some thread, and not released
    /// since. A host that switched by itself leaves a number here until that thread comes back.
    std::set<std::uint64_t> bound PRISMDRIFT_GUARDED_BY(mutex);
    std::vector<RetiredContext> retired PRISMDRIFT_GUARDED_BY(mutex);
    std::uint64_t lastNumber PRISMDRIFT_GUARDED_BY(mutex) = 0;
};

AllContexts& all() {
    static AllContexts& contexts = *new AllContexts;
    return contexts;
}

NSOpenGLContext* findLiving(std::uint64_t number) {
    AllContexts& contexts = all();
    const Platform::MutexLock lock(contexts.mutex);
    const auto found = contexts.living.find(number);
    return found != contexts.living.end() ? found->second : nullptr;
}

bool isRetired(std::uint64_t number) {
    AllContexts& contexts = all();
    const Platform::MutexLock lock(contexts.mutex);
    return std::any_of(contexts.retired.begin(), contexts.retired.end(),
                       [&](const RetiredContext& retired) { return retired.number == number; });
}

/// What this layer last made current on the thread. A host may have switched since, and another
/// thread may have invalidated it, so ownCurrent() checks both.
struct OwnCurrent {
    std::uint64_t number = 0;
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
};

thread_local OwnCurrent tOwnCurrent;

/// Notes what the thread has current instead of the context of ours that it had before.
void setOwnCurrent(const OwnCurrent& current) {
    AllContexts& contexts = all();
    const Platform::MutexLock lock(contexts.mutex);
    contexts.bound.erase(tOwnCurrent.number);
    if (current.number != 0) {
        contexts.bound.insert(current.number);
    }
    tOwnCurrent = current;
}

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
/// The handle of one that was lost can name a context of the host's by now, but that one the driver
/// knows.
bool zombieIsCurrent() {
    return tOwnCurrent.number != 0 && eglGetCurrentContext() == tOwnCurrent.context &&
           findLiving(tOwnCurrent.number) == nullptr &&
           (isRetired(tOwnCurrent.number) ||
            !driverKnows(tOwnCurrent.display, tOwnCurrent.context));
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
    if (zombieIsCurrent()) {
        return current;
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
    bool isMade = true;
    switch (context.layer) {
    case CGLContextObj::Layer::egl:
        isMade = makeEglCurrent(context);
        break;
    case CGLContextObj::Layer::glx:
        isMade = makeGlxCurrent(context);
        break;
    case CGLContextObj::Layer::none:
        releaseEgl();
        Platform::releaseGlxContext();
        break;
    }
    if (isMade) {
        setOwnCurrent({});
    }
    return isMade;
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
          AllContexts& contexts = all();
          const Platform::MutexLock lock(contexts.mutex);
          contexts.living.emplace(++contexts.lastNumber, this);
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
    setOwnCurrent({mNumber, own.display, own.context});
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
    AllContexts& contexts = all();
    const Platform::MutexLock lock(contexts.mutex);
    contexts.living.erase(mNumber);
    // A lost context went with its display; its handle may name another one by now.
    if (mLost) {
        contexts.bound.erase(mNumber);
    } else if (contexts.bound.count(mNumber) != 0) {
        contexts.retired.push_back({mNumber, mDisplay, context});
    } else {
        eglDestroyContext(mDisplay, context);
    }
}

namespace Platform {

void releaseOwnContext() {
    const RenderingApiScope api;
    if (ownCurrent() != nullptr || zombieIsCurrent()) {
        releaseEgl();
    }
    setOwnCurrent({});
}

void destroyRetiredContexts() {
    const RenderingApiScope api;
    AllContexts& contexts = all();
    const Platform::MutexLock lock(contexts.mutex);
    const auto free =
        std::partition(contexts.retired.begin(), contexts.retired.end(),
                       [&](const RetiredContext& retired) PRISMDRIFT_REQUIRES(contexts.mutex) {
                           return contexts.bound.count(retired.number) != 0;
                       });
    for (auto retired = free; retired != contexts.retired.end(); ++retired) {
        eglDestroyContext(retired->display, retired->context);
    }
    contexts.retired.erase(free, contexts.retired.end());
}

void forgetRetiredContexts() {
    AllContexts& contexts = all();
    const Platform::MutexLock lock(contexts.mutex);
    contexts.retired.clear();
}

} // namespace Platform
