#pragma once

/// Scoped access to the host's suites: acquired by the constructor, released by the destructor.

#include "Platform/Effect/Suites.h"

namespace Vexorel::PrismDrift {

/// Sets PF_OutFlag_DISPLAY_ERROR_MESSAGE and writes `text`, through the host's own sprintf, into
/// the message that the host shows.
void reportSuiteError(const PF_InData* in_data, PF_OutData* out_data, const char* text);

/// Holds one suite of the host for as long as the object lives. Not copied: the release belongs to
/// one scope.
template <typename SuiteType>
class SuiteScoper {
public:
    /// Acquires the suite from the host of `in_data`. A host that answers with anything but 0 makes
    /// the constructor throw the `int` 13; `out_data`, if given, then carries `error_text`, or
    /// "Not able to acquire AEFX Suite." if that is null. `name` is not copied.
    SuiteScoper(const PF_InData* in_data, const char* name, int version,
                PF_OutData* out_data = nullptr, const char* error_text = nullptr)
        : mBasicSuite(in_data->pica_basicP), mName(name), mVersion(version) {
        if (!acquire()) {
            if (out_data != nullptr) {
                reportSuiteError(in_data, out_data,
                                 error_text != nullptr ? error_text
                                                       : "Not able to acquire AEFX Suite.");
            }
            throw kMissingSuite;
        }
    }

    /// The same from the basic suite itself, without any message.
    SuiteScoper(SPBasicSuite* basic, const char* name, int version)
        : mBasicSuite(basic), mName(name), mVersion(version) {
        if (!acquire()) {
            throw kMissingSuite;
        }
    }

    SuiteScoper(const SuiteScoper&) = delete;
    SuiteScoper& operator=(const SuiteScoper&) = delete;

    ~SuiteScoper() {
        if (mSuite != nullptr) {
            mBasicSuite->ReleaseSuite(mName, mVersion);
        }
    }

    SuiteType* operator->() const { return mSuite; }
    SuiteType* get() const { return mSuite; }

private:
    static constexpr int kMissingSuite = 13;

    bool acquire() {
        void* suite = nullptr;
        const bool acquired = mBasicSuite->AcquireSuite(mName, mVersion, &suite) == 0;
        mSuite = static_cast<SuiteType*>(suite);
        return acquired;
    }

    SuiteType* mSuite = nullptr;
    SPBasicSuite* mBasicSuite;
    const char* mName;
    std::int32_t mVersion;
};

} // namespace Vexorel::PrismDrift
