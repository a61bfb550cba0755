#include "Shared/GL/FullFrame.h"

#include <array>

namespace Vexorel::PrismDrift {

using namespace gl33core;

const char* const kFullFrameVertexSource = R"(#version 330
in vec3 position;
in vec2 input_uv;
out vec2 uv;

void main()
{
    uv = input_uv;
    gl_Position = vec4(position, 1.0);
}
)";

std::string fullFrameFragmentSource(const std::string& statements) {
    return R"(#version 330
uniform sampler2D videoTexture;
uniform float multiplier16bit;
in vec2 uv;
out vec4 colourOut;

void main()
{
    colourOut = texture(videoTexture, uv);
)" + statements +
           "}\n";
}

void bindFullFrameAttributes(OpenglShader& shader) {
    shader.addAttributeBinding("position", 0);
    shader.addAttributeBinding("input_uv", 1);
}

void drawFullFrame(OpenglShader& shader, PerContextName& vertexArray, gl::GLuint& vertexBuffer,
                   unsigned int texture, float multiplier) {
    // x, y, z, u, v
    static constexpr std::array<float, 30> positions{1,  -1, 0, 1, 0, //
                                                     1,  1,  0, 1, 1, //
                                                     -1, 1,  0, 0, 1, //
                                                     -1, 1,  0, 0, 1, //
                                                     -1, -1, 0, 0, 0, //
                                                     1,  -1, 0, 1, 0};
    constexpr int stride = 5 * sizeof(float);
    bindVertices(vertexArray, vertexBuffer, positions.data(), sizeof positions);
    shader.useProgram();
    shader.setAttribute3fv(0, nullptr, stride);
    shader.setAttribute2fv(1, reinterpret_cast<const float*>(3 * sizeof(float)), stride);
    shader.setUniformTexture("videoTexture", static_cast<int>(GL_TEXTURE_2D),
                             static_cast<int>(texture), 0);
    shader.setUniform1f("multiplier16bit", multiplier);
    drawVertices(shader);
}

void bindVertices(PerContextName& vertexArray, gl::GLuint& vertexBuffer, const float* positions,
                  std::size_t size) {
    vertexArray.generate(glGenVertexArrays);
    glBindVertexArray(vertexArray);
    if (vertexBuffer == 0) {
        glGenBuffers(1, &vertexBuffer);
        glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(size), positions, GL_STATIC_DRAW);
    } else {
        glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer);
    }
}

void drawVertices(const OpenglShader& shader) {
    glDrawArrays(GL_TRIANGLES, 0, 6);
    shader.disableVertexAttributeArray(0);
    shader.disableVertexAttributeArray(1);
    glBindVertexArray(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

void deleteVertices(PerContextName& vertexArray, gl::GLuint& vertexBuffer) {
    vertexArray.remove(glDeleteVertexArrays);
    if (vertexBuffer != 0) {
        glDeleteBuffers(1, &vertexBuffer);
        vertexBuffer = 0;
    }
}

} // namespace Vexorel::PrismDrift
