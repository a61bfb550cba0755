#include "Tests/Host/OpenFX/OpenFXHost.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace Testing {
namespace {

constexpr std::uint8_t guard = 0xA5;
constexpr std::size_t guardBytes = 256;
constexpr OfxStatus unknown = 3, badIndex = 10;

bool fails(const char* function) {
    if (++OpenFXHost::calls != OpenFXHost::failing) {
        return false;
    }
    OpenFXHost::failed = function;
    return true;
}

template <typename Object, typename Handle>
Object& object(Handle handle) {
    return *reinterpret_cast<Object*>(
        const_cast<std::remove_const_t<std::remove_pointer_t<Handle>>*>(handle));
}

template <typename Handle>
Handle handleOf(const void* object) {
    return static_cast<Handle>(const_cast<void*>(object));
}

template <typename Value, typename Given>
OfxStatus setValue(OfxPropertySetHandle set, const char* name, int index, Given value) {
    if (fails("propSet")) {
        return OpenFXHost::failure;
    }
    auto& values = object<OpenFXProperties>(set).values[name];
    if (index < 0 || static_cast<std::size_t>(index) > values.size()) {
        return badIndex;
    }
    values.resize(std::max(values.size(), static_cast<std::size_t>(index) + 1));
    values[static_cast<std::size_t>(index)] = Value(value);
    return kOfxStatOK;
}

// The values from `first` on. A text is given as the host's own memory.
template <typename Value, typename Taken>
OfxStatus getValues(OfxPropertySetHandle set, const char* name, std::size_t first, int count,
                    Taken* taken) {
    if (fails(name)) {
        return OpenFXHost::failure;
    }
    auto& all = object<OpenFXProperties>(set).values;
    const auto found = all.find(name);
    if (found == all.end() || found->second.size() < first + static_cast<std::size_t>(count)) {
        return found == all.end() ? unknown : badIndex;
    }
    for (int i = 0; i < count; ++i) {
        auto& value = std::get<Value>(found->second[first + static_cast<std::size_t>(i)]);
        if constexpr (std::is_same_v<Value, std::string>) {
            taken[i] = value.data();
        } else {
            taken[i] = value;
        }
    }
    return kOfxStatOK;
}

template <typename Value, typename Taken>
OfxStatus getOne(OfxPropertySetHandle set, const char* name, int index, Taken* taken) {
    return getValues<Value>(set, name, static_cast<std::size_t>(index), 1, taken);
}

template <typename Value, typename Taken>
OfxStatus getAll(OfxPropertySetHandle set, const char* name, int count, Taken* taken) {
    return getValues<Value>(set, name, 0, count, taken);
}

OfxStatus getDimension(OfxPropertySetHandle set, const char* name, int* count) {
    if (fails("propGetDimension")) {
        return OpenFXHost::failure;
    }
    const auto& all = object<OpenFXProperties>(set).values;
    const auto found = all.find(name);
    *count = found == all.end() ? 0 : static_cast<int>(found->second.size());
    return found == all.end() ? unknown : kOfxStatOK;
}

// An unused function of a suite is null: a call of it ends the test.
const OfxPropertySuiteV1 propertySuite = [] {
    OfxPropertySuiteV1 suite{};
    suite.propSetPointer = &setValue<void*, void*>;
    suite.propSetString = &setValue<std::string, const char*>;
    suite.propSetDouble = &setValue<double, double>;
    suite.propSetInt = &setValue<int, int>;
    suite.propGetPointer = &getOne<void*, void*>;
    suite.propGetString = &getOne<std::string, char*>;
    suite.propGetDoubleN = &getAll<double, double>;
    suite.propGetIntN = &getAll<int, int>;
    suite.propGetDimension = &getDimension;
    return suite;
}();

template <typename Handle>
OfxStatus give(const char* function, const void* object, Handle* handle) {
    if (fails(function)) {
        return OpenFXHost::failure;
    }
    *handle = handleOf<Handle>(object);
    return kOfxStatOK;
}

const OfxImageEffectSuiteV1 effectSuite = [] {
    OfxImageEffectSuiteV1 suite{};
    suite.getPropertySet = [](OfxImageEffectHandle effect, OfxPropertySetHandle* set) {
        return give("getPropertySet", &object<OpenFXEffect>(effect).properties, set);
    };
    suite.getParamSet = [](OfxImageEffectHandle effect, OfxParamSetHandle* set) {
        return give("getParamSet", effect, set);
    };
    suite.clipDefine = [](OfxImageEffectHandle effect, const char* name,
                          OfxPropertySetHandle* set) {
        return give("clipDefine", &object<OpenFXEffect>(effect).clips[name].properties, set);
    };
    suite.clipGetHandle = [](OfxImageEffectHandle effect, const char* name,
                             OfxImageClipHandle* clip, OfxPropertySetHandle* set) {
        OpenFXClip& found = object<OpenFXEffect>(effect).clips.at(name);
        if (set != nullptr) {
            *set = handleOf<OfxPropertySetHandle>(&found.properties);
        }
        return give("clipGetHandle", &found, clip);
    };
    suite.clipGetImage = [](OfxImageClipHandle clip, OfxTime /*time*/, const OfxRectD* /*region*/,
                            OfxPropertySetHandle* image) {
        OpenFXPicture* picture = object<OpenFXClip>(clip).picture;
        const OfxStatus status =
            give("clipGetImage", picture == nullptr ? nullptr : &picture->properties, image);
        OpenFXHost::openPictures += status == kOfxStatOK && picture != nullptr ? 1 : 0;
        return status == kOfxStatOK && picture == nullptr ? kOfxStatFailed : status;
    };
    suite.clipReleaseImage = [](OfxPropertySetHandle /*image*/) {
        --OpenFXHost::openPictures;
        return fails("clipReleaseImage") ? OpenFXHost::failure.load() : kOfxStatOK;
    };
    suite.clipGetRegionOfDefinition = [](OfxImageClipHandle clip, OfxTime /*time*/,
                                         OfxRectD* region) {
        *region = object<OpenFXClip>(clip).region;
        return fails("clipGetRegionOfDefinition") ? OpenFXHost::failure.load() : kOfxStatOK;
    };
    return suite;
}();

OfxStatus defineParameter(OfxParamSetHandle set, const char* type, const char* name,
                          OfxPropertySetHandle* properties) {
    OpenFXParameter& parameter = object<OpenFXEffect>(set).parameters[name];
    object<OpenFXEffect>(set).order.emplace_back(name);
    parameter.type = type;
    return give("paramDefine", &parameter.properties, properties);
}

OfxStatus valueAtTime(OfxParamHandle handle, OfxTime time, ...) {
    if (fails("paramGetValueAtTime")) {
        return OpenFXHost::failure;
    }
    const auto& parameter = object<OpenFXParameter>(handle);
    std::va_list to;
    va_start(to, time);
    if (parameter.type == kOfxParamTypeChoice) {
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser misses va_start
        *va_arg(to, int*) = static_cast<int>(parameter.value(time));
    } else {
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser misses va_start
        *va_arg(to, double*) = parameter.value(time);
    }
    va_end(to);
    return kOfxStatOK;
}

const OfxParameterSuiteV1 parameterSuite = [] {
    OfxParameterSuiteV1 suite{};
    suite.paramDefine = &defineParameter;
    suite.paramGetHandle = [](OfxParamSetHandle set, const char* name, OfxParamHandle* parameter,
                              OfxPropertySetHandle* /*properties*/) {
        return give("paramGetHandle", &object<OpenFXEffect>(set).parameters.at(name), parameter);
    };
    suite.paramGetValueAtTime = &valueAtTime;
    return suite;
}();

OfxStatus takeMessage(void* /*handle*/, const char* /*type*/, const char* /*id*/,
                      const char* format, ...) {
    char text[500];
    std::va_list values;
    va_start(values, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser misses va_start
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    const std::lock_guard lock(OpenFXHost::messageMutex);
    OpenFXHost::message = text;
    return kOfxStatOK;
}

const OfxMessageSuiteV1 messageSuite{&takeMessage};

const void* fetchSuite(OfxPropertySetHandle /*host*/, const char* name, int version) {
    const std::map<std::string, const void*> suites{{kOfxPropertySuite, &propertySuite},
                                                    {kOfxImageEffectSuite, &effectSuite},
                                                    {kOfxParameterSuite, &parameterSuite},
                                                    {kOfxMessageSuite, &messageSuite}};
    const auto found = suites.find(name);
    return version != 1 || found == suites.end() || OpenFXHost::missingSuites.count(name) != 0
               ? nullptr
               : found->second;
}

// Calls the function with a value of the type that has so many bytes.
template <typename Function>
auto withValue(std::size_t bytes, const Function& function) {
    return bytes == 1   ? function(std::uint8_t{})
           : bytes == 2 ? function(std::uint16_t{})
                        : function(float{});
}

} // namespace

OfxHost* OpenFXHost::get() {
    static OfxHost host{nullptr, &fetchSuite};
    return &host;
}

OpenFXPicture::OpenFXPicture(const char* depth, const OfxRectI& area, bool upsideDown)
    : bounds(area),
      mValueBytes(depth == std::string(kOfxBitDepthByte)    ? 1
                  : depth == std::string(kOfxBitDepthShort) ? 2
                                                            : 4),
      mUpsideDown(upsideDown) {
    const auto width = static_cast<std::size_t>(area.x2 - area.x1);
    const auto height = static_cast<std::size_t>(area.y2 - area.y1);
    mRowBytes = width * 4 * mValueBytes + mValueBytes; // rows that aren't aligned to pixels
    mMemory.assign(mRowBytes * height + 2 * guardBytes, guard);
    const auto row = static_cast<int>(mRowBytes);
    const std::vector<OpenFXProperties::Value> sides{area.x1, area.y1, area.x2, area.y2};
    properties.values = {
        {kOfxImageEffectPropComponents, {std::string(kOfxImageComponentRGBA)}},
        {kOfxImageEffectPropPixelDepth, {std::string(depth)}},
        {kOfxImagePropBounds, sides},
        {kOfxImagePropRegionOfDefinition, sides},
        {kOfxImagePropRowBytes, {upsideDown ? -row : row}},
        {kOfxImageEffectPropRenderScale, {1.0, 1.0}},
        {kOfxImagePropPixelAspectRatio, {1.0}},
        {kOfxImageEffectPropPreMultiplication, {std::string("OfxImageAlphaUnPremultiplied")}},
        {kOfxImagePropData, {static_cast<void*>(&mMemory[at(area.x1, area.y1, 0)])}},
    };
}

std::size_t OpenFXPicture::at(int x, int y, int channel) const {
    const auto row = static_cast<std::size_t>(mUpsideDown ? bounds.y2 - 1 - y : y - bounds.y1);
    return guardBytes + row * mRowBytes +
           static_cast<std::size_t>((x - bounds.x1) * 4 + channel) * mValueBytes;
}

double OpenFXPicture::get(int x, int y, int channel) const {
    return withValue(mValueBytes, [&](auto value) {
        std::memcpy(&value, &mMemory[at(x, y, channel)], sizeof value);
        return static_cast<double>(value);
    });
}

void OpenFXPicture::set(int x, int y, int channel, double number) {
    withValue(mValueBytes, [&](auto value) {
        value = static_cast<decltype(value)>(number);
        std::memcpy(&mMemory[at(x, y, channel)], &value, sizeof value);
    });
}

bool OpenFXPicture::hasGuards() const {
    const auto isGuard = [](std::uint8_t byte) { return byte == guard; };
    return std::all_of(mMemory.begin(), mMemory.begin() + guardBytes, isGuard) &&
           std::all_of(mMemory.end() - guardBytes, mMemory.end(), isGuard);
}

double OpenFXPicture::white() const {
    return mValueBytes == 1 ? 255 : mValueBytes == 2 ? 65535 : 1;
}

} // namespace Testing
