#pragma once

/// What the passes that draw one texture over the whole target have in common.

#include "Shared/GL/OpenglShader.h"
#include "Shared/GL/PerContextName.h"

namespace Vexorel::PrismDrift {

/// The vertex stage of a pass with `position` and `input_uv`; hands `uv` to the fragment stage.
extern const char* const kFullFrameVertexSource;

/// Registers the two attributes of that stage.
void bindFullFrameAttributes(OpenglShader& shader);

/// Draws `texture` over the whole of the bound target. Makes the vertex buffer at the first call,
/// the vertex array at the first call in each context; both stay for the later ones.
void drawFullFrame(OpenglShader& shader, PerContextName& vertexArray, gl::GLuint& vertexBuffer,
                   unsigned int texture, float multiplier);

/// Makes the two vertex objects where they are missing, the buffer filled with `size` bytes, and
/// binds both.
void bindVertices(PerContextName& vertexArray, gl::GLuint& vertexBuffer, const float* positions,
                  std::size_t size);

/// Draws the two triangles that are bound, and unbinds them: attributes 0 and 1 disabled, no vertex
/// array, no array buffer.
void drawVertices(const OpenglShader& shader);

/// Deletes what is there of the two, for a destructor. The vertex arrays of other contexts go with
/// their context.
void deleteVertices(PerContextName& vertexArray, gl::GLuint& vertexBuffer);

} // namespace Vexorel::PrismDrift
