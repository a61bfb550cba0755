#include "Host/Library/GraphicsDriver.h"
#include "Platform/OpenGL/OpenGLContext.h"

#include <gmock/gmock.h>

using Vexorel::PrismDrift::Host::graphicsDriver;

namespace {

TEST(GraphicsDriver, IsAskedWithoutATraceOnTheThread) {
    const auto driver = graphicsDriver();
    EXPECT_THAT(driver.version, testing::MatchesRegex("[3-9]\\.[0-9].*"));
    EXPECT_TRUE(!driver.vendor.empty() && !driver.renderer.empty() && driver.failure.empty());
    EXPECT_FALSE(CGLGetCurrentContext());

    NSOpenGLPixelFormatAttribute none = 0;
    NSOpenGLPixelFormat* format = NSOpenGLPixelFormat::initWithAttributes(&none);
    NSOpenGLContext* context = NSOpenGLContext::initWithFormat(format, nullptr);
    ASSERT_TRUE(context->makeCurrentContext());
    graphicsDriver();
    EXPECT_EQ(NSOpenGLContext::currentContext(), context);
    context->invalidate();
    context->release();
    format->release();
}

} // namespace
