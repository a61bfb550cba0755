#pragma once

/// The off-screen target of a frame: a stack of render targets to draw into, and the render buffer
/// that holds the finished picture.

#include "Shared/GL/PerContextName.h"
#include "Shared/GL/ScreenRender.h"
#include "Shared/Math/Vec2.h"

#include <cstdint>
#include <map>
#include <vector>

namespace Vexorel::PrismDrift {

/// There is one for the process (mainFrameBuffer()). Sizes are in whole pixels, and every colour
/// target is GL_RGBA but for those of the float factories. A frame runs: prepare, beginDrawing,
/// drawing, endDrawing, read-back.
///
/// Ownership: all names in the fields are the object's. Render buffers are shared by the group's
/// contexts; frame buffers exist once for each context that has prepared, and those of a context go
/// with it. Textures that an operation gives belong to the caller.
///
/// No lock: frames must not overlap. Operations call GL in the context current on the thread.
class AEOpenglMainFrameBuffer {
public:
    /// The process's one object, made at the first call and never deleted.
    static AEOpenglMainFrameBuffer* mainFrameBuffer();

    AEOpenglMainFrameBuffer(); ///< makes no GL call
    ~AEOpenglMainFrameBuffer();
    AEOpenglMainFrameBuffer(const AEOpenglMainFrameBuffer&) = delete;
    AEOpenglMainFrameBuffer& operator=(const AEOpenglMainFrameBuffer&) = delete;

    std::uint16_t width() const { return static_cast<std::uint16_t>(mWidth); } ///< modulo 65536
    std::uint16_t height() const { return static_cast<std::uint16_t>(mHeight); }

    /// Makes what a frame of this size needs. If the size is the one on record, the flag is not
    /// looked at, and all that is made are frame buffers that the current context lacks; after
    /// unprepare() nothing at all, until another size or destory() comes first.
    void prepare(long width, long height, bool multisample);

    /// Deletes what prepare made, and the stack. The size stays on record.
    void unprepare();

    /// Unprepares and deletes the screen pass, with the size set to 0 by 0: nothing usable is left
    /// until the next prepare.
    void destory();

    /// Deletes all pushed targets. The frame buffer that is bound stays bound.
    void clearStack();

    /// Opens a frame: pushes a cleared target and sets the viewport to all of it.
    void beginDrawing();

    /// Closes a frame: draws the top target, through the screen pass, into mMainRenderBuffer, which
    /// stays attached to mSingleFrameBuffer, bound, for the read-back. Does nothing without a
    /// target. `multiplier` is what the upload of the frame gave.
    void endDrawing(float multiplier);

    /// Pushes a new target and clears it. The first flag is not looked at.
    void pushRenderContext(bool, bool stencil);

    /// Takes the top target off the stack and gives its picture as a new texture; 0 on an empty
    /// stack. Drawing then goes on in the target below, its contents kept.
    unsigned int popRenderContext();

    /// Directs drawing into a texture, cleared first, until popNormalRenderContext. The second form
    /// takes a mip level and sets the viewport to `size`, truncated.
    void pushNormalRenderContext(unsigned int texture);
    void pushNormalRenderContext(unsigned int texture, const Vec2& size, int level);

    /// Ends a texture target and goes back to the top of the stack, if it has one. Without a
    /// texture target bound, only the latter.
    void popNormalRenderContext();

    /// A new texture, zero-filled, clamped to its edge and unbound; without a size it has the
    /// frame's, otherwise each side is truncated. With `mipmap` the caller supplies the levels.
    /// Throws PF_Err_OUT_OF_MEMORY for more than 2^32 - 1 bytes of zeros and std::bad_alloc where
    /// there is no memory for them; PF_Err_BAD_CALLBACK_PARAM for a side that is NaN, negative or
    /// too large once truncated.
    unsigned int createRenderTexture(bool mipmap);
    unsigned int createRenderTexture(const Vec2& size, bool mipmap);
    /// The same in 32-bit float; not `linear` samples the nearest texel.
    unsigned int createFloatRenderTexture(bool linear, bool mipmap);
    unsigned int createFloatRenderTexture(const Vec2& size, bool linear, bool mipmap);

    PerContextName mResolveFrameBuffer; ///< receives the multisample resolve
    PerContextName mSingleFrameBuffer;  ///< the target without multisampling, and the final one
    PerContextName mMultisampleFrameBuffer;
    gl::GLuint mMainRenderBuffer = 0; ///< holds the finished frame
    bool mMultisample = true;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    std::vector<gl::GLuint> mRenderBufferStack;
    std::map<gl::GLuint, gl::GLuint> mStencilBuffers; ///< colour buffer to its stencil buffer
    ScreenRender* mScreenRender;                      ///< owned; null after destory

private:
    void generateFrameBuffers();
    const PerContextName& drawingFrameBuffer() const;
    bool isOwnFrameBuffer(gl::GLuint name) const;
    void detachTarget() const;
    gl::GLuint makeRenderBuffer(gl::GLenum format) const;
    void attachTop() const;
    void deleteTarget(gl::GLuint colour);
};

} // namespace Vexorel::PrismDrift
