// Quaternion and Euler, and the matrices between them.

#include "MathTesting.h"

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
        Euler back = changed(Euler(), &Euler::setWithMat4, turnedBy(e), order);
        EXPECT_TRUE(isNear(Vec3(back.x, back.y, back.z), Vec3(e.x, e.y, e.z), 1e-10)) << order;
        const Quaternion q = changed(Quaternion(), &Quaternion::setWithEuler, e);
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
    const Quaternion q(1, 2, 3, 4);
    EXPECT_TRUE(changed(q, &Quaternion::setWithEuler, e) == q);
    EXPECT_TRUE(changed(q, &Quaternion::setWithEuler, Euler(pi / 2, 0, 0, Euler::XYZ)) ==
                Quaternion(0.7071067690849304, 0, 0, 0.7071067690849304));
    Mat4 m(true);
    m.m[8] = 1.0 + 1e-9;
    EXPECT_EQ(changed(e, &Euler::setWithMat4, m, Euler::XYZ).y, std::asin(1.0)) << "clamped";
    m.m[4] = -1.0;
    m.m[8] = 0.999998995; // between 0.999999 in single and in double precision
    EXPECT_EQ(changed(e, &Euler::setWithMat4, m, Euler::XYZ).z, 0.0) << "locked";
}

TEST(Quaternion, TurnsVectorsAsItsMatrixDoes) {
    Random random;
    for (int i = 0; i < 100; ++i) {
        Vec3 axis = random.make<Vec3>();
        const Vec3 v = changed(random.make<Vec3>(), &Vec3::normalize);
        const double angle = std::abs(random(pi));
        Quaternion q;
        q.set(axis, angle);
        Mat4 m = changed(Mat4(false), &Mat4::setWithQuaternion, q);
        Mat4 rotation(false);
        rotation.setRotation(angle, axis);
        EXPECT_TRUE(isNear(m, rotation));
        EXPECT_TRUE(isNear(Quaternion::quaternionMulVec3(q, v), rotation * v));
        EXPECT_NEAR(q.getRotationAngle() * pi / 180.0, angle, 1e-6) << "degrees";
        EXPECT_NEAR(std::abs(changed(q, &Quaternion::setWithMat4, m).dot(q)), 1.0, 1e-12);
        axis.normalize();
        const Quaternion other(axis, v);
        EXPECT_TRUE(isNear(Quaternion::quaternionMulVec3(other, axis), v));
        m.setWithQuaternion(other);
        const Quaternion product = changed(q, &Quaternion::multiply, other);
        EXPECT_TRUE(changed(other, &Quaternion::premultiply, q) == product);
        EXPECT_TRUE(isNear(changed(m, &Mat4::setWithQuaternion, product), rotation * m));
        const Quaternion inverse = changed(product, &Quaternion::setInverse);
        EXPECT_TRUE(isNear(changed(inverse, &Quaternion::multiply, product), Quaternion()));
    }
    for (const Vec3& axis : {Vec3(1, 0, 0), Vec3(0, 1, 0), Vec3(0, 0, 1)}) {
        const Mat4 m = changed(Mat4(false), [&](Mat4& half) { half.setScale(axis * 2.0 - 1.0); });
        EXPECT_TRUE(changed(Quaternion(), &Quaternion::setWithMat4, m) ==
                    Quaternion(axis.x, axis.y, axis.z, 0));
    }
}

TEST(Quaternion, InterpolatesAlongTheShorterArc) {
    Random random;
    for (int i = 0; i < 50; ++i) {
        Quaternion a = changed(random.make<Quaternion>(), &Quaternion::normalize);
        const Quaternion b = changed(random.make<Quaternion>(), &Quaternion::normalize);
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
    double array[] = {0, 0, 0, 0, 2, 0, 0, 0};
    const Mat4 halfTurn(0, 1, 0, 0, 1, 0, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1, true);
    const double tie = 0.7071067811865475; // of x and y: y is formed from the diagonal
    expectSame<Quaternion>(
        {{changed(Quaternion(), [](Quaternion& q) { q.set(1, 2, 3); }), {1, 2, 3, 1}},
         {changed(Quaternion(), &Quaternion::setWithArray, array, 1), {0, 0, 0, 2}},
         {changed(Quaternion(), &Quaternion::setWithMat4, halfTurn),
          {tie, 0.7071067811865476, 0, 0}},
         {changed(Quaternion(1, 2, 3), &Quaternion::conjugate), {-1, -2, -3, 1}},
         {changed(Quaternion(0, 0, 0, 2), &Quaternion::setInverse), {}},
         {changed(Quaternion(0, 0, 0, 0), &Quaternion::normalize), {}},
         {Quaternion(Vec3(1, 0, 0), Vec3(-1, 0, 0)), {0, 1, 0, 0}},
         {Quaternion(Vec3(0, 0, 1), Vec3(0, 0, -1)), {0, -1, 0, 0}}});
    EXPECT_NEAR(Quaternion(Vec3(2, 0, 0), pi).length(), 2.0, 1e-12) << "the axis as it is";
    EXPECT_TRUE(Quaternion().getRotationAxis() == Vec3(0, 0, 1));
    Quaternion(1, 2, 3).toArray(array, 2);
    EXPECT_THAT(array, testing::ElementsAre(0, 0, 1, 2, 3, 1, 0, 0));
}

} // namespace Vexorel::PrismDrift::Testing
