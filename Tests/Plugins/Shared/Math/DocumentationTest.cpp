// The examples of Documentation/math.md, as they stand there.

#include "MathTesting.h"

#include "Shared/Math/Barycentric.h"
#include "Shared/Math/Box3.h"
#include "Shared/Math/Euler.h"
#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"
#include "Shared/Math/Rect.h"

#undef assert
#define assert(condition) EXPECT_TRUE(condition)

namespace Vexorel::PrismDrift::Testing {

#include "DocumentationExamples.h"

static_assert(exampleCount == 5);

} // namespace Vexorel::PrismDrift::Testing
