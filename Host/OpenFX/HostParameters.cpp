#include "Host/OpenFX/HostParameters.h"

#include "Host/Presentation/Presentation.h"

#include <algorithm>
#include <cmath>

namespace Vexorel::PrismDrift::Host {
namespace {

const char* typeOf(const Parameter& parameter) {
    switch (parameter.kind) {
    case ParameterKind::GroupStart:
        return kOfxParamTypeGroup;
    case ParameterKind::Popup:
        return kOfxParamTypeChoice;
    default:
        return kOfxParamTypeDouble;
    }
}

void describeChoice(const Properties& control, const Parameter& parameter) {
    int index = 0;
    for (const std::string& choice : parameter.choices) {
        control.set(kOfxParamPropChoiceOption, choice.c_str(), index++);
    }
    control.set(kOfxParamPropDefault, static_cast<int>(parameter.initial) - 1);
}

void describeNumber(const Properties& control, const Parameter& parameter) {
    const bool isAngle = parameter.kind == ParameterKind::Angle;
    control.set(kOfxParamPropDefault, parameter.initial);
    control.offer(kOfxParamPropMin, parameter.minimum);
    control.offer(kOfxParamPropMax, parameter.maximum);
    control.offer(kOfxParamPropDisplayMin, isAngle ? -180.0 : parameter.minimum);
    control.offer(kOfxParamPropDisplayMax, isAngle ? 180.0 : parameter.maximum);
    control.offer(kOfxParamPropDigits, isAngle ? 2 : parameter.precision);
    if (isAngle) {
        control.offer(kOfxParamPropDoubleType, kOfxParamDoubleTypeAngle);
    }
}

void define(const Suites& suites, OfxParamSetHandle set, const Parameter& parameter,
            const char* group) {
    const char* identifier = identifierOf(parameter);
    OfxPropertySetHandle handle = nullptr;
    require(suites.parameters->paramDefine(set, typeOf(parameter), identifier, &handle),
            "refuses the parameter " + std::string(identifier));
    const Properties control(suites, handle, identifier);
    control.offer(kOfxPropLabel, parameter.name.c_str());
    if (parameter.kind == ParameterKind::GroupStart) {
        return;
    }
    control.offer(kOfxPropLongLabel, parameter.fullName().c_str());
    control.offer(kOfxParamPropHint, hintOf(parameter).c_str());
    control.offer(kOfxParamPropAnimates, parameter.varies ? 1 : 0);
    if (group != nullptr) {
        control.offer(kOfxParamPropParent, group);
    }
    if (parameter.kind == ParameterKind::Popup) {
        describeChoice(control, parameter);
    } else {
        describeNumber(control, parameter);
    }
}

OfxParamSetHandle controlsOf(const Suites& suites, OfxImageEffectHandle effect) {
    OfxParamSetHandle set = nullptr;
    require(suites.effects->getParamSet(effect, &set), "gives no parameters");
    if (set == nullptr) {
        throw Refusal(kOfxStatErrBadHandle, "the host gave no set of parameters");
    }
    return set;
}

double acceptable(const Parameter& parameter, double value) {
    if (parameter.kind == ParameterKind::Angle) {
        return parameter.accepts(value) ? value : std::fmod(value, 360.0);
    }
    return std::isnan(value) ? value : std::clamp(value, parameter.minimum, parameter.maximum);
}

double valueOf(const Suites& suites, OfxParamSetHandle set, const Parameter& parameter,
               OfxTime time) {
    const std::string identifier = identifierOf(parameter);
    OfxParamHandle handle = nullptr;
    require(suites.parameters->paramGetHandle(set, identifier.c_str(), &handle, nullptr),
            "has no parameter " + identifier);
    const std::string refusal = "gives no value of " + identifier;
    if (parameter.kind == ParameterKind::Popup) {
        int choice = 0;
        require(suites.parameters->paramGetValueAtTime(handle, time, &choice), refusal);
        return choice + 1.0;
    }
    double value = 0.0;
    require(suites.parameters->paramGetValueAtTime(handle, time, &value), refusal);
    return acceptable(parameter, value);
}

} // namespace

void defineControls(const Suites& suites, OfxImageEffectHandle effect) {
    OfxParamSetHandle set = controlsOf(suites, effect);
    const char* group = nullptr;
    for (const Parameter& parameter : *effectParameters()) {
        if (parameter.kind == ParameterKind::GroupEnd) {
            group = nullptr;
            continue;
        }
        define(suites, set, parameter, group);
        if (parameter.kind == ParameterKind::GroupStart) {
            group = identifierOf(parameter);
        }
    }
}

ParameterValues controlValues(const Suites& suites, OfxImageEffectHandle instance, OfxTime time) {
    ParameterValues values(effectParameters());
    OfxParamSetHandle set = controlsOf(suites, instance);
    for (const Parameter& parameter : *effectParameters()) {
        if (parameter.hasValue()) {
            values.set(parameter.index, valueOf(suites, set, parameter, time));
        }
    }
    return values;
}

} // namespace Vexorel::PrismDrift::Host
