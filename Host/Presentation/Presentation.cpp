#include "Host/Presentation/Presentation.h"

#include "Host/Library/Error.h"
#include "Host/Library/PublishedParameters.h"
#include "PrismDrift/Sources/Parameters.h"

namespace Vexorel::PrismDrift::Host {
namespace {

// The part of the effect that publishes, and nothing that draws.
PF_Err publish(PF_Cmd /*command*/, PF_InData* in, PF_OutData* out, PF_ParamDef** /*parameters*/,
               PF_LayerDef* /*output*/, void* /*extra*/) {
    return publishParameters(in, out);
}

} // namespace

const std::shared_ptr<const std::vector<Parameter>>& effectParameters() {
    static const auto& published = *new auto(publishedParameters(&publish, nullptr));
    return published;
}

const char* identifierOf(const Parameter& parameter) {
    switch (parameter.id) {
    case kChannelOrder:
        return "channelOrder";
    case kShiftAngle:
        return "shiftAngle";
    case kShiftDistance:
        return "shiftDistance";
    case kScaleGroup:
        return "channelScale";
    case kScaleR:
        return "scaleR";
    case kScaleG:
        return "scaleG";
    case kScaleB:
        return "scaleB";
    case kLightnessGroup:
        return "channelLightness";
    case kLightnessR:
        return "lightnessR";
    case kLightnessG:
        return "lightnessG";
    case kLightnessB:
        return "lightnessB";
    default:
        throw Error("the parameter " + parameter.fullName() + " has no identifier for hosts");
    }
}

std::string hintOf(const Parameter& parameter) {
    switch (parameter.id) {
    case kChannelOrder:
        return "The first channel moves along the shift, the second stays, the third moves against "
               "it";
    case kShiftAngle:
        return "The direction of the shift in degrees: 0 points to the right, 90 down";
    case kShiftDistance:
        return "How far the channels move, in pixels of the full resolution";
    case kLightnessR:
    case kLightnessG:
    case kLightnessB:
        return "How light the channel is, in percent: 100 is white, -100 is black";
    default:
        return "The channel's size about the frame's centre, in percent";
    }
}

Unit unitOf(const Parameter& parameter) {
    switch (parameter.id) {
    case kChannelOrder:
        return {"", ""};
    case kShiftAngle:
        return {"degrees", "\u00b0"};
    case kShiftDistance:
        return {"pixels", " px"};
    default:
        return {"percent", " %"};
    }
}

} // namespace Vexorel::PrismDrift::Host
