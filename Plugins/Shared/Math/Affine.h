#pragma once

/// An affine transform of the plane: x' = a·x + c·y + e, y' = b·x + d·y + f. Angles are in degrees
/// and turn from +x towards +y.

#include "Shared/Math/Vec2.h"

namespace Vexorel::PrismDrift {

/// Stored row by row (a, c, e, b, d, f); passed as arguments and to shaders column by column
/// (a, b, c, d, e, f).
class Affine {
public:
    double a = 0.0;
    double c = 0.0;
    double e = 0.0;
    double b = 0.0;
    double d = 0.0;
    double f = 0.0;

    /// The identity for true; six zeros, which is not the identity, for false.
    constexpr explicit Affine(bool identity) : a(identity ? 1.0 : 0.0), d(identity ? 1.0 : 0.0) {}
    constexpr Affine(double aValue, double bValue, double cValue, double dValue, double eValue,
                     double fValue)
        : a(aValue), c(cValue), e(eValue), b(bValue), d(dValue), f(fValue) {}

    // Setters: each replaces all six elements

    void set(double aValue, double bValue, double cValue, double dValue, double eValue,
             double fValue) {
        *this = Affine(aValue, bValue, cValue, dValue, eValue, fValue);
    }
    /// The transform of a layer: a point is taken relative to `anchor`, scaled, turned by
    /// `rotation` degrees and placed at `position`.
    void set(Vec2 anchor, Vec2 position, Vec2 scale, double rotation);
    void setTranslate(double tx, double ty) { set(1.0, 0.0, 0.0, 1.0, tx, ty); }
    void setScale(double sx, double sy) { set(sx, 0.0, 0.0, sy, 0.0, 0.0); }
    /// x' = x + tan(angle)·y. At 90 degrees the factor is very large, yet finite.
    void setSkewX(double angle);
    /// y' = tan(angle)·x + y
    void setSkewY(double angle);
    void setRotate(double angle);

    // Composition, in place

    /// Puts `other` after this transform: p goes to other(this(p)).
    void multiply(const Affine& other);
    /// Puts `other` before this transform: p goes to this(other(p)). The steps below do the same:
    /// after `setTranslate(10, 0)` and `scale(2, 2)` the point (1, 0) goes to (12, 0).
    void premultiply(const Affine& other);
    void translate(double tx, double ty);
    void scale(double sx, double sy);
    void skewX(double angle);
    void skewY(double angle);
    void rotate(double angle);

    // Application to points

    /// Replaces the point by its image.
    void transform(Vec2& point) const;
    Vec2 getTransform(const Vec2& point) const {
        return {a * point.x + c * point.y + e, b * point.x + d * point.y + f};
    }
    /// Writes the image of (x, y); neither pointer may be null.
    void transform(double x, double y, double* outX, double* outY) const;
    /// Replaces both values by their image.
    void transform(double& x, double& y) const;

    // Inverse and inspection. A transform whose determinant lies strictly between -1e-6 and 1e-6
    // counts as singular, however well conditioned it is.

    /// Writes the inverse and returns true. Where singular, returns false and leaves `out` alone.
    bool inverse(Affine& out) const;
    /// The inverse, or the identity where singular.
    Affine getInverse() const;
    /// The mean length of the two rows, rounded in single precision to four decimals, halves away
    /// from zero. For unequal scales joined with a rotation it is not the mean scale.
    double averageScale() const;
    /// Per element within TOLERANCE, inclusive; false with a NaN.
    bool operator==(const Affine& other);
};

static_assert(isPlainRowOfDoubles<Affine, 6>);

} // namespace Vexorel::PrismDrift
