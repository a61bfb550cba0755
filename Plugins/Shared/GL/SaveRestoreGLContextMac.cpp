#include "Shared/GL/SaveRestoreGLContextMac.h"

#include "Shared/GL/AEOpenGLContext.h"

SaveRestoreGLContextMac::~SaveRestoreGLContextMac() {
    setMContext(nullptr);
}

SaveRestoreGLContextMac* SaveRestoreGLContextMac::init() {
    setMContext(NSOpenGLContext::currentContext());
    _mRC = CGLGetCurrentContext();
    _mRestored = false;
    return this;
}

void SaveRestoreGLContextMac::restore() {
    if (_mRestored) {
        return;
    }
    if (_mContext != nullptr && NSOpenGLContext::currentContext() != _mContext) {
        _mContext->makeCurrentContext();
    }
    if (_mRC && CGLGetCurrentContext() != _mRC) {
        Vexorel::PrismDrift::AEOpenGLContext::makeCurrentFlush(_mRC);
    }
    _mRestored = true;
}

void SaveRestoreGLContextMac::setMContext(NSOpenGLContext* context) {
    if (context != nullptr) {
        context->retain();
    }
    if (_mContext != nullptr) {
        _mContext->release();
    }
    _mContext = context;
}
