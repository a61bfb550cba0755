#include "Host/Library/ParameterValues.h"

#include "Host/Library/Error.h"
#include "Host/Library/Number.h"

#include <algorithm>
#include <utility>

namespace Vexorel::PrismDrift::Host {

ParameterValues::ParameterValues(std::shared_ptr<const std::vector<Parameter>> parameters)
    : mParameters(std::move(parameters)) {
    for (const Parameter& parameter : *mParameters) {
        mValues.push_back({parameter.initial, std::nullopt, nullptr});
    }
}

const Parameter& ParameterValues::parameter(int index) const {
    if (index < 1 || static_cast<std::size_t>(index) > mParameters->size() ||
        !(*mParameters)[static_cast<std::size_t>(index) - 1].hasValue()) {
        throw Error("the effect has no parameter with a value at index " + std::to_string(index));
    }
    return (*mParameters)[static_cast<std::size_t>(index) - 1];
}

void ParameterValues::set(int index, double value) {
    const Parameter& target = parameter(index);
    if (!target.accepts(value)) {
        throw Error("\"" + target.name + "\" takes " + target.takes() + ", not " +
                    numberText(value));
    }
    mValues[static_cast<std::size_t>(index) - 1] = {value, std::nullopt, nullptr};
}

void ParameterValues::set(int index, Keyframes keyframes) {
    const Parameter& target = parameter(index);
    if (!target.varies) {
        throw Error("\"" + target.name + "\" cannot change over time");
    }
    mValues[static_cast<std::size_t>(index) - 1] = {target.initial, std::move(keyframes), nullptr};
}

void ParameterValues::resolve(const ClipTiming& timing) {
    std::vector<Value> values = mValues;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].keyframes) {
            try {
                values[i].source = values[i].keyframes->resolved(timing);
            } catch (const Error& error) {
                throw Error((*mParameters)[i].fullName() + ": " + error.what());
            }
        }
    }
    mValues = std::move(values);
}

double ParameterValues::at(int index, const FrameTime& time) const {
    const Parameter& target = parameter(index);
    const Value& value = mValues[static_cast<std::size_t>(index) - 1];
    if (!value.keyframes) {
        return value.constant;
    }
    if (!value.source) {
        throw Error("the keyframes of \"" + target.name + "\" are not placed in a clip yet");
    }
    return std::clamp(value.source(time), target.minimum, target.maximum);
}

std::optional<double> ParameterValues::constant(int index) const {
    parameter(index); // throws where there is none
    const Value& value = mValues[static_cast<std::size_t>(index) - 1];
    return value.keyframes ? std::nullopt : std::optional(value.constant);
}

const Keyframes* ParameterValues::keyframes(int index) const {
    parameter(index);
    const Value& value = mValues[static_cast<std::size_t>(index) - 1];
    return value.keyframes ? &*value.keyframes : nullptr;
}

} // namespace Vexorel::PrismDrift::Host
