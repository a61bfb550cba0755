#pragma once

/// From GLSL text to a linked program.

#include <glbinding/gl33core/gl.h>

#include <map>
#include <string>

namespace Vexorel::PrismDrift {

/// Compiles and links in the current context; an empty geometry text is no geometry stage. Gives a
/// program that the caller owns, or 0 with the reason written to the message sink. Either way no
/// shader object is left, and no program after a failure.
gl::GLuint buildProgram(const std::string& vertex, const std::string& fragment,
                        const std::string& geometry,
                        const std::map<std::string, int>& attributeBindings);

} // namespace Vexorel::PrismDrift
