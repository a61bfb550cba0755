#include "Shared/GL/PerContextName.h"

#include "Platform/OpenGL/OpenGLContext.h"

#include <mutex>
#include <set>

namespace Vexorel::PrismDrift {
namespace {

/// All objects of the class, so that the end of a context reaches them. Never destroyed: a thread,
/// and its context with it, may outlive the process's static objects.
struct Registry {
    std::mutex mutex; ///< guards `all` and each object's names
    std::set<PerContextName*> all;
};

Registry& registry() {
    static Registry& instance = *new Registry;
    return instance;
}

} // namespace

PerContextName::PerContextName() {
    const std::lock_guard<std::mutex> lock(registry().mutex);
    registry().all.insert(this);
}

PerContextName::~PerContextName() {
    const std::lock_guard<std::mutex> lock(registry().mutex);
    registry().all.erase(this);
}

PerContextName::operator gl::GLuint() const {
    const std::uint64_t context = NSOpenGLContext::currentNumber();
    const std::lock_guard<std::mutex> lock(registry().mutex);
    const auto found = mNames.find(context);
    return found != mNames.end() ? found->second : 0;
}

void PerContextName::generate(Generate function) {
    const std::uint64_t context = NSOpenGLContext::currentNumber();
    if (context == 0 || *this != 0U) {
        return;
    }
    gl::GLuint* name = nullptr;
    {
        const std::lock_guard<std::mutex> lock(registry().mutex);
        name = &mNames[context]; // only this context's thread reads or removes it
    }
    function(1, name);
}

void PerContextName::remove(Delete function) {
    const gl::GLuint name = *this;
    if (name == 0) {
        return;
    }
    function(1, &name);
    const std::lock_guard<std::mutex> lock(registry().mutex);
    mNames.erase(NSOpenGLContext::currentNumber());
}

void PerContextName::forgetContext(std::uint64_t number) {
    const std::lock_guard<std::mutex> lock(registry().mutex);
    for (PerContextName* name : registry().all) {
        name->mNames.erase(number);
    }
}

} // namespace Vexorel::PrismDrift
