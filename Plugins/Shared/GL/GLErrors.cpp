#include "Shared/GL/GLErrors.h"

#include <glbinding/gl33core/gl.h>

namespace Vexorel::PrismDrift {

using namespace gl33core;

bool takeOutOfMemory() {
    bool outOfMemory = false;
    // A driver keeps a few flags at most; a lost context would give an error for ever.
    for (int i = 0; i < 16; ++i) {
        const GLenum error = glGetError();
        if (error == GL_NO_ERROR) {
            break;
        }
        outOfMemory = outOfMemory || error == GL_OUT_OF_MEMORY;
    }
    return outOfMemory;
}

} // namespace Vexorel::PrismDrift
