#pragma once

/// Draws a frame with a set of steps. Internal: `renderInSoftware` chooses the steps.

#include "Host/Software/RowSteps.h"
#include "Host/Software/Software.h"

namespace Vexorel::PrismDrift::Host {

/// Pixels in rows, which may go upwards.
template <typename Byte>
struct Pixels {
    Byte* first;
    std::ptrdiff_t rowBytes;
    int width, height;

    Byte* row(int y) const { return first + y * rowBytes; }
};

struct Drawing {
    Pixels<const std::uint8_t> input;
    Pixels<std::uint8_t> output;
    PF_PixelFormat format;
    SoftwareSettings settings;
};

/// What the worlds and settings come to was checked before. Throws std::bad_alloc, and has touched
/// nothing then.
void draw(const Drawing& drawing, const SoftwareSteps& steps);

} // namespace Vexorel::PrismDrift::Host
