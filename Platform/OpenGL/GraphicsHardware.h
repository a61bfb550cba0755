#pragma once

/// Whether OpenGL has hardware to draw with, for a host that can draw without OpenGL.

#include <string>

namespace Platform {

/// Why OpenGL has no hardware to draw with here, in one line without a full stop; empty if EGL
/// lists a device that may be used. Makes no context and initialises no display. A listed device is
/// no promise: that of a virtual machine is listed too, and drawn for in software.
std::string missingHardware();

} // namespace Platform
