// Programs, their uniforms and attributes, and builds that fail.

#include "GLTest.h"

#include "Shared/GL/OpenglShader.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>

namespace Testing {
namespace {

using namespace gl33core;
using namespace Vexorel::PrismDrift;
using ::testing::StartsWith;

const char* const kVertex = R"(#version 330
in float a1; in vec2 a2; in vec3 a3; in vec4 a4;
out vec4 v;
void main() { v = vec4(a1) + vec4(a2, a2) + vec4(a3, 1.0) + a4; gl_Position = v; }
)";

const char* const kFragment = R"(#version 330
uniform int i1; uniform ivec2 i2; uniform ivec3 i3; uniform ivec4 i4;
uniform int ia1[2]; uniform ivec2 ia2[2]; uniform ivec3 ia3[2]; uniform ivec4 ia4[2];
uniform float f1; uniform vec2 f2; uniform vec3 f3; uniform vec4 f4;
uniform float fa1[2]; uniform vec2 fa2[2]; uniform vec3 fa3[2]; uniform vec4 fa4[2];
uniform mat3 m3[2]; uniform mat4 m4; uniform sampler2D s;
in vec4 v;
out vec4 colour;
void main()
{
    ivec4 i = ivec4(i1 + ia1[0] + ia1[1]) + (i2 + ia2[0] + ia2[1]).xyxy +
              (i3 + ia3[0] + ia3[1]).xyzx + i4 + ia4[0] + ia4[1];
    vec4 f = vec4(f1 + fa1[0] + fa1[1]) + (f2 + fa2[0] + fa2[1]).xyxy +
             (f3 + fa3[0] + fa3[1]).xyzx + f4 + fa4[0] + fa4[1];
    colour = v + vec4(i) + f + vec4((m3[0] + m3[1]) * v.xyz, 1.0) + m4 * v + texture(s, v.xy);
}
)";

const char* const kEmptyVertex = "#version 330\nvoid main() { gl_Position = vec4(0); }\n";
const char* const kEmptyFragment = "#version 330\nout vec4 c;\nvoid main() { c = vec4(1); }\n";

class Shader : public GLTest {
protected:
    void TearDown() override { shader.reset(); }

    /// The values of a uniform or of an element of an array, of whatever type.
    std::vector<float> read(const std::string& name, std::size_t count) {
        std::vector<float> values(16, -77.0F);
        const GLint location = glGetUniformLocation(shader->mProgram, name.c_str());
        glGetUniformfv(shader->mProgram, location, values.data());
        values.resize(count);
        return values;
    }

    std::unique_ptr<OpenglShader> shader = std::make_unique<OpenglShader>(kVertex, kFragment);
};

TEST_F(Shader, SetsEveryFormOfUniform) {
    const int is[] = {1, 2, 3, 4, 5, 6, 7, 8};
    const float fs[] = {0.5F, 1.5F, 2.5F, 3.5F, 4.5F, 5.5F, 6.5F, 7.5F};
    Affine affines[] = {Affine(1, 2, 3, 4, 5, 6), Affine(0.1, 8, 9, 10, 11, 12)};
    double counted[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0.1};
    OpenglShader& s = *shader;
    struct Case {
        std::function<void()> set;
        const char* name;
        std::vector<float> expected;
    };
    const Case cases[] = {
        {[&] { s.setUniform1i("i1", -1); }, "i1", {-1}},
        {[&] { s.setUniform2i("i2", 2, 3); }, "i2", {2, 3}},
        {[&] { s.setUniform3i("i3", 4, 5, 6); }, "i3", {4, 5, 6}},
        {[&] { s.setUniform4i("i4", 7, 8, 9, 10); }, "i4", {7, 8, 9, 10}},
        {[&] { s.setUniform1f("f1", 0.25F); }, "f1", {0.25F}},
        {[&] { s.setUniform2f("f2", 1.25F, 2); }, "f2", {1.25F, 2}},
        {[&] { s.setUniform3f("f3", 3.25F, 4, 5); }, "f3", {3.25F, 4, 5}},
        {[&] { s.setUniform4f("f4", 6.25F, 7, 8, 9); }, "f4", {6.25F, 7, 8, 9}},
        {[&] { s.setUniform2f("f2", Vec2(0.1, -1e30)); }, "f2", {0.1F, -1e30F}},
        {[&] { s.setUniform3f("f3", Vec3(0.1, 0.2, 3)); }, "f3", {0.1F, 0.2F, 3}},
        {[&] { s.setUniform4f("f4", Vec4(0.1, 2, 3, 4)); }, "f4", {0.1F, 2, 3, 4}},
        {[&] { s.setUniform4f("f4", Color(5, 6, 0.7, 8)); }, "f4", {5, 6, 0.7F, 8}},
        {[&] { s.setUniform1iv("ia1", is, 2); }, "ia1[1]", {2}},
        {[&] { s.setUniform2iv("ia2", is, 2); }, "ia2[1]", {3, 4}},
        {[&] { s.setUniform3iv("ia3", is, 2); }, "ia3[1]", {4, 5, 6}},
        {[&] { s.setUniform4iv("ia4", is, 2); }, "ia4[1]", {5, 6, 7, 8}},
        {[&] { s.setUniform1fv("fa1", fs, 2); }, "fa1[1]", {1.5F}},
        {[&] { s.setUniform2fv("fa2", fs, 2); }, "fa2[1]", {2.5F, 3.5F}},
        {[&] { s.setUniform3fv("fa3", fs, 2); }, "fa3[1]", {3.5F, 4.5F, 5.5F}},
        {[&] { s.setUniform4fv("fa4", fs, 2); }, "fa4[1]", {4.5F, 5.5F, 6.5F, 7.5F}},
        {[&] { s.setUniformMatrix3f("m3", affines, 2); }, "m3[0]", {1, 2, 0, 3, 4, 0, 5, 6, 1}},
        {[] {}, "m3[1]", {0.1F, 8, 0, 9, 10, 0, 11, 12, 1}},
        {[&] { s.setUniformMatrix4f("m4", Mat4(counted, true), 1); },
         "m4",
         {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0.1F}},
    };
    for (const bool built : {false, true}) {
        const int before = GLWatch::calls();
        for (const Case& c : cases) {
            c.set();
            if (built) {
                EXPECT_EQ(read(c.name, c.expected.size()), c.expected) << c.name;
            }
        }
        if (!built) { // silent
            EXPECT_EQ(s.getUniformLocation("f1"), -1);
            EXPECT_EQ(GLWatch::calls(), before);
            s.useProgram();
        }
    }
    s.setUniformMatrix3f("m3", nullptr, 0);
    EXPECT_EQ(GLWatch::callsOf("glUniformMatrix3fv"), 2);
    s.setUniform1i("no such name", 1);
    EXPECT_EQ(GLWatch::callsOf("glUniform1i"), 1);
}

TEST_F(Shader, BindsATextureToItsUnit) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    const auto expectUnit = [&](const char* name, int unit, int active, GLuint bound) {
        shader->setUniformTexture(name, asInteger(GL_TEXTURE_2D), asInteger(texture), unit);
        EXPECT_EQ(integer(GL_ACTIVE_TEXTURE), asInteger(GL_TEXTURE0) + active);
        EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), asInteger(bound));
    };
    expectUnit("s", 3, 0, 0); // not built yet
    shader->useProgram();
    expectUnit("s", 3, 3, texture);
    expectUnit("no such sampler", 2, 2, texture);
    EXPECT_EQ(read("s", 1), std::vector<float>{3});
    glDeleteTextures(1, &texture);
}

TEST_F(Shader, PointsAttributesAtTheirData) {
    OpenglShader& s = *shader;
    const char* const names[] = {"a1", "a2", "a3", "a4"};
    struct Attribute {
        GLuint location;
        int size;
        GLenum type;
        std::function<void(const float*, int)> set;
    };
    const Attribute attributes[] = {
        {7, 1, GL_INT,
         [&](auto* d, int n) { s.setAttribute1iv(7, reinterpret_cast<const int*>(d), n); }},
        {7, 1, GL_FLOAT, [&](auto* d, int n) { s.setAttribute1fv("a1", d, n); }},
        {7, 1, GL_FLOAT, [&](auto* d, int n) { s.setAttribute1fv(7, d, n); }},
        {6, 2, GL_FLOAT, [&](auto* d, int n) { s.setAttribute2fv("a2", d, n); }},
        {6, 2, GL_FLOAT, [&](auto* d, int n) { s.setAttribute2fv(6, d, n); }},
        {5, 3, GL_FLOAT, [&](auto* d, int n) { s.setAttribute3fv("a3", d, n); }},
        {5, 3, GL_FLOAT, [&](auto* d, int n) { s.setAttribute3fv(5, d, n); }},
        {4, 4, GL_FLOAT, [&](auto* d, int n) { s.setAttribute4fv("a4", d, n); }},
        {4, 4, GL_FLOAT, [&](auto* d, int n) { s.setAttribute4fv(4, d, n); }},
    };
    const auto setAll = [&] {
        for (const Attribute& a : attributes) {
            a.set(nullptr, 0);
        }
        s.disableVertexAttributeArray("a1");
    };
    const auto setNoSuch = [&] {
        s.setAttribute1fv("none", nullptr, 0);
        s.disableVertexAttributeArray("none");
        s.setAttribute1iv(-1, nullptr, 0);
        s.setAttribute1fv(-1, nullptr, 0);
        s.setAttribute4fv(-1, nullptr, 0);
    };
    for (int i = 0; i < 4; ++i) {
        s.addAttributeBinding(names[i], 7 - i);
        s.addAttributeBinding(names[i], 1); // too late: the first one stays
    }
    const int before = GLWatch::calls();
    setAll(); // before there is a program
    s.disableVertexAttributeArray(0);
    EXPECT_EQ(GLWatch::calls(), before);
    s.useProgram();
    setNoSuch();
    EXPECT_EQ(GLWatch::callsOf("glEnableVertexAttribArray"), 0);
    EXPECT_EQ(GLWatch::callsOf("glDisableVertexAttribArray"), 0);
    GLuint objects[2] = {};
    glGenVertexArrays(1, &objects[0]);
    glGenBuffers(1, &objects[1]);
    glBindVertexArray(objects[0]);
    glBindBuffer(GL_ARRAY_BUFFER, objects[1]);
    int offset = 4;
    for (const Attribute& a : attributes) {
        const auto state = [&](GLenum name) {
            GLint value = -1;
            glGetVertexAttribiv(a.location, name, &value);
            return value;
        };
        const auto* data = reinterpret_cast<const float*>(static_cast<std::intptr_t>(offset));
        a.set(data, 64 + offset);
        void* pointer = nullptr;
        glGetVertexAttribPointerv(a.location, GL_VERTEX_ATTRIB_ARRAY_POINTER, &pointer);
        EXPECT_EQ(pointer, data);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_ENABLED), 1);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_SIZE), a.size);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_TYPE), asInteger(a.type));
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_STRIDE), 64 + offset);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_NORMALIZED), 0);
        offset % 8 == 0 ? s.disableVertexAttributeArray(asInteger(a.location))
                        : s.disableVertexAttributeArray(names[7 - a.location]);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_ENABLED), 0);
        offset += 4;
    }
    watch.allowErrorsOf("glEnableVertexAttribArray");
    watch.allowErrorsOf("glVertexAttribPointer");
    s.setAttribute2fv(-1, nullptr, 8); // these two leave the -1 to GL
    s.setAttribute3fv(-1, nullptr, 8);
    EXPECT_EQ(GLWatch::callsOf("glEnableVertexAttribArray"), 11);
    glDeleteVertexArrays(1, &objects[0]);
    glDeleteBuffers(1, &objects[1]);
}

TEST_F(Shader, LeavesNothingBehindAFailedBuild) {
    const std::string geometry = R"(#version 330
layout(points) in;
layout(points, max_vertices = 1) out;
void main() { gl_Position = gl_in[0].gl_Position; EmitVertex(); }
)";
    const std::string broken = "#version 330\nnonsense\n";
    const std::string undefined = "#version 330\nvec4 elsewhere();\nout vec4 c;\n"
                                  "void main() { c = elsewhere(); }\n";
    std::string wordy = "#version 330\nvoid main() {\n";
    for (char name = 'a'; name <= 'z'; ++name) {
        wordy += std::string(30, name) + ";\n";
    }
    struct Case {
        std::string vertex, fragment, geometry, message;
    };
    const Case cases[] = {{broken, broken, "", "Shader vert error:\n"},
                          {kEmptyVertex, broken, "", "Shader frag error:\n"},
                          {kEmptyVertex, kEmptyFragment, broken, "Shader geo error:\n"},
                          {kEmptyVertex, undefined, "", "Program error:\n"},
                          {wordy + "}\n", kEmptyFragment, "", "Shader vert error:\n"}};
    for (const Case& c : cases) {
        OpenglShader failing(c.vertex, c.fragment, c.geometry);
        for (int attempt = 0; attempt < 2; ++attempt) { // each tries, and tells, anew
            const std::size_t told = GLWatch::messages().size();
            failing.useProgram();
            const std::string message = GLWatch::messages().substr(told);
            EXPECT_THAT(message, StartsWith(c.message));
            EXPECT_EQ(message.back(), '\n');
            EXPECT_GT(message.size(), c.message.size() + 1);
            EXPECT_LE(message.size(), c.message.size() + 512 + 1);
            EXPECT_EQ(message.find("Shader", 1), std::string::npos);
            EXPECT_EQ(failing.mProgram, 0U);
            EXPECT_EQ(integer(GL_CURRENT_PROGRAM), 0);
            EXPECT_EQ(GLWatch::sharedNames(), 0);
        }
    }
    OpenglShader three(kEmptyVertex, kEmptyFragment, geometry);
    three.useProgram();
    EXPECT_EQ(integer(GL_CURRENT_PROGRAM), asInteger(three.mProgram));
    EXPECT_EQ(GLWatch::sharedNames(), 1); // no shader object is left
    three.useProgram();
    EXPECT_EQ(GLWatch::callsOf("glCreateProgram"), 3);
}

} // namespace
} // namespace Testing
