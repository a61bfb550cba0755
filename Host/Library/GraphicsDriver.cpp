#include "Host/Library/GraphicsDriver.h"

#include "Platform/OpenGL/ContextFailure.h"
#include "Platform/OpenGL/OpenGLContext.h"

#include <EGL/egl.h>
#include <GL/gl.h>

#include <array>
#include <memory>

namespace Vexorel::PrismDrift::Host {
namespace {

struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        object->release();
    }
};

using ContextPtr = std::unique_ptr<NSOpenGLContext, Releaser>;

ContextPtr makeContext() {
    constexpr std::array<NSOpenGLPixelFormatAttribute, 3> attributes = {
        NSOpenGLPFAOpenGLProfile, NSOpenGLProfileVersion3_2Core, 0};
    const std::unique_ptr<NSOpenGLPixelFormat, Releaser> format(
        NSOpenGLPixelFormat::initWithAttributes(attributes.data()));
    return ContextPtr(NSOpenGLContext::initWithFormat(format.get(), nullptr));
}

// What the current context gives for the name; empty for nothing.
std::string driverText(GLenum name) {
    using GetString = const GLubyte*(GLAPIENTRY*)(GLenum);
    const auto getString = reinterpret_cast<GetString>(eglGetProcAddress("glGetString"));
    const GLubyte* found = getString != nullptr ? getString(name) : nullptr;
    return found != nullptr ? reinterpret_cast<const char*>(found) : "";
}

} // namespace

GraphicsDriver graphicsDriver() {
    GraphicsDriver driver;
    const ContextPtr context = makeContext();
    if (!context) {
        driver.failure = Platform::contextFailure();
        return driver;
    }
    const CGLContextObj former = CGLGetCurrentContext();
    if (!context->makeCurrentContext()) {
        driver.failure = "the driver made a context, but can't make it current";
        return driver;
    }
    driver.vendor = driverText(GL_VENDOR);
    driver.renderer = driverText(GL_RENDERER);
    driver.version = driverText(GL_VERSION);
    CGLSetCurrentContext(former);
    return driver;
}

} // namespace Vexorel::PrismDrift::Host
