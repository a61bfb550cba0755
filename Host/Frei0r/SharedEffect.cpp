#include "Host/Frei0r/SharedEffect.h"

#include "PrismDrift/Sources/Embedded.h"

#include <cstdio>
#include <exception>
#include <mutex>
#include <set>

namespace Vexorel::PrismDrift::Host {

SharedEffect& SharedEffect::get() {
    static auto* instance = new SharedEffect;
    return *instance;
}

SharedEffect::SharedEffect()
    : mEffect(&EntryPointFunc), mControls(controlsOf(mEffect.parameters())) {
    setMessageSink(nullptr);
}

void SharedEffect::begin() {
    const std::lock_guard guard(mMutex);
    ++mUses;
}

void SharedEffect::end() {
    const std::lock_guard guard(mMutex);
    if (mUses > 0 && --mUses == 0) {
        mEffect.setDown();
    }
}

bool SharedEffect::render(const World& input, World& output, const ParameterValues& values) {
    const std::shared_lock guard(mMutex);
    try {
        mEffect.render(input, output, values);
        return true;
    } catch (const std::exception& error) {
        warnOnce(std::string("frames pass through unchanged: ") + error.what());
        return false;
    }
}

void warnOnce(const std::string& text) noexcept {
    try {
        static auto* mutex = new std::mutex;
        static auto* said = new std::set<std::string>;
        const std::lock_guard guard(*mutex);
        if (said->insert(text).second) {
            std::fputs(("prismdrift (frei0r): " + text + "\n").c_str(), stderr);
        }
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): no memory even for that
    }
}

} // namespace Vexorel::PrismDrift::Host
