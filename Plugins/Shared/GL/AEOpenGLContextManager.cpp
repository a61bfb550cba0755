#include "Shared/GL/AEOpenGLContextManager.h"

#include <iterator>
#include <memory>
#include <utility>

namespace Vexorel::PrismDrift {

using Platform::MutexLock;
using Platform::RecursiveMutexLock;

std::atomic<std::int32_t> AEOpenGLContextManager::mContextCount{0};
std::map<int, AEOpenGLContext*>& AEOpenGLContextManager::mRenderContexts =
    *new std::map<int, AEOpenGLContext*>;
Platform::RecursiveMutex& AEOpenGLContextManager::mMutex = *new Platform::RecursiveMutex;
Platform::Mutex& AEOpenGLContextManager::mMapMutex = *new Platform::Mutex;
AEOpenGLContext* AEOpenGLContextManager::mSharedDataContext = nullptr;

namespace {

/// The calling thread's context id, -1 until it asks for a context.
thread_local std::int32_t mThread = -1;

/// The contexts of threads that have ended, for threads to come; none of them null. Never
/// destroyed, as threads may outlive static objects.
std::map<int, AEOpenGLContext*>& spares PRISMDRIFT_GUARDED_BY(AEOpenGLContextManager::mMapMutex) =
    *new std::map<int, AEOpenGLContext*>;

/// Lets go of the thread's context at the thread's end: one that ended with its context current
/// would keep megabytes of the driver's. Nothing here waits for a frame.
struct ThreadEnd {
    ThreadEnd() = default;
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;
    ~ThreadEnd() {
        Platform::releaseOwnContext();
        spareContext();
        // One that a set-down has taken from the thread can go now, if no frame is being drawn.
        if (AEOpenGLContextManager::mMutex.try_lock()) {
            Platform::destroyRetiredContexts();
            AEOpenGLContextManager::mMutex.unlock();
        }
    }

private:
    /// Moves the thread's context, if it has one, to the spares. This allocates nothing that could
    /// fail.
    static void spareContext() {
        const MutexLock lock(AEOpenGLContextManager::mMapMutex);
        auto& contexts = AEOpenGLContextManager::mRenderContexts;
        const auto found = contexts.find(mThread);
        if (found == contexts.end()) {
            return;
        }
        auto entry = contexts.extract(found);
        if (entry.mapped() != nullptr) {
            spares.insert(std::move(entry));
        }
    }
};

void watchThreadEnd() {
    thread_local const ThreadEnd end;
}

/// Null where the platform has no context to give.
AEOpenGLContext* makeContext(const AEOpenGLContext* share) {
    auto context = std::make_unique<AEOpenGLContext>(share);
    return context->mNSContext != nullptr ? context.release() : nullptr;
}

std::unique_ptr<AEOpenGLContext> takeSpare() {
    const MutexLock lock(AEOpenGLContextManager::mMapMutex);
    if (spares.empty()) {
        return nullptr;
    }
    const auto newest = std::prev(spares.end());
    std::unique_ptr<AEOpenGLContext> context(newest->second);
    spares.erase(newest);
    return context;
}

/// A context for a thread that has none, current there: a spare one, or else a new one. Destroying
/// contexts one by one would leave their frame buffers, and what is attached to them, with the
/// drivers that keep frame buffers until the share group ends; and a new one builds the programs
/// anew.
AEOpenGLContext* contextForThread() PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex) {
    while (std::unique_ptr<AEOpenGLContext> context = takeSpare()) {
        context->makeContextCurrent();
        if (context->isCurrent()) {
            AEOpenGLContext::InitializeOpenGLBindings(); // describes it for each thread
            return context.release();
        }
    }
    return makeContext(AEOpenGLContextManager::mSharedDataContext);
}

} // namespace

void AEOpenGLContextManager::setupContextManager() {
    const RecursiveMutexLock lock(mMutex);
    watchThreadEnd();
    if (mSharedDataContext == nullptr) {
        mSharedDataContext = makeContext(nullptr);
    }
}

AEOpenGLContext* AEOpenGLContextManager::getSharedDataContext() {
    const RecursiveMutexLock lock(mMutex);
    return mSharedDataContext;
}

AEOpenGLContext* AEOpenGLContextManager::getCurrentRenderContext() {
    const RecursiveMutexLock lock(mMutex);
    Platform::destroyRetiredContexts();
    if (mThread == -1) {
        if (mSharedDataContext == nullptr) {
            return nullptr;
        }
        watchThreadEnd();
        mThread = mContextCount.fetch_add(1);
    }
    const auto entry = [] {
        const MutexLock mapLock(mMapMutex);
        return &mRenderContexts[mThread];
    }();
    if (*entry == nullptr && mSharedDataContext != nullptr) {
        *entry = contextForThread();
    }
    return *entry;
}

void AEOpenGLContextManager::releaseContextManager() {
    const RecursiveMutexLock lock(mMutex);
    std::map<int, AEOpenGLContext*> contexts;
    {
        const MutexLock mapLock(mMapMutex);
        contexts.swap(mRenderContexts);
    }
    for (const auto& entry : contexts) {
        delete entry.second;
    }
    while (takeSpare() != nullptr) {
    }
    delete mSharedDataContext;
    mSharedDataContext = nullptr;
    Platform::destroyRetiredContexts();
}

void AEOpenGLContextManager::abandonContexts() {
    const RecursiveMutexLock lock(mMutex);
    {
        const MutexLock mapLock(mMapMutex);
        for (const auto& entry : mRenderContexts) {
            if (entry.second != nullptr) {
                entry.second->mNSContext->setLost();
            }
        }
        for (const auto& entry : spares) {
            entry.second->mNSContext->setLost();
        }
    }
    Platform::forgetRetiredContexts();
    if (mSharedDataContext != nullptr) {
        mSharedDataContext->mNSContext->setLost();
    }
    releaseContextManager();
}

} // namespace Vexorel::PrismDrift
