// Mat4, from its storage to compose and decompose.

#include "MathTesting.h"

namespace Vexorel::PrismDrift::Testing {

static double counted[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

static const Mat4 countedMatrix(counted, true);

static_assert(std::is_same_v<decltype(&Mat4::determinant), double (Mat4::*)()>);

TEST(Mat4, StoresColumnByColumn) {
    Mat4 m(counted, true);
    Mat4 rows(false);
    rows.set(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    EXPECT_TRUE(m.m[1] == 1.0 && rows.m[1] == 4.0 && isSame(rows, Mat4(counted, false)));
    const Vec4 columns[] = {m.getColumn(0), m.getColumn(1), m.getColumn(2), m.getColumn(3)};
    EXPECT_TRUE(isSame(Mat4(columns[0], columns[1], columns[2], columns[3], false), m));
    EXPECT_TRUE(isSame(Mat4(columns[0], columns[1], columns[2], columns[3], true), rows));
    rows.setRow(0, columns[1]);
    rows.setColumn(3, columns[2]);
    EXPECT_TRUE(isSame(rows.getRow(0), Vec4(4, 5, 6, 8)) && rows.m[15] == 11.0);
    rows.setWithAffine(Affine(1, 2, 3, 4, 5, 6));
    m.position({7, 8, 9});
    m.transpose(m);
    expectSame<Mat4>({{rows, Mat4(1, 2, 0, 0, 3, 4, 0, 0, 0, 0, 1, 0, 5, 6, 0, 1, true)},
                      {m - rows, Mat4(-1, 2, 8, 7, -2, 1, 9, 8, 2, 6, 9, 9, -2, 1, 11, 14, true)}});
    EXPECT_TRUE(isSame(rows.getAffine(), Affine(1, 2, 3, 4, 5, 6)));
}

TEST(Mat4, MultipliesAndInverts) {
    Random random;
    for (int i = 0; i < 50; ++i) {
        double values[32];
        std::generate(std::begin(values), std::end(values), [&] { return random(); });
        Mat4 a(values, true);
        Mat4 b(values + 16, true);
        Mat4 product(false);
        for (int k = 0; k < 64; ++k) {
            product.m[k % 16] += a.m[k % 4 + 4 * (k / 16)] * b.m[k / 16 + 4 * (k % 16 / 4)];
        }
        Mat4 inPlace = b;
        Mat4::mult(a, inPlace, inPlace);
        EXPECT_TRUE(isSame(inPlace, product) && isSame(a * b, product));
        EXPECT_TRUE(inPlace.getInverse(inPlace));
        EXPECT_TRUE(isNear(product * inPlace, Mat4(true), 1e-7));
        EXPECT_NEAR(product.determinant() / (a.determinant() * b.determinant()), 1.0, 1e-9);
    }
    EXPECT_EQ(Mat4(0, 2, 0, 0, 3, 0, 0, 0, 0, 0, 0, 5, 0, 0, 7, 0, true).determinant(), 210.0);
    Mat4 out(false);
    EXPECT_TRUE(!Mat4(counted, true).getInverse(out) && isSame(out, Mat4(true))) << "singular";
    Mat4 halving = changed(Mat4(true), [](Mat4& m) { m.m[15] = 2.0; });
    EXPECT_TRUE(isSame(halving.multAndProject({2, 4, 6}), Vec3(1, 2, 3)));
}

TEST(Mat4, BuildersOverwriteAndRightHandFormsMultiply) {
    Random random;
    for (int i = 0; i < 20; ++i) {
        const Vec3 v = random.make<Vec3>();
        const Vec4 v4(v, 9.0);
        const double angle = random(3.0);
        const auto check = [&](auto build, auto apply) {
            EXPECT_TRUE(isNear(changed(countedMatrix, apply),
                               Mat4(countedMatrix) * changed(countedMatrix, build), 1e-10));
        };
        check([&](Mat4& m) { m.setTranslate(v); }, [&](Mat4& m) { m.translate(v4); });
        check([&](Mat4& m) { m.setScale(v); }, [&](Mat4& m) { m.scale(v4); });
        check([&](Mat4& m) { m.setRotation(angle, v); }, [&](Mat4& m) { m.rotate(angle, v4); });
        check([&](Mat4& m) { m.setRotation(angle, 0, 0, 0); }, [&](Mat4& m) { m.rotateX(angle); });
        check([&](Mat4& m) { m.setRotation(angle, 0, 2, 0); }, [&](Mat4& m) { m.rotateY(angle); });
        check([&](Mat4& m) { m.setRotation(angle, 0, 0, 5); }, [&](Mat4& m) { m.rotateZ(angle); });
    }
    EXPECT_EQ(changed(countedMatrix, [](Mat4& m) { m.setScale(2, -5, 3); }).getMaxScaleOnAxis(),
              5.0);
}

TEST(Mat4, ProjectsIntoClipSpace) {
    const double f = 1.0 / std::tan(0.5);
    const Mat4 expected(f / 2, 0, 0, 0, 0, f, 0, 0, 0, 0, -1.75, -1, 0, 0, -8.25, 0, true);
    EXPECT_TRUE(isSame(
        changed(countedMatrix, [](Mat4& m) { m.setPerspective(1.0, 2.0, 3.0, 11.0); }), expected));
    Mat4 frustum = changed(countedMatrix, [](Mat4& m) { m.setFrustum(1, 3, 5, 9, 2, 7); });
    EXPECT_TRUE(isNear(frustum.multAndProject({10.5, 31.5, -7}), Vec3(1)));
    Mat4 ortho = changed(countedMatrix, [](Mat4& m) { m.setOrtho(1, 3, 5, 9, 2, 7); });
    EXPECT_TRUE(isNear(ortho.multAndProject({1, 5, -2}), Vec3(-1, 1, -1))) << "top before bottom";
    EXPECT_TRUE(
        isSame(Mat4::getAEToGLConversionMatrix(100, 60) * Vec3(0, 9, 2), Vec3(-50, 21, -2)));
}

TEST(Mat4, LooksAtItsTarget) {
    const Vec3 rows[][5] = {// eye, up, right, new up, forward
                            {{0, 0, 5}, {0, 1, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
                            {{0, 0, 0}, {0, 1, 0}, {0, 0, -1}, {0, 1, 0}, {1, 0, 0}},
                            {{0, 5, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, -1}, {0, 1, 0}},
                            {{5, 0, 0}, {1, 0, 0}, {1, 0, 0}, {0, 0, 0}, {1, 0, 0}}};
    for (const auto& [eye, up, right, newUp, forward] : rows) {
        const Mat4 m = changed(countedMatrix,
                               [&eye = eye, &up = up](Mat4& to) { to.setLookAt(eye, Vec3(), up); });
        const Vec4 untouched(12, 13, 14, 15);
        EXPECT_TRUE(isSame(m, Mat4({right, 3}, {newUp, 7}, {forward, 11}, untouched, false)));
    }
}

TEST(Mat4, ComposesAndDecomposes) {
    Random random;
    Vec3 position;
    Vec3 scale;
    Quaternion q;
    for (int i = 0; i < 50; ++i) {
        const Vec3 anchor = random.make<Vec3>();
        const Vec3 place = random.make<Vec3>();
        const Quaternion turn = changed(random.make<Quaternion>(), &Quaternion::normalize);
        const Vec3 factors(random(3.0), 0.5 + std::abs(random()), 0.5 + std::abs(random()));
        const Vec3 p = random.make<Vec3>();
        Mat4 m(false);
        m.compose(anchor, place, turn, factors);
        const Vec3 arm = Quaternion::quaternionMulVec3(turn, (p - anchor) * factors);
        EXPECT_TRUE(isNear(m * p, arm + place, 1e-10));
        m.decompose(anchor, position, q, scale);
        EXPECT_TRUE(isNear(position, place, 1e-10) && isNear(scale, factors, 1e-10));
        EXPECT_NEAR(std::abs(q.dot(turn)), 1.0, 1e-10);
        Mat4 plain(false);
        plain.compose(place, turn, factors);
        m.compose(Vec3(), place, turn, factors);
        EXPECT_TRUE(plain == m);
    }
    changed(countedMatrix, [](Mat4& m) { m.setScale(2, -3, 4); }).decompose(position, q, scale);
    EXPECT_TRUE(isSame(scale, Vec3(-2, 3, 4)) && isSame(q, Quaternion(0, 0, 1, 0)));
    changed(countedMatrix, [](Mat4& m) { m.setScale(0, 3, 4); }).decompose(position, q, scale);
    EXPECT_TRUE(isSame(scale, Vec3(1e-06, 3, 4)));
}

} // namespace Vexorel::PrismDrift::Testing
