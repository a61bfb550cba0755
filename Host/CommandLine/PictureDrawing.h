#pragma once

/// Draws pictures of any depth with the effect, which takes colours that aren't multiplied by
/// alpha.

#include "Host/Media/Picture.h"
#include "Host/Rendering/Renderer.h"

#include <functional>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

class PictureDrawing {
public:
    /// The renderer must outlive it. `warn` is called with a line for each kind of thing that gets
    /// lost, at the first picture that loses it.
    PictureDrawing(Host::Renderer& renderer, std::uint32_t downsample,
                   std::function<void(const std::string&)> warn);

    /// Draws the picture; where the values change nothing, it keeps every bit. Throws as the
    /// renderer does.
    void draw(Host::Picture& picture, const Host::ParameterValues& values,
              const Host::FrameTime& time);

    /// What `draw` does before it draws: makes the world one that the effect takes.
    void prepare(Host::Picture& picture);

    /// What `draw` does then: draws a prepared world into one of the same size and format.
    void draw(const Host::World& prepared, Host::World& drawn, const Host::ParameterValues& values,
              const Host::FrameTime& time);

private:
    void warnOnce(bool& isTold, const std::string& text);

    Host::Renderer& mRenderer;
    std::uint32_t mDownsample;
    std::function<void(const std::string&)> mWarn;
    bool mIsDepthTold = false, mIsLightTold = false;
    // Becomes the picture's world, and the picture's world the spare one: a new world would have to
    // be cleared for every picture.
    Host::World mSpare{0, 0};
};

} // namespace Vexorel::PrismDrift::CommandLine
