#pragma once

/// The time of a frame, and values that depend on it.

#include <cstdint>
#include <functional>

namespace Vexorel::PrismDrift::Host {

/// The time of a frame as the effect gets it: `value / scale` seconds. Frames are `step / scale`
/// seconds apart, so that `value / step` is the frame's number.
struct FrameTime {
    std::int32_t value = 0;
    std::int32_t step = 1;
    std::uint32_t scale = 1;
};

/// A parameter's value at a time. Several threads may call it at the same time.
using ValueSource = std::function<double(const FrameTime&)>;

} // namespace Vexorel::PrismDrift::Host
