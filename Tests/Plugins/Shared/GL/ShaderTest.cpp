// Programs, their uniforms and attributes, and builds that fail.

#include "GLTest.h"

#include "Shared/GL/OpenglShader.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>

namespace Testing {
namespace {

using namespace gl33core;
using ::testing::ElementsAre;
using ::testing::StartsWith;
using Vexorel::PrismDrift::Affine;
using Vexorel::PrismDrift::OpenglShader;
using Vexorel::PrismDrift::Vec2;
using Vexorel::PrismDrift::Vec3;

const char* const kVertex = R"(#version 330
in float a1;
in vec2 a2;
in vec3 a3;
in vec4 a4;
out vec4 v;
void main() { v = vec4(a1) + vec4(a2, a2) + vec4(a3, 1.0) + a4; gl_Position = v; }
)";

const char* const kFragment = R"(#version 330
uniform int i1; uniform ivec2 i2; uniform ivec3 i3; uniform ivec4 i4;
uniform int ia1[2]; uniform ivec2 ia2[2]; uniform ivec3 ia3[2]; uniform ivec4 ia4[2];
uniform float f1; uniform vec2 f2; uniform vec3 f3; uniform vec4 f4;
uniform float fa1[2]; uniform vec2 fa2[2]; uniform vec3 fa3[2]; uniform vec4 fa4[2];
uniform mat3 m[2];
uniform sampler2D s;
in vec4 v;
out vec4 colour;
void main()
{
    ivec4 i = ivec4(i1) + i2.xyxy + i3.xyzx + i4 + ivec4(ia1[0] + ia1[1]) + ia2[0].xyxy +
              ia2[1].xyxy + ia3[0].xyzx + ia3[1].xyzx + ia4[0] + ia4[1];
    vec4 f = vec4(f1) + f2.xyxy + f3.xyzx + f4 + vec4(fa1[0] + fa1[1]) + fa2[0].xyxy +
             fa2[1].xyxy + fa3[0].xyzx + fa3[1].xyzx + fa4[0] + fa4[1];
    colour = v + vec4(i) + f + vec4(m[0] * v.xyz + m[1] * v.yzx, 1.0) + texture(s, v.xy);
}
)";

const char* const kEmptyVertex = "#version 330\nvoid main() { gl_Position = vec4(0); }\n";
const char* const kEmptyFragment = "#version 330\nout vec4 c;\nvoid main() { c = vec4(1); }\n";

class Shader : public GLTest {
protected:
    void SetUp() override {
        GLTest::SetUp();
        shader = std::make_unique<OpenglShader>(kVertex, kFragment);
    }
    void TearDown() override { shader.reset(); }

    /// The values of a uniform, or of an element of an array.
    template <typename Value>
    std::vector<Value> read(const std::string& name, std::size_t count) {
        std::vector<Value> values(16, Value(-77));
        const GLint location = glGetUniformLocation(shader->mProgram, name.c_str());
        if constexpr (std::is_same_v<Value, float>) {
            glGetUniformfv(shader->mProgram, location, values.data());
        } else {
            glGetUniformiv(shader->mProgram, location, values.data());
        }
        values.resize(count);
        return values;
    }

    std::unique_ptr<OpenglShader> shader;
};

TEST_F(Shader, SetsEveryFormOfUniform) {
    shader->useProgram();
    const OpenglShader& s = *shader;
    const int is[] = {1, 2, 3, 4, 5, 6, 7, 8};
    const float fs[] = {0.5F, 1.5F, 2.5F, 3.5F, 4.5F, 5.5F, 6.5F, 7.5F};
    s.setUniform1i("i1", -1);
    s.setUniform2i("i2", 2, 3);
    s.setUniform3i("i3", 4, 5, 6);
    s.setUniform4i("i4", 7, 8, 9, 10);
    s.setUniform1f("f1", 0.25F);
    s.setUniform2f("f2", 1.25F, 2.25F);
    s.setUniform3f("f3", 3.25F, 4.25F, 5.25F);
    s.setUniform4f("f4", 6.25F, 7.25F, 8.25F, 9.25F);
    EXPECT_THAT(read<int>("i1", 1), ElementsAre(-1));
    EXPECT_THAT(read<int>("i2", 2), ElementsAre(2, 3));
    EXPECT_THAT(read<int>("i3", 3), ElementsAre(4, 5, 6));
    EXPECT_THAT(read<int>("i4", 4), ElementsAre(7, 8, 9, 10));
    EXPECT_THAT(read<float>("f1", 1), ElementsAre(0.25F));
    EXPECT_THAT(read<float>("f2", 2), ElementsAre(1.25F, 2.25F));
    EXPECT_THAT(read<float>("f3", 3), ElementsAre(3.25F, 4.25F, 5.25F));
    EXPECT_THAT(read<float>("f4", 4), ElementsAre(6.25F, 7.25F, 8.25F, 9.25F));
    s.setUniform2f("f2", Vec2(0.1, -1e30));
    s.setUniform3f("f3", Vec3(0.1, 0.2, 1.0 / 3.0));
    EXPECT_THAT(read<float>("f2", 2), ElementsAre(0.1F, -1e30F));
    EXPECT_THAT(read<float>("f3", 3), ElementsAre(0.1F, 0.2F, 1.0F / 3.0F));
    s.setUniform1iv("ia1", is, 2);
    s.setUniform2iv("ia2", is, 2);
    s.setUniform3iv("ia3", is, 2);
    s.setUniform4iv("ia4", is, 2);
    s.setUniform1fv("fa1", fs, 2);
    s.setUniform2fv("fa2", fs, 2);
    s.setUniform3fv("fa3", fs, 2);
    s.setUniform4fv("fa4", fs, 2);
    EXPECT_THAT(read<int>("ia1[1]", 1), ElementsAre(2));
    EXPECT_THAT(read<int>("ia2[1]", 2), ElementsAre(3, 4));
    EXPECT_THAT(read<int>("ia3[1]", 3), ElementsAre(4, 5, 6));
    EXPECT_THAT(read<int>("ia4[1]", 4), ElementsAre(5, 6, 7, 8));
    EXPECT_THAT(read<float>("fa1[1]", 1), ElementsAre(1.5F));
    EXPECT_THAT(read<float>("fa2[1]", 2), ElementsAre(2.5F, 3.5F));
    EXPECT_THAT(read<float>("fa3[1]", 3), ElementsAre(3.5F, 4.5F, 5.5F));
    EXPECT_THAT(read<float>("fa4[1]", 4), ElementsAre(4.5F, 5.5F, 6.5F, 7.5F));
    Affine transforms[] = {Affine(1, 2, 3, 4, 5, 6), Affine(0.1, 8, 9, 10, 11, 12)};
    s.setUniformMatrix3f("m", transforms, 2);
    EXPECT_THAT(read<float>("m[0]", 9), ElementsAre(1, 2, 0, 3, 4, 0, 5, 6, 1));
    EXPECT_THAT(read<float>("m[1]", 9), ElementsAre(0.1F, 8, 0, 9, 10, 0, 11, 12, 1));
    s.setUniformMatrix3f("m", nullptr, 0);
    EXPECT_EQ(GLWatch::callsOf("glUniformMatrix3fv"), 2);
}

TEST_F(Shader, BindsATextureToItsUnit) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    const auto set = [&](const char* name, int unit) {
        shader->setUniformTexture(name, static_cast<int>(GL_TEXTURE_2D), static_cast<int>(texture),
                                  unit);
    };
    set("s", 3);
    EXPECT_EQ(integer(GL_ACTIVE_TEXTURE), static_cast<GLint>(GL_TEXTURE0));
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
    shader->useProgram();
    set("s", 3);
    EXPECT_EQ(integer(GL_ACTIVE_TEXTURE), static_cast<GLint>(GL_TEXTURE0) + 3);
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), static_cast<GLint>(texture));
    EXPECT_THAT(read<int>("s", 1), ElementsAre(3));
    set("no such sampler", 2);
    EXPECT_EQ(integer(GL_ACTIVE_TEXTURE), static_cast<GLint>(GL_TEXTURE0) + 2);
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), static_cast<GLint>(texture));
    EXPECT_THAT(read<int>("s", 1), ElementsAre(3));
    glDeleteTextures(1, &texture);
}

TEST_F(Shader, IsSilentWithoutAProgramOrAName) {
    const int before = GLWatch::calls();
    const auto setAll = [&](const std::string& name) {
        const float data[4] = {};
        const int ints[4] = {};
        Affine affine(true);
        shader->setUniform1i(name, 1);
        shader->setUniform4f(name, 1, 1, 1, 1);
        shader->setUniform2f(name, Vec2());
        shader->setUniform3iv(name, ints, 1);
        shader->setUniform4fv(name, data, 1);
        shader->setUniformMatrix3f(name, &affine, 1);
        shader->setAttribute1fv(name, nullptr, 0);
        shader->setAttribute2fv(name, nullptr, 0);
        shader->setAttribute3fv(name, nullptr, 0);
        shader->setAttribute4fv(name, nullptr, 0);
        shader->disableVertexAttributeArray(name);
        shader->setAttribute1iv(-1, nullptr, 0);
        shader->setAttribute1fv(-1, nullptr, 0);
        shader->setAttribute4fv(-1, nullptr, 0);
    };
    setAll("f1");
    shader->setAttribute1iv(0, nullptr, 0);
    shader->setAttribute2fv(0, nullptr, 0);
    shader->setAttribute3fv(-1, nullptr, 0);
    shader->disableVertexAttributeArray(0);
    shader->addAttributeBinding("a1", 4);
    EXPECT_EQ(shader->getUniformLocation("f1"), -1);
    EXPECT_EQ(GLWatch::calls(), before);
    watch.allowErrorsOf("glGetAttribLocation"); // which is asked about program 0
    EXPECT_EQ(shader->getAttributeLocation("a1"), -1);
    shader->useProgram();
    setAll("no such name");
    EXPECT_EQ(shader->getUniformLocation("no such name"), -1);
    EXPECT_EQ(GLWatch::callsOf("glUniform1i"), 0);
    EXPECT_EQ(GLWatch::callsOf("glEnableVertexAttribArray"), 0);
    EXPECT_EQ(GLWatch::callsOf("glDisableVertexAttribArray"), 0);
}

struct Attribute {
    const char* what;
    int location, size;
    GLenum type;
    std::function<void(const OpenglShader&, const float*, int)> set;
};

TEST_F(Shader, PointsAttributesAtTheirData) {
    const char* const names[] = {"a1", "a2", "a3", "a4"};
    for (int i = 0; i < 4; ++i) {
        shader->addAttributeBinding(names[i], 7 - i);
        shader->addAttributeBinding(names[i], 1); // too late: the first one stays
    }
    shader->useProgram();
    shader->addAttributeBinding("later", 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(shader->getAttributeLocation(names[i]), 7 - i);
    }
    const Attribute attributes[] = {
        {"1iv", 7, 1, GL_INT,
         [](auto& s, auto* d, int n) { s.setAttribute1iv(7, reinterpret_cast<const int*>(d), n); }},
        {"1fv", 7, 1, GL_FLOAT, [](auto& s, auto* d, int n) { s.setAttribute1fv("a1", d, n); }},
        {"1fv at", 7, 1, GL_FLOAT, [](auto& s, auto* d, int n) { s.setAttribute1fv(7, d, n); }},
        {"2fv", 6, 2, GL_FLOAT, [](auto& s, auto* d, int n) { s.setAttribute2fv("a2", d, n); }},
        {"2fv at", 6, 2, GL_FLOAT, [](auto& s, auto* d, int n) { s.setAttribute2fv(6, d, n); }},
        {"3fv", 5, 3, GL_FLOAT, [](auto& s, auto* d, int n) { s.setAttribute3fv("a3", d, n); }},
        {"3fv at", 5, 3, GL_FLOAT, [](auto& s, auto* d, int n) { s.setAttribute3fv(5, d, n); }},
        {"4fv", 4, 4, GL_FLOAT, [](auto& s, auto* d, int n) { s.setAttribute4fv("a4", d, n); }},
        {"4fv at", 4, 4, GL_FLOAT, [](auto& s, auto* d, int n) { s.setAttribute4fv(4, d, n); }},
    };
    GLuint objects[2] = {};
    glGenVertexArrays(1, &objects[0]);
    glGenBuffers(1, &objects[1]);
    glBindVertexArray(objects[0]);
    glBindBuffer(GL_ARRAY_BUFFER, objects[1]);
    int offset = 4;
    for (const Attribute& a : attributes) {
        SCOPED_TRACE(a.what);
        const auto index = static_cast<GLuint>(a.location);
        const auto state = [&](GLenum name) {
            GLint value = -1;
            glGetVertexAttribiv(index, name, &value);
            return value;
        };
        const auto* data = reinterpret_cast<const float*>(static_cast<std::intptr_t>(offset));
        a.set(*shader, data, 64 + offset);
        void* pointer = nullptr;
        glGetVertexAttribPointerv(index, GL_VERTEX_ATTRIB_ARRAY_POINTER, &pointer);
        EXPECT_EQ(pointer, data);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_ENABLED), 1);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_SIZE), a.size);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_TYPE), static_cast<GLint>(a.type));
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_STRIDE), 64 + offset);
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_NORMALIZED), 0);
        if (offset % 8 == 0) {
            shader->disableVertexAttributeArray(a.location);
        } else {
            shader->disableVertexAttributeArray(names[7 - a.location]);
        }
        EXPECT_EQ(state(GL_VERTEX_ATTRIB_ARRAY_ENABLED), 0);
        offset += 4;
    }
    watch.allowErrorsOf("glEnableVertexAttribArray");
    watch.allowErrorsOf("glVertexAttribPointer");
    shader->setAttribute2fv(-1, nullptr, 8); // these two leave the -1 to GL
    shader->setAttribute3fv(-1, nullptr, 8);
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
    const std::string wordy = "#version 330\n" + std::string(50, '\n') +
                              "void main() { aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa; "
                              "bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb; cccccccccccccccccccccccc; "
                              "dddddddddddddddddddddddddddddddddd; eeeeeeeeeeeeeeeeeeeeeeeeee; "
                              "ffffffffffffffffffffffffffffffffff; gggggggggggggggggggggggggg; "
                              "hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh; iiiiiiiiiiiiiiiiiiiiiiiiii; "
                              "jjjjjjjjjjjjjjjjjjjjjjjjjjjjjjjjjj; kkkkkkkkkkkkkkkkkkkkkkkkkk; }\n";
    const std::string undefined = "#version 330\nvec4 elsewhere();\nout vec4 c;\n"
                                  "void main() { c = elsewhere(); }\n";
    struct Case {
        std::string vertex, fragment, geometry, message;
    };
    const Case cases[] = {{broken, kEmptyFragment, "", "Shader vert error:\n"},
                          {broken, broken, "", "Shader vert error:\n"},
                          {kEmptyVertex, broken, "", "Shader frag error:\n"},
                          {kEmptyVertex, kEmptyFragment, broken, "Shader geo error:\n"},
                          {kEmptyVertex, undefined, "", "Program error:\n"},
                          {wordy, kEmptyFragment, "", "Shader vert error:\n"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        OpenglShader failing(c.vertex, c.fragment, c.geometry);
        for (int attempt = 0; attempt < 2; ++attempt) { // each tries, and tells, anew
            GLWatch::clearMessages();
            failing.useProgram();
            const std::string message = GLWatch::messages();
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
    EXPECT_EQ(integer(GL_CURRENT_PROGRAM), static_cast<GLint>(three.mProgram));
    EXPECT_EQ(GLWatch::names("Shaders"), 0);
    const GLuint built = three.mProgram;
    three.useProgram();
    EXPECT_EQ(three.mProgram, built);
}

} // namespace
} // namespace Testing
