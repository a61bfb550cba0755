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
/// Ownership: the object owns the GL names in its fields. Render buffers are shared by the contexts
/// of the group. Frame buffers exist once for each context that has called prepare(), and end with
/// that context. Textures that an operation returns belong to the caller.
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

    /// Makes the objects that a frame of this size needs. If the size is that of the last call, the
    /// flag is ignored and only frame buffers that the current context doesn't have yet are made.
    /// After unprepare(), the same size makes nothing; another size, or destory(), has to come
    /// first.
    void prepare(long width, long height, bool multisample);

    /// Deletes what prepare made, and the stack. The size stays on record.
    void unprepare();

    /// Calls unprepare(), deletes the screen pass and sets the size to 0 by 0. The object can't be
    /// used until the next prepare(), which makes everything anew.
    void destory();

    /// Deletes all pushed targets. The frame buffer that is bound stays bound.
    void clearStack();

    /// Opens a frame: switches blending off and multisampling on, if the targets have it, pushes a
    /// cleared target and sets the viewport to the whole of it.
    void beginDrawing();

    /// Closes a frame: draws the top target through the screen pass into mMainRenderBuffer. For the
    /// read-back, mSingleFrameBuffer stays bound with mMainRenderBuffer attached. Does nothing if
    /// the stack is empty. `multiplier` is the value that UploadTexture gave.
    void endDrawing(float multiplier);

    /// Pushes a new target and clears its colour. The first flag is ignored.
    void pushRenderContext(bool, bool stencil);

    /// Removes the top target and returns its picture as a new texture, or 0 if the stack is empty.
    /// Drawing then goes on in the target below, whose contents are kept.
    unsigned int popRenderContext();

    /// Directs drawing into a texture, cleared first, until popNormalRenderContext. The second form
    /// takes a mip level and sets the viewport to `size`, truncated.
    void pushNormalRenderContext(unsigned int texture);
    void pushNormalRenderContext(unsigned int texture, const Vec2& size, int level);

    /// Ends a texture target, if one is bound, and goes back to the top of the stack, if it has
    /// one.
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
