#include "Shared/GL/AEOpenGLContextManager.h"

#include <memory>

namespace Vexorel::PrismDrift {

using Lock = std::lock_guard<std::recursive_mutex>;

std::atomic<std::int32_t> AEOpenGLContextManager::mContextCount{0};
std::map<int, AEOpenGLContext*>& AEOpenGLContextManager::mRenderContexts =
    *new std::map<int, AEOpenGLContext*>;
std::recursive_mutex& AEOpenGLContextManager::mMutex = *new std::recursive_mutex;
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
        const Lock lock(AEOpenGLContextManager::mMutex);
        Platform::releaseOwnContext();
        const auto found = AEOpenGLContextManager::mRenderContexts.find(mThread);
        if (found != AEOpenGLContextManager::mRenderContexts.end()) {
            delete found->second;
            AEOpenGLContextManager::mRenderContexts.erase(found);
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
    const Lock lock(mMutex);
    watchThreadEnd();
    if (mSharedDataContext == nullptr) {
        mSharedDataContext = makeContext(nullptr);
    }
}

AEOpenGLContext* AEOpenGLContextManager::getSharedDataContext() {
    const Lock lock(mMutex);
    return mSharedDataContext;
}

AEOpenGLContext* AEOpenGLContextManager::getCurrentRenderContext() {
    const Lock lock(mMutex);
    if (mThread == -1) {
        if (mSharedDataContext == nullptr) {
            return nullptr;
        }
        watchThreadEnd();
        mThread = mContextCount.fetch_add(1);
    }
    AEOpenGLContext*& context = mRenderContexts[mThread];
    if (context == nullptr && mSharedDataContext != nullptr) {
        context = makeContext(mSharedDataContext);
    }
    return context;
}

void AEOpenGLContextManager::releaseContextManager() {
    const Lock lock(mMutex);
    for (const auto& entry : mRenderContexts) {
        delete entry.second;
    }
    mRenderContexts.clear();
    delete mSharedDataContext;
    mSharedDataContext = nullptr;
}

void AEOpenGLContextManager::abandonContexts() {
    const Lock lock(mMutex);
    for (const auto& entry : mRenderContexts) {
        if (entry.second != nullptr) {
            entry.second->mNSContext->setLost();
        }
    }
    if (mSharedDataContext != nullptr) {
        mSharedDataContext->mNSContext->setLost();
    }
    releaseContextManager();
}

} // namespace Vexorel::PrismDrift
