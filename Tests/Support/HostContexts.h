#pragma once

/// OpenGL contexts such as a host program makes: through EGL or GLX, with surfaces of their own and
/// without any code of the effect.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Testing {

/// All that is current on the thread at both interfaces: context, display, draw and read surface
/// of each, and the rendering API that EGL has bound.
std::vector<std::uintptr_t> currentState();

/// Ends the EGL display that is current on this thread, as some other user of it might. False if
/// there is none.
bool terminateCurrentDisplay();

/// Releases whatever EGL context is current on this thread.
void releaseCurrentEgl();

/// makeCurrent() returns whether it is current on the thread. The destructor releases it first.
struct HostContext {
    std::function<bool()> makeCurrent;
    std::function<void()> destroy;
    ~HostContext() { destroy(); }
};

enum class HostApi { eglDesktop, eglEmbedded, glx };

/// A context with two different surfaces to draw to and to read from. Null if it can't be made;
/// `whyNot` then says why. For GLX a display server is started, which ends with the context.
std::unique_ptr<HostContext> makeHostContext(HostApi api, std::string& whyNot);

} // namespace Testing
