#pragma once

/// Gives each thread that renders a context of its own, and keeps all of them in one share group
/// with the shared data context.

#include "Platform/Threads/Mutex.h"
#include "Shared/GL/AEOpenGLContext.h"

#include <atomic>
#include <cstdint>
#include <map>

namespace Vexorel::PrismDrift {

/// Static data and operations only. A thread has an id from its first request on, for its life.
/// When it ends its context waits, current nowhere, for the next thread that needs one: there are
/// as many contexts as there were threads at a time, however many come and go.
///
/// Lock: mMutex. Each operation takes it, and since it is recursive a caller that goes on to call
/// GL holds it from before until after, as every command of the effect does: GL calls of one thread
/// must not run beside the making of a context on another. The end of a thread never
/// waits for it, and so not for a frame: what can't be destroyed at once the next operation
/// destroys.
class AEOpenGLContextManager {
public:
    AEOpenGLContextManager() = delete;

    /// Makes the shared data context, which is then current on the calling thread. Does nothing if
    /// it exists already. If it can't be made, mSharedDataContext stays null.
    static void setupContextManager();

    /// Null before the set-up and after the release.
    static AEOpenGLContext* getSharedDataContext();

    /// The calling thread's context. If the thread has none it gets that of a thread that has
    /// ended, or a new one, which is then current and has written its description; its own from
    /// before is not made current. Null without a set-up, or if it can't be made.
    static AEOpenGLContext* getCurrentRenderContext();

    /// Destroys the render contexts in the order of their ids, those of ended threads, and then the
    /// shared data context.
    static void releaseContextManager();

    /// The same for contexts that the driver has lost: it is not asked to destroy them.
    static void abandonContexts();

    static std::atomic<std::int32_t> mContextCount; ///< the next id; never goes down

    // References to objects that are never destroyed, since threads may end after the process's
    // static objects have.
    /// By id; owned.
    static std::map<int, AEOpenGLContext*>& mRenderContexts PRISMDRIFT_GUARDED_BY(mMapMutex);
    static Platform::RecursiveMutex& mMutex;
    static Platform::Mutex& mMapMutex; ///< a leaf: taken under mMutex or alone, for the maps only
    static AEOpenGLContext* mSharedDataContext PRISMDRIFT_GUARDED_BY(mMutex); ///< owned
};

} // namespace Vexorel::PrismDrift
