#pragma once

/// The platform's OpenGL contexts, at two levels: contexts of our own as objects, and whatever is
/// current on a thread, a foreign context too, as a plain value. It stands in for the context layer
/// that the code was written against and keeps its names, so that a build there can swap this
/// folder for the real one. Here it rests on EGL; GLX appears only as something a host may have
/// current.
///
/// EGL's rendering API of the calling thread is the host's: every operation leaves it as it was.
/// All operations may run on any thread; an object must not be current on two threads at once.

#include <atomic>
#include <cstddef>
#include <cstdint>

using NSOpenGLPixelFormatAttribute = std::uint32_t;

enum : NSOpenGLPixelFormatAttribute {
    NSOpenGLPFAColorSize = 8,
    NSOpenGLPFAAlphaSize = 11,
    NSOpenGLPFADepthSize = 12,
    NSOpenGLPFAStencilSize = 13,
    NSOpenGLPFANoRecovery = 72,
    NSOpenGLPFAClosestPolicy = 74,
    NSOpenGLPFAOpenGLProfile = 99
};

enum : NSOpenGLPixelFormatAttribute { NSOpenGLProfileVersion3_2Core = 0x3200 };

/// What is current on a thread, with everything needed to make it current again. A plain value that
/// holds no reference; the default means that nothing is current.
struct CGLContextObj {
    enum class Layer : std::uint32_t { none, egl, glx };

    Layer layer = Layer::none;
    void* display = nullptr;
    void* context = nullptr;
    std::uintptr_t drawSurface = 0;
    std::uintptr_t readSurface = 0;
    std::uint64_t number = 0; ///< of the NSOpenGLContext that it belongs to; 0 if foreign

    CGLContextObj() = default;
    CGLContextObj(std::nullptr_t) {}

    bool operator==(const CGLContextObj& other) const {
        return layer == other.layer && display == other.display && context == other.context &&
               drawSurface == other.drawSurface && readSurface == other.readSurface;
    }
    bool operator!=(const CGLContextObj& other) const { return !(*this == other); }
    explicit operator bool() const { return layer != Layer::none; }
};

/// The context current on this thread, whoever made it.
CGLContextObj CGLGetCurrentContext();

/// Makes `context` current on this thread; nothing at all for a null one. False, and no change,
/// when that can't be done, as for a context that has died. A GLX context of the host's must be
/// alive: GLX has no way to tell.
bool CGLSetCurrentContext(const CGLContextObj& context);

/// A request for contexts of one kind. Counted references, as in the object layer.
class NSOpenGLPixelFormat {
public:
    /// From a list that ends with 0, where an attribute's value, if it has one, follows it. Null
    /// for an attribute that this layer doesn't know, or a profile other than 3.2 core. A context's
    /// default buffer has no storage here, so any size will do; a software rasteriser is accepted
    /// if there is nothing else.
    static NSOpenGLPixelFormat* initWithAttributes(const NSOpenGLPixelFormatAttribute* attributes);

    void retain();
    void release();

private:
    NSOpenGLPixelFormat() = default;
    ~NSOpenGLPixelFormat() = default;
    std::atomic<int> mReferences{1};
};

/// One OpenGL context, core profile 3.3 or later, without a surface.
class NSOpenGLContext {
public:
    /// A context in the share group of `share`, or in a new one for null; one reference belongs to
    /// the caller. Null if the format is null, `share` has died or the driver can't.
    static NSOpenGLContext* initWithFormat(NSOpenGLPixelFormat* format, NSOpenGLContext* share);

    /// The object whose context is current on this thread, or null. No reference is added.
    static NSOpenGLContext* currentContext();

    /// The number of that object, 0 for none.
    static std::uint64_t currentNumber();

    void retain();
    void release();

    /// Makes this context current on the calling thread. False, with nothing changed, if it can't
    /// be: it is current on another thread, or has died.
    bool makeCurrentContext();

    /// The low-level value of this context; null once it has been invalidated.
    CGLContextObj lowLevelContext() const;

    /// Destroys the context, unbound first if it is current here. One that is current on another
    /// thread is retired instead, for destroyRetiredContexts(). The object stays for those who
    /// still hold a reference, and can't be made current any more.
    void invalidate();

    /// Whether the driver no longer knows the context, because someone terminated the display that
    /// the whole process shares. Known only after makeCurrentContext() has failed.
    bool isLost() const { return mLost; }

    /// Notes that it is lost, as a context is whose share group has lost another.
    void setLost() { mLost = true; }

    /// Different for every context that this process's copy of the layer ever makes; never 0.
    std::uint64_t number() const { return mNumber; }

private:
    NSOpenGLContext(void* display, void* context);
    ~NSOpenGLContext();

    std::atomic<int> mReferences{1};
    void* mDisplay;
    std::atomic<void*> mContext;
    std::atomic<bool> mLost{false};
    const std::uint64_t mNumber;
};

namespace Platform {

/// Leaves nothing current on this thread if what is current there was made by this layer, a context
/// that has been invalidated since included.
void releaseOwnContext();

/// Destroys the retired contexts that their threads have let go of. Drivers keep lists per share
/// group that the destruction of a context changes and drawing reads, so no other thread may draw
/// meanwhile: that is why the thread that lets go of one doesn't destroy it.
void destroyRetiredContexts();

/// Forgets them instead, after their display has been terminated and they with it.
void forgetRetiredContexts();

} // namespace Platform
