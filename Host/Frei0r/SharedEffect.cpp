#include "Host/Frei0r/SharedEffect.h"

#include "Host/Library/Error.h"
#include "Host/Library/Text.h"
#include "PrismDrift/Sources/Embedded.h"

#include <cstdio>
#include <exception>
#include <set>

namespace Vexorel::PrismDrift::Host {
namespace {

struct Warnings {
    Platform::Mutex mutex;
    std::set<std::string> written PRISMDRIFT_GUARDED_BY(mutex);
};

RendererRequest requestedRenderer() {
    try {
        return rendererFromEnvironment();
    } catch (const Error& error) {
        warnOnce(std::string(error.what()) + "; auto is taken");
        return {};
    }
}

} // namespace

SharedEffect& SharedEffect::get() {
    static auto* instance = new SharedEffect;
    return *instance;
}

SharedEffect::SharedEffect()
    : mEffect(&EntryPointFunc), mControls(controlsOf(mEffect.parameters())) {
    setMessageSink(nullptr);
}

void SharedEffect::begin() {
    const Platform::MutexLock lock(mMutex);
    ++mUses;
}

void SharedEffect::end() {
    const Platform::MutexLock lock(mMutex);
    if (mUses > 0 && --mUses == 0 && mRenderer) {
        mRenderer->setDown();
    }
}

Renderer& SharedEffect::renderer() {
    const Platform::MutexLock lock(mMutex);
    if (!mRenderer) {
        mRenderer = makeRenderer(mEffect, requestedRenderer());
    }
    return *mRenderer;
}

bool SharedEffect::render(const World& input, World& output, const ParameterValues& values) {
    try {
        renderer().render(input, output, values);
        return true;
    } catch (const std::exception& error) {
        warnOnce(std::string("frames pass through unchanged: ") + error.what());
        return false;
    }
}

void warnOnce(const std::string& text) noexcept {
    try {
        static auto& warnings = *new Warnings;
        const Platform::MutexLock lock(warnings.mutex);
        if (warnings.written.insert(text).second) {
            std::fputs(("prismdrift (frei0r): " + printable(text) + "\n").c_str(), stderr);
        }
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): no memory for the message
    }
}

} // namespace Vexorel::PrismDrift::Host
