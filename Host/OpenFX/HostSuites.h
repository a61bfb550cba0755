#pragma once

/// The host's suites, and reading and writing its properties. What a host refuses is thrown.

#include "Host/OpenFX/Standard.h"

#include <array>
#include <optional>
#include <stdexcept>
#include <string>

namespace Vexorel::PrismDrift::Host {

/// What ends an action: the status for the host, and the reason for its user.
class Refusal : public std::runtime_error {
public:
    Refusal(OfxStatus status, const std::string& text)
        : std::runtime_error(text), mStatus(status) {}

    OfxStatus status() const { return mStatus; }

private:
    OfxStatus mStatus;
};

/// Throws Refusal unless the status is kOfxStatOK, with the host's status where that is an error.
/// `what` follows "the host".
void require(OfxStatus status, const std::string& what);

struct Suites {
    const OfxPropertySuiteV1* properties = nullptr;
    const OfxImageEffectSuiteV1* effects = nullptr;
    const OfxParameterSuiteV1* parameters = nullptr;
    const OfxMessageSuiteV1* messages = nullptr; ///< null where the host has none
};

/// Remembers the host. Any thread may call it, several times too.
void setHost(OfxHost* host);
/// The suites of that host, fetched when they are first asked for. Throws Refusal without a host,
/// and where one but the messages is missing.
Suites hostSuites();

/// A property set of the host. `set` and the getters throw Refusal where the host refuses.
class Properties {
public:
    /// Throws Refusal for a null handle; `what` says whose properties they are.
    Properties(const Suites& suites, OfxPropertySetHandle handle, const char* what);

    void set(const char* name, const char* value, int index = 0) const;
    void set(const char* name, double value, int index = 0) const;
    void set(const char* name, int value, int index = 0) const;

    /// Sets what a host may do without: a refusal is ignored.
    template <typename Value>
    void offer(const char* name, Value value) const {
        put(name, value, 0);
    }

    /// The getters give nothing where the host has no such property.
    std::optional<std::string> text(const char* name) const;
    std::optional<void*> pointer(const char* name) const;
    template <std::size_t Count>
    std::optional<std::array<int, Count>> integers(const char* name) const {
        std::array<int, Count> values{};
        const auto status = mSuite->propGetIntN(mHandle, name, Count, values.data());
        return isThere(status, name) ? std::optional(values) : std::nullopt;
    }
    template <std::size_t Count>
    std::optional<std::array<double, Count>> numbers(const char* name) const {
        std::array<double, Count> values{};
        const auto status = mSuite->propGetDoubleN(mHandle, name, Count, values.data());
        return isThere(status, name) ? std::optional(values) : std::nullopt;
    }

    /// What a getter found. Throws Refusal for nothing.
    template <typename Value>
    Value needed(const std::optional<Value>& found, const char* name) const {
        if (!found) {
            refuseMissing(name);
        }
        return *found;
    }

private:
    OfxStatus put(const char* name, const char* value, int index) const;
    OfxStatus put(const char* name, double value, int index) const;
    OfxStatus put(const char* name, int value, int index) const;
    bool isThere(OfxStatus status, const char* name) const;
    [[noreturn]] void refuseMissing(const char* name) const;

    const OfxPropertySuiteV1* mSuite;
    OfxPropertySetHandle mHandle;
    const char* mWhat;
};

} // namespace Vexorel::PrismDrift::Host
