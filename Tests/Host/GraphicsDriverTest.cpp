#include "Host/Library/GraphicsDriver.h"
#include "Platform/OpenGL/OpenGLContext.h"

#include <gmock/gmock.h>

using Vexorel::PrismDrift::Host::graphicsDriver;

namespace {

TEST(GraphicsDriver, IsAskedWithoutATraceOnTheThread) {
    EXPECT_FALSE(graphicsDriver().renderer.empty());
    EXPECT_FALSE(CGLGetCurrentContext());

    constexpr NSOpenGLPixelFormatAttribute attributes[] = {0};
    NSOpenGLPixelFormat* format = NSOpenGLPixelFormat::initWithAttributes(attributes);
    NSOpenGLContext* context = NSOpenGLContext::initWithFormat(format, nullptr);
    ASSERT_TRUE(context->makeCurrentContext());
    const auto driver = graphicsDriver();
    EXPECT_THAT(driver.version, testing::MatchesRegex("[3-9]\\.[0-9].*"));
    EXPECT_TRUE(!driver.vendor.empty() && driver.failure.empty());
    EXPECT_EQ(NSOpenGLContext::currentContext(), context);
    context->invalidate();
    context->release();
    format->release();
}

} // namespace
