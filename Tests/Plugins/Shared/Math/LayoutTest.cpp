// The types' layout, and what their operations return and may be called on: the compiler checks it.

#include "MathTesting.h"

#include "Shared/Math/Barycentric.h"
#include "Shared/Math/Box3.h"
#include "Shared/Math/Euler.h"
#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"
#include "Shared/Math/Range.h"
#include "Shared/Math/Rect.h"

namespace Vexorel::PrismDrift::Testing {

template <class V, std::size_t Size>
constexpr bool
    isPlain = sizeof(V) == Size&& std::is_standard_layout_v<V>&& std::is_trivially_copyable_v<
                               V>&& std::is_trivially_destructible_v<V>;
static_assert(isPlain<Vec2, 16> && isPlain<Vec3, 24> && isPlain<Vec4, 32> && isPlain<Rect, 32>);
static_assert(isPlain<Affine, 48> && isPlain<Mat4, 128> && isPlain<Range, 8> && isPlain<Box3, 48>);
static_assert(isPlain<Quaternion, 32> && isPlain<Euler, 32> && isPlain<Color, 32>);
static_assert(isPlain<Barycentric, 24> && Euler::mDefaultOrder == 1 && Euler::ZYX == 6);

/// What changes its object returns nothing, and some operations are not `const`.
static_assert(std::is_same_v<decltype(&Vec2::getMin), void (Vec2::*)(const Vec2&)>);
static_assert(std::is_same_v<decltype(&Vec3::floor), Vec3 (Vec3::*)()>);
static_assert(std::is_same_v<decltype(&Affine::operator==), bool (Affine::*)(const Affine&)>);
static_assert(std::is_same_v<decltype(&Rect::intersect), Rect (Rect::*)(Rect)>);
static_assert(std::is_same_v<decltype(&Mat4::determinant), double (Mat4::*)()>);
static_assert(std::is_same_v<decltype(&Box3::intersects), void (Box3::*)(Box3)>);

TEST(Layout, FieldsStandInTheirOrder) {
    using testing::ElementsAre;
    EXPECT_THAT(partsOf(Vec4(Vec3(Vec2(1, 2), 3), 4)), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(partsOf(Affine(1, 2, 3, 4, 5, 6)), ElementsAre(1, 3, 5, 2, 4, 6));
    EXPECT_THAT(partsOf(Quaternion(1, 2, 3)), ElementsAre(1, 2, 3, 1));
    EXPECT_THAT(partsOf(Box3({1, 2, 3}, Vec3(4))), ElementsAre(1, 2, 3, 4, 4, 4));
    EXPECT_EQ(Range(true).second - Range(7).first - Range(7, 8).second, 2147483647 - 15);
}

} // namespace Vexorel::PrismDrift::Testing
