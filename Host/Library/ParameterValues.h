#pragma once

/// The values of an effect's parameters over time: one number each, keyframes, or a
/// function of the frame's time. Copies are independent, so that every clip or thread can have its
/// own.

#include "Host/Library/FrameTime.h"
#include "Host/Library/Keyframes.h"
#include "Host/Library/Parameter.h"

#include <memory>
#include <optional>
#include <vector>

namespace Vexorel::PrismDrift::Host {

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
    /// Keyframes, for a parameter that varies. They have no value until `resolve`.
    void set(int index, Keyframes keyframes);

    /// Gives all keyframes that were set their places in a clip, instead of those in another. What
    /// can't be placed leaves everything as it was.
    void resolve(const ClipTiming& timing);

    /// Keyframes that `resolve` was not called for are an Error.
    double at(int index, const FrameTime& time) const;
    /// The number that was set or is the default, nothing for another kind of value.
    std::optional<double> constant(int index) const;
    /// Those that were set, null for another kind of value. Valid until the parameter is set anew.
    const Keyframes* keyframes(int index) const;

private:
    struct Value {
        double constant = 0.0;
        ValueSource source;                 // where set, instead of the constant
        std::optional<Keyframes> keyframes; // where set, what `source` is made from
    };

    const Parameter& parameter(int index) const;
    Value& varying(int index);

    std::shared_ptr<const std::vector<Parameter>> mParameters;
    std::vector<Value> mValues; // one for each parameter
};

} // namespace Vexorel::PrismDrift::Host
