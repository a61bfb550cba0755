#pragma once

/// The values of an effect's parameters over time: a number or keyframes for each. Copies are
/// independent, so that every clip or thread can have its own.

#include "Host/Library/FrameTime.h"
#include "Host/Library/Keyframes.h"
#include "Host/Library/Parameter.h"

#include <memory>
#include <optional>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// Every operation takes a parameter by its published index, and throws Error where that parameter
/// has no value or doesn't accept the new one. Not to be changed while a frame is rendered with it.
class ParameterValues {
public:
    /// All at their defaults.
    explicit ParameterValues(std::shared_ptr<const std::vector<Parameter>> parameters);

    const std::vector<Parameter>& parameters() const { return *mParameters; }

    /// The same value at every time.
    void set(int index, double value);
    /// Keyframes, for a parameter that varies. They have no value until `resolve`; a smooth curve
    /// that leaves the parameter's range is cut off at its ends.
    void set(int index, Keyframes keyframes);

    /// Places all keyframes in a clip, instead of the clip that they were placed in before. Throws
    /// Error, and changes nothing, where one has no place there.
    void resolve(const ClipTiming& timing);

    /// Throws Error for keyframes that were set after the last `resolve`.
    double at(int index, const FrameTime& time) const;
    /// The number that was set, or the default; nothing for keyframes.
    std::optional<double> constant(int index) const;
    /// The keyframes that were set; null for a number. Valid until the parameter is set again.
    const Keyframes* keyframes(int index) const;

private:
    struct Value {
        double constant = 0.0;
        std::optional<Keyframes> keyframes; // used instead of the constant if set
        ValueSource source;                 // the keyframes in a clip, once resolved
    };

    const Parameter& parameter(int index) const;

    std::shared_ptr<const std::vector<Parameter>> mParameters;
    std::vector<Value> mValues; // one for each parameter, groups included
};

} // namespace Vexorel::PrismDrift::Host
