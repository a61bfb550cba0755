// What Vec2, Vec3 and Vec4 have in common, and what Vec3 and Vec4 add.

#include "MathTesting.h"

namespace Vexorel::PrismDrift::Testing {

template <class V>
class Vectors : public testing::Test {};
using VectorTypes = testing::Types<Vec2, Vec3, Vec4>;
TYPED_TEST_SUITE(Vectors, VectorTypes, );

static_assert(std::is_same_v<decltype(&Vec3::floor), Vec3 (Vec3::*)()>);

/// The copies and both in-place forms of the four operations on `a`, whose results must be those of
/// the components; `by` is a vector or a scalar, and `parts` has it in every component.
template <class V, class Argument>
static void checkArithmetic(V a, Argument by, V parts) {
    static_assert(std::is_void_v<decltype(a += by)> && std::is_void_v<decltype(a.divide(by))>);
    const auto expect = [&](std::initializer_list<V> results, auto rule) {
        auto expected = partsOf(a);
        const auto other = partsOf(parts);
        std::transform(expected.begin(), expected.end(), other.begin(), expected.begin(), rule);
        for (const V& result : results) {
            EXPECT_EQ(partsOf(result), expected);
        }
    };
    V named[] = {a, a, a, a};
    V compound[] = {a, a, a, a};
    named[0].add(by), named[1].sub(by), named[2].mult(by), named[3].divide(by);
    compound[0] += by, compound[1] -= by, compound[2] *= by, compound[3] /= by;
    expect({a + by, named[0], compound[0]}, std::plus<>());
    expect({a - by, named[1], compound[1]}, std::minus<>());
    expect({a * by, named[2], compound[2]}, std::multiplies<>());
    expect({a / by, named[3], compound[3]}, std::divides<>());
}

TYPED_TEST(Vectors, WorkPerComponent) {
    Random random;
    for (int i = 0; i < 20; ++i) {
        auto a = random.make<TypeParam>();
        const auto b = random.make<TypeParam>();
        checkArithmetic(a, b, b);
        for (const double scalar : {random(), 0.0}) {
            checkArithmetic(a, scalar, TypeParam() + scalar);
        }
        const TypeParam& self = a;
        a /= self;
        EXPECT_TRUE(isSame(a, TypeParam() + 1.0)) << "the argument may be the vector itself";
    }
}

TYPED_TEST(Vectors, ScaleToALength) {
    auto v = Random().make<TypeParam>();
    const TypeParam scaled = v * (3.0 / std::sqrt(v.dot(v)));
    v.setLength(3.0);
    EXPECT_TRUE(isSame(v, scaled));
    EXPECT_NEAR(v.distance(v * 3.0), 6.0, 1e-12);
    TypeParam zero;
    zero.setLength(-5.0);
    EXPECT_TRUE(partsOf(zero)[0] == -5.0 && partsOf(zero)[1] == 0.0) << "zero turns to x";
}

TYPED_TEST(Vectors, CompareByTheirOwnRule) {
    const bool byDistance = std::is_same_v<TypeParam, Vec4>;
    TypeParam v[3];
    v[0].setLength(1e-12);
    v[1].setLength(0.5);
    v[2].setLength(NAN);
    EXPECT_EQ(TypeParam() == v[0], !byDistance) << "inclusive, or strict for the distance";
    EXPECT_EQ(TypeParam().equal(v[1], 0.5), !byDistance);
    EXPECT_EQ(TypeParam() == TypeParam() + 0.9e-12, !byDistance);
    EXPECT_TRUE(v[2] != v[2] && !v[2].equal(v[2], 1e9) && !v[0].isZero());
}

TEST(Vec3, ComputesByItsDefinitions) {
    const std::pair<Vec3, int> largest[] = {{{-3, 2, 1}, 0}, {{1, -3, 2}, 1}, {{1, 2, -3}, 2},
                                            {{1, 1, 0}, 1},  {{2, 1, 2}, 2},  {{0, 0, 0}, 2}};
    for (const auto& [vector, index] : largest) {
        EXPECT_EQ(vector.largestAbsComponent(), index);
    }
    const Vec3 v(1, 2, 4);
    const double array[] = {5, 6, 7, 8};
    expectSame<Vec3>({{changed(v, [](Vec3& c) { c.set(-1, 9.0); }), {1, 2, 9}},
                      {changed(v, &Vec3::clamp, Vec3(3, 0, 1), Vec3(0, 1, 0)), {3, 1, 0}},
                      {changed(v, &Vec3::getMin, Vec3(0, 3, -1)), {0, 2, -1}},
                      {changed(v, &Vec3::getMax, Vec3(0, 3, -1)), {1, 3, 4}},
                      {changed(v, &Vec3::setNegate), {-1, -2, -4}},
                      {changed(v, &Vec3::setInvert), {1, 0.5, 0.25}},
                      {changed(v, &Vec3::fromArray, array, 1), {6, 7, 8}},
                      {changed(v, &Vec3::ortho, Vec3(2, 0, 0)), {0, 0, 1}},              // x × y
                      {changed(v, &Vec3::ortho, Vec3(0, 9, 0)), {1, 0, 0}},              // parallel
                      {changed(Vec3(3, 1, 1), &Vec3::ortho, Vec3(2, 0, 0)), {0, -1, 0}}, // x × z
                      {Vec3(1.5, -1.5, 2).floor(), {1, -2, 2}},
                      {Vec3(350, 0, -3).rotationalDifference({10, 0, 4}), {340, 0, -7}},
                      {Vec3::lerp({1, 0, 2}, {3, 1, 2}, 2.0), {5, 2, 2}}});
    EXPECT_NEAR(Vec3(0, 2, 0).angleBetween({0, -1, 1}), 0.75 * pi, 1e-15);
    EXPECT_TRUE(std::isnan(v.angleBetween({})) && Vec4(1, -2, 3, -4).lengthManhattan() == 10.0);
}

TEST(Vec3, TransformsByMatrixAndQuaternion) {
    Random random;
    for (int i = 0; i < 20; ++i) {
        const Vec3 v = random.make<Vec3>();
        Quaternion q = random.make<Quaternion>();
        Vec4 rows[4];
        std::generate(std::begin(rows), std::end(rows), [&] { return random.make<Vec4>(); });
        Mat4 m(rows[0], rows[1], rows[2], rows[3], true);
        const Vec3 direction = changed(m.multWithoutTranslate(v), &Vec3::normalize);
        expectSame<Vec3>({{changed(v, &Vec3::applyMatrix4, m), m * v},
                          {changed(v, &Vec3::applyProjection, m), m.multAndProject(v)},
                          {changed(v, &Vec3::transformDirection, m), direction},
                          {changed(v, &Vec3::setFromMatrixPosition, m), m.getColumn(3).getVec3()}});
        const Vec3 turned = changed(v, &Vec3::applyQuaternion, q);
        const double squared = q.lengthSq();
        q.normalize();
        EXPECT_TRUE(isNear(turned, Quaternion::quaternionMulVec3(q, v) * squared, 1e-10));
    }
}

TEST(Vec4, InterpolatesAlongTheSphereInSinglePrecision) {
    const Vec4 a(1, 0, 0, 0);
    for (const double arc : {1.0, 0.142, 0.141}) {
        const Vec4 b(std::cos(arc), std::sin(arc), 0, 0);
        for (const double t : {0.25, 0.1, 2.0, -0.5}) {
            // Each step of the weights, narrowed by hand; up to a cosine of 0.99.
            volatile float cosine = static_cast<float>(a.dot(b) / (a.length() * b.length()));
            volatile float theta = acosf(cosine);
            volatile float scale = 1.0F / sinf(theta);
            volatile float angles[] = {static_cast<float>((1.0 - t) * theta),
                                       static_cast<float>(theta * t)};
            volatile float sines[] = {sinf(angles[0]), sinf(angles[1])};
            Vec4 expected = a * (double{sines[0]} * scale) + b * (double{sines[1]} * scale);
            expected = arc < 0.1415 ? a * (1.0 - t) + b * t : expected;
            expected.normalize();
            EXPECT_TRUE(isSame(Vec4::lerp(a, b, t), expected)) << arc << ", " << t;
            EXPECT_TRUE(isSame(Vec4::lerp(a, b.negate(), t), expected)) << "the shorter arc";
        }
    }
    const Vec4 end(0, -3, 0, 0);
    expectSame<Vec4>({{Vec4::lerp(a * 2.0, end, 0.0), a * 2.0}, {Vec4::lerp(a, end, 1.0), end}});
}

} // namespace Vexorel::PrismDrift::Testing
