#pragma once

/// The effect's renderer: it finds where each colour channel is read, and draws the frame.

#include "PrismDrift/Sources/ChannelTransforms.h"
#include "Shared/GL/OpenglShader.h"
#include "Shared/GL/PerContextName.h"
#include "Shared/Math/Vec3.h"

#include <memory>

namespace Vexorel::PrismDrift {

/// The setters store the values of one frame, and draw() uses them. Positions are pixels of the
/// frame buffer, with y in the order of the host's rows, so a positive angle turns from +x towards
/// the following rows.
///
/// Takes no lock: frames must not overlap.
class PrismDriftRender {
public:
    /// Makes no GL call; the first draw makes the program and the vertex objects.
    PrismDriftRender();
    /// If anything was drawn, a context of the share group must be current.
    ~PrismDriftRender();

    PrismDriftRender(const PrismDriftRender&) = delete;
    PrismDriftRender& operator=(const PrismDriftRender&) = delete;

    // The setters check nothing.
    void setOrder(ChannelOrder order) { mOrder = order; }
    /// Pixels at the current downsample.
    void setShiftDistance(float distance) { mShiftDistance = distance; }
    /// Degrees.
    void setShiftAngle(float angle) { mShiftAngle = angle; }
    /// Lightness of each channel: from -1 (black) through 0 (unchanged) to 1 (white).
    void setChannelOpacity(float r, float g, float b) { mChannelOpacity.set(r, g, b); }
    /// Scale of each channel about the frame's centre, 1 is unchanged.
    void setChannelScale(float r, float g, float b) { mChannelScale.set(r, g, b); }

    /// Composes the three transforms for the frame buffer's size. Each maps an output pixel to the
    /// position in the source where its channel is read. So a channel with a positive offset
    /// appears moved the other way, and a channel with scale 0 reads one point everywhere.
    void composeTransform();

    /// Draws the frame into the bound target. `texture` holds the host's A, R, G, B and stays the
    /// caller's; `multiplier` is the one that its upload returned. The target receives
    /// premultiplied R, G, B, A; alpha is the source's at the same pixel.
    void draw(unsigned int texture, float multiplier);

    std::unique_ptr<OpenglShader> mShader;
    PerContextName mVertexArray;
    gl::GLuint mVertexBuffer = 0; ///< owned
    ChannelOrder mOrder = RGB;
    float mShiftDistance = 0.0F;
    float mShiftAngle = 0.0F;
    Vec3 mChannelOpacity;
    Vec3 mChannelScale{1.0, 1.0, 1.0};
    Affine mRTransform{true};
    Affine mGTransform{true};
    Affine mBTransform{true};
};

} // namespace Vexorel::PrismDrift
