#pragma once

/// One filter in a host's chain: its size and the positions of its controls.

#include "Host/Frei0r/SharedEffect.h"
#include "Platform/Threads/Mutex.h"

#include <cstdint>
#include <optional>

namespace Vexorel::PrismDrift::Host {

/// Any thread may use it or destroy it; simultaneous calls run one after the other. The constructor
/// allocates no pixels and needs no OpenGL: the first frame does both.
class Instance {
public:
    /// Throws Error for a side of 0 or above the largest.
    Instance(unsigned width, unsigned height);

    /// `index` counts in SharedEffect::controls(). An unknown choice is reported on standard error
    /// and ignored; null or an empty text sets the default.
    void setText(std::size_t index, const char* text);
    /// A position or an addend. One beyond the ends counts as the nearer end, NaN as the default.
    void setNumber(std::size_t index, double number);
    /// The text is valid as long as the process lives.
    const char* text(std::size_t index) const;
    double number(std::size_t index) const;

    /// Draws a frame of straight R, G, B, A bytes without gaps between the rows. Input and output
    /// may be the same memory and need no alignment. A frame that can't be drawn is copied.
    void update(const std::uint8_t* input, std::uint8_t* output);

private:
    ParameterValues values() const PRISMDRIFT_REQUIRES(mMutex);
    bool draw(const std::uint8_t* input, std::uint8_t* output) PRISMDRIFT_REQUIRES(mMutex);

    const int mWidth, mHeight;
    mutable Platform::Mutex mMutex;
    /// A choice, a position or an addend for each control.
    std::vector<double> mSettings PRISMDRIFT_GUARDED_BY(mMutex);
    /// Made by the first frame.
    std::optional<World> mInput PRISMDRIFT_GUARDED_BY(mMutex);
    std::optional<World> mOutput PRISMDRIFT_GUARDED_BY(mMutex);
};

} // namespace Vexorel::PrismDrift::Host
