#pragma once

/// Why there is no OpenGL, for a host that has to tell its user.

#include <string>

namespace Platform {

/// Why no OpenGL 3.3 core context can be made here, in one line without a full stop; empty if one
/// can. Tries it, so the answer is that of the moment.
std::string contextFailure();

} // namespace Platform
