#include "Host/OpenFX/Description.h"

#include "Host/OpenFX/HostParameters.h"
#include "Host/OpenFX/Rendering.h"
#include "Host/Presentation/Presentation.h"

namespace Vexorel::PrismDrift::Host {

void describe(const Suites& suites, OfxImageEffectHandle effect) {
    OfxPropertySetHandle set = nullptr;
    require(suites.effects->getPropertySet(effect, &set), "gives no properties of the effect");
    const Properties properties(suites, set, "the effect");
    properties.set(kOfxPropLabel, effectName);
    properties.offer(kOfxImageEffectPluginPropGrouping, effectAuthor);
    properties.offer(
        kOfxPropPluginDescription,
        (std::string(effectSummary) + ". What leaves the frame comes in on the other side.")
            .c_str());
    properties.set(kOfxImageEffectPropSupportedContexts, kOfxImageEffectContextFilter, 0);
    properties.set(kOfxImageEffectPropSupportedContexts, kOfxImageEffectContextGeneral, 1);
    properties.set(kOfxImageEffectPropSupportedPixelDepths, kOfxBitDepthByte, 0);
    properties.set(kOfxImageEffectPropSupportedPixelDepths, kOfxBitDepthShort, 1);
    properties.set(kOfxImageEffectPropSupportedPixelDepths, kOfxBitDepthFloat, 2);
    properties.offer(kOfxImageEffectPluginRenderThreadSafety, kOfxImageEffectRenderFullySafe);
    properties.offer(kOfxImageEffectPluginPropHostFrameThreading, 0);
    properties.offer(kOfxImageEffectPropSupportsTiles, 0);
    properties.offer(kOfxImageEffectPropSupportsMultiResolution, 0);
    properties.offer(kOfxImageEffectPropTemporalClipAccess, 0);
}

void describeInContext(const Suites& suites, OfxImageEffectHandle effect) {
    for (const char* name : {sourceClip, outputClip}) {
        OfxPropertySetHandle set = nullptr;
        require(suites.effects->clipDefine(effect, name, &set),
                "refuses the clip " + std::string(name));
        const Properties clip(suites, set, name);
        clip.set(kOfxImageEffectPropSupportedComponents, kOfxImageComponentRGBA);
        clip.offer(kOfxImageEffectPropTemporalClipAccess, 0);
        clip.offer(kOfxImageEffectPropSupportsTiles, 0);
    }
    defineControls(suites, effect);
}

} // namespace Vexorel::PrismDrift::Host
