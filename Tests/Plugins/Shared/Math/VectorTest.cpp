// What Vec2, Vec3 and Vec4 have in common, and what Vec3 and Vec4 add.

#include "MathTesting.h"

#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"

#include <functional>

namespace Vexorel::PrismDrift::Testing {

template <class V>
class Vectors : public testing::Test {};
using VectorTypes = testing::Types<Vec2, Vec3, Vec4>;
TYPED_TEST_SUITE(Vectors, VectorTypes, );

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

TEST(Vec3, FollowsItsIndexAndTieRules) {
    const std::pair<Vec3, int> largest[] = {{{-3, 2, 1}, 0}, {{1, -3, 2}, 1}, {{1, 2, -3}, 2},
                                            {{1, 1, 0}, 1},  {{2, 1, 2}, 2},  {{0, 0, 0}, 2}};
    for (const auto& [vector, index] : largest) {
        EXPECT_EQ(vector.largestAbsComponent(), index);
    }
    Vec3 v(1, 2, 3);
    v.set(-1, 9.0);
    v.clamp({3, 0, 1}, {0, 1, 0});
    EXPECT_TRUE(isSame(v, Vec3(3, 1, 0))) << "the low end is tested first";
    v.getMin({0, 2, -1});
    v.getMax({-1, 5, -2});
    EXPECT_TRUE(isSame(v, Vec3(0, 5, -1)));
    EXPECT_TRUE(isSame(Vec3(1.5, -1.5, 2).floor(), Vec3(1, -2, 2)));
    EXPECT_TRUE(isSame(Vec3(350, 0, -3).rotationalDifference({10, 0, 4}), Vec3(340, 0, -7)));
    EXPECT_TRUE(isSame(Vec3::lerp({1, 0, 2}, {3, 1, 2}, 2.0), Vec3(5, 2, 2)));
}

TEST(Vec3, KeepsItsDirections) {
    Random random;
    for (int i = 0; i < 50; ++i) {
        const Vec3 a = random.make<Vec3>();
        const Vec3 b = random.make<Vec3>();
        const double area = a.length() * b.length() * std::sin(a.angleBetween(b));
        EXPECT_NEAR(a.cross(b).length(), area, 1e-10);
        for (Vec3 c : {a, b}) {
            const auto axis = static_cast<std::size_t>(c.largestAbsComponent() + 2) % 3;
            c.ortho(a);
            EXPECT_NEAR(std::abs(c.dot(a)) + c.length(), 1.0, 1e-13);
            EXPECT_EQ(partsOf(c)[axis], 0.0);
        }
    }
}

TEST(Vec3, TransformsByMatrixAndQuaternion) {
    Random random;
    for (int i = 0; i < 20; ++i) {
        const Vec3 v = random.make<Vec3>();
        Quaternion q = random.make<Quaternion>();
        Vec4 rows[4];
        std::generate(std::begin(rows), std::end(rows), [&] { return random.make<Vec4>(); });
        Mat4 m(rows[0], rows[1], rows[2], rows[3], true);
        Vec3 images[] = {v, v, v, v};
        images[0].applyMatrix4(m);
        images[1].applyProjection(m);
        images[2].transformDirection(m);
        images[3].applyQuaternion(q);
        EXPECT_TRUE(isSame(images[0], m * v) && isSame(images[1], m.multAndProject(v)));
        Vec3 direction = m.multWithoutTranslate(v);
        direction.normalize();
        EXPECT_TRUE(isNear(images[2], direction));
        const double squared = q.lengthSq();
        q.normalize();
        EXPECT_TRUE(isNear(images[3], Quaternion::quaternionMulVec3(q, v) * squared, 1e-10));
    }
}

TEST(Vec4, InterpolatesAlongTheSphereInSinglePrecision) {
    const Vec4 a(1, 0, 0, 0);
    const Vec4 b(0.5, std::sqrt(0.75), 0, 0);
    for (const double t : {0.25, 0.1, 2.0, -0.5}) {
        // Each step of the weights for an arc of 60 degrees, narrowed by hand.
        volatile float cosine = static_cast<float>(a.dot(b) / (a.length() * b.length()));
        volatile float theta = acosf(cosine);
        volatile float scale = 1.0F / sinf(theta);
        volatile float angles[] = {static_cast<float>((1.0 - t) * theta),
                                   static_cast<float>(theta * t)};
        volatile float sines[] = {sinf(angles[0]), sinf(angles[1])};
        Vec4 expected = a * (double{sines[0]} * scale) + b * (double{sines[1]} * scale);
        expected.normalize();
        EXPECT_TRUE(isSame(Vec4::lerp(a, b, t), expected)) << t;
        EXPECT_TRUE(isSame(Vec4::lerp(a, b.negate(), t), expected)) << "the shorter arc, " << t;
    }
    EXPECT_TRUE(isSame(Vec4::lerp(a * 2.0, b, 0.0), a * 2.0)) << "the end itself";
    EXPECT_TRUE(isSame(Vec4::lerp(a, b * -3.0, 1.0), b * -3.0)) << "not its negative";
    Vec4 straight(1, 0.05, 0, 0);
    straight.normalize();
    EXPECT_TRUE(isNear(Vec4::lerp(a, {1, 0.1, 0, 0}, 0.5), straight, 1e-15)) << "nearly parallel";
}

} // namespace Vexorel::PrismDrift::Testing
