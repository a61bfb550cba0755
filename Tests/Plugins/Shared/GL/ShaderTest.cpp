// Programs, their uniforms and attributes, and builds that fail.

#include "GLTest.h"

#include "Shared/GL/OpenglShader.h"

namespace Testing {
namespace {

using ::testing::MatchesRegex;
using ::testing::SizeIs;
using Values = std::vector<float>;

const char* const kVertex = R"(#version 330
in float a1; in vec2 a2; in vec3 a3; in vec4 a4;
out vec4 v;
void main() { v = vec4(a1) + vec4(a2, a2) + vec4(a3, 1.0) + a4; gl_Position = v; }
)";

const char* const kTypes[] = {"int", "ivec2", "ivec3", "ivec4", "float", "vec2", "vec3", "vec4"};

/// An array of two of each type, called after it, two matrices and a sampler.
std::string fragmentSource() {
    std::string uniforms;
    std::string sum = "v + texture(s, v.xy) + m4 * v + vec4((m3[0] + m3[1]) * v.xyz, 1.0)";
    for (const char* type : kTypes) {
        uniforms.append("uniform ").append(type).append(" ").append(type).append("s[2];\n");
        sum.append(" + float(").append(type).append("s[0]) + float(").append(type).append("s[1])");
    }
    return "#version 330\nuniform mat3 m3[2];\nuniform mat4 m4;\nuniform sampler2D s;\n" +
           uniforms + "in vec4 v;\nout vec4 colour;\nvoid main() { colour = " + sum + "; }\n";
}

const std::string kPlainVertex = "#version 330\nvoid main() { gl_Position = vec4(0); }\n";
const std::string kPlainFragment = "#version 330\nout vec4 c;\nvoid main() { c = vec4(1); }\n";

class Shader : public GLTest {
protected:
    void TearDown() override { shader.reset(); }

    /// The values of a uniform or of an element of an array, of whatever type.
    Values read(const std::string& name, std::size_t count) {
        Values values(16, -77.0F);
        const GLint location = glGetUniformLocation(shader->mProgram, name.c_str());
        glGetUniformfv(shader->mProgram, location, values.data());
        values.resize(count);
        return values;
    }

    std::unique_ptr<OpenglShader> shader =
        std::make_unique<OpenglShader>(kVertex, fragmentSource());
};

struct UniformCase {
    std::function<void()> set;
    const char* name;
    Values expected;
};

std::vector<UniformCase> uniformCases(const OpenglShader& s) {
    static const int is[] = {1, 2, 3, 4, 5, 6, 7, 8};
    static const float fs[] = {0.5F, 1.5F, 2.5F, 3.5F, 4.5F, 5.5F, 6.5F, 7.5F};
    static Affine affines[] = {Affine(1, 2, 3, 4, 5, 6), Affine(0.1, 8, 9, 10, 11, 12)};
    static double counted[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0.1};
    static double zeros[16] = {};
    static const Mat4 matrix(counted, true), zero(zeros, true);
    const Values narrowed(std::begin(counted), std::end(counted));
    return {
        {[&] { s.setUniform1i("ints", -1); }, "ints", {-1}},
        {[&] { s.setUniform2i("ivec2s", 2, 3); }, "ivec2s", {2, 3}},
        {[&] { s.setUniform3i("ivec3s", 4, 5, 6); }, "ivec3s", {4, 5, 6}},
        {[&] { s.setUniform4i("ivec4s", 7, 8, 9, 10); }, "ivec4s", {7, 8, 9, 10}},
        {[&] { s.setUniform1f("floats", 0.25F); }, "floats", {0.25F}},
        {[&] { s.setUniform2f("vec2s", 1.25F, 2); }, "vec2s", {1.25F, 2}},
        {[&] { s.setUniform3f("vec3s", 3.25F, 4, 5); }, "vec3s", {3.25F, 4, 5}},
        {[&] { s.setUniform4f("vec4s", 6.25F, 7, 8, 9); }, "vec4s", {6.25F, 7, 8, 9}},
        {[&] { s.setUniform2f("vec2s", Vec2(0.1, -1e30)); }, "vec2s", {0.1F, -1e30F}},
        {[&] { s.setUniform3f("vec3s", Vec3(0.1, 0.2, 3)); }, "vec3s", {0.1F, 0.2F, 3}},
        {[&] { s.setUniform4f("vec4s", Vec4(0.1, 2, 3, 4)); }, "vec4s", {0.1F, 2, 3, 4}},
        {[&] { s.setUniform4f("vec4s", Color(5, 6, 0.7, 8)); }, "vec4s", {5, 6, 0.7F, 8}},
        {[&] { s.setUniform1iv("ints", is, 2); }, "ints[1]", {2}},
        {[&] { s.setUniform2iv("ivec2s", is, 2); }, "ivec2s[1]", {3, 4}},
        {[&] { s.setUniform3iv("ivec3s", is, 2); }, "ivec3s[1]", {4, 5, 6}},
        {[&] { s.setUniform4iv("ivec4s", is, 2); }, "ivec4s[1]", {5, 6, 7, 8}},
        {[&] { s.setUniform1fv("floats", fs, 2); }, "floats[1]", {1.5F}},
        {[&] { s.setUniform2fv("vec2s", fs, 2); }, "vec2s[1]", {2.5F, 3.5F}},
        {[&] { s.setUniform3fv("vec3s", fs, 2); }, "vec3s[1]", {3.5F, 4.5F, 5.5F}},
        {[&] { s.setUniform4fv("vec4s", fs, 2); }, "vec4s[1]", {4.5F, 5.5F, 6.5F, 7.5F}},
        {[&] { s.setUniformMatrix3f("m3", affines, 2); }, "m3[0]", {1, 2, 0, 3, 4, 0, 5, 6, 1}},
        {[&] { s.setUniformMatrix3f("m3", affines, 0); },
         "m3[1]",
         {0.1F, 8, 0, 9, 10, 0, 11, 12, 1}},
        {[&] { s.setUniformMatrix4f("m4", matrix, 1); }, "m4", narrowed},
        {[&] { s.setUniformMatrix4f("m4", zero, 0); }, "m4", narrowed},
    };
}

TEST_F(Shader, SetsEveryFormOfUniform) {
    const OpenglShader& s = *shader;
    const auto cases = uniformCases(s);
    const auto setAll = [&] {
        for (const UniformCase& c : cases) {
            c.set();
        }
    };
    EXPECT_EQ(GLWatch::callsDuring(setAll), ""); // there is no program yet
    EXPECT_EQ(s.getUniformLocation("floats"), -1);
    shader->useProgram();
    for (const UniformCase& c : cases) {
        c.set();
        EXPECT_EQ(read(c.name, c.expected.size()), c.expected) << c.name;
    }
    EXPECT_EQ(GLWatch::callsOf("glUniformMatrix3fv"), 2); // for a count of 0 too
    watch.allowErrorsOf("glUniformMatrix3fv");
    s.setUniformMatrix3f("m3", nullptr, -1);
    s.setUniform1i("no such name", 1);
    EXPECT_EQ(GLWatch::callsOf("glUniform1i"), 1);
}

TEST_F(Shader, BindsATextureToItsUnit) {
    const GLuint texture = generate(glGenTextures);
    const auto expectUnit = [&](const char* name, int unit, int active, GLuint bound) {
        shader->setUniformTexture(name, asInteger(GL_TEXTURE_2D), asInteger(texture), unit);
        EXPECT_EQ(integer(GL_ACTIVE_TEXTURE), asInteger(GL_TEXTURE0) + active);
        EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), asInteger(bound));
    };
    expectUnit("s", 3, 0, 0); // not built yet
    shader->useProgram();
    expectUnit("s", 3, 3, texture);
    expectUnit("no such sampler", 2, 2, texture);
    EXPECT_EQ(read("s", 1), Values{3});
    glDeleteTextures(1, &texture);
}

struct AttributeCase {
    std::function<void()> set;
    std::string location, layout; ///< none: no call
};

std::vector<AttributeCase> attributeCases(const OpenglShader& s) {
    static const auto* const d = reinterpret_cast<const float*>(12);
    return {
        {[&] { s.setAttribute1iv(7, reinterpret_cast<const int*>(d), 20); }, "7", "1, INT"},
        {[&] { s.setAttribute1fv("a1", d, 20); }, "7", "1, FLOAT"},
        {[&] { s.setAttribute1fv(7, d, 20); }, "7", "1, FLOAT"},
        {[&] { s.setAttribute2fv("a2", d, 20); }, "6", "2, FLOAT"},
        {[&] { s.setAttribute2fv(6, d, 20); }, "6", "2, FLOAT"},
        {[&] { s.setAttribute3fv("a3", d, 20); }, "5", "3, FLOAT"},
        {[&] { s.setAttribute3fv(5, d, 20); }, "5", "3, FLOAT"},
        {[&] { s.setAttribute4fv("a4", d, 20); }, "4", "4, FLOAT"},
        {[&] { s.setAttribute4fv(4, d, 20); }, "4", "4, FLOAT"},
        {[&] { s.setAttribute1fv("none", d, 20); }, "", ""},
        {[&] { s.setAttribute1iv(-1, nullptr, 20); }, "", ""},
        {[&] { s.setAttribute1fv(-1, d, 20); }, "", ""},
        {[&] { s.setAttribute4fv(-1, d, 20); }, "", ""},
        // These two leave the -1 to GL.
        {[&] { s.setAttribute2fv(-1, d, 20); }, "4294967295", "2, FLOAT"},
        {[&] { s.setAttribute3fv(-1, d, 20); }, "4294967295", "3, FLOAT"},
    };
}

TEST_F(Shader, PointsAttributesAtTheirData) {
    OpenglShader& s = *shader;
    for (const auto& [name, location] : {std::pair("a1", 7), {"a2", 6}, {"a3", 5}, {"a4", 4}}) {
        s.addAttributeBinding(name, location);
        s.addAttributeBinding(name, 1); // too late: the first one stays
    }
    const auto disable = [&] {
        s.disableVertexAttributeArray("none");
        s.disableVertexAttributeArray("a1");
        s.disableVertexAttributeArray(6);
    };
    GLuint names[2] = {};
    glGenVertexArrays(1, &names[0]);
    glGenBuffers(1, &names[1]);
    glBindVertexArray(names[0]);
    glBindBuffer(GL_ARRAY_BUFFER, names[1]);
    watch.allowErrorsOf("glGetAttribLocation");
    watch.allowErrorsOf("glEnableVertexAttribArray");
    watch.allowErrorsOf("glVertexAttribPointer");
    EXPECT_EQ(s.getAttributeLocation("a1"), -1); // GL is asked without a program too
    for (const bool built : {false, true}) {
        const std::string functions = built ? "EnableVertexAttribArray VertexAttribPointer "
                                              "DisableVertexAttribArray"
                                            : "";
        for (const AttributeCase& c : attributeCases(s)) {
            EXPECT_EQ(GLWatch::callsDuring(c.set, functions),
                      !built || c.location.empty()
                          ? ""
                          : "EnableVertexAttribArray(" + c.location + ") VertexAttribPointer(" +
                                c.location + ", " + c.layout + ", FALSE, 20, 0xc)");
        }
        EXPECT_EQ(GLWatch::callsDuring(disable, functions),
                  built ? "DisableVertexAttribArray(7) DisableVertexAttribArray(6)" : "");
        s.useProgram();
    }
    glDeleteVertexArrays(1, &names[0]);
    glDeleteBuffers(1, &names[1]);
}

TEST_F(Shader, IsBuiltOnceInOrder) {
    const std::string geometry =
        "#version 330\nlayout(points) in;\nlayout(points, max_vertices = 1) out;\n"
        "void main() { gl_Position = gl_in[0].gl_Position; EmitVertex(); }\n";
    OpenglShader three(kPlainVertex, kPlainFragment, geometry);
    three.addAttributeBinding("second", 5);
    three.addAttributeBinding("first", 6);
    const auto build = [&] { three.useProgram(); };
    EXPECT_EQ(GLWatch::callsDuring(build, "CreateShader CompileShader CreateProgram AttachShader "
                                          "BindAttribLocation LinkProgram DetachShader "
                                          "DeleteShader UseProgram"),
              "CreateShader(VERTEX_SHADER) CreateShader(FRAGMENT_SHADER) " // names count from 1
              "CreateShader(GEOMETRY_SHADER) CompileShader(1) CompileShader(2) CompileShader(3) "
              "CreateProgram() AttachShader(4, 1) AttachShader(4, 2) AttachShader(4, 3) "
              "BindAttribLocation(4, 6, \"first\") BindAttribLocation(4, 5, \"second\") "
              "LinkProgram(4) DetachShader(4, 1) DetachShader(4, 2) DeleteShader(1) "
              "DeleteShader(2) DetachShader(4, 3) DeleteShader(3) UseProgram(4)");
    EXPECT_EQ(GLWatch::callsDuring(build), "UseProgram(4)");
    three.buildShader(); // anew, and the former program goes
    EXPECT_EQ(GLWatch::sharedNames(), 1);
}

TEST_F(Shader, LeavesNothingButAMessageBehindAFailedBuild) {
    const std::string broken = "#version 330\nnonsense\n";
    const std::string wordy =
        "#version 330\nvoid main() { " + std::string(600, 'a') + "; }\n"; // undeclared
    const std::string undefined =
        "#version 330\nvec4 elsewhere();\nout vec4 c;\nvoid main() { c = elsewhere(); }\n";
    struct Case {
        std::string vertex, fragment, geometry;
        ::testing::Matcher<std::string> message;
    };
    const Case cases[] = {
        {broken, broken, "", MatchesRegex("Shader vert error:\n.+\n\n")},
        {wordy, kPlainFragment, "", // cut at 512 bytes, the terminating zero included
         SizeIs(std::string("Shader vert error:\n\n").size() + 511)},
        {kPlainVertex, broken, broken, MatchesRegex("Shader frag error:\n.+\n\n")},
        {kPlainVertex, kPlainFragment, broken, MatchesRegex("Shader geo error:\n.+\n\n")},
        {kPlainVertex, undefined, "", MatchesRegex("Program error:\n.*elsewhere.*\n\n")}};
    shader->useProgram();
    for (const Case& c : cases) {
        OpenglShader failing(c.vertex, c.fragment, c.geometry);
        for (int attempt = 0; attempt < 2; ++attempt) { // each tries, and reports, anew
            const std::size_t before = GLWatch::messages().size();
            shader->useProgram();
            failing.useProgram();
            EXPECT_THAT(GLWatch::messages().substr(before), c.message);
            EXPECT_EQ(failing.mProgram, 0U);
            EXPECT_EQ(integer(GL_CURRENT_PROGRAM), 0);
            EXPECT_EQ(GLWatch::sharedNames(), 1); // the good program
        }
    }
}

} // namespace
} // namespace Testing
