#pragma once

/// The values of an effect's parameters over time: one number each, or a function of the frame's
/// time. Copies are independent, so that every clip or thread can have its own.

#include "Host/Library/Parameter.h"

#include <functional>
#include <memory>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// A frame's time as the effect sees it: `value / scale` seconds, with frames `step / scale` apart,
/// so that `value / step` counts frames.
struct FrameTime {
    std::int32_t value = 0;
    std::int32_t step = 1;
    std::uint32_t scale = 1;
};

/// A parameter's value at a time. Called from whatever thread renders, several at once.
using ValueSource = std::function<double(const FrameTime&)>;

/// Every operation takes a parameter by its published index and throws Error, which names the
/// parameter, where it has no value or doesn't take what it is given. Not to be changed while a
/// frame is rendered with it.
class ParameterValues {
public:
    /// All at their defaults.
    explicit ParameterValues(std::shared_ptr<const std::vector<Parameter>> parameters);

    const std::vector<Parameter>& parameters() const { return *mParameters; }

    /// The same value at every time; it must be one that the parameter accepts.
    void set(int index, double value);
    /// A value that depends on the time, for a parameter that varies. What the source gives outside
    /// the parameter's range becomes the nearest value inside, a NaN the default.
    void set(int index, ValueSource source);

    double at(int index, const FrameTime& time) const;

private:
    const Parameter& parameter(int index) const;

    struct Value {
        double constant = 0.0;
        ValueSource source; // where set, instead of the constant
    };
    std::shared_ptr<const std::vector<Parameter>> mParameters;
    std::vector<Value> mValues; // one for each parameter
};

} // namespace Vexorel::PrismDrift::Host
