#pragma once

/// The host's pixels as a pass can blend them.

#include "Shared/GL/OpenglShader.h"
#include "Shared/GL/PerContextName.h"

namespace Vexorel::PrismDrift {

/// Draws a texture in the host's straight A, R, G, B as premultiplied R, G, B, A. The inverse of
/// ScreenRender.
class BackgroundRender {
public:
    /// Makes no GL call; the program is built at the first draw.
    BackgroundRender();
    /// Needs a context of the share group current, if anything was drawn.
    ~BackgroundRender();

    BackgroundRender(const BackgroundRender&) = delete;
    BackgroundRender& operator=(const BackgroundRender&) = delete;

    /// Draws `texture`, which stays the caller's, over the whole of the bound target. `multiplier`
    /// is what the upload of the frame gave.
    void draw(unsigned int texture, float multiplier);

    OpenglShader mShader;
    PerContextName mVertexArray;
    gl::GLuint mVertexBuffer = 0; ///< owned
};

} // namespace Vexorel::PrismDrift
