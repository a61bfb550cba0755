#include "Shared/Math/Mat4.h"

#include "Shared/Math/Quaternion.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace Vexorel::PrismDrift {

namespace {

/// Two doubles that are worked on at once, each rounded as it would be alone.
using Pair = double __attribute__((vector_size(2 * sizeof(double))));

Pair load(const double* from) {
    Pair pair;
    std::memcpy(&pair, from, sizeof pair);
    return pair;
}

void store(Pair pair, double* to) {
    std::memcpy(to, &pair, sizeof pair);
}

/// Two columns side by side: in each of the four pairs an element of the first and its neighbour.
struct Zipped {
    Pair rows[4];

    Zipped(const double* first, const double* second) {
        for (int i = 0; i < 4; i += 2) {
            const Pair a = load(first + i);
            const Pair b = load(second + i);
            rows[i] = __builtin_shufflevector(a, b, 0, 2);
            rows[i + 1] = __builtin_shufflevector(a, b, 1, 3);
        }
    }
};

/// The determinants of the 2×2 blocks that two columns form in rows i and j, for every i < j.
template <class Value>
struct Minors {
    Value d01, d02, d03, d12, d13, d23;
};

template <class Value>
Minors<Value> minorsOf(const Value* left, const Value* right) {
    return {left[0] * right[1] - left[1] * right[0], left[0] * right[2] - left[2] * right[0],
            left[0] * right[3] - left[3] * right[0], left[1] * right[2] - left[2] * right[1],
            left[1] * right[3] - left[3] * right[1], left[2] * right[3] - left[3] * right[2]};
}

/// One of the two sets of minors that pairs hold.
Minors<double> half(const Minors<Pair>& of, int which) {
    return {of.d01[which], of.d02[which], of.d03[which],
            of.d12[which], of.d13[which], of.d23[which]};
}

/// The cofactors of a column of a 4×4 matrix, by expansion of each 3×3 block along a third column,
/// v, with the minors of the other two.
template <class Value>
struct Cofactors {
    Value c0, c1, c2, c3;

    Cofactors(const Value* v, const Minors<double>& of)
        : c0(v[1] * of.d23 - v[2] * of.d13 + v[3] * of.d12),
          c1(v[2] * of.d03 - v[0] * of.d23 - v[3] * of.d02),
          c2(v[0] * of.d13 - v[1] * of.d03 + v[3] * of.d01),
          c3(v[1] * of.d02 - v[0] * of.d12 - v[2] * of.d01) {}
};

/// By expansion along the first column.
double determinantOf(const double* m, double c0, double c1, double c2, double c3) {
    return m[0] * c0 + m[1] * c1 + m[2] * c2 + m[3] * c3;
}

/// The scale per axis and the rotation of the upper left 3×3 block.
void splitRotationAndScale(Mat4 matrix, Quaternion& quaternion, Vec3& scale) {
    double lengths[3];
    for (int column = 0; column < 3; ++column) {
        lengths[column] = matrix.getColumn(column).getVec3().length();
    }
    if (matrix.determinant() < 0.0) {
        lengths[0] = -lengths[0];
    }
    for (int column = 0; column < 3; ++column) {
        constexpr double insteadOfZero = 1e-06;
        lengths[column] = lengths[column] == 0.0 ? insteadOfZero : lengths[column];
        const double factor = 1.0 / lengths[column];
        for (int row = 0; row < 3; ++row) {
            matrix.m[4 * column + row] *= factor;
        }
    }
    quaternion.setWithMat4(matrix);
    scale.fromArray(lengths, 0);
}

} // namespace

Mat4::Mat4(double v0, double v1, double v2, double v3, double v4, double v5, double v6, double v7,
           double v8, double v9, double v10, double v11, double v12, double v13, double v14,
           double v15, bool storageOrder)
    : m{v0, v1, v2, v3, v4, v5, v6, v7, v8, v9, v10, v11, v12, v13, v14, v15} {
    if (!storageOrder) {
        setTranspose();
    }
}

Mat4::Mat4(double* values, bool storageOrder) {
    std::memcpy(m, values, sizeof m);
    if (!storageOrder) {
        setTranspose();
    }
}

Mat4::Mat4(const Vec4& first, const Vec4& second, const Vec4& third, const Vec4& fourth,
           bool asRows) {
    setColumn(0, first);
    setColumn(1, second);
    setColumn(2, third);
    setColumn(3, fourth);
    if (asRows) {
        setTranspose();
    }
}

void Mat4::set(double v0, double v1, double v2, double v3, double v4, double v5, double v6,
               double v7, double v8, double v9, double v10, double v11, double v12, double v13,
               double v14, double v15) {
    *this = Mat4(v0, v1, v2, v3, v4, v5, v6, v7, v8, v9, v10, v11, v12, v13, v14, v15, false);
}

bool Mat4::operator==(const Mat4& other) const {
    return std::equal(std::begin(m), std::end(m), std::begin(other.m),
                      [](double a, double b) { return equalWithin(a, b, TOLERANCE); });
}

void Mat4::setRow(int i, const Vec4& row) {
    m[i] = row.x;
    m[i + 4] = row.y;
    m[i + 8] = row.z;
    m[i + 12] = row.w;
}

void Mat4::setColumn(int i, const Vec4& column) {
    m[4 * i + 0] = column.x;
    m[4 * i + 1] = column.y;
    m[4 * i + 2] = column.z;
    m[4 * i + 3] = column.w;
}

void Mat4::position(const Vec3& translation) {
    m[12] = translation.x;
    m[13] = translation.y;
    m[14] = translation.z;
}

void Mat4::setWithAffine(const Affine& affine) {
    setTranslate(affine.e, affine.f, 0.0);
    m[0] = affine.a;
    m[1] = affine.b;
    m[4] = affine.c;
    m[5] = affine.d;
}

double Mat4::getMaxScaleOnAxis() const {
    return std::sqrt(
        std::max({getColumn(0).getVec3().lengthSquare(), getColumn(1).getVec3().lengthSquare(),
                  getColumn(2).getVec3().lengthSquare()}));
}

Mat4 Mat4::operator+(const Mat4& other) {
    Mat4 result(false);
    add(*this, other, result);
    return result;
}

Mat4 Mat4::operator-(const Mat4& other) {
    Mat4 result(false);
    subtract(*this, other, result);
    return result;
}

Mat4 Mat4::operator*(double factor) {
    Mat4 result(*this);
    for (double& element : result.m) {
        element *= factor;
    }
    return result;
}

void Mat4::add(const Mat4& a, const Mat4& b, Mat4& out) {
    for (int i = 0; i < 16; ++i) {
        out.m[i] = a.m[i] + b.m[i];
    }
}

void Mat4::subtract(const Mat4& a, const Mat4& b, Mat4& out) {
    for (int i = 0; i < 16; ++i) {
        out.m[i] = a.m[i] - b.m[i];
    }
}

Vec3 Mat4::multAndProject(const Vec3& point) {
    const Vec4 image = mult(Vec4(point, 1.0));
    return image.getVec3() * (1.0 / image.w);
}

Mat4 Mat4::operator*(const Mat4& other) {
    Mat4 result(false);
    mult(*this, other, result);
    return result;
}

void Mat4::mult(const Mat4& a, const Mat4& b, Mat4& out) {
    const Pair upper0 = load(a.m);
    const Pair lower0 = load(a.m + 2);
    const Pair upper1 = load(a.m + 4);
    const Pair lower1 = load(a.m + 6);
    const Pair upper2 = load(a.m + 8);
    const Pair lower2 = load(a.m + 10);
    const Pair upper3 = load(a.m + 12);
    const Pair lower3 = load(a.m + 14);
    // A column is read before the same column is written, so `out` may be `b` too.
    const auto writeColumn = [&](const double* v, double* to) {
        const Pair upper = upper0 * v[0] + upper1 * v[1] + upper2 * v[2] + upper3 * v[3];
        const Pair lower = lower0 * v[0] + lower1 * v[1] + lower2 * v[2] + lower3 * v[3];
        store(upper, to);
        store(lower, to + 2);
    };
    writeColumn(b.m, out.m);
    writeColumn(b.m + 4, out.m + 4);
    writeColumn(b.m + 8, out.m + 8);
    writeColumn(b.m + 12, out.m + 12);
}

void Mat4::transpose(Mat4& out) {
    out = Mat4(m[0], m[4], m[8], m[12], m[1], m[5], m[9], m[13], m[2], m[6], m[10], m[14], m[3],
               m[7], m[11], m[15], true);
}

bool Mat4::getInverse(Mat4& out) const {
    // Row i of the adjugate holds the cofactors of column i, up to the sign of its place. Rows 0
    // and 1 expand with the minors of columns 2 and 3, rows 2 and 3 with those of columns 0 and 1,
    // so each two rows are formed as one; in a column they lie next to each other.
    const Zipped left(m, m + 8);
    const Zipped right(m + 4, m + 12);
    const Minors<Pair> minors = minorsOf(left.rows, right.rows);
    const Cofactors<Pair> upper(Zipped(m + 4, m).rows, half(minors, 1));
    const Cofactors<Pair> lower(Zipped(m + 12, m + 8).rows, half(minors, 0));
    const double determinant = determinantOf(m, upper.c0[0], upper.c1[0], upper.c2[0], upper.c3[0]);
    if (determinant == 0.0) {
        out.setIdentity();
        return false;
    }
    const double inverse = 1.0 / determinant;
    const Pair factor = {inverse, -inverse};
    store(upper.c0 * factor, out.m);
    store(lower.c0 * factor, out.m + 2);
    store(upper.c1 * factor, out.m + 4);
    store(lower.c1 * factor, out.m + 6);
    store(upper.c2 * factor, out.m + 8);
    store(lower.c2 * factor, out.m + 10);
    store(upper.c3 * factor, out.m + 12);
    store(lower.c3 * factor, out.m + 14);
    return true;
}

double Mat4::determinant() {
    const Cofactors<double> first(m + 4, minorsOf(m + 8, m + 12));
    return determinantOf(m, first.c0, first.c1, first.c2, first.c3);
}

void Mat4::setTranslate(double x, double y, double z) {
    setIdentity();
    position(Vec3(x, y, z));
}

void Mat4::setScale(double x, double y, double z) {
    setZero();
    m[0] = x;
    m[5] = y;
    m[10] = z;
    m[15] = 1.0;
}

void Mat4::setXRotation(double angle) {
    setIdentity();
    m[5] = m[10] = std::cos(angle);
    m[6] = std::sin(angle);
    m[9] = -m[6];
}

void Mat4::setYRotation(double angle) {
    setIdentity();
    m[0] = m[10] = std::cos(angle);
    m[8] = std::sin(angle);
    m[2] = -m[8];
}

void Mat4::setZRotation(double angle) {
    setIdentity();
    m[0] = m[5] = std::cos(angle);
    m[1] = std::sin(angle);
    m[4] = -m[1];
}

void Mat4::setRotation(double angle, double x, double y, double z) {
    Vec3 axis(x, y, z);
    axis.normalize();
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    const double t = 1.0 - c;
    setIdentity();
    m[0] = t * axis.x * axis.x + c;
    m[1] = t * axis.x * axis.y + s * axis.z;
    m[2] = t * axis.x * axis.z - s * axis.y;
    m[4] = t * axis.x * axis.y - s * axis.z;
    m[5] = t * axis.y * axis.y + c;
    m[6] = t * axis.y * axis.z + s * axis.x;
    m[8] = t * axis.x * axis.z + s * axis.y;
    m[9] = t * axis.y * axis.z - s * axis.x;
    m[10] = t * axis.z * axis.z + c;
}

void Mat4::setWithQuaternion(const Quaternion& q) {
    const double x2 = 2.0 * q.x;
    const double y2 = 2.0 * q.y;
    const double z2 = 2.0 * q.z;
    setIdentity();
    m[0] = 1.0 - (y2 * q.y + z2 * q.z);
    m[1] = x2 * q.y + z2 * q.w;
    m[2] = x2 * q.z - y2 * q.w;
    m[4] = x2 * q.y - z2 * q.w;
    m[5] = 1.0 - (x2 * q.x + z2 * q.z);
    m[6] = y2 * q.z + x2 * q.w;
    m[8] = x2 * q.z + y2 * q.w;
    m[9] = y2 * q.z - x2 * q.w;
    m[10] = 1.0 - (x2 * q.x + y2 * q.y);
}

void Mat4::translate(double x, double y, double z) {
    for (int row = 0; row < 4; ++row) {
        m[row + 12] += x * m[row] + y * m[row + 4] + z * m[row + 8];
    }
}

void Mat4::scale(double x, double y, double z) {
    for (int row = 0; row < 4; ++row) {
        m[row] *= x;
        m[row + 4] *= y;
        m[row + 8] *= z;
    }
}

void Mat4::rotate(double angle, double x, double y, double z) {
    Mat4 rotation(true);
    rotation.setRotation(angle, x, y, z);
    mult(rotation);
}

void Mat4::rotateX(double angle) {
    Mat4 rotation(true);
    rotation.setXRotation(angle);
    mult(rotation);
}

void Mat4::rotateY(double angle) {
    Mat4 rotation(true);
    rotation.setYRotation(angle);
    mult(rotation);
}

void Mat4::rotateZ(double angle) {
    Mat4 rotation(true);
    rotation.setZRotation(angle);
    mult(rotation);
}

void Mat4::setPerspective(double fovY, double aspect, double near, double far) {
    const double f = 1.0 / std::tan(fovY * 0.5);
    setZero();
    m[0] = f / aspect;
    m[5] = f;
    m[10] = (near + far) / (near - far);
    m[11] = -1.0;
    m[14] = 2.0 * far * near / (near - far);
}

void Mat4::setFrustum(double left, double right, double bottom, double top, double near,
                      double far) {
    setZero();
    m[0] = 2.0 * near / (right - left);
    m[5] = 2.0 * near / (top - bottom);
    m[8] = (right + left) / (right - left);
    m[9] = (top + bottom) / (top - bottom);
    m[10] = -(near + far) / (far - near);
    m[11] = -1.0;
    m[14] = -2.0 * far * near / (far - near);
}

void Mat4::setOrtho(double left, double right, double top, double bottom, double near, double far) {
    setScale(2.0 / (right - left), 2.0 / (top - bottom), -2.0 / (far - near));
    m[12] = -(right + left) / (right - left);
    m[13] = -(top + bottom) / (top - bottom);
    m[14] = -(far + near) / (far - near);
}

void Mat4::setLookAt(Vec3 eye, Vec3 target, Vec3 up) {
    Vec3 forward = eye - target;
    forward.normalize();
    Vec3 right = up.cross(forward);
    right.normalize();
    right.toArray(m, 0);
    forward.cross(right).toArray(m, 4);
    forward.toArray(m, 8);
}

void Mat4::setLookAt(double eyeX, double eyeY, double eyeZ, double targetX, double targetY,
                     double targetZ, double upX, double upY, double upZ) {
    setLookAt(Vec3(eyeX, eyeY, eyeZ), Vec3(targetX, targetY, targetZ), Vec3(upX, upY, upZ));
}

Mat4 Mat4::getAEToGLConversionMatrix(double width, double height) {
    Mat4 result(true);
    result.setScale(1.0, -1.0, -1.0);
    result.position(Vec3(width * -0.5, height * 0.5, 0.0));
    return result;
}

void Mat4::compose(const Vec3& position, const Quaternion& quaternion, const Vec3& scale) {
    setWithQuaternion(quaternion);
    this->scale(scale);
    this->position(position);
}

void Mat4::compose(const Vec3& anchor, const Vec3& position, const Quaternion& quaternion,
                   const Vec3& scale) {
    Mat4 placed(true);
    placed.setTranslate(position);
    setWithQuaternion(quaternion);
    mult(placed, *this, *this);
    translate((anchor * scale).negate());
    for (int row = 0; row < 3; ++row) {
        m[row] *= scale.x;
        m[row + 4] *= scale.y;
        m[row + 8] *= scale.z;
    }
}

void Mat4::decompose(Vec3& position, Quaternion& quaternion, Vec3& scale) {
    position.setFromMatrixPosition(*this);
    splitRotationAndScale(*this, quaternion, scale);
}

void Mat4::decompose(const Vec3& anchor, Vec3& position, Quaternion& quaternion, Vec3& scale) {
    const Vec3 shift = multWithoutTranslate(anchor);
    position.setFromMatrixPosition(*this);
    position += shift;
    splitRotationAndScale(*this, quaternion, scale);
}

} // namespace Vexorel::PrismDrift
