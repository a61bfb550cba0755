#pragma once

/// Access to the host's suites in two styles. SuiteScoper holds a suite for a scope and throws
/// where the host lacks it. The functions below it acquire and release by hand, return an error
/// code and leave a message for the user.

#include "Platform/Effect/Suites.h"

namespace Vexorel::PrismDrift {

/// Sets PF_OutFlag_DISPLAY_ERROR_MESSAGE and writes `text`, through the host's own sprintf, into
/// the message that the host shows. It holds 255 characters; longer text is cut.
void reportSuiteError(const PF_InData* in_data, PF_OutData* out_data, const char* text);

/// Holds one suite of the host for as long as the object lives. It is released by one scope, on the
/// thread that the host called the effect on, so it can't be copied.
///
///     const SuiteScoper<PF_HandleSuite1> handles(in_data, "PF Handle Suite", 2);
///     PF_Handle handle = handles->host_new_handle(size);
template <typename SuiteType>
class SuiteScoper {
public:
    /// Acquires the suite from the host of `in_data`. Throws the `int` 13 where the host answers
    /// with anything but 0 or has no basic suite; `out_data`, if given, then carries `error_text`,
    /// or "Not able to acquire AEFX Suite." if that is null. `name` is not copied: it must outlive
    /// this object.
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

    /// The same from the basic suite itself, without a message.
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
        const bool acquired =
            mBasicSuite != nullptr && mBasicSuite->AcquireSuite(mName, mVersion, &suite) == 0;
        mSuite = static_cast<SuiteType*>(suite);
        return acquired;
    }

    SuiteType* mSuite = nullptr;
    SPBasicSuite* mBasicSuite;
    const char* mName;
    std::int32_t mVersion;
};

/// Acquires a suite by hand. Succeeds if `*suite` is not null after the host has answered, whatever
/// code it answers with; a host that refuses may leave `*suite` alone, so let it be null
/// beforehand. Otherwise asks the host to show `error_text`, or "Not able to acquire AEFX
/// Suite-NAME-VERSION" if that is null, and returns PF_Err_BAD_CALLBACK_PARAM. Each success needs
/// one ReleaseSuite.
PF_Err AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_text, void** suite);

/// Releases a suite that was acquired by hand, whatever the host answers. Without a basic suite,
/// asks the host to show `error_text`, or "Not able to release AEFX Suite." if that is null, and
/// returns PF_Err_BAD_CALLBACK_PARAM.
PF_Err ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_text);

/// Acquires the four drawing suites in the order of the record, whose pointers must be null
/// beforehand. Returns the code of the first that fails, with its message; the caller then releases
/// those acquired before, one by one. For a null `suites`, leaves a message and returns
/// PF_Err_UNRECOGNIZED_PARAM_TYPE.
PF_Err AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suites);

/// Releases the four drawing suites in the same order. Returns 0 even without a basic suite, which
/// leaves its message all the same.
PF_Err ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data);

} // namespace Vexorel::PrismDrift
