#include "Shared/GL/OpenglShader.h"

#include "Shared/GL/ShaderBuild.h"

#include <algorithm>
#include <array>
#include <vector>

namespace Vexorel::PrismDrift {

using namespace gl33core;

OpenglShader::OpenglShader(const std::string& vertex, const std::string& fragment)
    : OpenglShader(vertex, fragment, std::string()) {}

OpenglShader::OpenglShader(const std::string& vertex, const std::string& fragment,
                           const std::string& geometry)
    : mVertexSource(vertex), mFragmentSource(fragment), mGeometrySource(geometry) {}

OpenglShader::~OpenglShader() {
    if (mProgram != 0) {
        glDeleteProgram(mProgram);
    }
}

void OpenglShader::addAttributeBinding(const std::string& name, int location) {
    mAttributeBindings.emplace(name, location);
}

void OpenglShader::buildShader() {
    const GLuint program =
        buildProgram(mVertexSource, mFragmentSource, mGeometrySource, mAttributeBindings);
    if (program != 0) {
        if (mProgram != 0) {
            glDeleteProgram(mProgram);
        }
        mProgram = program;
    }
}

void OpenglShader::useProgram() {
    if (mProgram == 0) {
        buildShader();
    }
    glUseProgram(mProgram);
}

int OpenglShader::getUniformLocation(const std::string& name) const {
    return mProgram != 0 ? glGetUniformLocation(mProgram, name.c_str()) : -1;
}

int OpenglShader::getAttributeLocation(const std::string& name) const {
    return glGetAttribLocation(mProgram, name.c_str());
}

/// Calls `call` with the uniform's location, if there is one.
template <typename Call>
void OpenglShader::withUniform(const std::string& name, Call call) const {
    const GLint location = getUniformLocation(name);
    if (location != -1) {
        call(location);
    }
}

void OpenglShader::setUniform1i(const std::string& name, int x) const {
    withUniform(name, [=](GLint location) { glUniform1i(location, x); });
}

void OpenglShader::setUniform2i(const std::string& name, int x, int y) const {
    withUniform(name, [=](GLint location) { glUniform2i(location, x, y); });
}

void OpenglShader::setUniform3i(const std::string& name, int x, int y, int z) const {
    withUniform(name, [=](GLint location) { glUniform3i(location, x, y, z); });
}

void OpenglShader::setUniform4i(const std::string& name, int x, int y, int z, int w) const {
    withUniform(name, [=](GLint location) { glUniform4i(location, x, y, z, w); });
}

void OpenglShader::setUniform1f(const std::string& name, float x) const {
    withUniform(name, [=](GLint location) { glUniform1f(location, x); });
}

void OpenglShader::setUniform2f(const std::string& name, float x, float y) const {
    withUniform(name, [=](GLint location) { glUniform2f(location, x, y); });
}

void OpenglShader::setUniform2f(const std::string& name, const Vec2& vector) const {
    setUniform2f(name, static_cast<float>(vector.x), static_cast<float>(vector.y));
}

void OpenglShader::setUniform3f(const std::string& name, float x, float y, float z) const {
    withUniform(name, [=](GLint location) { glUniform3f(location, x, y, z); });
}

void OpenglShader::setUniform3f(const std::string& name, const Vec3& vector) const {
    setUniform3f(name, static_cast<float>(vector.x), static_cast<float>(vector.y),
                 static_cast<float>(vector.z));
}

void OpenglShader::setUniform4f(const std::string& name, float x, float y, float z, float w) const {
    withUniform(name, [=](GLint location) { glUniform4f(location, x, y, z, w); });
}

void OpenglShader::setUniform4f(const std::string& name, const Vec4& vector) const {
    setUniform4f(name, static_cast<float>(vector.x), static_cast<float>(vector.y),
                 static_cast<float>(vector.z), static_cast<float>(vector.w));
}

void OpenglShader::setUniform4f(const std::string& name, const Color& color) const {
    setUniform4f(name, Vec4(color.mR, color.mG, color.mB, color.mA));
}

void OpenglShader::setUniform1iv(const std::string& name, const int* values, int count) const {
    withUniform(name, [=](GLint location) { glUniform1iv(location, count, values); });
}

void OpenglShader::setUniform2iv(const std::string& name, const int* values, int count) const {
    withUniform(name, [=](GLint location) { glUniform2iv(location, count, values); });
}

void OpenglShader::setUniform3iv(const std::string& name, const int* values, int count) const {
    withUniform(name, [=](GLint location) { glUniform3iv(location, count, values); });
}

void OpenglShader::setUniform4iv(const std::string& name, const int* values, int count) const {
    withUniform(name, [=](GLint location) { glUniform4iv(location, count, values); });
}

void OpenglShader::setUniform1fv(const std::string& name, const float* values, int count) const {
    withUniform(name, [=](GLint location) { glUniform1fv(location, count, values); });
}

void OpenglShader::setUniform2fv(const std::string& name, const float* values, int count) const {
    withUniform(name, [=](GLint location) { glUniform2fv(location, count, values); });
}

void OpenglShader::setUniform3fv(const std::string& name, const float* values, int count) const {
    withUniform(name, [=](GLint location) { glUniform3fv(location, count, values); });
}

void OpenglShader::setUniform4fv(const std::string& name, const float* values, int count) const {
    withUniform(name, [=](GLint location) { glUniform4fv(location, count, values); });
}

void OpenglShader::setUniformMatrix3f(const std::string& name, Affine* transforms,
                                      int count) const {
    withUniform(name, [=](GLint location) {
        std::vector<float> matrices; // empty for a negative count, which GL is left to reject
        matrices.reserve(9 * static_cast<std::size_t>(std::max(count, 0)));
        for (int i = 0; i < count; ++i) {
            const Affine& t = transforms[i];
            for (const double element : {t.a, t.b, 0.0, t.c, t.d, 0.0, t.e, t.f, 1.0}) {
                matrices.push_back(static_cast<float>(element));
            }
        }
        glUniformMatrix3fv(location, count, GL_FALSE, matrices.data());
    });
}

void OpenglShader::setUniformMatrix4f(const std::string& name, const Mat4& matrix,
                                      int count) const {
    withUniform(name, [&](GLint location) {
        std::array<float, 16> elements{};
        std::transform(std::begin(matrix.m), std::end(matrix.m), elements.begin(),
                       [](double element) { return static_cast<float>(element); });
        glUniformMatrix4fv(location, count, GL_FALSE, elements.data());
    });
}

void OpenglShader::setUniformTexture(const std::string& name, int target, int texture,
                                     int unit) const {
    if (mProgram == 0) {
        return;
    }
    glActiveTexture(GL_TEXTURE0 + static_cast<GLuint>(unit));
    glBindTexture(static_cast<GLenum>(target), static_cast<GLuint>(texture));
    setUniform1i(name, unit);
}

/// The common tail of the attribute family; each form has its own guards before it.
void OpenglShader::setAttribute(int location, int size, GLenum type, const void* data,
                                int stride) const {
    const auto index = static_cast<GLuint>(location);
    glEnableVertexAttribArray(index);
    glVertexAttribPointer(index, size, type, GL_FALSE, stride, data);
}

void OpenglShader::setAttribute(const std::string& name, int size, const float* data,
                                int stride) const {
    if (mProgram == 0) {
        return;
    }
    const int location = getAttributeLocation(name);
    if (location != -1) {
        setAttribute(location, size, GL_FLOAT, data, stride);
    }
}

void OpenglShader::setAttribute1iv(int location, const int* data, int stride) const {
    if (location != -1 && mProgram != 0) {
        setAttribute(location, 1, GL_INT, data, stride);
    }
}

void OpenglShader::setAttribute1fv(const std::string& name, const float* data, int stride) const {
    setAttribute(name, 1, data, stride);
}

void OpenglShader::setAttribute1fv(int location, const float* data, int stride) const {
    if (location != -1 && mProgram != 0) {
        setAttribute(location, 1, GL_FLOAT, data, stride);
    }
}

void OpenglShader::setAttribute2fv(const std::string& name, const float* data, int stride) const {
    setAttribute(name, 2, data, stride);
}

void OpenglShader::setAttribute2fv(int location, const float* data, int stride) const {
    if (mProgram != 0) {
        setAttribute(location, 2, GL_FLOAT, data, stride);
    }
}

void OpenglShader::setAttribute3fv(const std::string& name, const float* data, int stride) const {
    setAttribute(name, 3, data, stride);
}

void OpenglShader::setAttribute3fv(int location, const float* data, int stride) const {
    if (mProgram != 0) {
        setAttribute(location, 3, GL_FLOAT, data, stride);
    }
}

void OpenglShader::setAttribute4fv(const std::string& name, const float* data, int stride) const {
    setAttribute(name, 4, data, stride);
}

void OpenglShader::setAttribute4fv(int location, const float* data, int stride) const {
    if (location != -1 && mProgram != 0) {
        setAttribute(location, 4, GL_FLOAT, data, stride);
    }
}

void OpenglShader::disableVertexAttributeArray(const std::string& name) const {
    if (mProgram == 0) {
        return;
    }
    const int location = getAttributeLocation(name);
    if (location != -1) {
        glDisableVertexAttribArray(static_cast<GLuint>(location));
    }
}

void OpenglShader::disableVertexAttributeArray(int location) const {
    if (mProgram != 0) {
        glDisableVertexAttribArray(static_cast<GLuint>(location));
    }
}

} // namespace Vexorel::PrismDrift
