// Quaternion and Euler, and the matrices between them.

#include "MathTesting.h"

#include "Shared/Math/Euler.h"
#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"

namespace Vexorel::PrismDrift::Testing {
namespace {

constexpr Euler::RotationOrder orders[] = {Euler::XYZ, Euler::YZX, Euler::ZXY,
                                           Euler::XZY, Euler::YXZ, Euler::ZYX};
/// The axes of these orders, 0 to 2, the last acting first.
constexpr int axes[][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 2, 1}, {1, 0, 2}, {2, 1, 0}};

Mat4 turnedBy(const Euler& e) {
    const double angles[] = {e.x, e.y, e.z};
    Mat4 m(true);
    for (const int axis : axes[e.order - 1]) {
        m.rotate(angles[axis], Vec3(axis == 0, axis == 1, axis == 2));
    }
    return m;
}

TEST(Euler, GoesThereAndBackInEveryOrder) {
    Random random;
    for (int i = 0; i < 300; ++i) {
        const Euler::RotationOrder order = orders[i % 6];
        double angles[] = {random(pi), random(pi), random(pi)};
        angles[axes[i % 6][1]] /= 2.2;
        const Euler e(angles[0], angles[1], angles[2], order);
        Euler back;
        back.setWithMat4(turnedBy(e), order);
        EXPECT_TRUE(isNear(Vec3(back.x, back.y, back.z), Vec3(e.x, e.y, e.z), 1e-10)) << order;
        Quaternion q;
        q.setWithEuler(e);
        back.setWithQuaternion(q, Euler::None);
        EXPECT_TRUE(isNear(turnedBy(back), turnedBy(e), 1e-5)) << order;
        for (const double field : partsOf(q)) {
            EXPECT_EQ(field, static_cast<float>(field)) << "single precision";
        }
        angles[axes[i % 6][1]] = i % 4 < 2 ? pi / 2 : -pi / 2;
        const Euler locked(angles[0], angles[1], angles[2], order);
        back.setWithMat4(turnedBy(locked), order);
        const double locks[] = {back.x, back.y, back.z};
        EXPECT_EQ(locks[axes[i % 6][2]], 0.0) << order;
        EXPECT_TRUE(isNear(turnedBy(back), turnedBy(locked), 1e-7)) << order;
    }
}

TEST(Euler, KeepsOrReplacesItsOrder) {
    Euler e(1, 2, 3, Euler::None);
    EXPECT_EQ(e.order, Euler::None);
    e.set(1, 2, 3, Euler::YXZ);
    e.set(4, 5, 6, Euler::None);
    EXPECT_TRUE(e == Euler(4, 5, 6, Euler::YXZ) && !(e == Euler(4, 5, 6, Euler::XYZ)));
    const auto nameless = static_cast<Euler::RotationOrder>(7);
    e.setWithMat4(Mat4(true), nameless);
    EXPECT_TRUE(e == Euler(4, 5, 6, nameless)) << "stored, the angles left";
    Quaternion q(1, 2, 3, 4);
    q.setWithEuler(e);
    EXPECT_TRUE(isSame(q, Quaternion(1, 2, 3, 4)));
    q.setWithEuler(Euler(1, 1, 1, Euler::None));
    EXPECT_TRUE(isSame(q, Quaternion(0, 0, 0, 0)));
    Mat4 beyond(true);
    beyond.m[8] = 1.0 + 1e-9;
    e.setWithMat4(beyond, Euler::XYZ);
    EXPECT_EQ(e.y, std::asin(1.0)) << "clamped";
    beyond.m[8] = 0.999999;
    e.setWithMat4(beyond, Euler::XYZ);
    EXPECT_EQ(e.z, 0.0) << "locked from 0.999999 in single precision on";
    q.setWithEuler(Euler(pi / 2, 0, 0, Euler::XYZ));
    EXPECT_TRUE(isSame(q, Quaternion(0.7071067690849304, 0, 0, 0.7071067690849304)));
}

TEST(Quaternion, TurnsVectorsAsItsMatrixDoes) {
    Random random;
    for (int i = 0; i < 100; ++i) {
        const Vec3 axis = random.make<Vec3>();
        const double angle = random(pi);
        Quaternion q;
        q.set(axis, angle);
        Mat4 rotation(false);
        rotation.setRotation(angle, axis);
        Mat4 m(false);
        m.setWithQuaternion(q);
        EXPECT_TRUE(isNear(m, rotation));
        const Vec3 v = random.make<Vec3>();
        EXPECT_TRUE(isNear(Quaternion::quaternionMulVec3(q, v), rotation * v));
        Quaternion back;
        back.setWithMat4(m);
        EXPECT_NEAR(std::abs(back.dot(q)), 1.0, 1e-12);
        EXPECT_NEAR(q.getRotationAngle() * pi / 180.0, std::abs(angle), 1e-6) << "degrees";
        EXPECT_TRUE(isNear(q.getRotationAxis() * std::sin(angle / 2), Vec3(q.x, q.y, q.z)) ||
                    angle < 0.0);
        Quaternion other = random.make<Quaternion>();
        other.normalize();
        Mat4 otherMatrix(false);
        otherMatrix.setWithQuaternion(other);
        Quaternion product = q;
        product.multiply(other);
        m.setWithQuaternion(product);
        EXPECT_TRUE(isNear(m, rotation * otherMatrix)) << "the argument acts first";
        Quaternion same = other;
        same.premultiply(q);
        EXPECT_TRUE(isSame(same, product));
        product.setInverse();
        same.multiply(product);
        EXPECT_TRUE(isNear(same, Quaternion()));
        Vec3 from = axis;
        Vec3 to = v;
        from.normalize();
        to.normalize();
        EXPECT_TRUE(isNear(Quaternion::quaternionMulVec3(Quaternion(from, to), from), to));
    }
    for (const Vec3& axis : {Vec3(1, 0, 0), Vec3(0, 1, 0), Vec3(0, 0, 1)}) {
        Mat4 m(false);
        m.setScale(axis * 2.0 - 1.0);
        Quaternion half;
        half.setWithMat4(m);
        EXPECT_TRUE(isSame(half, Quaternion(axis.x, axis.y, axis.z, 0))) << "each branch";
    }
}

TEST(Quaternion, InterpolatesAlongTheShorterArc) {
    Random random;
    for (int i = 0; i < 50; ++i) {
        Quaternion a = random.make<Quaternion>();
        Quaternion b = random.make<Quaternion>();
        a.normalize();
        b.normalize();
        const double t = random(2.0);
        Quaternion c = Quaternion::lerp(a, b, t);
        const double arc = std::acos(std::abs(a.dot(b)));
        EXPECT_NEAR(c.dot(a), std::cos(t * arc), 1e-9);
        EXPECT_NEAR(c.length(), 1.0, 1e-9);
        Quaternion self = a;
        self.slerp(self, t);
        EXPECT_TRUE(isNear(self, a, 1e-15));
    }
    const Quaternion q(0, 0.6, 0, 0.8);
    const Quaternion negative(0, -0.6, 0, -0.8);
    const Quaternion close(1e-4, 0.6, 0, 0.8);
    const struct {
        const char* what;
        Quaternion to;
        double t;
        Quaternion expected;
    } cases[] = {{"1 is the target, not its negative", negative, 1.0, negative},
                 {"0 is the start", negative, 0.0, q},
                 {"the same rotation stays", negative, 0.5, q},
                 {"nearly equal: the mean for any t", Quaternion(-1e-4, 0.6, 0, 0.8 - 1e-9), 0.9,
                  Quaternion(-5e-5, 0.6, 0, 0.5 * (0.8 + (0.8 - 1e-9)))}};
    for (const auto& [what, to, t, expected] : cases) {
        EXPECT_TRUE(isSame(Quaternion::lerp(q, to, t), expected)) << what;
    }
    EXPECT_TRUE(close != q && q == Quaternion(-0.0, 0.6, 0, 0.8)) << "exact, not bitwise";
}

TEST(Quaternion, HasItsDegenerateCases) {
    Quaternion q(0, 0, 0, 0);
    q.normalize();
    EXPECT_TRUE(isSame(q, Quaternion()) && q.getRotationAxis() == Vec3(0, 0, 1));
    q.set(1, 2, 3);
    EXPECT_TRUE(isSame(q, Quaternion(1, 2, 3, 1))) << "w stays";
    EXPECT_NEAR(Quaternion(Vec3(2, 0, 0), pi).length(), 2.0, 1e-12) << "the axis as it is";
    q.set(Vec3(), pi);
    EXPECT_TRUE(isNear(q, Quaternion(1, 0, 0, 0)));
    q.setWithDirection({1, 0, 0}, {-1, 0, 0});
    EXPECT_TRUE(q == Quaternion(0, 1, 0, 0));
    q.setWithDirection({0, 0, 1}, {0, 0, -1});
    EXPECT_TRUE(q == Quaternion(0, -1, 0, 0));
    double array[] = {0, 1, 2, 3, 4, 0};
    q.setWithArray(array, 1);
    q.conjugate();
    q.toArray(array, 2);
    EXPECT_THAT(array, testing::ElementsAre(0, 1, -1, -2, -3, 4));
}

} // namespace
} // namespace Vexorel::PrismDrift::Testing
