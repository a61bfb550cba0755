#pragma once

/// The devices that EGL lists, which it does without a display or a context.

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <string_view>
#include <vector>

namespace Platform {

/// Looks a function of an extension up; null where EGL doesn't have it.
template <typename Function>
Function extensionFunction(const char* name) {
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

/// Whether the list, names with blanks between, has the name. A null list has none.
bool hasExtension(const char* list, std::string_view name);

/// Whether EGL, whose extensions without a display these are, lists its devices.
bool listsDevices(const char* clientExtensions);

bool isSoftwareDevice(EGLDeviceEXT device);

/// The listed devices that are not software, in EGL's order. Only where EGL lists any.
std::vector<EGLDeviceEXT> hardwareDevices();

} // namespace Platform
