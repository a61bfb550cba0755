#include "Shared/GL/PerContextName.h"

#include "Platform/OpenGL/OpenGLContext.h"
#include "Platform/Threads/Mutex.h"

#include <map>

namespace Vexorel::PrismDrift {
namespace {

/// The names of all objects of the class in one place, where the end of a context reaches them.
/// Never destroyed: a thread, and its context with it, may outlive the process's static objects.
class Registry {
public:
    void add(const PerContextName* object) {
        const Platform::MutexLock lock(mMutex);
        mNames[object];
    }

    void remove(const PerContextName* object) {
        const Platform::MutexLock lock(mMutex);
        mNames.erase(object);
    }

    gl::GLuint nameOf(const PerContextName* object, std::uint64_t context) {
        const Platform::MutexLock lock(mMutex);
        const auto& names = mNames[object];
        const auto found = names.find(context);
        return found != names.end() ? found->second : 0;
    }

    /// Where the object's name is kept. Only the thread that has the context current may use it.
    gl::GLuint* place(const PerContextName* object, std::uint64_t context) {
        const Platform::MutexLock lock(mMutex);
        return &mNames[object][context];
    }

    void forget(const PerContextName* object, std::uint64_t context) {
        const Platform::MutexLock lock(mMutex);
        mNames[object].erase(context);
    }

    void forgetContext(std::uint64_t context) {
        const Platform::MutexLock lock(mMutex);
        for (auto& entry : mNames) {
            entry.second.erase(context);
        }
    }

private:
    using NamesByContext = std::map<std::uint64_t, gl::GLuint>;

    Platform::Mutex mMutex;
    std::map<const PerContextName*, NamesByContext> mNames PRISMDRIFT_GUARDED_BY(mMutex);
};

Registry& registry() {
    static Registry& instance = *new Registry;
    return instance;
}

} // namespace

PerContextName::PerContextName() {
    registry().add(this);
}

PerContextName::~PerContextName() {
    registry().remove(this);
}

PerContextName::operator gl::GLuint() const {
    return registry().nameOf(this, NSOpenGLContext::currentNumber());
}

void PerContextName::generate(Generate function) {
    const std::uint64_t context = NSOpenGLContext::currentNumber();
    if (context != 0 && *this == 0U) {
        // The place first: a name that couldn't be kept would never be deleted.
        function(1, registry().place(this, context));
    }
}

void PerContextName::remove(Delete function) {
    const gl::GLuint name = *this;
    if (name != 0) {
        function(1, &name);
        registry().forget(this, NSOpenGLContext::currentNumber());
    }
}

void PerContextName::forgetContext(std::uint64_t number) {
    registry().forgetContext(number);
}

} // namespace Vexorel::PrismDrift
