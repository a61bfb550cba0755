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

/// The process's one renderer, made when the plug-in is loaded; a set-down deletes it, and the
/// first frame of a later set-up makes another. Like the flags below, guarded by the command's
/// lock.
PrismDriftRender* mWarpRender = new PrismDriftRender;

/// Whether a set-up lives.
bool gSetUp = false;

/// Whether the GL objects of earlier contexts are still on record, since none could be had to
/// delete them in.
bool gLeftovers = false;

/// GL's loader doesn't outlive the process's static objects: no command runs behind this one's end.
struct ProcessEnd {
    ProcessEnd() = default;
    ~ProcessEnd() { GLCommand::close(); }
    ProcessEnd(const ProcessEnd&) = delete;
    ProcessEnd& operator=(const ProcessEnd&) = delete;
};

const ProcessEnd gProcessEnd;

/// Deletes the GL objects that frames have left behind, in the context that is current. If that
/// isn't of their share group they are gone already, and the deletion only clears the records.
void dropGLObjects() {
    AEOpenglMainFrameBuffer::mainFrameBuffer()->destory();
    delete mWarpRender;
    mWarpRender = nullptr;
    gLeftovers = false;
}

void makeSharedContext() {
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

/// Takes everything down, with the shared data context current; or, where that is current on
/// another thread, a temporary one of its group.
void setDown() {
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

/// Makes this thread's render context current. Where someone has ended the display that all
/// contexts of the process share, they are made anew.
void selectRenderContext() {
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

PrismDriftRender& renderer() {
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

// A forced unwind carries no object: what it is caught by refers to nothing, and is not looked at.
extern "C" __attribute__((no_sanitize("undefined"))) PF_Err
EntryPointFunc(PF_Cmd cmd, PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
               PF_LayerDef* output, void* /*extra*/) {
    try {
        return dispatch(cmd, in_data, out_data, params, output);
    } catch (const abi::__forced_unwind&) {
        throw; // the thread is being cancelled, and has to go on unwinding
    } catch (...) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
}
