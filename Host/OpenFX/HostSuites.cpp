#include "Host/OpenFX/HostSuites.h"

#include "Platform/Threads/Mutex.h"

namespace Vexorel::PrismDrift::Host {
namespace {

// Never destroyed, since the host's threads may outlive static objects.
struct KnownHost {
    Platform::Mutex mutex;
    OfxHost* host PRISMDRIFT_GUARDED_BY(mutex) = nullptr;
    std::optional<Suites> suites PRISMDRIFT_GUARDED_BY(mutex);
};

KnownHost& knownHost() {
    static auto* known = new KnownHost;
    return *known;
}

template <typename Suite>
const Suite* fetch(const OfxHost& host, const char* name) {
    return static_cast<const Suite*>(host.fetchSuite(host.host, name, 1));
}

Suites fetchAll(const OfxHost& host) {
    return {fetch<OfxPropertySuiteV1>(host, kOfxPropertySuite),
            fetch<OfxImageEffectSuiteV1>(host, kOfxImageEffectSuite),
            fetch<OfxParameterSuiteV1>(host, kOfxParameterSuite),
            fetch<OfxMessageSuiteV1>(host, kOfxMessageSuite)};
}

} // namespace

void require(OfxStatus status, const std::string& what) {
    if (status == kOfxStatOK) {
        return;
    }
    const bool isReply = status > kOfxStatErrBadHandle && status <= kOfxStatReplyDefault;
    throw Refusal(isReply ? kOfxStatFailed : status,
                  "the host " + what + " (status " + std::to_string(status) + ")");
}

void setHost(OfxHost* host) {
    KnownHost& known = knownHost();
    const Platform::MutexLock lock(known.mutex);
    known.host = host;
    known.suites.reset();
}

Suites hostSuites() {
    KnownHost& known = knownHost();
    const Platform::MutexLock lock(known.mutex);
    if (known.host == nullptr || known.host->fetchSuite == nullptr) {
        throw Refusal(kOfxStatErrMissingHostFeature, "the plug-in was given no host");
    }
    if (!known.suites) {
        const Suites suites = fetchAll(*known.host);
        if (suites.properties == nullptr || suites.effects == nullptr ||
            suites.parameters == nullptr) {
            throw Refusal(kOfxStatErrMissingHostFeature,
                          "the host lacks the suite of properties, image effects or parameters");
        }
        known.suites = suites;
    }
    return *known.suites;
}

Properties::Properties(const Suites& suites, OfxPropertySetHandle handle, const char* what)
    : mSuite(suites.properties), mHandle(handle), mWhat(what) {
    if (handle == nullptr) {
        throw Refusal(kOfxStatErrBadHandle, "the host gave no properties of " + std::string(what));
    }
}

OfxStatus Properties::put(const char* name, const char* value, int index) const {
    return mSuite->propSetString(mHandle, name, index, value);
}

OfxStatus Properties::put(const char* name, double value, int index) const {
    return mSuite->propSetDouble(mHandle, name, index, value);
}

OfxStatus Properties::put(const char* name, int value, int index) const {
    return mSuite->propSetInt(mHandle, name, index, value);
}

void Properties::set(const char* name, const char* value, int index) const {
    require(put(name, value, index), "refuses " + std::string(name) + " of " + mWhat);
}

void Properties::set(const char* name, double value, int index) const {
    require(put(name, value, index), "refuses " + std::string(name) + " of " + mWhat);
}

void Properties::set(const char* name, int value, int index) const {
    require(put(name, value, index), "refuses " + std::string(name) + " of " + mWhat);
}

std::optional<std::string> Properties::text(const char* name) const {
    char* value = nullptr;
    const OfxStatus status = mSuite->propGetString(mHandle, name, 0, &value);
    return isThere(status, name) && value != nullptr ? std::optional<std::string>(value)
                                                     : std::nullopt;
}

std::optional<void*> Properties::pointer(const char* name) const {
    void* value = nullptr;
    const OfxStatus status = mSuite->propGetPointer(mHandle, name, 0, &value);
    return isThere(status, name) ? std::optional(value) : std::nullopt;
}

// Hosts give different statuses for a property that they don't have. Where the property has values,
// the host failed to give them.
bool Properties::isThere(OfxStatus status, const char* name) const {
    if (status == kOfxStatOK) {
        return true;
    }
    int count = 0;
    if (mSuite->propGetDimension(mHandle, name, &count) == kOfxStatOK && count > 0) {
        require(status, "failed to give " + std::string(name) + " of " + mWhat);
    }
    return false;
}

void Properties::refuseMissing(const char* name) const {
    throw Refusal(kOfxStatFailed, "the host has no " + std::string(name) + " of " + mWhat);
}

} // namespace Vexorel::PrismDrift::Host
