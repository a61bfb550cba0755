#include "Host/Library/ParameterValues.h"

#include "Host/Library/Error.h"
#include "Host/Library/Number.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Vexorel::PrismDrift::Host {

ParameterValues::ParameterValues(std::shared_ptr<const std::vector<Parameter>> parameters)
    : mParameters(std::move(parameters)) {
    for (const Parameter& parameter : *mParameters) {
        mValues.push_back({parameter.initial, nullptr});
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
    mValues[static_cast<std::size_t>(index) - 1] = {value, nullptr};
}

void ParameterValues::set(int index, ValueSource source) {
    const Parameter& target = parameter(index);
    if (!target.varies) {
        throw Error("\"" + target.name + "\" cannot change over time");
    }
    mValues[static_cast<std::size_t>(index) - 1] = {target.initial, std::move(source)};
}

double ParameterValues::at(int index, const FrameTime& time) const {
    const Parameter& target = parameter(index);
    const Value& value = mValues[static_cast<std::size_t>(index) - 1];
    if (!value.source) {
        return value.constant;
    }
    const double now = value.source(time);
    return std::isnan(now) ? target.initial : std::clamp(now, target.minimum, target.maximum);
}

} // namespace Vexorel::PrismDrift::Host
