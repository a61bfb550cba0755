#pragma once

/// Records the OpenGL context that a host has current on the thread, and puts it back.

#include "Platform/OpenGL/OpenGLContext.h"

/// Serves one command of the host and is used on the thread that made it. The destructor restores
/// nothing: a caller that needs the context back on every way out calls restore() from a guard.
class SaveRestoreGLContextMac {
public:
    SaveRestoreGLContextMac() = default;
    ~SaveRestoreGLContextMac();
    SaveRestoreGLContextMac(const SaveRestoreGLContextMac&) = delete;
    SaveRestoreGLContextMac& operator=(const SaveRestoreGLContextMac&) = delete;

    /// Records what is current: the object of a context of ours, and the low-level value of any,
    /// one that the host made through EGL or GLX included. Returns this object.
    SaveRestoreGLContextMac* init();

    /// Makes current again what was recorded, once: a second call does nothing. A recorded context
    /// that has died since is skipped. Where nothing was recorded nothing is changed, so that a
    /// context of ours stays current.
    void restore();

    NSOpenGLContext* mContext() const { return _mContext; }
    void setMContext(NSOpenGLContext* context);
    CGLContextObj mRC() const { return _mRC; }
    void setMRC(CGLContextObj context) { _mRC = context; }
    bool mRestored() const { return _mRestored; }
    void setMRestored(bool restored) { _mRestored = restored; }

private:
    bool _mRestored = false;
    NSOpenGLContext* _mContext = nullptr; ///< a reference is held
    CGLContextObj _mRC;
};
