#pragma once

/// What this plug-in uses of the OpenFX standard, version 1.4: its structs, the suites that a host
/// offers with their functions in the standard's order, and its names. Names keep the standard's
/// spelling.

#include <cstddef>

extern "C" {

using OfxStatus = int;
enum : OfxStatus {
    kOfxStatOK = 0,
    kOfxStatFailed = 1,
    kOfxStatErrFatal = 2,
    kOfxStatErrMissingHostFeature = 4,
    kOfxStatErrUnsupported = 5,
    kOfxStatErrMemory = 8,
    kOfxStatErrBadHandle = 9,
    kOfxStatReplyDefault = 14,
    kOfxStatErrImageFormat = 1000,
};

using OfxTime = double;
using OfxPropertySetHandle = struct OfxPropertySetStruct*;
using OfxImageEffectHandle = struct OfxImageEffectStruct*;
using OfxImageClipHandle = struct OfxImageClipStruct*;
using OfxParamSetHandle = struct OfxParamSetStruct*;
using OfxParamHandle = struct OfxParamStruct*;

struct OfxRectI {
    int x1, y1, x2, y2;
};

struct OfxRectD {
    double x1, y1, x2, y2;
};

struct OfxHost {
    OfxPropertySetHandle host;
    const void* (*fetchSuite)(OfxPropertySetHandle host, const char* name, int version);
};

struct OfxPlugin {
    const char* pluginApi;
    int apiVersion;
    const char* pluginIdentifier;
    unsigned pluginVersionMajor, pluginVersionMinor;
    void (*setHost)(OfxHost* host);
    OfxStatus (*mainEntry)(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                           OfxPropertySetHandle outArgs);
};

/// "OfxPropertySuite", version 1.
struct OfxPropertySuiteV1 {
    using Set = OfxPropertySetHandle;
    OfxStatus (*propSetPointer)(Set set, const char* name, int index, void* value);
    OfxStatus (*propSetString)(Set set, const char* name, int index, const char* value);
    OfxStatus (*propSetDouble)(Set set, const char* name, int index, double value);
    OfxStatus (*propSetInt)(Set set, const char* name, int index, int value);
    OfxStatus (*propSetPointerN)(Set set, const char* name, int count, void* const* values);
    OfxStatus (*propSetStringN)(Set set, const char* name, int count, const char* const* values);
    OfxStatus (*propSetDoubleN)(Set set, const char* name, int count, const double* values);
    OfxStatus (*propSetIntN)(Set set, const char* name, int count, const int* values);
    OfxStatus (*propGetPointer)(Set set, const char* name, int index, void** value);
    OfxStatus (*propGetString)(Set set, const char* name, int index, char** value);
    OfxStatus (*propGetDouble)(Set set, const char* name, int index, double* value);
    OfxStatus (*propGetInt)(Set set, const char* name, int index, int* value);
    OfxStatus (*propGetPointerN)(Set set, const char* name, int count, void** values);
    OfxStatus (*propGetStringN)(Set set, const char* name, int count, char** values);
    OfxStatus (*propGetDoubleN)(Set set, const char* name, int count, double* values);
    OfxStatus (*propGetIntN)(Set set, const char* name, int count, int* values);
    OfxStatus (*propReset)(Set set, const char* name);
    OfxStatus (*propGetDimension)(Set set, const char* name, int* count);
};

/// "OfxImageEffectSuite", version 1.
struct OfxImageEffectSuiteV1 {
    OfxStatus (*getPropertySet)(OfxImageEffectHandle effect, OfxPropertySetHandle* set);
    OfxStatus (*getParamSet)(OfxImageEffectHandle effect, OfxParamSetHandle* set);
    OfxStatus (*clipDefine)(OfxImageEffectHandle effect, const char* name,
                            OfxPropertySetHandle* set);
    OfxStatus (*clipGetHandle)(OfxImageEffectHandle effect, const char* name,
                               OfxImageClipHandle* clip, OfxPropertySetHandle* set);
    OfxStatus (*clipGetPropertySet)(OfxImageClipHandle clip, OfxPropertySetHandle* set);
    OfxStatus (*clipGetImage)(OfxImageClipHandle clip, OfxTime time, const OfxRectD* region,
                              OfxPropertySetHandle* image);
    OfxStatus (*clipReleaseImage)(OfxPropertySetHandle image);
    OfxStatus (*clipGetRegionOfDefinition)(OfxImageClipHandle clip, OfxTime time, OfxRectD* region);
    int (*abort)(OfxImageEffectHandle effect);
    OfxStatus (*imageMemoryAlloc)(OfxImageEffectHandle effect, std::size_t bytes, void** memory);
    OfxStatus (*imageMemoryFree)(void* memory);
    OfxStatus (*imageMemoryLock)(void* memory, void** data);
    OfxStatus (*imageMemoryUnlock)(void* memory);
};

/// "OfxParameterSuite", version 1.
struct OfxParameterSuiteV1 {
    OfxStatus (*paramDefine)(OfxParamSetHandle set, const char* type, const char* name,
                             OfxPropertySetHandle* properties);
    OfxStatus (*paramGetHandle)(OfxParamSetHandle set, const char* name, OfxParamHandle* parameter,
                                OfxPropertySetHandle* properties);
    OfxStatus (*paramSetGetPropertySet)(OfxParamSetHandle set, OfxPropertySetHandle* properties);
    OfxStatus (*paramGetPropertySet)(OfxParamHandle parameter, OfxPropertySetHandle* properties);
    OfxStatus (*paramGetValue)(OfxParamHandle parameter, ...);
    OfxStatus (*paramGetValueAtTime)(OfxParamHandle parameter, OfxTime time, ...);
    OfxStatus (*paramGetDerivative)(OfxParamHandle parameter, OfxTime time, ...);
    OfxStatus (*paramGetIntegral)(OfxParamHandle parameter, OfxTime from, OfxTime to, ...);
    OfxStatus (*paramSetValue)(OfxParamHandle parameter, ...);
    OfxStatus (*paramSetValueAtTime)(OfxParamHandle parameter, OfxTime time, ...);
    OfxStatus (*paramGetNumKeys)(OfxParamHandle parameter, unsigned* count);
    OfxStatus (*paramGetKeyTime)(OfxParamHandle parameter, unsigned index, OfxTime* time);
    OfxStatus (*paramGetKeyIndex)(OfxParamHandle parameter, OfxTime time, int direction,
                                  int* index);
    OfxStatus (*paramDeleteKey)(OfxParamHandle parameter, OfxTime time);
    OfxStatus (*paramDeleteAllKeys)(OfxParamHandle parameter);
    OfxStatus (*paramCopy)(OfxParamHandle to, OfxParamHandle from, OfxTime offset,
                           const void* range);
    OfxStatus (*paramEditBegin)(OfxParamSetHandle set, const char* name);
    OfxStatus (*paramEditEnd)(OfxParamSetHandle set);
};

/// "OfxMessageSuite", version 1.
struct OfxMessageSuiteV1 {
    OfxStatus (*message)(void* handle, const char* type, const char* id, const char* format, ...);
};

} // extern "C"

static_assert(sizeof(OfxRectI) == 16 && sizeof(OfxRectD) == 32 && sizeof(OfxHost) == 16);
static_assert(sizeof(OfxPlugin) == 48 && offsetof(OfxPlugin, setHost) == 32 &&
              offsetof(OfxPlugin, mainEntry) == 40);
static_assert(sizeof(OfxPropertySuiteV1) == 144 &&
              offsetof(OfxPropertySuiteV1, propGetIntN) == 120);
static_assert(sizeof(OfxImageEffectSuiteV1) == 104 && offsetof(OfxImageEffectSuiteV1, abort) == 64);
static_assert(sizeof(OfxParameterSuiteV1) == 144 &&
              offsetof(OfxParameterSuiteV1, paramGetValueAtTime) == 40);

inline constexpr const char* kOfxImageEffectPluginApi = "OfxImageEffectPluginAPI";
inline constexpr const char* kOfxPropertySuite = "OfxPropertySuite";
inline constexpr const char* kOfxImageEffectSuite = "OfxImageEffectSuite";
inline constexpr const char* kOfxParameterSuite = "OfxParameterSuite";
inline constexpr const char* kOfxMessageSuite = "OfxMessageSuite";
inline constexpr const char* kOfxActionLoad = "OfxActionLoad";
inline constexpr const char* kOfxActionUnload = "OfxActionUnload";
inline constexpr const char* kOfxActionDescribe = "OfxActionDescribe";
inline constexpr const char* kOfxActionCreateInstance = "OfxActionCreateInstance";
inline constexpr const char* kOfxActionDestroyInstance = "OfxActionDestroyInstance";
inline constexpr const char* kOfxImageEffectActionDescribeInContext =
    "OfxImageEffectActionDescribeInContext";
inline constexpr const char* kOfxImageEffectActionRender = "OfxImageEffectActionRender";
inline constexpr const char* kOfxImageEffectActionGetRegionsOfInterest =
    "OfxImageEffectActionGetRegionsOfInterest";
inline constexpr const char* kOfxImageEffectActionIsIdentity = "OfxImageEffectActionIsIdentity";
inline constexpr const char* kOfxPropName = "OfxPropName";
inline constexpr const char* kOfxPropLabel = "OfxPropLabel";
inline constexpr const char* kOfxPropLongLabel = "OfxPropLongLabel";
inline constexpr const char* kOfxPropTime = "OfxPropTime";
inline constexpr const char* kOfxPropPluginDescription = "OfxPropPluginDescription";
inline constexpr const char* kOfxImageEffectPluginPropGrouping = "OfxImageEffectPluginPropGrouping";
inline constexpr const char* kOfxImageEffectPropSupportedContexts =
    "OfxImageEffectPropSupportedContexts";
inline constexpr const char* kOfxImageEffectPropSupportedPixelDepths =
    "OfxImageEffectPropSupportedPixelDepths";
inline constexpr const char* kOfxImageEffectPropSupportedComponents =
    "OfxImageEffectPropSupportedComponents";
inline constexpr const char* kOfxImageEffectPluginRenderThreadSafety =
    "OfxImageEffectPluginRenderThreadSafety";
inline constexpr const char* kOfxImageEffectPluginPropHostFrameThreading =
    "OfxImageEffectPluginPropHostFrameThreading";
inline constexpr const char* kOfxImageEffectPropSupportsTiles = "OfxImageEffectPropSupportsTiles";
inline constexpr const char* kOfxImageEffectPropSupportsMultiResolution =
    "OfxImageEffectPropSupportsMultiResolution";
inline constexpr const char* kOfxImageEffectPropTemporalClipAccess =
    "OfxImageEffectPropTemporalClipAccess";
inline constexpr const char* kOfxImageEffectContextFilter = "OfxImageEffectContextFilter";
inline constexpr const char* kOfxImageEffectContextGeneral = "OfxImageEffectContextGeneral";
inline constexpr const char* kOfxImageEffectRenderFullySafe = "OfxImageEffectRenderFullySafe";
inline constexpr const char* kOfxImageComponentRGBA = "OfxImageComponentRGBA";
inline constexpr const char* kOfxBitDepthByte = "OfxBitDepthByte";
inline constexpr const char* kOfxBitDepthShort = "OfxBitDepthShort";
inline constexpr const char* kOfxBitDepthFloat = "OfxBitDepthFloat";
inline constexpr const char* kOfxImagePreMultiplied = "OfxImageAlphaPremultiplied";
inline constexpr const char* kOfxImageEffectPropRenderWindow = "OfxImageEffectPropRenderWindow";
inline constexpr const char* kOfxImageEffectPropFieldToRender = "OfxImageEffectPropFieldToRender";
inline constexpr const char* kOfxImageFieldLower = "OfxFieldLower";
inline constexpr const char* kOfxImageFieldUpper = "OfxFieldUpper";
inline constexpr const char* kOfxImageEffectPropRenderScale = "OfxImageEffectPropRenderScale";
inline constexpr const char* kOfxImageEffectPropPixelDepth = "OfxImageEffectPropPixelDepth";
inline constexpr const char* kOfxImageEffectPropComponents = "OfxImageEffectPropComponents";
inline constexpr const char* kOfxImageEffectPropPreMultiplication =
    "OfxImageEffectPropPreMultiplication";
inline constexpr const char* kOfxImagePropData = "OfxImagePropData";
inline constexpr const char* kOfxImagePropBounds = "OfxImagePropBounds";
inline constexpr const char* kOfxImagePropRegionOfDefinition = "OfxImagePropRegionOfDefinition";
inline constexpr const char* kOfxImagePropRowBytes = "OfxImagePropRowBytes";
inline constexpr const char* kOfxImagePropPixelAspectRatio = "OfxImagePropPixelAspectRatio";
inline constexpr const char* kOfxImageClipPropRoI = "OfxImageClipPropRoI_";
inline constexpr const char* kOfxParamTypeDouble = "OfxParamTypeDouble";
inline constexpr const char* kOfxParamTypeChoice = "OfxParamTypeChoice";
inline constexpr const char* kOfxParamTypeGroup = "OfxParamTypeGroup";
inline constexpr const char* kOfxParamPropHint = "OfxParamPropHint";
inline constexpr const char* kOfxParamPropParent = "OfxParamPropParent";
inline constexpr const char* kOfxParamPropAnimates = "OfxParamPropAnimates";
inline constexpr const char* kOfxParamPropChoiceOption = "OfxParamPropChoiceOption";
inline constexpr const char* kOfxParamPropDefault = "OfxParamPropDefault";
inline constexpr const char* kOfxParamPropMin = "OfxParamPropMin";
inline constexpr const char* kOfxParamPropMax = "OfxParamPropMax";
inline constexpr const char* kOfxParamPropDisplayMin = "OfxParamPropDisplayMin";
inline constexpr const char* kOfxParamPropDisplayMax = "OfxParamPropDisplayMax";
inline constexpr const char* kOfxParamPropDigits = "OfxParamPropDigits";
inline constexpr const char* kOfxParamPropDoubleType = "OfxParamPropDoubleType";
inline constexpr const char* kOfxParamDoubleTypeAngle = "OfxParamDoubleTypeAngle";
inline constexpr const char* kOfxMessageError = "OfxMessageError";
