#pragma once

/// Frames that were drawn before, as on a render farm, in place of a renderer.

#include "Host/Media/Clip.h"

#include <memory>

namespace Vexorel::PrismDrift::CommandLine {

class DrawnFrames {
public:
    /// Opens a sequence or a clip. Throws Error, also for a picture that a sequence lacks between
    /// its first and its last.
    explicit DrawnFrames(const Host::ClipInput& input);

    /// Gives the clip's next frame the pixels of the drawn one with the same number. Throws Error,
    /// which names the frame, if there is none, or if its pixels can't stand for the renderer's:
    /// their size or depth differs.
    void replace(Host::ClipFrame& frame);

    /// To be called after the clip's last frame: throws Error if there are more drawn ones.
    void end();

private:
    std::optional<Host::ClipFrame> next();

    std::string mName;
    std::unique_ptr<Host::ClipReader> mReader;
};

} // namespace Vexorel::PrismDrift::CommandLine
