#include "Platform/OpenGL/Glx.h"

#include <GL/glx.h>

namespace Platform {

CGLContextObj currentGlxContext() {
    CGLContextObj current;
    GLXContext context = glXGetCurrentContext();
    if (context != nullptr) {
        current.layer = CGLContextObj::Layer::glx;
        current.display = glXGetCurrentDisplay();
        current.context = context;
        current.drawSurface = glXGetCurrentDrawable();
        current.readSurface = glXGetCurrentReadDrawable();
    }
    return current;
}

bool makeGlxContextCurrent(const CGLContextObj& context) {
    return glXMakeContextCurrent(static_cast<Display*>(context.display), context.drawSurface,
                                 context.readSurface,
                                 static_cast<GLXContext>(context.context)) == True;
}

void releaseGlxContext() {
    if (glXGetCurrentContext() != nullptr) {
        glXMakeContextCurrent(glXGetCurrentDisplay(), None, None, nullptr);
    }
}

} // namespace Platform
