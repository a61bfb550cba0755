#include "Shared/GL/AEOpenGLContextManager.h"

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

/// The contexts of threads that have ended, none of them null. Never destroyed, as threads may
/// outlive static objects.
std::map<int, AEOpenGLContext*>& ended PRISMDRIFT_GUARDED_BY(AEOpenGLContextManager::mMapMutex) =
    *new std::map<int, AEOpenGLContext*>;

std::map<int, AEOpenGLContext*> takeEnded() {
    const MutexLock lock(AEOpenGLContextManager::mMapMutex);
    return std::exchange(ended, {});
}

/// Destroys what threads have left behind. No thread may be drawing.
void destroyLeftContexts() PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex) {
    for (const auto& entry : takeEnded()) {
        delete entry.second;
    }
    Platform::destroyRetiredContexts();
}

/// Lets go of the thread's context at the thread's end: one that ended with its context current
/// would keep megabytes of the driver's. The context is destroyed here if no frame is being drawn,
/// else by whoever draws next, since a thread's end must not wait for a frame.
struct ThreadEnd {
    ThreadEnd() = default;
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;
    ~ThreadEnd() {
        Platform::releaseOwnContext();
        retire();
        if (AEOpenGLContextManager::mMutex.try_lock()) {
            destroyLeftContexts();
            AEOpenGLContextManager::mMutex.unlock();
        }
    }

private:
    /// Moves the thread's context, if it has one, to those of ended threads. This allocates nothing
    /// that could fail.
    static void retire() {
        const MutexLock lock(AEOpenGLContextManager::mMapMutex);
        auto& contexts = AEOpenGLContextManager::mRenderContexts;
        const auto found = contexts.find(mThread);
        if (found == contexts.end()) {
            return;
        }
        auto entry = contexts.extract(found);
        if (entry.mapped() != nullptr) {
            ended.insert(std::move(entry));
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
    destroyLeftContexts();
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
        *entry = makeContext(mSharedDataContext);
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
    delete mSharedDataContext;
    mSharedDataContext = nullptr;
    destroyLeftContexts();
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
        for (const auto& entry : ended) {
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
