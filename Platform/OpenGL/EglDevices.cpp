#include "Platform/OpenGL/EglDevices.h"

#include "Platform/OpenGL/GraphicsHardware.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <strings.h>
#include <system_error>
#include <unistd.h>

namespace Platform {
namespace {

PFNEGLQUERYDEVICESTRINGEXTPROC deviceStrings() {
    return extensionFunction<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
}

/// As Mesa reads its variables of this kind.
bool isSetToTrue(const char* variable) {
    const char* text = std::getenv(variable);
    const std::array<const char*, 4> words{"1", "true", "y", "yes"};
    return text != nullptr && std::any_of(words.begin(), words.end(), [text](const char* word) {
               return strcasecmp(text, word) == 0;
           });
}

/// The files through which a device is driven, the one for rendering first. Makers' drivers may
/// name none. NVIDIA's name files of the kernel's common interface, but draw through their own: a
/// container may have only these.
std::vector<const char*> nodesOf(EGLDeviceEXT device) {
    const auto queryString = deviceStrings();
    const char* extensions = queryString(device, EGL_EXTENSIONS);
    std::vector<const char*> nodes;
    if (hasExtension(extensions, "EGL_NV_device_cuda")) {
        return nodes;
    }
    if (hasExtension(extensions, "EGL_EXT_device_drm_render_node")) {
        nodes.push_back(queryString(device, EGL_DRM_RENDER_NODE_FILE_EXT));
    }
    if (hasExtension(extensions, "EGL_EXT_device_drm")) {
        nodes.push_back(queryString(device, EGL_DRM_DEVICE_FILE_EXT));
    }
    nodes.erase(std::remove(nodes.begin(), nodes.end(), nullptr), nodes.end());
    return nodes;
}

/// Why the device can't be used; empty if it may be. One of its files is enough.
std::string accessFailure(EGLDeviceEXT device) {
    std::string whyNot;
    for (const char* node : nodesOf(device)) {
        const int file = open(node, O_RDWR | O_CLOEXEC);
        if (file >= 0) {
            close(file);
            return {};
        }
        if (whyNot.empty()) {
            whyNot = std::string("the graphics device '") + node +
                     "' can't be opened: " + std::generic_category().message(errno);
        }
    }
    return whyNot;
}

} // namespace

bool hasExtension(const char* list, std::string_view name) {
    std::string_view rest = list != nullptr ? list : "";
    while (!rest.empty()) {
        const std::size_t end = rest.find(' ');
        if (rest.substr(0, end) == name) {
            return true;
        }
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    }
    return false;
}

bool listsDevices(const char* clientExtensions) {
    return hasExtension(clientExtensions, "EGL_EXT_device_enumeration") ||
           hasExtension(clientExtensions, "EGL_EXT_device_base");
}

bool isSoftwareDevice(EGLDeviceEXT device) {
    const auto queryString = deviceStrings();
    return queryString != nullptr &&
           hasExtension(queryString(device, EGL_EXTENSIONS), "EGL_MESA_device_software");
}

std::vector<EGLDeviceEXT> hardwareDevices() {
    const auto queryDevices = extensionFunction<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
    std::array<EGLDeviceEXT, 32> found{};
    EGLint count = 0;
    if (queryDevices == nullptr ||
        queryDevices(static_cast<EGLint>(found.size()), found.data(), &count) != EGL_TRUE) {
        return {};
    }
    std::vector<EGLDeviceEXT> devices;
    for (EGLint i = 0; i < count; ++i) {
        if (!isSoftwareDevice(found.at(static_cast<std::size_t>(i)))) {
            devices.push_back(found.at(static_cast<std::size_t>(i)));
        }
    }
    return devices;
}

std::string missingHardware() {
    if (isSetToTrue("LIBGL_ALWAYS_SOFTWARE")) {
        return "LIBGL_ALWAYS_SOFTWARE asks for software";
    }
    const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    if (extensions == nullptr) {
        return "no EGL driver was found";
    }
    if (!listsDevices(extensions) || deviceStrings() == nullptr) {
        return "EGL lists no graphics devices";
    }
    std::string whyNot;
    for (EGLDeviceEXT device : hardwareDevices()) {
        const std::string failure = accessFailure(device);
        if (failure.empty()) {
            return {};
        }
        whyNot = whyNot.empty() ? failure : whyNot;
    }
    return whyNot.empty() ? "EGL lists no graphics hardware" : whyNot;
}

} // namespace Platform
