#pragma once

/// A rotation as three angles in radians and the order in which they apply.

#include "Shared/Math/Float.h"

#include <cstdint>

namespace Vexorel::PrismDrift {

class Mat4;
class Quaternion;

class Euler {
public:
    /// Vectors are columns: `XYZ` is Rx·Ry·Rz, so the last-named axis acts first on a vector.
    /// Values without a name can be stored too.
    enum RotationOrder : std::int32_t {
        None = 0, ///< no order: `set` and `setWithMat4` keep the present one
        XYZ = 1,
        YZX = 2,
        ZXY = 3,
        XZY = 4,
        YXZ = 5,
        ZYX = 6
    };
    static constexpr RotationOrder mDefaultOrder = XYZ;

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    RotationOrder order = mDefaultOrder;

    constexpr Euler() = default;
    /// Stores every order, `None` too.
    constexpr Euler(double xValue, double yValue, double zValue, RotationOrder newOrder)
        : x(xValue), y(yValue), z(zValue), order(newOrder) {}

    /// Keeps the present order if `newOrder` is `None`.
    void set(double xValue, double yValue, double zValue, RotationOrder newOrder);
    /// The angles of the upper left 3×3 block, which must be a rotation without scale. The angle of
    /// the order's middle axis is within a quarter turn either way, the outer two within a half
    /// turn. At gimbal lock, where the sine of the middle angle is 0.999999 or more either way, one
    /// of the outer angles is 0. `None` takes the present order; an order without a name is stored
    /// and leaves the angles as they are.
    void setWithMat4(const Mat4& matrix, RotationOrder newOrder);
    /// The same from a unit quaternion.
    void setWithQuaternion(const Quaternion& q, RotationOrder newOrder);

    /// The same order and each angle within TOLERANCE, inclusive. The same rotation in another
    /// order is not equal.
    bool operator==(const Euler& other) const {
        return equalWithin(x, other.x, TOLERANCE) && equalWithin(y, other.y, TOLERANCE) &&
               equalWithin(z, other.z, TOLERANCE) && order == other.order;
    }
};

static_assert(std::is_standard_layout_v<Euler> && std::is_trivially_copyable_v<Euler> &&
              sizeof(Euler::RotationOrder) == 4);

} // namespace Vexorel::PrismDrift
