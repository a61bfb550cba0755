#include "Shared/GL/AEOpenGLContextManager.h"

#include <memory>

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

/// Takes the thread's context down with the thread. A thread that ended with its context current
/// would keep megabytes of the driver's.
struct ThreadEnd {
    ThreadEnd() = default;
    ThreadEnd(const ThreadEnd&) = delete;
    ThreadEnd& operator=(const ThreadEnd&) = delete;
    ~ThreadEnd() {
        Platform::releaseOwnContext();
        delete take();
    }

private:
    /// The thread's context, off the map; null if there is none, or a set-down took it.
    static AEOpenGLContext* take() {
        const MutexLock lock(AEOpenGLContextManager::mMapMutex);
        auto& contexts = AEOpenGLContextManager::mRenderContexts;
        const auto found = contexts.find(mThread);
        if (found == contexts.end()) {
            return nullptr;
        }
        AEOpenGLContext* context = found->second;
        contexts.erase(found);
        return context;
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
    }
    if (mSharedDataContext != nullptr) {
        mSharedDataContext->mNSContext->setLost();
    }
    releaseContextManager();
}

} // namespace Vexorel::PrismDrift
