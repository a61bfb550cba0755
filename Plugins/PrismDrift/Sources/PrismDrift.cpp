#include "PrismDrift/Sources/PrismDrift.h"

#include "PrismDrift/Sources/Frame.h"
#include "PrismDrift/Sources/Parameters.h"
#include "PrismDrift/Sources/PrismDriftRender.h"
#include "Shared/GL/AEOpenGLContextManager.h"
#include "Shared/GL/AEOpenglMainFrameBuffer.h"
#include "Shared/Helper/SuiteScoper.h"

#include <cxxabi.h>
#include <memory>

namespace {

using namespace Vexorel::PrismDrift;

/// The process's one renderer, made when the plug-in is loaded. A set-down deletes it, and the
/// first frame after a later set-up makes another.
PrismDriftRender*
    mWarpRender PRISMDRIFT_GUARDED_BY(AEOpenGLContextManager::mMutex) = new PrismDriftRender;

/// Whether the effect is set up.
bool gSetUp PRISMDRIFT_GUARDED_BY(AEOpenGLContextManager::mMutex) = false;

/// Whether names of GL objects from lost contexts are still on record, because no context could be
/// made to delete them in.
bool gLeftovers PRISMDRIFT_GUARDED_BY(AEOpenGLContextManager::mMutex) = false;

/// Ends all commands before the process destroys the static objects that GL's loader needs.
struct ProcessEnd {
    ProcessEnd() = default;
    ~ProcessEnd() { GLCommand::close(); }
    ProcessEnd(const ProcessEnd&) = delete;
    ProcessEnd& operator=(const ProcessEnd&) = delete;
};

const ProcessEnd gProcessEnd;

/// Deletes the GL objects of all frames in the current context. If it isn't in their share group
/// they are gone already, and only their names are forgotten.
void dropGLObjects() PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex) {
    AEOpenglMainFrameBuffer::mainFrameBuffer()->destory();
    delete mWarpRender;
    mWarpRender = nullptr;
    gLeftovers = false;
}

void makeSharedContext() PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex) {
    AEOpenGLContextManager::setupContextManager();
    AEOpenGLContext* shared = AEOpenGLContextManager::getSharedDataContext();
    if (shared == nullptr) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
    if (gLeftovers) {
        shared->makeContextCurrent();
        dropGLObjects();
    }
}

/// Deletes everything, with the shared data context current. Where that is current on another
/// thread, a temporary context of its group serves instead.
void setDown() PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex) {
    gSetUp = false;
    AEOpenGLContext* shared = AEOpenGLContextManager::getSharedDataContext();
    if (shared == nullptr) {
        return;
    }
    std::unique_ptr<AEOpenGLContext> temporary;
    shared->makeContextCurrent();
    if (!shared->isCurrent() && !shared->mNSContext->isLost()) {
        temporary = std::make_unique<AEOpenGLContext>(shared);
    }
    if (shared->isCurrent() || (temporary != nullptr && temporary->isCurrent())) {
        dropGLObjects();
    } else {
        gLeftovers = true;
    }
    temporary.reset();
    if (shared->mNSContext->isLost()) {
        AEOpenGLContextManager::abandonContexts();
    } else {
        AEOpenGLContextManager::releaseContextManager();
    }
}

bool makeRenderContextCurrent() {
    AEOpenGLContext* context = AEOpenGLContextManager::getCurrentRenderContext();
    if (context != nullptr) {
        context->makeContextCurrent();
    }
    return context != nullptr && context->isCurrent();
}

/// Makes this thread's render context current. If other code in the process has terminated the
/// display that all contexts share, the contexts are made anew.
void selectRenderContext() PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex) {
    AEOpenGLContext* shared = AEOpenGLContextManager::getSharedDataContext();
    if (shared != nullptr) {
        if (makeRenderContextCurrent()) {
            return;
        }
        shared->makeContextCurrent();
        if (!shared->mNSContext->isLost()) {
            throw int{PF_Err_BAD_CALLBACK_PARAM};
        }
        AEOpenGLContextManager::abandonContexts();
        gLeftovers = true;
    }
    makeSharedContext();
    if (!makeRenderContextCurrent()) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
}

PrismDriftRender& renderer() PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex) {
    if (mWarpRender == nullptr) {
        mWarpRender = new PrismDriftRender;
    }
    return *mWarpRender;
}

PF_Err about(const PF_InData* in_data, PF_OutData* out_data) {
    const SuiteScoper<PF_ANSICallbacksSuite1> suite(in_data, "PF ANSI Suite", 1);
    suite->sprintf(out_data->return_msg, "%s v%d.%d\r%s", "Prism Drift", 1, 0, "Prism Drift");
    return PF_Err_NONE;
}

PF_Err globalSetup(PF_OutData* out_data) {
    out_data->my_version = 0x80001;
    out_data->out_flags = 0;
    out_data->out_flags2 = 0;
    const GLCommand command;
    makeSharedContext();
    gSetUp = true;
    return PF_Err_NONE;
}

PF_Err globalSetdown() {
    const GLCommand command;
    setDown();
    return PF_Err_NONE;
}

PF_Err render(PF_InData* in_data, PF_ParamDef* params[], PF_LayerDef* output) {
    const GLCommand command;
    if (!gSetUp) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
    selectRenderContext();
    return renderFrame(in_data, &params[0]->u.ld, output, renderer());
}

PF_Err dispatch(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                PF_LayerDef* output) {
    switch (cmd) {
    case PF_Cmd_ABOUT:
        return about(in_data, out_data);
    case PF_Cmd_GLOBAL_SETUP:
        return globalSetup(out_data);
    case PF_Cmd_GLOBAL_SETDOWN:
        return globalSetdown();
    case PF_Cmd_PARAMS_SETUP:
        return publishParameters(in_data, out_data);
    case PF_Cmd_RENDER:
        return render(in_data, params, output);
    default:
        return PF_Err_NONE;
    }
}

} // namespace

// The exemption: a forced unwind carries no object, so the reference that catches it is null.
extern "C" __attribute__((no_sanitize("undefined"))) PF_Err
EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
               PF_LayerDef* output, void* /*extra*/) {
    try {
        return dispatch(cmd, in_data, out_data, params, output);
    } catch (const abi::__forced_unwind&) {
        throw; // the thread is being cancelled and must go on unwinding
    } catch (...) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
}
