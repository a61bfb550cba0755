// Color, Barycentric and Box3.

#include "MathTesting.h"

namespace Vexorel::PrismDrift::Testing {

static_assert(std::is_same_v<decltype(&Box3::intersects), void (Box3::*)(Box3)>);

TEST(Color, ReadsAndWritesText) {
    const double half = 0.501960813999176; // 128 / 255 in single precision
    const std::pair<const char*, Color> read[] = {
        {"", {1, 1, 1, 1}},      {"red", {1, 1, 1, 1}},
        {" #fff", {1, 1, 1, 1}}, {"#12345", {1, 1, 1, 1}},
        {"#f00", {1, 0, 0, 1}},  {"#808080", {half, half, half, 1}},
        {"#F00F", {0, 0, 1, 1}}, {"#12G", {0, 1.0F / 15.0F, 2.0F / 15.0F, 1}}};
    for (const auto& [text, expected] : read) {
        EXPECT_TRUE(isSame(Color(text), expected)) << text;
    }
    EXPECT_TRUE(isSame(Color("#80FF0001"), Color(0x80FF0001)) && Color(0x80FF0001).a() == half);
    EXPECT_THROW(Color("#xyz"), std::invalid_argument);
    EXPECT_THROW(Color("#12345678901234567"), std::out_of_range);
    const std::pair<Color, const char*> written[] = {
        {{0.5, 0.5, 0.5, 1}, "#7F7F7F"}, {{1, 1, 1, 0.5}, "#7FFFFFFF"},
        {{1, 0, 1, 1}, "#FF0FF"},        {{0, 0, 0, 0}, "#0000"},
        {{2, 0, 0, 1}, "#1FE00"},        {{-1, 0, 0, 1}, "#FFFFFF0100"}};
    for (auto [color, text] : written) {
        EXPECT_EQ(color.toHexString(), text);
    }
    EXPECT_LE(Color(1e300, -1e300, -INFINITY, NAN).toHexString().size(), 33U);
}

TEST(Color, ComparesAndBlends) {
    const Color nil = changed(Color(), &Color::setNil);
    EXPECT_TRUE(nil == Color(0, -2, 0, 1) && nil != Color() && isSame(nil + nil, nil * 2.0));
    EXPECT_TRUE(Color(0, 0, 0, 0) == Color(1e-12, 0, 0, 0) && Color() != Color(1, 1, 1, 1.1));
    const double rest = 0.8999999761581421; // 1 - 0.1 in single precision
    EXPECT_TRUE(isSame(Color::lerp({1, 0, 0, 1}, {0, 1, 0, 0}, 0.1), Color(rest, 0.1, 0, rest)));
    EXPECT_TRUE(isSame(Color::lerp(nil, Color(), 2.0), Color())) << "clamped";
}

TEST(Barycentric, WeighsInEveryDimension) {
    Random random;
    for (int i = 0; i < 50; ++i) {
        Vec4 p[4];
        std::generate(std::begin(p), std::end(p), [&] { return random.make<Vec4>(); });
        Color q[4];
        std::memcpy(q, p, sizeof q);
        EXPECT_TRUE(
            isSame(Barycentric(p[0], p[1], p[2], p[3]), Barycentric(q[0], q[1], q[2], q[3])));
        const Vec3 a = p[0].getVec3();
        const Vec3 b = p[1].getVec3();
        const Vec3 c = p[2].getVec3();
        const double u = random(1.0);
        const double v = random(1.0);
        Barycentric weights(u, v, 1.0 - u - v);
        const Vec3 beside = weights.interpolate(a, b, c) + (a - c).cross(b - c);
        EXPECT_TRUE(isNear(Barycentric(a, b, c, beside), weights, 1e-8)) << "those of its foot";
    }
    Barycentric flat(Vec2(0, 0), Vec2(4, 0), Vec2(0, 2), Vec2(1, 0.5));
    EXPECT_TRUE(isSame(flat, Barycentric(0.5, 0.25, 0.25)) && flat.isInside());
    EXPECT_FALSE(Barycentric(Vec2(0, 0), Vec2(1, 1), Vec2(2, 2), Vec2(1, 1)).isInside()) << "NaN";
    EXPECT_TRUE(Barycentric(1, 0, 0).isInside() && Barycentric(0, 1, 0).isInside());
    EXPECT_TRUE(Barycentric(0.5, 0.5, 5).isInside() && !Barycentric(1.5, -0.25, -0.25).isInside());
}

TEST(Box3, ComputesByItsDefinitions) {
    const double least = 2.2250738585072014e-308;
    const Box3 empty(Vec3(1.7976931348623157e308), Vec3(least));
    Vec3 points[] = {{-1, -2, -3}, {-4, -5, -6}};
    float array[] = {-1, -2, -3, -4, -5, -6};
    Box3 box(Vec3(0), Vec3(2));
    const Box3 beside({2, 0, 0}, Vec3(4));
    expectSame<Box3>(
        {{Box3(), empty},
         {changed(box, &Box3::setFromPoints, points, 2), {points[1], points[0]}},
         {changed(box, &Box3::setFromPoints, nullptr, 5), empty},
         {changed(box, &Box3::setFromArray, array, 6), {points[1], Vec3(least)}},
         {changed(box, &Box3::intersects, Box3(Vec3(1), Vec3(9))), {Vec3(1), Vec3(2)}},
         {changed(box, &Box3::intersects, Box3(Vec3(3), Vec3(9))), empty}, // apart
         {changed(box, &Box3::unionBox, beside), {Vec3(0), Vec3(4)}},
         {changed(box, &Box3::expandByVector, Vec3(1, 2, 3)), {points[0], {3, 4, 5}}},
         {changed(box, &Box3::expandByScalar, 0.1F), {Vec3(-0.1F), Vec3(2 + 0.1F * 1.0)}},
         {changed(box, &Box3::setFromCenterAndSize, Vec3(1), Vec3(2, 4, 6)),
          {{0, -1, -2}, {2, 3, 4}}}});
    EXPECT_TRUE(Box3().isEmpty() && Box3(Vec3(), Vec3()).isEmpty());
    EXPECT_TRUE(!Box3(Vec3(1), Vec3(1)).isEmpty() && Box3({0, 0, 2}, Vec3(1)).isEmpty());
    EXPECT_TRUE(box.containsPoint({2, 0, 1}) && !box.containsPoint({2, -1e-9, 1}));
    EXPECT_TRUE(box.containsBox(box) && !box.containsBox(beside) && box.intersectsBox(beside));
    EXPECT_TRUE(box.getParameter({1, 0, 2}) == Vec3(0.5, 0, 1) &&
                beside.getCenter() == Vec3(3, 2, 2));
    EXPECT_EQ(box.distanceToPoint({5, 6, 1}), 5.0);
}

} // namespace Vexorel::PrismDrift::Testing
