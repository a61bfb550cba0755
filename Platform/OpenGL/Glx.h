#pragma once

/// The GLX calls that leave a host's context and make it current again. They have a file of their
/// own because GLX's header can't be included beside the GL headers that the rest uses.

#include "Platform/OpenGL/OpenGLContext.h"

namespace Platform {

/// The GLX context current on this thread, null for none.
CGLContextObj currentGlxContext();

/// Makes a GLX context current again. No EGL context may be current on the thread.
bool makeGlxContextCurrent(const CGLContextObj& context);

/// Leaves no GLX context current on this thread.
void releaseGlxContext();

} // namespace Platform
