#include "Shared/GL/ShaderBuild.h"

#include "Shared/GL/MessageSink.h"

#include <algorithm>
#include <array>
#include <functional>
#include <list>
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
    ~Stage() { glDeleteShader(mShader); }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    GLuint shader() const { return mShader; }
    bool compile() const;

private:
    GLuint mShader;
    const std::string& mSource;
    const char* mWord;
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

} // namespace

gl::GLuint buildProgram(const std::string& vertex, const std::string& fragment,
                        const std::string& geometry,
                        const std::map<std::string, int>& attributeBindings) {
    std::list<Stage> stages;
    stages.emplace_back(GL_VERTEX_SHADER, vertex, "vert");
    stages.emplace_back(GL_FRAGMENT_SHADER, fragment, "frag");
    if (!geometry.empty()) {
        stages.emplace_back(GL_GEOMETRY_SHADER, geometry, "geo");
    }
    if (!std::all_of(stages.begin(), stages.end(), std::mem_fn(&Stage::compile))) {
        return 0;
    }
    Program program;
    for (const Stage& stage : stages) {
        glAttachShader(program.get(), stage.shader());
    }
    for (const auto& [name, location] : attributeBindings) {
        glBindAttribLocation(program.get(), static_cast<GLuint>(location), name.c_str());
    }
    glLinkProgram(program.get());
    GLint status = 0;
    glGetProgramiv(program.get(), GL_LINK_STATUS, &status);
    if (status != 1) {
        writeMessage("Program error:\n" + infoLog(glGetProgramInfoLog, program.get()) + "\n");
        return 0;
    }
    for (const Stage& stage : stages) {
        glDetachShader(program.get(), stage.shader());
    }
    return program.release();
}

} // namespace Vexorel::PrismDrift
