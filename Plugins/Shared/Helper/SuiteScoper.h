#pragma once

/// Access to the host's suites in two styles. SuiteScoper holds a suite for a scope and throws
/// where the host lacks it; the operations below it acquire and release by hand, report by error
/// code and leave a message for the user.

#include "Platform/Effect/Suites.h"

namespace Vexorel::PrismDrift {

/// Sets PF_OutFlag_DISPLAY_ERROR_MESSAGE and writes `text`, through the host's own sprintf, into
/// the message that the host shows; what its 255 characters can't hold is cut off.
void reportSuiteError(const PF_InData* in_data, PF_OutData* out_data, const char* text);

/// Holds one suite of the host for as long as the object lives. Not copied: the release belongs to
/// one scope, on the thread that the host called the effect on.
///
///     const SuiteScoper<PF_HandleSuite1> handles(in_data, "PF Handle Suite", 2);
///     PF_Handle handle = handles->host_new_handle(size);
template <typename SuiteType>
class SuiteScoper {
public:
    /// Acquires the suite from the host of `in_data`. A host that answers with anything but 0, or
    /// that has no basic suite, makes the constructor throw the `int` 13; `out_data`, if given,
    /// then carries `error_text`, or "Not able to acquire AEFX Suite." if that is null. `name` is
    /// not copied.
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

/// Acquires a suite by hand: 0 if `*suite` is not null when the host has answered, whatever the
/// answer's code. Otherwise `return_msg` becomes `error_text`, or
/// "Not able to acquire AEFX Suite-NAME-VERSION" if that is null, the host is asked to show it, and
/// the result is PF_Err_BAD_CALLBACK_PARAM. Since a host that refuses may leave `*suite` alone, let
/// it be null beforehand. Each success needs one ReleaseSuite.
PF_Err AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_text, void** suite);

/// Releases a suite that was acquired by hand. The host's answer is not looked at; a host without
/// the basic suite leaves `error_text`, or "Not able to release AEFX Suite." if that is null, to be
/// shown, and the result is then PF_Err_BAD_CALLBACK_PARAM.
PF_Err ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_text);

/// Acquires the four drawing suites, in the order of the record, whose pointers are to be null
/// beforehand. Stops at the first that fails and gives its code; those acquired before stay so, and
/// it is for the caller to release them, one by one. A null `suites` leaves a message and gives
/// PF_Err_UNRECOGNIZED_PARAM_TYPE.
PF_Err AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suites);

/// Releases the four drawing suites, in the same order. Always 0, a missing basic suite included,
/// which does leave its message.
PF_Err ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data);

} // namespace Vexorel::PrismDrift
