#pragma once

/// One GL program, made from GLSL text at its first use, with uniforms and attributes by name.

#include "Shared/Math/Affine.h"
#include "Shared/Math/Color.h"
#include "Shared/Math/Mat4.h"
#include "Shared/Math/Vec2.h"
#include "Shared/Math/Vec3.h"
#include "Shared/Math/Vec4.h"

#include <glbinding/gl33core/gl.h>

#include <map>
#include <string>

namespace Vexorel::PrismDrift {

/// Owns the program; the shader objects live only during the build. The program belongs to the
/// share group of the context that is current at the first useProgram(), and the destructor deletes
/// it in whatever context is current then. No lock: who draws from several threads keeps them from
/// overlapping.
///
/// Setting a uniform or an attribute does nothing before the build, after a failed one, and for a
/// name that the linked program doesn't have. The uniform forms expect this program to be in use.
class OpenglShader {
public:
    /// Copies the texts; an empty geometry text is no geometry stage. Makes no GL call.
    OpenglShader(const std::string& vertex, const std::string& fragment);
    OpenglShader(const std::string& vertex, const std::string& fragment,
                 const std::string& geometry);
    virtual ~OpenglShader();

    OpenglShader(const OpenglShader&) = delete;
    OpenglShader& operator=(const OpenglShader&) = delete;

    /// Gives the attribute its location in a build that is still to come. The first location that
    /// a name was given stays.
    void addAttributeBinding(const std::string& name, int location);

    /// Compiles and links. On failure the reason goes to the message sink, no GL object is left
    /// and the program stays unbuilt.
    void buildShader();

    /// Puts the program in use, built first if it isn't yet; no program (0) if the build fails, and
    /// the next call tries again.
    void useProgram();

    /// -1 if there is no program or no such uniform. Asks GL at every call.
    int getUniformLocation(const std::string& name) const;
    /// Asks GL even if there is no program, which is an error of GL and gives -1.
    int getAttributeLocation(const std::string& name) const;

    void setUniform1i(const std::string& name, int x) const;
    void setUniform2i(const std::string& name, int x, int y) const;
    void setUniform3i(const std::string& name, int x, int y, int z) const;
    void setUniform4i(const std::string& name, int x, int y, int z, int w) const;
    void setUniform1f(const std::string& name, float x) const;
    void setUniform2f(const std::string& name, float x, float y) const;
    void setUniform2f(const std::string& name, const Vec2& vector) const;
    void setUniform3f(const std::string& name, float x, float y, float z) const;
    void setUniform3f(const std::string& name, const Vec3& vector) const;
    void setUniform4f(const std::string& name, float x, float y, float z, float w) const;
    void setUniform4f(const std::string& name, const Vec4& vector) const;
    void setUniform4f(const std::string& name, const Color& color) const;

    /// `count` values, or groups of 2, 3 or 4 values, for a uniform array.
    void setUniform1iv(const std::string& name, const int* values, int count) const;
    void setUniform2iv(const std::string& name, const int* values, int count) const;
    void setUniform3iv(const std::string& name, const int* values, int count) const;
    void setUniform4iv(const std::string& name, const int* values, int count) const;
    void setUniform1fv(const std::string& name, const float* values, int count) const;
    void setUniform2fv(const std::string& name, const float* values, int count) const;
    void setUniform3fv(const std::string& name, const float* values, int count) const;
    void setUniform4fv(const std::string& name, const float* values, int count) const;

    /// `count` transforms as column-major 3 by 3 matrices, narrowed to single precision. A negative
    /// count goes to GL, which rejects it.
    void setUniformMatrix3f(const std::string& name, Affine* transforms, int count) const;
    /// One matrix, narrowed to single precision. `count` goes to GL as it is and must be 1.
    void setUniformMatrix4f(const std::string& name, const Mat4& matrix, int count) const;

    /// Binds the texture on the unit and points the sampler at it. Unit and binding change even
    /// where the program has no such sampler; before the build nothing does.
    void setUniformTexture(const std::string& name, int target, int texture, int unit) const;

    /// Enables the attribute's array and says where its values lie: at an offset into the bound
    /// array buffer, `stride` bytes apart.
    void setAttribute1iv(int location, const int* data, int stride) const;
    void setAttribute1fv(const std::string& name, const float* data, int stride) const;
    void setAttribute1fv(int location, const float* data, int stride) const;
    void setAttribute2fv(const std::string& name, const float* data, int stride) const;
    /// Here and in the next form a location of -1 goes to GL, which rejects it.
    void setAttribute2fv(int location, const float* data, int stride) const;
    void setAttribute3fv(const std::string& name, const float* data, int stride) const;
    void setAttribute3fv(int location, const float* data, int stride) const;
    void setAttribute4fv(const std::string& name, const float* data, int stride) const;
    void setAttribute4fv(int location, const float* data, int stride) const;

    void disableVertexAttributeArray(const std::string& name) const;
    void disableVertexAttributeArray(int location) const;

    std::string mVertexSource;
    std::string mFragmentSource;
    std::string mGeometrySource; ///< empty: no geometry stage
    gl::GLuint mProgram = 0;     ///< owned; 0 until built
    std::map<std::string, int> mAttributeBindings;

private:
    template <typename Call>
    void withUniform(const std::string& name, Call call) const;
    void setAttribute(const std::string& name, int size, const float* data, int stride) const;
    void setAttribute(int location, int size, gl::GLenum type, const void* data, int stride) const;
};

} // namespace Vexorel::PrismDrift
