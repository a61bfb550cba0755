#pragma once

/// When a frame is shown, and values that depend on it.

#include <cstdint>
#include <functional>

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

} // namespace Vexorel::PrismDrift::Host
