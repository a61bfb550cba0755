#pragma once

/// What the passes that draw one texture over the whole target have in common.

#include "Shared/GL/OpenglShader.h"
#include "Shared/GL/PerContextName.h"

#include <string>

namespace Vexorel::PrismDrift {

/// The vertex stage of a pass with `position` and `input_uv`; hands `uv` to the fragment stage.
extern const char* const kFullFrameVertexSource;

/// The fragment stage of a pass over one texture: `colourOut` holds the texture's pixel, and
/// `statements` turn it into the pass's; `multiplier16bit` is there for them.
std::string fullFrameFragmentSource(const std::string& statements);

/// Registers the two attributes of the vertex stage.
void bindFullFrameAttributes(OpenglShader& shader);

/// Draws `texture` over the whole of the bound target with a shader of the two stages above. The
/// vertex buffer is made at the first call, the vertex array at the first call in each context;
/// both are kept for later calls.
void drawFullFrame(OpenglShader& shader, PerContextName& vertexArray, gl::GLuint& vertexBuffer,
                   unsigned int texture, float multiplier);

/// Binds the vertex array and the buffer. Makes what doesn't exist yet: the buffer with the `size`
/// bytes at `positions`, the vertex array once for each context.
void bindVertices(PerContextName& vertexArray, gl::GLuint& vertexBuffer, const float* positions,
                  std::size_t size);

/// Draws the two triangles that are bound, and unbinds them: attributes 0 and 1 disabled, no vertex
/// array, no array buffer.
void drawVertices(const OpenglShader& shader);

/// For a destructor: deletes the buffer and the current context's vertex array, if they exist. The
/// vertex arrays of other contexts go with their contexts.
void deleteVertices(PerContextName& vertexArray, gl::GLuint& vertexBuffer);

} // namespace Vexorel::PrismDrift
