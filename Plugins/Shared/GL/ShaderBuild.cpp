#include "Shared/GL/ShaderBuild.h"

#include "Shared/GL/MessageSink.h"

#include <algorithm>
#include <array>
#include <vector>

namespace Vexorel::PrismDrift {

using namespace gl33core;

namespace {

/// GL's log of a failure, cut at 512 bytes.
template <typename GetLog>
std::string infoLog(GetLog getLog, GLuint object) {
    constexpr GLsizei limit = 512;
    std::array<GLchar, limit + 1> buffer{};
    GLsizei length = 0;
    getLog(object, limit, &length, buffer.data());
    buffer.at(static_cast<std::size_t>(std::clamp(length, 0, limit))) = '\0';
    return buffer.data();
}

void dumpShaderErrorS(GLuint shader, const char* stage) {
    writeMessage(std::string("Shader ") + stage + " error:\n" +
                 infoLog(glGetShaderInfoLog, shader) + "\n");
}

bool compile(GLuint shader, const std::string& source, const char* stage) {
    const GLchar* text = source.c_str();
    glShaderSource(shader, 1, &text, nullptr);
    glCompileShader(shader);
    GLint status = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    if (status != 1) {
        dumpShaderErrorS(shader, stage);
    }
    return status == 1;
}

struct Stage {
    GLenum type;
    const std::string& source;
    const char* word;
    GLuint shader;
};

} // namespace

gl::GLuint buildProgram(const std::string& vertex, const std::string& fragment,
                        const std::string& geometry,
                        const std::map<std::string, int>& attributeBindings) {
    std::vector<Stage> stages{{GL_VERTEX_SHADER, vertex, "vert", 0},
                              {GL_FRAGMENT_SHADER, fragment, "frag", 0}};
    if (!geometry.empty()) {
        stages.push_back({GL_GEOMETRY_SHADER, geometry, "geo", 0});
    }
    for (Stage& stage : stages) {
        stage.shader = glCreateShader(stage.type);
    }
    const bool compiled = std::all_of(stages.begin(), stages.end(), [](const Stage& stage) {
        return compile(stage.shader, stage.source, stage.word);
    });
    GLuint program = 0;
    if (compiled) {
        program = glCreateProgram();
        for (const Stage& stage : stages) {
            glAttachShader(program, stage.shader);
        }
        for (const auto& [name, location] : attributeBindings) {
            glBindAttribLocation(program, static_cast<GLuint>(location), name.c_str());
        }
        glLinkProgram(program);
        GLint status = 0;
        glGetProgramiv(program, GL_LINK_STATUS, &status);
        for (const Stage& stage : stages) {
            glDetachShader(program, stage.shader);
        }
        if (status != 1) {
            writeMessage("Program error:\n" + infoLog(glGetProgramInfoLog, program) + "\n");
            glDeleteProgram(program);
            program = 0;
        }
    }
    for (const Stage& stage : stages) {
        glDeleteShader(stage.shader);
    }
    return program;
}

} // namespace Vexorel::PrismDrift
