#pragma once

/// Draws pictures of any depth with the effect, which takes colours that aren't multiplied by
/// alpha.

#include "Host/Media/PictureTransfer.h"
#include "Host/Rendering/Renderer.h"

#include <functional>
#include <optional>
#include <string>

namespace Vexorel::PrismDrift::CommandLine {

struct DrawingSettings {
    std::uint32_t downsample = 1;
    bool isLinear = false; ///< draws in linear light
};

class PictureDrawing {
public:
    /// The renderer must outlive it. `warn` is called with a line for each kind of thing that gets
    /// lost, at the first picture that loses it.
    PictureDrawing(Host::Renderer& renderer, const DrawingSettings& settings,
                   std::function<void(const std::string&)> warn);

    /// Draws a picture of a clip of this kind; where the values change nothing, it keeps every bit.
    /// Throws as the renderer does, and Error where linear light is wanted of a picture whose
    /// transfer isn't known.
    void draw(Host::Picture& picture, Host::ClipKind kind, const Host::ParameterValues& values,
              const Host::FrameTime& time);

    /// What `draw` does before it draws: makes the world one that the effect takes.
    void prepare(Host::Picture& picture, Host::ClipKind kind);

    /// What `draw` does then: draws the world that was prepared last into one of the same size and
    /// format, whose colours are coded as the picture's were.
    void draw(const Host::World& prepared, Host::World& drawn, const Host::ParameterValues& values,
              const Host::FrameTime& time);

private:
    void warnOnce(bool& isTold, const std::string& text);

    Host::Renderer& mRenderer;
    DrawingSettings mSettings;
    std::function<void(const std::string&)> mWarn;
    bool mIsDepthTold = false, mIsLightTold = false;
    std::optional<Host::Transfer> mTransfer; // of the prepared world, for linear light
    // Becomes the picture's world, and the picture's world the spare one: a new world would have to
    // be cleared for every picture.
    Host::World mSpare{0, 0};
};

} // namespace Vexorel::PrismDrift::CommandLine
