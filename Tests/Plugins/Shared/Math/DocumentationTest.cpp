// The examples of Documentation/math.md, which must stand there word for word.

#include "MathTesting.h"

#include "Shared/Math/Barycentric.h"
#include "Shared/Math/Box3.h"
#include "Shared/Math/Euler.h"
#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"
#include "Shared/Math/Rect.h"

#include <fstream>
#include <regex>
#include <sstream>

#undef assert
#define assert(condition) EXPECT_TRUE(condition)

namespace Vexorel::PrismDrift::Testing {

TEST(MathDocumentation, StorageAndSides) {
    Mat4 m(true);
    m.setTranslate(1, 2, 3);
    assert(m.m[12] == 1 && m.getColumn(3) == Vec4(1, 2, 3, 1));
    m.rotateZ(pi / 2); // from the right: turned first, then moved
    assert(m * Vec3(1, 0, 0) == Vec3(1, 3, 3));

    Affine a(true);
    a.setTranslate(10, 0);
    a.scale(2, 2); // before what is there: scaled first, then moved
    assert(a.getTransform(Vec2(1, 0)) == Vec2(12, 0));
    a.multiply(Affine(1, 0, 0, 1, 0, 5)); // after what is there
    assert(a.getTransform(Vec2(1, 0)) == Vec2(12, 5));

    Quaternion q(Vec3(0, 0, 1), pi / 2);
    q.multiply(Quaternion(Vec3(1, 0, 0), pi / 2)); // the argument acts first
    assert(Quaternion::quaternionMulVec3(q, Vec3(0, 1, 0)) == Vec3(0, 0, 1));
}

TEST(MathDocumentation, Angles) {
    Vec2 v(1, 0);
    v.rotate(90); // degrees
    assert(v.equal(Vec2(0, 1), 1e-9) && v.getAngle() > 89.999);

    Quaternion q;
    q.set(Vec3(0, 2, 0), pi / 2);                         // radians
    assert(std::abs(q.getRotationAngle() - 90.0) < 1e-9); // degrees
    Euler e;
    e.setWithQuaternion(q, Euler::YXZ); // R = Ry·Rx·Rz
    assert(e == Euler(0, pi / 2, 0, Euler::YXZ));
}

TEST(MathDocumentation, Comparison) {
    const Vec3 origin;
    assert(origin == Vec3(1e-12, 0, 0));                      // per component, inclusive
    assert(Vec4(origin, 0) != Vec4(1e-12, 0, 0, 0));          // by the distance, strict
    assert(Quaternion() != Quaternion(0, 0, 0, 1.0 + 1e-15)); // exact
    assert(Color(-1, 0, 0, 1) == Color(0, 0, 0, -2));         // both are nil
}

TEST(MathDocumentation, ZeroAndEmpty) {
    Vec3 v;
    v.normalize();
    assert(v == Vec3(1, 0, 0));
    Quaternion q(0, 0, 0, 0);
    q.normalize();
    assert(q == Quaternion(0, 0, 0, 1));
    Mat4 inverse(false);
    assert(!Mat4(false).getInverse(inverse) && inverse == Mat4::identity());
    Box3 box;
    box.expandByPoint(Vec3(-2, -2, -2)); // from the empty state a box reaches to 0
    assert(box.isEmpty() == false && box.max == Vec3(0, 0, 0));
}

TEST(MathDocumentation, Picture) {
    Rect frame(0, 0, 1920, 1080); // y grows downwards
    assert(frame.getBottomLeft() == Vec2(0, 1080) && frame.getCenter() == Vec2(960, 540));
    Mat4 toGl = Mat4::getAEToGLConversionMatrix(1920, 1080);
    assert(toGl * Vec3(960, 0, 0) == Vec3(0, 540, 0)); // y grows upwards

    Barycentric middle(Vec2(0, 0), Vec2(4, 0), Vec2(0, 2), Vec2(1, 0.5));
    const Color mixed = middle.interpolate(Color("#F00"), Color("#0F0"), Color("#00F"));
    assert(mixed == Color(0.5, 0.25, 0.25, 1));
}

static std::string textOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(MathDocumentation, ShowsTheseExamples) {
    const std::string page = textOf(PRISMDRIFT_MATH_PAGE);
    const std::string source = textOf(__FILE__);
    const std::regex fence("```cpp\n([^`]*)```");
    int blocks = 0;
    for (std::sregex_iterator block(page.begin(), page.end(), fence), end; block != end; ++block) {
        const std::string indented =
            std::regex_replace((*block)[1].str(), std::regex("(^|\n)(?=.)"), "$1    ");
        EXPECT_NE(source.find(") {\n" + indented + "}\n"), std::string::npos) << indented;
        ++blocks;
    }
    EXPECT_EQ(blocks, 5);
}

} // namespace Vexorel::PrismDrift::Testing
