// Color, Barycentric and Box3.

#include "MathTesting.h"

#include "Shared/Math/Barycentric.h"
#include "Shared/Math/Box3.h"

namespace Vexorel::PrismDrift::Testing {
namespace {

TEST(Color, ReadsText) {
    const auto f = [](int numerator, int denominator) {
        volatile float quotient = static_cast<float>(numerator) / static_cast<float>(denominator);
        return static_cast<double>(quotient);
    };
    const struct {
        const char* text;
        Color expected;
    } cases[] = {{"", Color()},
                 {"red", Color()},
                 {" #fff", Color()},
                 {"#12345", Color()},
                 {"#1234567", Color()},
                 {"#f00", {1, 0, 0, 1}},
                 {"#F00", {1, 0, 0, 1}},
                 {"#12G", {0, f(1, 15), f(2, 15), 1}},
                 {"#8F00", {1, 0, 0, f(8, 15)}},
                 {"#808080", {f(128, 255), f(128, 255), f(128, 255), 1}},
                 {"#80FF0001", {1, 0, f(1, 255), f(128, 255)}}};
    for (const auto& [text, expected] : cases) {
        EXPECT_TRUE(isSame(Color(text), expected)) << text;
    }
    EXPECT_TRUE(isSame(Color(0x80FF0001), Color("#80FF0001")));
    EXPECT_THROW(Color("#"), std::invalid_argument);
    EXPECT_THROW(Color("#xyz"), std::invalid_argument);
    EXPECT_THROW(Color("#12345678901234567"), std::out_of_range);
}

TEST(Color, WritesText) {
    const struct {
        Color color;
        const char* text;
    } cases[] = {{{1, 1, 1, 1}, "#FFFFFF"},     {{0.5, 0.5, 0.5, 1}, "#7F7F7F"},
                 {{1, 1, 1, 0.5}, "#7FFFFFFF"}, {{0, 0, 0, 0}, "#0000"},
                 {{1, 0, 1, 1}, "#FF0FF"},      {{0, 0, 0, 1}, "#000"},
                 {{2, 0, 0, 1}, "#1FE00"},      {{-1, 0, 0, 1}, "#FFFFFF0100"}};
    for (auto [color, text] : cases) {
        EXPECT_EQ(color.toHexString(), text);
    }
    for (const double wild : {1e300, -1e300, static_cast<double>(INFINITY), double{NAN}}) {
        EXPECT_LE(Color(wild, wild, wild, wild).toHexString().size(), 33U);
    }
}

TEST(Color, ComparesAndBlends) {
    Color nil;
    nil.setNil();
    EXPECT_TRUE(nil.isNil() && Color(-1, 0, 0, 1) == Color(0, -2, 0, 1) && nil != Color());
    EXPECT_TRUE(Color(0, 0, 0, 0) == Color(1e-12, 0, 0, 0) && Color() != Color(1, 1, 1, 1.1));
    EXPECT_TRUE(isSame(nil + nil, Color(-2, -2, -2, -2)));
    EXPECT_TRUE(isSame((Color(1, 2, 3, 4) - Color(0, 0, 1, 1)) * Color(2, 2, 2, 3) * 0.5,
                       Color(1, 2, 2, 4.5)));
    EXPECT_TRUE(isSame(Color::lerp(Color(1, 0, 0, 1), Color(0, 1, 0, 0), 0.1),
                       Color(0.8999999761581421, 0.1, 0, 0.8999999761581421)));
    EXPECT_TRUE(isSame(Color::lerp(nil, Color(), 2.0), Color()) &&
                Color::lerp(nil, {}, -1.0).isNil());
}

TEST(Barycentric, WeighsInEveryDimension) {
    Random random;
    for (int i = 0; i < 50; ++i) {
        const Vec3 a = random.make<Vec3>();
        const Vec3 b = random.make<Vec3>();
        const Vec3 c = random.make<Vec3>();
        const Vec3 weights(random(1.0), random(1.0), 0.0);
        const Barycentric expected(weights.x, weights.y, 1.0 - weights.x - weights.y);
        const Vec3 p = Barycentric(expected).interpolate(a, b, c);
        const Vec3 beside = p + (a - c).cross(b - c);
        EXPECT_TRUE(isNear(Barycentric(a, b, c, p), expected, 1e-8));
        EXPECT_TRUE(isNear(Barycentric(a, b, c, beside), expected, 1e-8)) << "its foot";
        const auto color = [](const Vec3& v) { return Color(v.x, v.y, v.z, v.x); };
        const auto vec4 = [](const Vec3& v) { return Vec4(v, v.x); };
        EXPECT_TRUE(isSame(Barycentric(color(a), color(b), color(c), color(beside)),
                           Barycentric(vec4(a), vec4(b), vec4(c), vec4(beside))));
        EXPECT_TRUE(
            isSame(Barycentric(expected).interpolate(vec4(a), vec4(b), vec4(c)).getVec3(), p));
        EXPECT_EQ(Barycentric(expected).interpolate(color(a), color(b), color(c)).b(), p.z);
    }
    Barycentric flat(Vec2(0, 0), Vec2(4, 0), Vec2(0, 2), Vec2(1, 0.5));
    EXPECT_TRUE(isSame(flat, Barycentric(0.5, 0.25, 0.25)) && flat.isInside());
    EXPECT_TRUE(isSame(flat.interpolate(Vec2(0, 0), Vec2(4, 0), Vec2(0, 2)), Vec2(1, 0.5)));
    EXPECT_FALSE(Barycentric(Vec2(0, 0), Vec2(1, 1), Vec2(2, 2), Vec2(1, 1)).isInside()) << "NaN";
    EXPECT_TRUE(Barycentric(0.5, 0.5, 5.0).isInside() && Barycentric(0, 1, 0).isInside());
    EXPECT_FALSE(Barycentric(1.5, -0.25, -0.25).isInside());
}

TEST(Box3, StartsEmptyNearZero) {
    const double most = 1.7976931348623157e308;
    const double least = 2.2250738585072014e-308;
    EXPECT_TRUE(isSame(Box3(), Box3(Vec3(most), Vec3(least))) && Box3().isEmpty());
    EXPECT_TRUE(Box3(Vec3(), Vec3()).isEmpty() && !Box3(Vec3(1), Vec3(1)).isEmpty());
    EXPECT_TRUE(Box3({0, 0, 2}, Vec3(1)).isEmpty());
    Vec3 points[] = {{-1, -2, -3}, {-4, -5, -6}};
    float array[] = {-1, -2, -3, -4, -5, -6};
    Box3 box;
    box.setFromPoints(points, 2);
    EXPECT_TRUE(isSame(box, Box3({-4, -5, -6}, {-1, -2, -3})));
    box.setFromArray(array, 6);
    EXPECT_TRUE(isSame(box, Box3({-4, -5, -6}, Vec3(least))));
    box.intersects(Box3(Vec3(1), Vec3(2)));
    EXPECT_TRUE(isSame(box, Box3())) << "apart";
    for (const auto& [from, count] : {std::pair<Vec3*, int>{nullptr, 5}, {points, 0}}) {
        box.set(Vec3(1), Vec3(2));
        box.setFromPoints(from, count);
        EXPECT_TRUE(isSame(box, Box3()));
    }
}

TEST(Box3, RelatesToPointsAndBoxes) {
    Box3 box(Vec3(0), Vec3(2));
    const Box3 beside({2, 0, 0}, Vec3(4));
    EXPECT_TRUE(box.containsPoint({2, 0, 1}) && !box.containsPoint({2, -1e-9, 1}));
    EXPECT_TRUE(box.containsBox(box) && !box.containsBox(beside) && box.intersectsBox(beside));
    EXPECT_FALSE(box.intersectsBox(Box3({2.1, 0, 0}, Vec3(4))));
    EXPECT_EQ(box.distanceToPoint({5, 6, 1}), 5.0);
    EXPECT_TRUE(isSame(box.getParameter({1, 0, 2}), Vec3(0.5, 0, 1)));
    EXPECT_TRUE(isSame(box.clampPoint({5, 1, -1}), Vec3(2, 1, 0)));
    Box3 both = box;
    both.unionBox(beside);
    EXPECT_TRUE(isSame(both, Box3(Vec3(0), Vec3(4))) && isSame(both.getSize(), Vec3(4)));
    both.intersects(Box3(Vec3(1), Vec3(9)));
    both.translate({1, 0, 0});
    EXPECT_TRUE(isSame(both, Box3({2, 1, 1}, {5, 4, 4})) &&
                isSame(both.getCenter(), Vec3(3.5, 2.5, 2.5)));
    both.setFromCenterAndSize(Vec3(1), Vec3(2));
    EXPECT_TRUE(both == box);
    both.expandByVector({1, 0, 0});
    both.expandByScalar(0.1F);
    EXPECT_TRUE(isSame(both.min,
                       Vec3(-1 - 0.10000000149011612, -0.10000000149011612, -0.10000000149011612)));
}

} // namespace
} // namespace Vexorel::PrismDrift::Testing
