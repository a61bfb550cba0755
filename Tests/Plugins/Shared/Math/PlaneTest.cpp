// Vec2, Affine, Rect and Range.

#include "MathTesting.h"

namespace Vexorel::PrismDrift::Testing {

static_assert(std::is_same_v<decltype(&Vec2::getMin), void (Vec2::*)(const Vec2&)>);
static_assert(std::is_same_v<decltype(&Affine::operator==), bool (Affine::*)(const Affine&)>);

TEST(Float, ClampsAndWrapsOnce) {
    const double rows[][3] = {
        {350, 10, -20}, {10, 350, 20}, {190, 10, 180}, {10, 190, -180}, {800, 0, 440}};
    for (const auto& [a, b, expected] : rows) {
        EXPECT_EQ(cyclicDifference(a, b, 360.0), expected) << a << " - " << b;
    }
    EXPECT_TRUE(clampScalar(0, 3, 1) == 3 && clampScalar(4, 3, 1) == 1) << "the low end first";
    EXPECT_TRUE(std::isnan(clampScalar(NAN, 0, 1)));
}

TEST(Vec2, JudgesNearnessByManyRules) {
    const Vec2 zero;
    EXPECT_TRUE(!Vec2(1e-12, 0).negligible() && Vec2(0.9e-12, 0).negligible()) << "strict";
    EXPECT_TRUE(!Vec2::equalWithTolerance({0, 0}, {3, 4}, 5.0) && !Vec2(1e-300, 0).isZero());
    EXPECT_TRUE(Vec2::isDuplicate(zero, {0.24, -0.24}) && !Vec2::isDuplicate(zero, {0.25, 0}));
    EXPECT_TRUE(Vec2(3, 4).isCollinear({-6, -8}) && !Vec2(3, 4).isCollinear({-6, -8 + 1e-10}));
    EXPECT_TRUE(Vec2(3, 4).isOrthogonal({-8, 6}) && !Vec2(3, 4).isOrthogonal({-8, 6 + 1e-10}));
    EXPECT_TRUE(zero.isCollinear({1, 2}) && Vec2(NAN, 0).nonNegligible());
}

TEST(Vec2, TurnsInDegrees) {
    Random random;
    for (int i = 0; i < 50; ++i) {
        const Vec2 v = random.make<Vec2>();
        const Vec2 centre = random.make<Vec2>();
        const double angle = random(180.0);
        Vec2 turned = v;
        turned.rotate(angle);
        EXPECT_NEAR(v.angleBetween(turned), angle, 1e-9);
        Vec2 around = v + centre;
        around.rotateAround(angle, centre);
        EXPECT_TRUE(isNear(around, turned + centre));
        turned.setAngle(angle);
        EXPECT_TRUE(
            isNear(Vec2(turned.getAngle(), turned.length()), Vec2(angle, v.length()), 1e-9));
    }
    Vec2 v(0.1, 0.2);
    EXPECT_TRUE(isSame(v.rotateRound(-0.0, {9, 9}), v)) << "no turn is exact";
    v.rotate(360.0);
    EXPECT_FALSE(isSame(v, Vec2(0.1, 0.2))) << "a full turn is not";
    EXPECT_NEAR(Vec2(1, 0).rotateRound(180, {}).y, 5.3e-14, 1e-15) << "15 digits of a degree";
    EXPECT_TRUE(Vec2(0, 0).getQuadrant() == 1 && Vec2(-1, 0).getQuadrant() == 2);
    EXPECT_TRUE(Vec2(-1, -1).getQuadrant() == 3 && Vec2(0, -1).getQuadrant() == 4);
}

TEST(Vec2, ComputesByItsDefinitions) {
    const Vec2 v(2, 3);
    double array[] = {7, 8, 9};
    double pair[] = {3e-13, 4e-13};
    Vec2::normalize(&pair[0], &pair[1]);
    expectSame<Vec2>({{v.normal(), {-3, 2}},
                      {v.perpindicularLeft(), {-3, 2}},
                      {v.perpindicularRight(), {3, -2}},
                      {changed(v, &Vec2::prepen), {-3, 2}},
                      {changed(v, &Vec2::getMin, Vec2(1, 4)), {1, 3}},
                      {changed(v, &Vec2::getMax, Vec2(1, 4)), {2, 4}},
                      {changed(v, &Vec2::clamp, Vec2(3, 0), Vec2(1, 1)), {3, 1}},
                      {changed(v, &Vec2::followSigns, Vec2(-1, 0)), {-2, -3}},
                      {changed(v, &Vec2::fromArray, nullptr, 9), v},
                      {changed(v, &Vec2::fromArray, array, 1), {8, 9}},
                      {{pair[0], pair[1]}, {3e-13, 4e-13}}, // too short
                      {v.dotProduction({4, 5}), {8, 15}},
                      {Vec2(-7, 7) % Vec2(4, -4), {-3, 3}},
                      {v.project({0, 5}), {0, 3}},
                      {v.project({}), {}},
                      {Vec2::lerp({1, 0}, {3, 1}, 2.0), {5, 2}},
                      {{v.cross({4, 5}), v.slope()}, {-2, 1.5}},
                      {{v.lengthSquare(), Vec2::signedArea({}, {2, 0}, {0, 3})}, {13, 6}},
                      {Vec2::centerToTopLefetPoint({1, 2}, {10, 20}), {6, 8}},
                      {Vec2::topLeftToCenterPoint({6, 8}, {10, 20}), {1, 2}}});
    Vec2 w(-1, -4);
    EXPECT_TRUE(!Vec2::anchorOutward(w, {-2, 0}, {-1, 0}, false) && w.x == -1.0);
    EXPECT_TRUE(Vec2::anchorInward(w, {-2, 0}, {-1, 0}) && w.x == 1.0);
}

TEST(Vec2, RelatesPointsAndLines) {
    const struct {
        Vec2 a, b, c, d;
        int result;
        Vec2 out;
        double ua, ub;
    } cases[] = {{{0, 0}, {2, 2}, {0, 2}, {2, 0}, 1, {1, 1}, 0.5, 0.5},
                 {{0, 0}, {1, 1}, {0, 2}, {1, 1}, 1, {1, 1}, 1.0, 1.0},
                 {{0, 0}, {1, 1}, {0, 4}, {4, 0}, 3, {2, 2}, 2.0, 0.5},
                 {{0, 0}, {4, 4}, {0, 4}, {1, 3}, 4, {2, 2}, 0.5, 2.0},
                 {{0, 0}, {1, 1}, {0, 4}, {1, 3}, 5, {2, 2}, 2.0, 2.0},
                 {{0, 0}, {4, 2}, {0, 1}, {4, 3}, 0, {0, 0}, -9.0, -9.0},
                 {{0, 0}, {4, 2}, {8, 4}, {12, 6}, 2, {2, 1}, -9.0, -9.0}};
    for (const auto& [a, b, c, d, result, out, ua, ub] : cases) {
        Vec2 crossing(7, 7);
        double places[] = {-9.0, -9.0};
        EXPECT_EQ(Vec2::intersect(a, b, c, d, crossing, &places[0], &places[1]), result);
        EXPECT_TRUE(isSame(crossing, out) && isSame(Vec2(places[0], places[1]), Vec2(ua, ub)));
    }
    Vec2 p(3, 4);
    EXPECT_EQ(p.distanceToLine({1, 0}, {2, 0}), 4.0) << "the line has no ends";
    EXPECT_EQ(p.lineProjectionLength({5, 0}, {6, 0}), 2.0) << "never negative";
    EXPECT_TRUE(Vec2::intersecting({0, 0}, {1, 0}, {9, 1}, {9, 0})) << "on the line: right of it";
    EXPECT_TRUE(Vec2::oppositeQuadrant({1, 0}, {-1, 0}) && Vec2::oppositeQuadrant({0, 1}, {0, -1}));
    EXPECT_FALSE(Vec2::oppositeQuadrant({1, 1}, {-1, 1}) || Vec2::oppositeQuadrant({1, 1}, {1, 0}));
}

TEST(Affine, ComposesAsOneAfterTheOther) {
    Random random;
    for (int i = 0; i < 30; ++i) {
        const Affine t = random.make<Affine>(2.0);
        const Affine o = random.make<Affine>(2.0);
        const Vec2 p = random.make<Vec2>();
        const double s = random(60.0);
        const double u = random(3.0);
        Affine composed = t;
        composed.multiply(o);
        EXPECT_TRUE(isNear(composed.getTransform(p), o.getTransform(t.getTransform(p)), 1e-11));
        const auto checkStep = [&](auto compose, auto set) {
            Affine before = t;
            Affine step(false);
            compose(before);
            set(step);
            EXPECT_TRUE(
                isNear(before.getTransform(p), t.getTransform(step.getTransform(p)), 1e-10));
        };
        checkStep([&](Affine& a) { a.premultiply(o); }, [&](Affine& a) { a = o; });
        checkStep([&](Affine& a) { a.translate(s, u); }, [&](Affine& a) { a.setTranslate(s, u); });
        checkStep([&](Affine& a) { a.scale(s, u); }, [&](Affine& a) { a.setScale(s, u); });
        checkStep([&](Affine& a) { a.skewX(s); }, [&](Affine& a) { a.setSkewX(s); });
        checkStep([&](Affine& a) { a.skewY(s); }, [&](Affine& a) { a.setSkewY(s); });
        checkStep([&](Affine& a) { a.rotate(s); }, [&](Affine& a) { a.setRotate(s); });
        const Vec2 anchor = random.make<Vec2>();
        composed.set(anchor, {5, 6}, {u, -2.0}, s);
        Vec2 expected = (p - anchor) * Vec2(u, -2.0);
        expected.rotate(s);
        EXPECT_TRUE(isNear(composed.getTransform(p), expected + Vec2(5, 6), 1e-11));
        EXPECT_TRUE(isNear(t.getInverse().getTransform(t.getTransform(p)), p, 1e-8));
    }
}

TEST(Affine, RefusesToInvertBelowItsLimitAndRoundsItsScale) {
    Affine a(0.0009, 0, 0, 0.0009, 7, 7);
    Affine out(9, 9, 9, 9, 9, 9);
    EXPECT_TRUE(!a.inverse(out) && out.f == 9.0 && a.getInverse() == Affine(true));
    a.setScale(0.001, 0.001);
    EXPECT_TRUE(a.inverse(out)) << "1e-6 itself is not singular";
    EXPECT_TRUE(a.inverse(a) && isSame(a, out)) << "in place too";
    EXPECT_TRUE(Affine(true) == Affine(1, 0, 1e-12, 1, 0, 0));
    const double scales[][3] = {{1, 3, 2}, {0.12345, 0.12345, 0.1235F}, {-2, 0.00005, 1}};
    for (const auto& [sx, sy, expected] : scales) {
        a.setScale(sx, sy);
        EXPECT_EQ(a.averageScale(), expected);
    }
    EXPECT_EQ(Affine(3, 0, 4, 0, 0, 0).averageScale(), 2.5) << "rows, not columns";
}

TEST(Rect, KeepsItsRules) {
    Rect r(-3, -3, 6, 8);
    expectSame<Rect>({{changed(r, &Rect::setRight, 1), {-3, -3, 4, 8}},
                      {changed(r, &Rect::setBottom, 0.1F), {-3, -3, 6, double{0.1F} + 3.0}},
                      {changed(r, &Rect::setLeft, 1), {1, -3, 6, 8}},
                      {changed(r, &Rect::setTop, 2), {-3, 2, 6, 8}},
                      {changed(r, &Rect::setCenter, Vec2(1, 2)), {-2, -2, 6, 8}},
                      {changed(r, &Rect::include, Vec2(7, -9)), {-3, -9, 10, 14}},
                      {r.expand({1, 2}), {-4, -5, 8, 12}},
                      {r.scale(2, 0.5F), {-9, 1, 18, 0}}, // twice the growth of the factor
                      {r.intersect({5, -1, 1, 9}), {5, -1, -2, 6}}, // apart: negative
                      {r.unite({3, -3, 1, 8}), {-3, -3, 7, 8}},
                      {Rect(r.getTopRight(), r.getBottomRight()), {3, -3, 3, 5}},
                      {Rect(r.getCenter(), {r.getArea(), 0}), {0, 1, 48, 0}}});
    const Rect beside(3, -3, 1, 8);
    EXPECT_TRUE(r.touches(beside) && !r.intersects(beside) && !r.containsRect(beside));
    EXPECT_TRUE(r.containsRect(r) && r.containsPoint({3, 0}) && !Rect(1, 1, 0, 5).isEmpty());
    EXPECT_TRUE(Range(true).second == 2147483647 && Range(7).first == 7 && Range(7).second == 0);
}

} // namespace Vexorel::PrismDrift::Testing
