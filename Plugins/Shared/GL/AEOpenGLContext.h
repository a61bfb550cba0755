#pragma once

/// One OpenGL context of the plug-in's own, apart from the one that the host uses.

#include "Platform/OpenGL/OpenGLContext.h"

#include <glbinding/gl/types.h>

#include <set>

namespace gl {
enum class GLextension : int;
}

namespace Vexorel::PrismDrift {

/// Owns a context of the platform and its record in glbinding. Contexts that are made from one
/// another are in one share group. A context is current on a thread, or not; the class doesn't
/// record it.
///
/// glbinding's table of contexts is one for the process and grows while others read it: making a
/// context must not run beside any GL call. The system keeps to that by holding
/// AEOpenGLContextManager::mMutex over both.
class AEOpenGLContext {
public:
    /// Makes a context in the share group of `shareContext`, or the first of a new group for null,
    /// leaves it current on the calling thread and writes its description to the message sink. If
    /// it can't be made, mNSContext stays null and nothing else happens.
    explicit AEOpenGLContext(const AEOpenGLContext* shareContext);

    /// Unbinds the context if it is current on this thread, destroys it, and drops the
    /// frame buffer and vertex array names that were kept for it. Makes no GL call.
    virtual ~AEOpenGLContext();

    AEOpenGLContext(const AEOpenGLContext&) = delete;
    AEOpenGLContext& operator=(const AEOpenGLContext&) = delete;

    /// Makes this context current on the calling thread and selects it in glbinding. If that can't
    /// be done, what was current stays so; isCurrent() tells whether it worked.
    void makeContextCurrent();

    /// Whether this context is current on the calling thread and selected there.
    bool isCurrent() const;

    /// Makes a context of the system's one pixel format. One reference belongs to the caller;
    /// `outContext` receives the low-level value. Null if it can't be made.
    static NSOpenGLContext* createNSContext(NSOpenGLContext* share, CGLContextObj& outContext);

    /// Registers the context current on this thread with glbinding, selects it, and writes its
    /// description. Does nothing where none of ours is current.
    static void InitializeOpenGLBindings();

    /// Switches the thread to `context` unless it is current already. If the context that is left
    /// is ours and selected in glbinding, it is flushed first, unless its bound frame buffer is
    /// incomplete. Otherwise makes no GL call.
    static void makeCurrentFlush(CGLContextObj context);

    CGLContextObj mCGLContext; ///< lives as long as mNSContext, holds no reference of its own
    NSOpenGLContext* mNSContext = nullptr; ///< owned: one reference
    std::set<gl::GLextension> mExtensions; ///< what the context reported when it was made

private:
    AEOpenGLContext() = default;
};

} // namespace Vexorel::PrismDrift
