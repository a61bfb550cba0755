// The functions that an OpenFX host calls. No exception leaves them but the unwinding of a thread
// that is cancelled.

#include "Host/Library/Error.h"
#include "Host/OpenFX/Description.h"
#include "Host/OpenFX/Rendering.h"
#include "Host/Presentation/Presentation.h"

#include <cxxabi.h>
#include <new>
#include <string_view>

using namespace Vexorel::PrismDrift::Host;

namespace {

OfxStatus act(std::string_view action, OfxImageEffectHandle effect, OfxPropertySetHandle inArgs,
              OfxPropertySetHandle outArgs) {
    // What a host makes and destroys holds nothing of ours, and the module stays loaded.
    if (action == kOfxActionUnload || action == kOfxActionCreateInstance ||
        action == kOfxActionDestroyInstance) {
        return kOfxStatOK;
    }
    const auto arguments = [&](const Suites& suites) {
        return Properties(suites, inArgs, "the action's arguments");
    };
    const auto answers = [&](const Suites& suites) {
        return Properties(suites, outArgs, "the action's answers");
    };
    if (action == kOfxActionLoad) {
        hostSuites();
        return kOfxStatOK;
    }
    if (action == kOfxActionDescribe) {
        describe(hostSuites(), effect);
        return kOfxStatOK;
    }
    if (action == kOfxImageEffectActionDescribeInContext) {
        describeInContext(hostSuites(), effect);
        return kOfxStatOK;
    }
    if (action == kOfxImageEffectActionRender) {
        const Suites suites = hostSuites();
        render(suites, effect, arguments(suites));
        return kOfxStatOK;
    }
    if (action == kOfxImageEffectActionGetRegionsOfInterest) {
        const Suites suites = hostSuites();
        askForRegions(suites, effect, arguments(suites), answers(suites));
        return kOfxStatOK;
    }
    if (action == kOfxImageEffectActionIsIdentity) {
        const Suites suites = hostSuites();
        return passesThrough(suites, effect, arguments(suites), answers(suites))
                   ? kOfxStatOK
                   : kOfxStatReplyDefault;
    }
    return kOfxStatReplyDefault;
}

// Tells the user why a frame isn't drawn. Of the other actions the host gets the status alone.
void report(std::string_view action, void* effect, const char* text) {
    if (action != kOfxImageEffectActionRender || effect == nullptr) {
        return;
    }
    try {
        const Suites suites = hostSuites();
        if (suites.messages != nullptr && suites.messages->message != nullptr) {
            suites.messages->message(effect, kOfxMessageError, "prismdrift", "%s", text);
        }
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the host is gone
    }
}

OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                    OfxPropertySetHandle outArgs) {
    const std::string_view name = action != nullptr ? action : "";
    auto* effect = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    try {
        return act(name, effect, inArgs, outArgs);
    } catch (const Refusal& refusal) {
        report(name, effect, refusal.what());
        return refusal.status();
    } catch (const Error& error) {
        report(name, effect, error.what());
        return error.code() == PF_Err_OUT_OF_MEMORY ? kOfxStatErrMemory : kOfxStatFailed;
    } catch (const std::bad_alloc&) {
        report(name, effect, "there is not enough memory");
        return kOfxStatErrMemory;
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (...) {
        return kOfxStatFailed;
    }
}

OfxPlugin plugin{kOfxImageEffectPluginApi, 1,        openFxIdentifier, PRISMDRIFT_VERSION_MAJOR,
                 PRISMDRIFT_VERSION_MINOR, &setHost, &mainEntry};

} // namespace

extern "C" __attribute__((visibility("default"))) int OfxGetNumberOfPlugins() {
    return 1;
}

extern "C" __attribute__((visibility("default"))) OfxPlugin* OfxGetPlugin(int index) {
    return index == 0 ? &plugin : nullptr;
}
