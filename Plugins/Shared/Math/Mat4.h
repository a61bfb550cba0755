#pragma once

/// A 4×4 matrix for transforms of space. Vectors are columns, M·v, and the elements are stored
/// column by column, as OpenGL takes them. Angles are in radians.

#include "Shared/Math/Affine.h"
#include "Shared/Math/Vec4.h"

namespace Vexorel::PrismDrift {

class Quaternion;

/// Builders ("set…", `compose`) overwrite the whole matrix, except `setRow`, `setColumn`,
/// `setLookAt` and `setTranspose`. `mult` with a matrix, `translate`, `scale` and `rotate…`
/// multiply onto it from the right, so their step acts first on a vector. Operators return a new
/// value. Only functions marked `const` can be called on a constant matrix; the static ones take
/// constants. Arguments may be this matrix, and `out` may be an argument.
class Mat4 {
public:
    /// Element (row r, column c) is m[r + 4·c]; the translation is m[12], m[13], m[14].
    double m[16] = {};

    // Construction

    /// The identity for true, all zero for false.
    constexpr explicit Mat4(bool identity) { m[0] = m[5] = m[10] = m[15] = identity ? 1.0 : 0.0; }
    /// Sixteen values in storage order, column by column, for true; row by row for false.
    Mat4(double v0, double v1, double v2, double v3, double v4, double v5, double v6, double v7,
         double v8, double v9, double v10, double v11, double v12, double v13, double v14,
         double v15, bool storageOrder);
    /// The same from sixteen consecutive values.
    Mat4(double* values, bool storageOrder);
    /// From four vectors, with the opposite sense of the flag: they are the rows for true, and the
    /// columns, as stored, for false.
    Mat4(const Vec4& first, const Vec4& second, const Vec4& third, const Vec4& fourth, bool asRows);

    /// Sixteen values row by row, as they are written on paper.
    void set(double v0, double v1, double v2, double v3, double v4, double v5, double v6, double v7,
             double v8, double v9, double v10, double v11, double v12, double v13, double v14,
             double v15);
    void setZero() { *this = Mat4(false); }
    void setIdentity() { *this = Mat4(true); }
    static Mat4 identity() { return Mat4(true); }

    // Elements. An index is 0 to 3 and not tested.

    /// Per element within TOLERANCE, inclusive; false with a NaN.
    bool operator==(const Mat4& other) const;
    Vec4 getRow(int i) const { return {m[i], m[i + 4], m[i + 8], m[i + 12]}; }
    Vec4 getColumn(int i) const { return {m[4 * i + 0], m[4 * i + 1], m[4 * i + 2], m[4 * i + 3]}; }
    void setRow(int i, const Vec4& row);
    void setColumn(int i, const Vec4& column);
    /// Writes the translation and nothing else.
    void position(const Vec3& translation);
    /// The transform of the plane as one of space that leaves z alone.
    void setWithAffine(const Affine& affine);
    /// The part that acts on x and y.
    Affine getAffine() const { return {m[0], m[1], m[4], m[5], m[12], m[13]}; }
    /// The length of the longest of the first three columns, without the bottom row.
    double getMaxScaleOnAxis() const;

    // Arithmetic per element, the bottom row included

    Mat4 operator+(const Mat4& other);
    Mat4 operator-(const Mat4& other);
    Mat4 operator*(double factor);
    void add(const Mat4& other) { add(*this, other, *this); }
    void subtract(const Mat4& other) { subtract(*this, other, *this); }
    static void add(const Mat4& a, const Mat4& b, Mat4& out);
    static void subtract(const Mat4& a, const Mat4& b, Mat4& out);

    // Products. The left factor is this matrix, or the first argument.

    Vec4 mult(const Vec4& v) {
        return {m[0] * v.x + m[4] * v.y + m[8] * v.z + m[12] * v.w,
                m[1] * v.x + m[5] * v.y + m[9] * v.z + m[13] * v.w,
                m[2] * v.x + m[6] * v.y + m[10] * v.z + m[14] * v.w,
                m[3] * v.x + m[7] * v.y + m[11] * v.z + m[15] * v.w};
    }
    Vec4 operator*(const Vec4& v) { return mult(v); }
    /// The image of a point, (x, y, z, 1), without a division by its fourth component.
    Vec3 mult(const Vec3& point) { return mult(Vec4(point, 1.0)).getVec3(); }
    Vec3 operator*(const Vec3& point) { return mult(point); }
    /// The image of a direction, (x, y, z, 0).
    Vec3 multWithoutTranslate(const Vec3& direction) {
        return mult(Vec4(direction, 0.0)).getVec3();
    }
    /// The image of a point times 1 / its fourth component: infinities or NaN where that is 0.
    Vec3 multAndProject(const Vec3& point);
    Mat4 operator*(const Mat4& other);
    /// Makes this matrix this·other.
    void mult(const Mat4& other) { mult(*this, other, *this); }
    static void mult(const Mat4& a, const Mat4& b, Mat4& out);

    // Transpose, inverse, determinant

    void setTranspose() { transpose(*this); }
    /// Writes the transpose; this matrix stays.
    void transpose(Mat4& out);
    /// Writes the inverse of any 4×4 matrix and returns true. Where the determinant is exactly 0,
    /// with no tolerance, writes the identity and returns false.
    bool getInverse(Mat4& out) const;
    /// Of all four rows and columns.
    double determinant();

    // Builders: each overwrites all sixteen elements

    void setTranslate(const Vec3& offset) { setTranslate(offset.x, offset.y, offset.z); }
    void setTranslate(double x, double y, double z);
    void setScale(const Vec3& factors) { setScale(factors.x, factors.y, factors.z); }
    void setScale(double x, double y, double z);
    /// From +y towards +z.
    void setXRotation(double angle);
    /// From +z towards +x.
    void setYRotation(double angle);
    /// From +x towards +y.
    void setZRotation(double angle);
    /// About an axis of any length, counterclockwise when the axis points at the viewer; the zero
    /// axis counts as (1, 0, 0).
    void setRotation(double angle, double x, double y, double z);
    void setRotation(double angle, const Vec3& axis) { setRotation(angle, axis.x, axis.y, axis.z); }
    /// The rotation of a quaternion of length 1, which is not normalised first.
    void setWithQuaternion(const Quaternion& q);

    // Right-hand operations: this·T, this·S, this·R. Of a Vec4 only x, y, z are read.

    void translate(double x, double y, double z);
    void translate(const Vec3& offset) { translate(offset.x, offset.y, offset.z); }
    void translate(const Vec4& offset) { translate(offset.x, offset.y, offset.z); }
    /// Leaves the translation as it is.
    void scale(double x, double y, double z);
    void scale(const Vec3& factors) { scale(factors.x, factors.y, factors.z); }
    void scale(const Vec4& factors) { scale(factors.x, factors.y, factors.z); }
    /// Angle and axis as in `setRotation`.
    void rotate(double angle, double x, double y, double z);
    void rotate(double angle, const Vec3& axis) { rotate(angle, axis.x, axis.y, axis.z); }
    void rotate(double angle, const Vec4& axis) { rotate(angle, axis.x, axis.y, axis.z); }
    void rotateX(double angle);
    void rotateY(double angle);
    void rotateZ(double angle);

    // Projections, into OpenGL's clip space: the camera looks along -z, and z goes from -1 at
    // `near` to 1 at `far`. Equal planes give infinities or NaN.

    /// `fovY` is the full vertical angle in radians, `aspect` width / height.
    void setPerspective(double fovY, double aspect, double near, double far);
    /// The edges are those of the near plane; the bottom comes before the top.
    void setFrustum(double left, double right, double bottom, double top, double near, double far);
    /// The top comes before the bottom.
    void setOrtho(double left, double right, double top, double bottom, double near, double far);

    // Orientation and frames

    /// Writes an orientation, not a view matrix, into the upper left 3×3 block and nothing else:
    /// the columns become right, up and the direction from `target` to `eye`. Where eye and target
    /// coincide, that direction is (1, 0, 0); where `up` is zero or along it, right is (1, 0, 0),
    /// which is no rotation if both lie along x.
    void setLookAt(Vec3 eye, Vec3 target, Vec3 up);
    void setLookAt(double eyeX, double eyeY, double eyeZ, double targetX, double targetY,
                   double targetZ, double upX, double upY, double upZ);
    /// From the host's coordinates (origin at the top left corner, y down) to the origin at the
    /// centre and y up, with z mirrored.
    static Mat4 getAEToGLConversionMatrix(double width, double height);

    // Compose and decompose. With an anchor, the anchor is the local point that goes to `position`.

    /// T(position)·R(quaternion)·S(scale)
    void compose(const Vec3& position, const Quaternion& quaternion, const Vec3& scale);
    /// T(position)·R(quaternion)·S(scale)·T(-anchor)
    void compose(const Vec3& anchor, const Vec3& position, const Quaternion& quaternion,
                 const Vec3& scale);
    /// The reverse of `compose`: writes the arguments; this matrix stays. In a mirrored matrix the
    /// x scale is negative, whichever axis was mirrored. A scale of exactly 0 comes back as 1e-6,
    /// and the quaternion is then not of length 1.
    void decompose(Vec3& position, Quaternion& quaternion, Vec3& scale);
    void decompose(const Vec3& anchor, Vec3& position, Quaternion& quaternion, Vec3& scale);
};

static_assert(isPlainRowOfDoubles<Mat4, 16>);

} // namespace Vexorel::PrismDrift
