#include "Shared/GL/AEOpenGLContext.h"

#include "Platform/Threads/Mutex.h"
#include "Shared/GL/MessageSink.h"
#include "Shared/GL/PerContextName.h"

#include <glbinding/Binding.h>
#include <glbinding/ContextInfo.h>
#include <glbinding/Meta.h>
#include <glbinding/Version.h>
#include <glbinding/gl33core/gl.h>

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift {
namespace {

using namespace gl33core;

/// glbinding's records of our contexts. Its own key is GLX's current context, which under EGL is 0
/// for all, so each record gets a key of ours: the address of an object that is never freed, hence
/// unique in the process. glbinding numbers a new record by how many there are; releasing any but
/// the newest would let two contexts share one. So records are never released: that of a context
/// that is gone goes to the next one, which finds the same functions in it.
class Records {
public:
    /// The record of the context with this number, a new or a free one at the first call.
    glbinding::ContextHandle of(std::uint64_t number) {
        const Platform::MutexLock lock(mMutex);
        glbinding::ContextHandle& record = mUsed[number];
        if (record == 0 && !mFree.empty()) {
            record = mFree.back();
            mFree.pop_back();
        } else if (record == 0) {
            record = reinterpret_cast<glbinding::ContextHandle>(new char);
        }
        return record;
    }

    void giveBack(std::uint64_t number) {
        const Platform::MutexLock lock(mMutex);
        const auto used = mUsed.find(number);
        if (used != mUsed.end()) {
            mFree.push_back(used->second);
            mUsed.erase(used);
        }
    }

private:
    Platform::Mutex mMutex;
    std::map<std::uint64_t, glbinding::ContextHandle> mUsed PRISMDRIFT_GUARDED_BY(mMutex);
    std::vector<glbinding::ContextHandle> mFree PRISMDRIFT_GUARDED_BY(mMutex);
};

/// Never destroyed: a thread may end, and its context with it, after the process's static objects.
Records& records() {
    static Records& instance = *new Records;
    return instance;
}

/// The number of the context that glbinding has selected on this thread, 0 for none.
thread_local std::uint64_t tSelected = 0;

void select(const NSOpenGLContext* context) {
    glbinding::Binding::useContext(records().of(context->number()));
    tSelected = context->number();
}

/// Flushes the current context if it is ours, selected, and has a frame buffer to draw to.
void flushCurrent() {
    if (tSelected == 0 || NSOpenGLContext::currentNumber() != tSelected) {
        return;
    }
    GLint frameBuffer = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &frameBuffer);
    if (frameBuffer == 0 || glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
        glFlush();
    }
}

void writeLine(const std::string& text) {
    writeMessage(text + "\n");
}

} // namespace

// The object is complete from the delegation on, so that its destructor runs for what throws here.
AEOpenGLContext::AEOpenGLContext(const AEOpenGLContext* shareContext) : AEOpenGLContext() {
    mNSContext =
        createNSContext(shareContext != nullptr ? shareContext->mNSContext : nullptr, mCGLContext);
    if (mNSContext != nullptr && !mNSContext->makeCurrentContext()) {
        mNSContext->release();
        mNSContext = nullptr;
        mCGLContext = nullptr;
    }
    if (mNSContext != nullptr) {
        InitializeOpenGLBindings();
        mExtensions = glbinding::ContextInfo::extensions(nullptr);
    }
}

AEOpenGLContext::~AEOpenGLContext() {
    if (mNSContext == nullptr) {
        return;
    }
    const std::uint64_t number = mNSContext->number();
    PerContextName::forgetContext(number);
    mNSContext->invalidate();
    records().giveBack(number);
    if (tSelected == number) {
        tSelected = 0;
    }
    mNSContext->release();
}

void AEOpenGLContext::makeContextCurrent() {
    if (mNSContext == nullptr || !mNSContext->makeCurrentContext()) {
        return;
    }
    makeCurrentFlush(mCGLContext);
    select(mNSContext);
}

bool AEOpenGLContext::isCurrent() const {
    return mNSContext != nullptr && NSOpenGLContext::currentContext() == mNSContext &&
           tSelected == mNSContext->number();
}

NSOpenGLContext* AEOpenGLContext::createNSContext(NSOpenGLContext* share,
                                                  CGLContextObj& outContext) {
    constexpr std::array<NSOpenGLPixelFormatAttribute, 13> attributes{NSOpenGLPFAClosestPolicy,
                                                                      NSOpenGLPFANoRecovery,
                                                                      NSOpenGLPFAAlphaSize,
                                                                      0,
                                                                      NSOpenGLPFAColorSize,
                                                                      24,
                                                                      NSOpenGLPFAStencilSize,
                                                                      0,
                                                                      NSOpenGLPFADepthSize,
                                                                      0,
                                                                      NSOpenGLPFAOpenGLProfile,
                                                                      NSOpenGLProfileVersion3_2Core,
                                                                      0};
    const auto release = [](NSOpenGLPixelFormat* format) { format->release(); };
    const std::unique_ptr<NSOpenGLPixelFormat, decltype(release)> format(
        NSOpenGLPixelFormat::initWithAttributes(attributes.data()), release);
    NSOpenGLContext* context = NSOpenGLContext::initWithFormat(format.get(), share);
    outContext = context != nullptr ? context->lowLevelContext() : CGLContextObj();
    return context;
}

void AEOpenGLContext::InitializeOpenGLBindings() {
    const NSOpenGLContext* current = NSOpenGLContext::currentContext();
    if (current == nullptr) {
        return;
    }
    glbinding::Binding::initialize(records().of(current->number()), true, false);
    select(current);
    writeLine("");
    writeLine("OpenGL Version:  " + glbinding::ContextInfo::version().toString());
    writeLine("OpenGL Vendor:   " + glbinding::ContextInfo::vendor());
    writeLine("OpenGL Renderer: " + glbinding::ContextInfo::renderer());
    writeLine("OpenGL Revision: " + std::to_string(glbinding::Meta::glRevision()) + " (gl.xml)");
    writeLine("");
}

void AEOpenGLContext::makeCurrentFlush(CGLContextObj context) {
    if (CGLGetCurrentContext() == context) {
        return;
    }
    flushCurrent();
    CGLSetCurrentContext(context);
}

} // namespace Vexorel::PrismDrift
