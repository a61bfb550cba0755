#include "Shared/Math/Barycentric.h"

namespace Vexorel::PrismDrift {

namespace {

template <class Vector>
double dotProduct(const Vector& first, const Vector& second) {
    return first.dot(second);
}

double dotProduct(const Color& first, const Color& second) {
    return first.r() * second.r() + first.g() * second.g() + first.b() * second.b() +
           first.a() * second.a();
}

/// p - c as a sum of the edges a - c and b - c with the least squared error: two linear equations
/// in the dot products of these vectors, which are the same in any number of dimensions.
template <class Point>
Barycentric weightsOf(const Point& a, const Point& b, const Point& c, const Point& p) {
    const Point e0 = b - c;
    const Point e1 = a - c;
    const Point ep = p - c;
    const double d00 = dotProduct(e0, e0);
    const double d11 = dotProduct(e1, e1);
    const double d01 = dotProduct(e0, e1);
    const double dp0 = dotProduct(ep, e0);
    const double dp1 = dotProduct(ep, e1);
    const double denominator = d00 * d11 - d01 * d01;
    const double u = (d00 * dp1 - dp0 * d01) / denominator;
    const double v = (d11 * dp0 - dp1 * d01) / denominator;
    return {u, v, 1.0 - u - v};
}

} // namespace

Barycentric::Barycentric(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& p)
    : Barycentric(weightsOf(a, b, c, p)) {}

Barycentric::Barycentric(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& p)
    : Barycentric(weightsOf(a, b, c, p)) {}

Barycentric::Barycentric(const Vec4& a, const Vec4& b, const Vec4& c, const Vec4& p)
    : Barycentric(weightsOf(a, b, c, p)) {}

Barycentric::Barycentric(const Color& a, const Color& b, const Color& c, const Color& p)
    : Barycentric(weightsOf(a, b, c, p)) {}

bool Barycentric::isInside() {
    return 0.0 <= u && u <= 1.0 && 0.0 <= v && v <= 1.0 && w >= 0.0;
}

} // namespace Vexorel::PrismDrift
