#pragma once

/// An affine transform of the plane: x' = a·x + c·y + e, y' = b·x + d·y + f.

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
    explicit Affine(bool identity) : a(identity ? 1.0 : 0.0), d(identity ? 1.0 : 0.0) {}
    Affine(double aValue, double bValue, double cValue, double dValue, double eValue, double fValue)
        : a(aValue), c(cValue), e(eValue), b(bValue), d(dValue), f(fValue) {}

    /// Makes this transform "`other` after this": p goes to other(this(p)). `other` is not this.
    void multiply(const Affine& other);

    /// Makes this the transform of a layer: a point is taken relative to `anchor`, scaled, turned
    /// by `rotation` degrees and placed at `position`.
    void set(Vec2 anchor, Vec2 position, Vec2 scale, double rotation);
};

} // namespace Vexorel::PrismDrift
