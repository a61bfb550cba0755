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
namespace {

template <class V, std::size_t Size>
constexpr bool
    isPlain = sizeof(V) == Size&& std::is_standard_layout_v<V>&& std::is_trivially_copyable_v<
                               V>&& std::is_trivially_destructible_v<V>;
static_assert(isPlain<Vec2, 16> && isPlain<Vec3, 24> && isPlain<Vec4, 32> && isPlain<Rect, 32>);
static_assert(isPlain<Affine, 48> && isPlain<Mat4, 128> && isPlain<Range, 8> && isPlain<Box3, 48>);
static_assert(isPlain<Quaternion, 32> && isPlain<Euler, 32> && isPlain<Color, 32>);
static_assert(isPlain<Barycentric, 24> && Euler::mDefaultOrder == 1 && Euler::ZYX == 6);

/// Whether the member has exactly this type, `const` included.
template <class Member, Member>
constexpr bool has = true;
static_assert(has < bool(Vec2::*)(const Vec2&), &Vec2::operator!=>);
static_assert(has<void (Vec2::*)(const Vec2&), &Vec2::getMin>);
static_assert(has<Vec3 (Vec3::*)(), &Vec3::floor>);
static_assert(has < bool(Affine::*)(const Affine&), &Affine::operator==>);
static_assert(has<Rect (Rect::*)(Rect), &Rect::intersect>);
static_assert(has<double (Mat4::*)(), &Mat4::determinant>);
static_assert(has < Mat4(Mat4::*)(const Mat4&), &Mat4::operator*>);
static_assert(has<void (Mat4::*)(const Mat4&), &Mat4::mult>);
static_assert(has<void (Box3::*)(Box3), &Box3::intersects>);
static_assert(has<std::string (Color::*)(), &Color::toHexString>);

TEST(Layout, FieldsStandInTheirOrder) {
    using testing::ElementsAre;
    EXPECT_THAT(partsOf(Vec4(Vec3(Vec2(1, 2), 3), 4)), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(partsOf(Affine(1, 2, 3, 4, 5, 6)), ElementsAre(1, 3, 5, 2, 4, 6));
    EXPECT_THAT(partsOf(Rect({1, 2}, {3, 4})), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(partsOf(Quaternion(1, 2, 3)), ElementsAre(1, 2, 3, 1));
    EXPECT_THAT(partsOf(Box3({1, 2, 3}, Vec3(4))), ElementsAre(1, 2, 3, 4, 4, 4));
    EXPECT_EQ(Range(true).second - Range(7).first - Range(7, 8).second, 2147483647 - 15);
}

} // namespace
} // namespace Vexorel::PrismDrift::Testing
