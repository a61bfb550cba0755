// Quaternion and Euler, and the matrices between them.

#include "MathTesting.h"

#include "Shared/Math/Euler.h"
#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"

namespace Vexorel::PrismDrift::Testing {

/// The axes of the orders from XYZ on, the last acting first.
constexpr std::size_t axes[][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1},
                                   {0, 2, 1}, {1, 0, 2}, {2, 1, 0}};

static Mat4 turnedBy(const Euler& e) {
    Mat4 m(true);
    for (const std::size_t axis : axes[e.order - 1]) {
        m.rotate(partsOf(Vec3(e.x, e.y, e.z)).at(axis), Vec3(axis == 0, axis == 1, axis == 2));
    }
    return m;
}

TEST(Euler, GoesThereAndBackInEveryOrder) {
    Random random;
    for (int i = 0; i < 300; ++i) {
        const auto order = static_cast<Euler::RotationOrder>(i % 6 + 1);
        double angles[] = {random(pi), random(pi), random(pi)};
        double& middle = angles[axes[i % 6][1]];
        middle /= 2.2;
        const Euler e(angles[0], angles[1], angles[2], order);
        Euler back;
        back.setWithMat4(turnedBy(e), order);
        EXPECT_TRUE(isNear(Vec3(back.x, back.y, back.z), Vec3(e.x, e.y, e.z), 1e-10)) << order;
        Quaternion q;
        q.setWithEuler(e);
        back.setWithQuaternion(q, Euler::None);
        EXPECT_TRUE(isNear(turnedBy(back), turnedBy(e), 1e-5)) << order;
        EXPECT_EQ(q.x, static_cast<float>(q.x)) << "single precision";
        middle = i % 4 < 2 ? pi / 2 : -pi / 2;
        const Euler locked(angles[0], angles[1], angles[2], order);
        back.setWithMat4(turnedBy(locked), order);
        EXPECT_EQ(partsOf(Vec3(back.x, back.y, back.z)).at(axes[i % 6][2]), 0.0) << order;
        EXPECT_TRUE(isNear(turnedBy(back), turnedBy(locked), 1e-7)) << order;
    }
}

TEST(Euler, KeepsOrReplacesItsOrder) {
    Euler e(1, 2, 3, Euler::YXZ);
    e.set(4, 5, 6, Euler::None);
    EXPECT_TRUE(e == Euler(4, 5, 6, Euler::YXZ) && !(e == Euler(4, 5, 6, Euler::XYZ)));
    const auto nameless = static_cast<Euler::RotationOrder>(7);
    e.setWithMat4(Mat4(true), nameless);
    EXPECT_TRUE(e == Euler(4, 5, 6, nameless)) << "stored, the angles left";
    Quaternion q(1, 2, 3, 4);
    q.setWithEuler(e);
    EXPECT_TRUE(q == Quaternion(1, 2, 3, 4));
    q.setWithEuler(Euler(pi / 2, 0, 0, Euler::XYZ));
    EXPECT_TRUE(q == Quaternion(0.7071067690849304, 0, 0, 0.7071067690849304));
    Mat4 m(true);
    m.m[8] = 1.0 + 1e-9;
    e.setWithMat4(m, Euler::XYZ);
    EXPECT_TRUE(e == Euler(0, std::asin(1.0), 0, Euler::XYZ)) << "clamped";
}

TEST(Quaternion, TurnsVectorsAsItsMatrixDoes) {
    Random random;
    for (int i = 0; i < 100; ++i) {
        Vec3 axis = random.make<Vec3>();
        Vec3 v = random.make<Vec3>();
        const double angle = std::abs(random(pi));
        Quaternion q;
        q.set(axis, angle);
        Mat4 m(false);
        m.setWithQuaternion(q);
        Mat4 rotation(false);
        rotation.setRotation(angle, axis);
        EXPECT_TRUE(isNear(m, rotation));
        EXPECT_TRUE(isNear(Quaternion::quaternionMulVec3(q, v), rotation * v));
        EXPECT_NEAR(q.getRotationAngle() * pi / 180.0, angle, 1e-6) << "degrees";
        Quaternion other;
        other.setWithMat4(m);
        EXPECT_NEAR(std::abs(other.dot(q)), 1.0, 1e-12);
        axis.normalize();
        v.normalize();
        other.setWithDirection(axis, v);
        EXPECT_TRUE(isNear(Quaternion::quaternionMulVec3(other, axis), v));
        m.setWithQuaternion(other);
        Quaternion products[] = {q, other};
        products[0].multiply(other);
        products[1].premultiply(q);
        EXPECT_TRUE(products[0] == products[1]);
        rotation.mult(m);
        m.setWithQuaternion(products[0]);
        EXPECT_TRUE(isNear(m, rotation)) << "the argument acts first";
        products[0].setInverse();
        products[1].multiply(products[0]);
        EXPECT_TRUE(isNear(products[1], Quaternion()));
    }
    for (const Vec3& axis : {Vec3(1, 0, 0), Vec3(0, 1, 0), Vec3(0, 0, 1)}) {
        Mat4 m(false);
        m.setScale(axis * 2.0 - 1.0);
        Quaternion half;
        half.setWithMat4(m);
        EXPECT_TRUE(half == Quaternion(axis.x, axis.y, axis.z, 0)) << "each branch";
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
        EXPECT_NEAR(c.dot(a), std::cos(t * std::acos(std::abs(a.dot(b)))), 1e-9);
        EXPECT_NEAR(c.length(), 1.0, 1e-9);
    }
    const Quaternion q(0, 0.6, 0, 0.8);
    const Quaternion negative(0, -0.6, 0, -0.8);
    EXPECT_TRUE(Quaternion::lerp(q, negative, 1.0) == negative) << "the target, not its negative";
    EXPECT_TRUE(Quaternion::lerp(q, negative, 0.5) == q) << "the same rotation";
    EXPECT_TRUE(Quaternion::lerp(q, Quaternion(-1e-4, 0.6, 0, 0.8 - 1e-9), 0.9) ==
                Quaternion(-5e-5, 0.6, 0, 0.5 * (0.8 + (0.8 - 1e-9))))
        << "nearly equal: the mean";
}

TEST(Quaternion, HasItsDegenerateCases) {
    Quaternion q;
    q.set(1, 2, 3);
    EXPECT_TRUE(q == Quaternion(1, 2, 3, 1) && q.lengthSq() == 15.0) << "w stays";
    EXPECT_NEAR(Quaternion(Vec3(2, 0, 0), pi).length(), 2.0, 1e-12) << "the axis as it is";
    q.setWithDirection({1, 0, 0}, {-1, 0, 0});
    EXPECT_TRUE(q == Quaternion(0, 1, 0, 0));
    q.setWithDirection({0, 0, 1}, {0, 0, -1});
    EXPECT_TRUE(q == Quaternion(0, -1, 0, 0) && Quaternion().getRotationAxis() == Vec3(0, 0, 1));
}

} // namespace Vexorel::PrismDrift::Testing
