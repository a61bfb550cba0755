// The examples of Documentation/math.md, as they stand there.

#include "MathTesting.h"

#undef assert
#define assert(condition) EXPECT_TRUE(condition)

namespace Vexorel::PrismDrift::Testing {

#include "DocumentationExamples.h"

static_assert(exampleCount == 5);

} // namespace Vexorel::PrismDrift::Testing
