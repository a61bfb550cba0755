#pragma once

/// The last pass of a frame: the finished picture in the host's pixel order.

#include "Shared/GL/OpenglShader.h"
#include "Shared/GL/PerContextName.h"

namespace Vexorel::PrismDrift {

/// Draws a texture of premultiplied R, G, B, A as straight A, R, G, B. The inverse of
/// BackgroundRender.
class ScreenRender {
public:
    /// Makes no GL call; the program is built at the first draw.
    ScreenRender();
    /// Needs a context of the share group current, if anything was drawn.
    ~ScreenRender();

    ScreenRender(const ScreenRender&) = delete;
    ScreenRender& operator=(const ScreenRender&) = delete;

    /// Draws `texture`, which stays the caller's, over the whole of the bound target. A pixel with
    /// alpha 0 becomes 0 throughout. `multiplier` is what the upload of the frame gave.
    void draw(unsigned int texture, float multiplier);

    PerContextName mVertexArray;
    gl::GLuint mVertexBuffer = 0; ///< owned
    OpenglShader mShader;
};

} // namespace Vexorel::PrismDrift
