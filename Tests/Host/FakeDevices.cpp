// Preloaded into a program, this changes what EGL lists, and tells on standard error when EGL is
// started. In the environment
//   FAKE_NODE        a file: EGL lists a device of hardware, which is driven through the file.
//                    OpenGL on it is that of the surfaceless platform. Without it no hardware is
//                    listed;
//   FAKE_EXTENSIONS  further extensions of that device;
//   FAKE_DRIVER      what OpenGL gives as its renderer's name.

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <unistd.h>

namespace {

int hardware = 0; // its address is the device

template <typename Function>
Function real(const char* name, Function /*like*/) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

template <typename Function>
Function realExtension(const char* name, Function /*like*/) {
    return reinterpret_cast<Function>(real("eglGetProcAddress", &eglGetProcAddress)(name));
}

const char* queryDeviceString(EGLDeviceEXT device, EGLint name) {
    if (device != &hardware) {
        return realExtension("eglQueryDeviceStringEXT", &queryDeviceString)(device, name);
    }
    static const char* const more = std::getenv("FAKE_EXTENSIONS");
    static const std::string extensions =
        std::string("EGL_EXT_device_drm EGL_EXT_device_drm_render_node ") +
        (more != nullptr ? more : "");
    return name == EGL_EXTENSIONS                 ? extensions.c_str()
           : name == EGL_DRM_RENDER_NODE_FILE_EXT ? std::getenv("FAKE_NODE")
                                                  : nullptr;
}

EGLBoolean queryDevices(EGLint most, EGLDeviceEXT* devices, EGLint* count) {
    *count = 0;
    if (std::getenv("FAKE_NODE") != nullptr) {
        *devices = &hardware;
        *count = 1;
    }
    EGLDeviceEXT there[16];
    EGLint others = 0;
    const EGLBoolean result =
        realExtension("eglQueryDevicesEXT", &queryDevices)(16, there, &others);
    for (EGLint i = 0; i < others && *count < most; ++i) {
        const char* extensions =
            realExtension("eglQueryDeviceStringEXT", &queryDeviceString)(there[i], EGL_EXTENSIONS);
        if (extensions != nullptr && std::strstr(extensions, "EGL_MESA_device_software")) {
            devices[(*count)++] = there[i];
        }
    }
    return result;
}

const GLubyte* getString(GLenum name) {
    const char* driver = std::getenv("FAKE_DRIVER");
    return name == GL_RENDERER && driver != nullptr
               ? reinterpret_cast<const GLubyte*>(driver)
               : realExtension("glGetString", &getString)(name);
}

} // namespace

extern "C" {

[[gnu::visibility("default")]] __eglMustCastToProperFunctionPointerType
eglGetProcAddress(const char* name) {
    using Found = __eglMustCastToProperFunctionPointerType;
    return std::strcmp(name, "eglQueryDevicesEXT") == 0 ? reinterpret_cast<Found>(&queryDevices)
           : std::strcmp(name, "eglQueryDeviceStringEXT") == 0
               ? reinterpret_cast<Found>(&queryDeviceString)
           : std::strcmp(name, "glGetString") == 0
               ? reinterpret_cast<Found>(&getString)
               : real("eglGetProcAddress", &eglGetProcAddress)(name);
}

[[gnu::visibility("default")]] EGLDisplay eglGetPlatformDisplay(EGLenum platform, void* native,
                                                                const EGLAttrib* attributes) {
    const auto get = real("eglGetPlatformDisplay", &eglGetPlatformDisplay);
    return native == &hardware ? get(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr)
                               : get(platform, native, attributes);
}

[[gnu::visibility("default")]] EGLBoolean eglInitialize(EGLDisplay display, EGLint* major,
                                                        EGLint* minor) {
    constexpr char text[] = "EGL is started\n";
    const ssize_t written = write(STDERR_FILENO, text, sizeof text - 1);
    return written > 0 ? real("eglInitialize", &eglInitialize)(display, major, minor) : EGL_FALSE;
}

} // extern "C"
