#include "Host/Library/HostedEffect.h"

#include "Host/Library/Callbacks.h"
#include "Host/Library/Error.h"
#include "Host/Library/OfferedSuites.h"
#include "Host/Library/PublishedParameters.h"
#include "Platform/OpenGL/ContextFailure.h"
#include "Platform/OpenGL/OpenGLContext.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

// How many objects have each entry function set up. The effect has one global state in a process,
// so the mutex is held over the commands that make it and take it down.
struct SetUps {
    Platform::Mutex mutex;
    std::map<PF_EffectMain, int> counts PRISMDRIFT_GUARDED_BY(mutex);
};

SetUps& setUps() {
    static auto* instance = new SetUps;
    return *instance;
}

// An effect that draws with OpenGL gives the same code for a missing context as for other failures.
// This throws the reason where no context can be made.
void failWithoutContext(PF_Err code) {
    if (code == PF_Err_BAD_CALLBACK_PARAM) {
        const std::string reason = Platform::contextFailure();
        if (!reason.empty()) {
            throw Error("no OpenGL 3.3 context could be made: " + reason, code);
        }
    }
}

// Where no context was current, or one that has died, a command leaves the effect's own current.
// This releases it again if the effect is linked in. A plug-in file has a copy of the OpenGL layer
// to itself, whose contexts this one doesn't know: they stay current.
class EffectContextRelease {
public:
    EffectContextRelease() = default;
    EffectContextRelease(const EffectContextRelease&) = delete;
    EffectContextRelease& operator=(const EffectContextRelease&) = delete;
    ~EffectContextRelease() {
        if (CGLGetCurrentContext() != mBefore) {
            Platform::releaseOwnContext();
        }
    }

private:
    const CGLContextObj mBefore = CGLGetCurrentContext();
};

std::shared_ptr<void> openModule(const std::filesystem::path& plugin) {
    // dlopen looks for a name without a slash in the system's library folders.
    void* module = dlopen(std::filesystem::absolute(plugin).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        throw Error("cannot load the plug-in '" + plugin.string() + "': " + dlerror());
    }
    return {module, [](void* loaded) { dlclose(loaded); }};
}

PF_EffectMain entryOf(void* module, const std::filesystem::path& plugin) {
    void* symbol = dlsym(module, "EntryPointFunc");
    if (symbol == nullptr) {
        throw Error("'" + plugin.string() + "' is no effect: it has no EntryPointFunc");
    }
    return reinterpret_cast<PF_EffectMain>(symbol);
}

// The input and each parameter with its value at the frame's time, for an effect that reads these
// records instead of checking the parameters out.
std::vector<PF_ParamDef> parameterRecords(const World& input, const ParameterValues& values,
                                          const FrameTime& time) {
    std::vector<PF_ParamDef> records(1);
    records[0].u.ld = input.layer();
    for (const Parameter& parameter : values.parameters()) {
        records.push_back(
            definitionAt(parameter, parameter.hasValue() ? values.at(parameter.index, time) : 0.0));
    }
    return records;
}

} // namespace

HostedEffect::HostedEffect(PF_EffectMain entry)
    : mEntry(entry), mParameters(publishedParameters(entry, basicSuite())) {}

HostedEffect::HostedEffect(const std::filesystem::path& plugin)
    : mModule(openModule(plugin)),
      mEntry(entryOf(mModule.get(), plugin)),
      mParameters(publishedParameters(mEntry, basicSuite())) {}

HostedEffect::~HostedEffect() {
    try {
        setDown();
    } catch (const Error&) { // NOLINT(bugprone-empty-catch): a destructor has no way to report
    }
}

std::string HostedEffect::about() const {
    PF_ProgressInfo command;
    const PF_OutData out = give(mEntry, PF_Cmd_ABOUT, command, basicSuite(), "describe itself");
    std::string text(out.return_msg, strnlen(out.return_msg, sizeof out.return_msg));
    std::replace(text.begin(), text.end(), '\r', '\n');
    return text;
}

void HostedEffect::setUp() {
    const Platform::MutexLock own(mSetUpMutex);
    if (mIsSetUp) {
        return;
    }
    SetUps& all = setUps();
    const Platform::MutexLock guard(all.mutex);
    int& count = all.counts[mEntry];
    if (count == 0) {
        PF_ProgressInfo command;
        PF_InData in = makeInData(command, basicSuite());
        PF_OutData out{};
        const PF_Err code = mEntry(PF_Cmd_GLOBAL_SETUP, &in, &out, nullptr, nullptr, nullptr);
        if (code != PF_Err_NONE) {
            failWithoutContext(code);
            fail("be set up", code, out, command.refusal);
        }
    }
    ++count;
    mIsSetUp = true;
}

void HostedEffect::setDown() {
    const Platform::MutexLock own(mSetUpMutex);
    if (!mIsSetUp) {
        return;
    }
    mIsSetUp = false;
    const EffectContextRelease release;
    SetUps& all = setUps();
    const Platform::MutexLock guard(all.mutex);
    if (--all.counts[mEntry] > 0) {
        return;
    }
    all.counts.erase(mEntry);
    PF_ProgressInfo command;
    give(mEntry, PF_Cmd_GLOBAL_SETDOWN, command, basicSuite(), "be set down");
}

void HostedEffect::render(const World& input, World& output, const ParameterValues& values,
                          const FrameSettings& settings) {
    if (input.format() != PF_PixelFormat_ARGB32 || output.format() != PF_PixelFormat_ARGB32) {
        throw Error("the effect takes worlds of 8 bits a channel only");
    }
    const EffectContextRelease release;
    setUp();
    PF_ProgressInfo command;
    command.values = &values;
    command.input = &input.layer();
    PF_InData in = makeInData(command, basicSuite());
    in.current_time = settings.time.value;
    in.time_step = settings.time.step;
    in.time_scale = settings.time.scale;
    in.downsample_x = in.downsample_y = {1, settings.downsample};

    std::vector<PF_ParamDef> definitions = parameterRecords(input, values, settings.time);
    std::vector<PF_ParamDef*> pointers;
    pointers.reserve(definitions.size());
    for (PF_ParamDef& definition : definitions) {
        pointers.push_back(&definition);
    }
    PF_LayerDef target = output.layer();
    PF_OutData out{};
    const PF_Err code = mEntry(PF_Cmd_RENDER, &in, &out, pointers.data(), &target, nullptr);

    if (code != PF_Err_NONE) {
        failWithoutContext(code);
        fail("render a frame of " + std::to_string(input.width()) + "x" +
                 std::to_string(input.height()) + " pixels",
             code, out, command.refusal);
    }
}

} // namespace Vexorel::PrismDrift::Host
