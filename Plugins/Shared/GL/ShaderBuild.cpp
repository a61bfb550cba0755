#include "Shared/GL/ShaderBuild.h"

#include "Shared/GL/MessageSink.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

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

/// A shader object and its text, for the length of the build.
class Stage {
public:
    Stage(GLenum type, const std::string& source, const char* word)
        : mShader(glCreateShader(type)), mSource(source), mWord(word) {}
    ~Stage() { remove(); }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// False, with GL's reason written to the message sink, if the text is no shader.
    bool compile() const;

    void attach(GLuint program) const { glAttachShader(program, mShader); }
    void detach(GLuint program) const { glDetachShader(program, mShader); }

    /// Deletes the shader object, if it still exists.
    void remove() {
        if (mShader != 0) {
            glDeleteShader(std::exchange(mShader, 0U));
        }
    }

private:
    GLuint mShader;
    const std::string& mSource;
    const char* mWord; ///< the stage's name in the message
};

/// The program of a build, deleted unless the build succeeds.
class Program {
public:
    Program() = default;
    ~Program() {
        if (mName != 0) {
            glDeleteProgram(mName);
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// False, with GL's reason written to the message sink, if the stages make no program.
    bool link() const;

    GLuint get() const { return mName; }
    GLuint release() { return std::exchange(mName, 0U); }

private:
    GLuint mName = glCreateProgram();
};

bool Stage::compile() const {
    const GLchar* text = mSource.c_str();
    glShaderSource(mShader, 1, &text, nullptr);
    glCompileShader(mShader);
    GLint status = 0;
    glGetShaderiv(mShader, GL_COMPILE_STATUS, &status);
    if (status != 1) {
        dumpShaderErrorS(mShader, mWord);
    }
    return status == 1;
}

bool Program::link() const {
    glLinkProgram(mName);
    GLint status = 0;
    glGetProgramiv(mName, GL_LINK_STATUS, &status);
    if (status != 1) {
        writeMessage("Program error:\n" + infoLog(glGetProgramInfoLog, mName) + "\n");
    }
    return status == 1;
}

} // namespace

gl::GLuint buildProgram(const std::string& vertex, const std::string& fragment,
                        const std::string& geometry,
                        const std::map<std::string, int>& attributeBindings) {
    Stage vertexStage(GL_VERTEX_SHADER, vertex, "vert");
    Stage fragmentStage(GL_FRAGMENT_SHADER, fragment, "frag");
    std::optional<Stage> geometryStage;
    if (!geometry.empty()) {
        geometryStage.emplace(GL_GEOMETRY_SHADER, geometry, "geo");
    }
    if (!vertexStage.compile() || !fragmentStage.compile() ||
        (geometryStage && !geometryStage->compile())) {
        return 0;
    }
    Program program;
    vertexStage.attach(program.get());
    fragmentStage.attach(program.get());
    if (geometryStage) {
        geometryStage->attach(program.get());
    }
    for (const auto& [name, location] : attributeBindings) {
        glBindAttribLocation(program.get(), static_cast<GLuint>(location), name.c_str());
    }
    if (!program.link()) {
        return 0;
    }
    vertexStage.detach(program.get());
    fragmentStage.detach(program.get());
    vertexStage.remove();
    fragmentStage.remove();
    if (geometryStage) {
        geometryStage->detach(program.get());
        geometryStage->remove();
    }
    return program.release();
}

} // namespace Vexorel::PrismDrift
