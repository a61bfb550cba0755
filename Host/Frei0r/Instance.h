#pragma once

/// One filter in a host's chain: its size and the positions of its controls.

#include "Host/Frei0r/SharedEffect.h"

#include <cstdint>
#include <mutex>
#include <optional>

namespace Vexorel::PrismDrift::Host {

/// Any thread may use it or end it; calls that come at once run one after the other. Making one
/// takes no memory for pixels and needs no OpenGL: its first frame sees to both.
class Instance {
public:
    /// Throws Error for a size that no frame has.
    Instance(unsigned width, unsigned height);

    /// `index` is one of SharedEffect::controls(). A text that is no choice changes nothing and is
    /// told on standard error; a null or empty one is the default.
    void setText(std::size_t index, const char* text);
    void setPosition(std::size_t index, double position);
    /// The label lives as long as the process.
    const char* text(std::size_t index) const;
    double position(std::size_t index) const;

    /// Frames of straight R, G, B, A bytes without gaps; they may be the same one, and unaligned.
    /// What can't be drawn passes through.
    void update(const std::uint8_t* input, std::uint8_t* output);

private:
    ParameterValues values() const;
    bool draw(const std::uint8_t* input, std::uint8_t* output);

    const int mWidth, mHeight;
    mutable std::mutex mMutex;
    std::vector<double> mSettings;        // a choice or a position per control; guarded by mMutex
    std::optional<World> mInput, mOutput; // from the first frame on; guarded by mMutex
};

} // namespace Vexorel::PrismDrift::Host
