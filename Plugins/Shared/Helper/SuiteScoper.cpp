#include "Shared/Helper/SuiteScoper.h"

#include <cstddef>
#include <cstring>
#include <string>

namespace Vexorel::PrismDrift {

namespace {

struct DrawingSuite {
    const char* name;
    int version;
    void* DRAWBOT_Suites::*field;
};

constexpr DrawingSuite kDrawingSuites[] = {
    {"DRAWBOT Draw Suite", 1, &DRAWBOT_Suites::draw},
    {"DRAWBOT Supplier Suite", 1, &DRAWBOT_Suites::supplier},
    {"DRAWBOT Surface Suite", 2, &DRAWBOT_Suites::surface},
    {"DRAWBOT Path Suite", 1, &DRAWBOT_Suites::path},
};

// The host's sprintf does not check bounds, so text is cut before it is written through it.
std::string atMost(std::size_t length, const char* text) {
    return {text, ::strnlen(text, length)};
}

} // namespace

void reportSuiteError(const PF_InData* in_data, PF_OutData* out_data, const char* text) {
    out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
    in_data->utils->ansi.sprintf(out_data->return_msg, "%s",
                                 atMost(sizeof(out_data->return_msg) - 1, text).c_str());
}

PF_Err AcquireSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_text, void** suite) {
    if (in_data->pica_basicP != nullptr) {
        in_data->pica_basicP->AcquireSuite(name, version, suite);
        if (*suite != nullptr) {
            return PF_Err_NONE;
        }
    }
    constexpr std::size_t kRoomForText = 64;
    char text[1024];
    in_data->utils->ansi.sprintf(text, "Not able to acquire AEFX Suite-%s-%d",
                                 atMost(sizeof(text) - kRoomForText, name).c_str(), version);
    reportSuiteError(in_data, out_data, error_text != nullptr ? error_text : text);
    return PF_Err_BAD_CALLBACK_PARAM;
}

PF_Err ReleaseSuite(PF_InData* in_data, PF_OutData* out_data, const char* name, int version,
                    const char* error_text) {
    if (in_data->pica_basicP == nullptr) {
        reportSuiteError(in_data, out_data,
                         error_text != nullptr ? error_text : "Not able to release AEFX Suite.");
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    in_data->pica_basicP->ReleaseSuite(name, version);
    return PF_Err_NONE;
}

PF_Err AcquireDrawbotSuites(PF_InData* in_data, PF_OutData* out_data, DRAWBOT_Suites* suites) {
    if (suites == nullptr) {
        reportSuiteError(in_data, out_data,
                         "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
        return PF_Err_UNRECOGNIZED_PARAM_TYPE;
    }
    for (const DrawingSuite& suite : kDrawingSuites) {
        const PF_Err err = AcquireSuite(in_data, out_data, suite.name, suite.version, nullptr,
                                        &(suites->*suite.field));
        if (err != PF_Err_NONE) {
            return err;
        }
    }
    return PF_Err_NONE;
}

PF_Err ReleaseDrawbotSuites(PF_InData* in_data, PF_OutData* out_data) {
    for (const DrawingSuite& suite : kDrawingSuites) {
        ReleaseSuite(in_data, out_data, suite.name, suite.version, nullptr);
    }
    return PF_Err_NONE;
}

} // namespace Vexorel::PrismDrift
