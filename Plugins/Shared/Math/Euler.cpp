#include "Shared/Math/Euler.h"

#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"

namespace Vexorel::PrismDrift {

namespace {

/// The axes of an order, R = R(outer)·R(middle)·R(inner), as rows and columns of a matrix.
struct Axes {
    int outer, middle, inner;
    /// 1 where the axes follow each other as x, y, z, x …; -1 where they run backwards.
    double sign;
};

constexpr Axes axesOfOrder[] = {{0, 1, 2, 1.0},  {1, 2, 0, 1.0},  {2, 0, 1, 1.0},
                                {0, 2, 1, -1.0}, {1, 0, 2, -1.0}, {2, 1, 0, -1.0}};

} // namespace

void Euler::set(double xValue, double yValue, double zValue, RotationOrder newOrder) {
    *this = Euler(xValue, yValue, zValue, newOrder == None ? order : newOrder);
}

void Euler::setWithMat4(const Mat4& matrix, RotationOrder newOrder) {
    order = newOrder == None ? order : newOrder;
    if (order < XYZ || order > ZYX) {
        return;
    }
    // For axes i, j, k the product of the three rotations has, up to `sign`, sin(j) at (i, k),
    // cos(j) times the sine and cosine of i at (j, k) and (k, k), and those of k at (i, j) and
    // (i, i). At gimbal lock cos(j) is 0. The angle of k is then taken as 0, which leaves the sine
    // and cosine of i at (k, j) and (j, j).
    const auto [i, j, k, sign] = axesOfOrder[order - XYZ];
    const auto at = [&matrix](int row, int column) { return matrix.m[row + 4 * column]; };
    constexpr double gimbalLock = 0.999999F;
    const double sine = at(i, k);
    double angles[3] = {};
    angles[j] = std::asin(sign * clampScalar(sine, -1.0, 1.0));
    if (std::abs(sine) < gimbalLock) {
        angles[i] = std::atan2(-sign * at(j, k), at(k, k));
        angles[k] = std::atan2(-sign * at(i, j), at(i, i));
    } else {
        angles[i] = std::atan2(sign * at(k, j), at(j, j));
    }
    x = angles[0];
    y = angles[1];
    z = angles[2];
}

void Euler::setWithQuaternion(const Quaternion& q, RotationOrder newOrder) {
    Mat4 matrix(true);
    matrix.setWithQuaternion(q);
    setWithMat4(matrix, newOrder);
}

} // namespace Vexorel::PrismDrift
