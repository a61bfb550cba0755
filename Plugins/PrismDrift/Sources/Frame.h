#pragma once

/// One frame, and the frame around every command that touches GL.

#include "PrismDrift/Sources/PrismDriftRender.h"

#include "Platform/Effect/Effect.h"
#include "Shared/GL/AEOpenGLContextManager.h"
#include "Shared/GL/SaveRestoreGLContextMac.h"

#include <mutex>
#include <pthread.h>

namespace Vexorel::PrismDrift {

/// Lives for as long as one command may touch GL: it holds the contexts' lock, and puts the host's
/// context back at its end, however that comes about. A thread's cancellation waits for that end,
/// since the driver, with locks of its own, is no place to unwind from. Throws
/// PF_Err_BAD_CALLBACK_PARAM where a callback of the host, made within a command, brings another
/// one, and once the process is ending.
class GLCommand {
public:
    GLCommand();
    ~GLCommand();
    GLCommand(const GLCommand&) = delete;
    GLCommand& operator=(const GLCommand&) = delete;

    /// Lets no command begin any more, and gives one that runs on another thread up to two seconds
    /// to end.
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
    const std::lock_guard<std::recursive_mutex> mLock;
    SaveRestoreGLContextMac mSaver;
};

/// Draws the frame of `input` at the host's time into `output`, in the context that is current.
/// Gives the first error of reading the parameters, with the frame drawn all the same. Throws, and
/// leaves `output` alone, where the frame can't be drawn: a size beyond what GL or the driver
/// takes, no memory, a suite that the host doesn't have.
PF_Err renderFrame(PF_InData* in_data, PF_LayerDef* input, PF_LayerDef* output,
                   PrismDriftRender& renderer);

} // namespace Vexorel::PrismDrift
