#pragma once

/// Draws one frame, and prepares the thread for any command that touches GL.

#include "PrismDrift/Sources/FrameParameters.h"
#include "PrismDrift/Sources/PrismDriftRender.h"

#include "Platform/Effect/Effect.h"
#include "Platform/Threads/Mutex.h"
#include "Shared/GL/AEOpenGLContextManager.h"
#include "Shared/GL/SaveRestoreGLContextMac.h"

#include <pthread.h>

namespace Vexorel::PrismDrift {

/// Lives as long as one command may touch GL. It holds the contexts' lock, and its destructor makes
/// the host's context current again, on every way out. Cancelling the thread takes effect only
/// after that, because the driver holds locks of its own and can't be unwound.
class PRISMDRIFT_THREAD_ATTRIBUTE(scoped_lockable) GLCommand {
public:
    /// Throws PF_Err_BAD_CALLBACK_PARAM within another command, which a host's callback may run,
    /// and once the process is ending.
    GLCommand() PRISMDRIFT_ACQUIRE(AEOpenGLContextManager::mMutex);
    ~GLCommand() PRISMDRIFT_RELEASE();
    GLCommand(const GLCommand&) = delete;
    GLCommand& operator=(const GLCommand&) = delete;

    /// Refuses every later command, and waits up to two seconds for one that runs on another
    /// thread.
    static void close();

private:
    class CancellationScope {
    public:
        CancellationScope() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mFormer); }
        ~CancellationScope() { pthread_setcancelstate(mFormer, nullptr); }
        CancellationScope(const CancellationScope&) = delete;
        CancellationScope& operator=(const CancellationScope&) = delete;

    private:
        int mFormer = PTHREAD_CANCEL_ENABLE;
    };

    const CancellationScope mCancellation;
    const Platform::RecursiveMutexLock mLock;
    SaveRestoreGLContextMac mSaver;
};

/// Converts the values to the renderer's units and sets them, the distance at the host's
/// downsample.
void applyParameters(const PF_InData* in_data, const FrameParameters& parameters,
                     PrismDriftRender& renderer);

/// Draws the frame of `input` at the host's time into `output`, in the current context. Returns the
/// first error from reading the parameters; the frame is drawn even then. Throws and leaves
/// `output` alone if the frame can't be drawn: its size is beyond the limits of GL or the driver,
/// there is no memory, or the host lacks a suite.
PF_Err renderFrame(PF_InData* in_data, PF_LayerDef* input, PF_LayerDef* output,
                   PrismDriftRender& renderer) PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex);

} // namespace Vexorel::PrismDrift
