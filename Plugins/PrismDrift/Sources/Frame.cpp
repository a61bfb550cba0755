#include "PrismDrift/Sources/Frame.h"

#include "PrismDrift/Sources/Parameters.h"
#include "Shared/GL/AEOpenGLUtilities.h"
#include "Shared/GL/AEOpenglMainFrameBuffer.h"
#include "Shared/GL/GLErrors.h"
#include "Shared/GL/ScopedName.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string_view>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <thread>

namespace Vexorel::PrismDrift {

using namespace gl33core;

namespace {

/// Whether a command is running.
bool gInCommand PRISMDRIFT_GUARDED_BY(AEOpenGLContextManager::mMutex) = false;

/// Whether the process is ending.
std::atomic<bool> gClosed{false};

/// Begins drawing, and at its end deletes the targets that an interrupted frame left on the stack.
class TargetScope {
public:
    explicit TargetScope(AEOpenglMainFrameBuffer& frameBuffer) : mFrameBuffer(frameBuffer) {
        mFrameBuffer.beginDrawing();
    }
    ~TargetScope() { mFrameBuffer.clearStack(); }
    TargetScope(const TargetScope&) = delete;
    TargetScope& operator=(const TargetScope&) = delete;

private:
    AEOpenglMainFrameBuffer& mFrameBuffer;
};

GLint limit(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// Whether the driver says that it can hold the source, the largest texture of a frame.
bool driverTakes(std::int32_t width, std::int32_t height) {
    glTexImage2D(GL_PROXY_TEXTURE_2D, 0, static_cast<GLint>(GL_RGBA32F), width, height, 0, GL_RGBA,
                 GL_FLOAT, nullptr);
    GLint taken = 0;
    glGetTexLevelParameteriv(GL_PROXY_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &taken);
    return taken == width;
}

void requireRenderable(std::int32_t width, std::int32_t height) {
    const std::int32_t largest =
        std::min({limit(GL_MAX_TEXTURE_SIZE), limit(GL_MAX_RENDERBUFFER_SIZE), 65535});
    const bool fits =
        width > 0 && height > 0 && width <= largest && height <= largest &&
        std::int64_t{width} * height * 4 <= std::numeric_limits<std::uint32_t>::max() &&
        driverTakes(width, height);
    if (!fits) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
}

/// Rows lie below each other. Beyond shorter ones, or rows that go upwards, lies other memory.
/// Where there is no pixel to touch, any length will do.
void requireRows(const PF_LayerDef& world, std::int32_t columns) {
    if (world.height > 0 && columns > 0 &&
        world.rowbytes < columns * std::int64_t{sizeof(PF_Pixel8)}) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
}

/// Whether all objects of the frame got their memory is asked once, before the output is touched.
/// If one didn't, all of them are deleted, and the next frame makes them anew.
void requireMemory(AEOpenglMainFrameBuffer& frameBuffer) {
    if (takeOutOfMemory()) {
        frameBuffer.destory();
        throw int{PF_Err_OUT_OF_MEMORY};
    }
}

#ifdef __GLIBC__
bool drawsInSoftware() {
    const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    const std::string_view name = renderer != nullptr ? renderer : "";
    return name.substr(0, 8) == "llvmpipe" || name == "softpipe";
}
#endif

/// Gives the system back what frames have freed. Drivers that draw in software allocate pictures as
/// aligned blocks, and a C library before glibc 2.38 often can't use the place of such a block for
/// the next one of the same size: the process could grow by a picture with each frame. Looks only
/// now and then, and acts only where much is free that wasn't before. With other drivers the heap
/// is the host's alone, and is left as it is.
void returnFreedMemory(std::int64_t pixels) PRISMDRIFT_REQUIRES(AEOpenGLContextManager::mMutex) {
#ifdef __GLIBC__
    constexpr std::size_t much = std::size_t{128} << 20;
    static std::size_t drawn = 0;  // bytes of sources since the last look
    static std::size_t before = 0; // what was free then
    drawn += static_cast<std::size_t>(pixels) * 4 * sizeof(float);
    if (drawn < much || !drawsInSoftware()) {
        return;
    }
    drawn = 0;
    const std::size_t free = mallinfo2().fordblks;
    if (free > before + much) {
        malloc_trim(0);
        before = free;
    }
    before = std::min(before, free);
#endif
}

} // namespace

GLCommand::GLCommand() : mLock(AEOpenGLContextManager::mMutex) {
    if (gInCommand || gClosed) {
        throw int{PF_Err_BAD_CALLBACK_PARAM};
    }
    gInCommand = true;
    mSaver.init();
}

GLCommand::~GLCommand() {
    mSaver.restore();
    gInCommand = false;
}

void GLCommand::close() {
    gClosed = true;
    Platform::RecursiveMutex& mutex = AEOpenGLContextManager::mMutex;
    // Not for ever: a frame may be stuck in a callback of a host that waits for this thread.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end) {
        if (mutex.try_lock()) {
            mutex.unlock();
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void applyParameters(const PF_InData* in_data, const FrameParameters& parameters,
                     PrismDriftRender& renderer) {
    const ChannelValues values = channelValues(parameters, in_data->downsample_x.den);
    renderer.setOrder(values.order);
    renderer.setShiftDistance(values.distance);
    renderer.setShiftAngle(values.angle);
    renderer.setChannelOpacity(values.lightness[0], values.lightness[1], values.lightness[2]);
    renderer.setChannelScale(values.scale[0], values.scale[1], values.scale[2]);
}

// glFinish ends each step: a driver that draws in software keeps the pictures of a step that is
// under way when the next one begins, for many frames to come. The source is four times as large as
// the finished picture, and so is the target.
PF_Err renderFrame(PF_InData* in_data, PF_LayerDef* input, PF_LayerDef* output,
                   PrismDriftRender& renderer) {
    takeOutOfMemory(); // discards what an earlier frame left
    requireRenderable(input->width, input->height);
    requireRows(*input, input->width);
    requireRows(*output, std::min(input->width, output->width));
    AEOpenglMainFrameBuffer& frameBuffer = *AEOpenglMainFrameBuffer::mainFrameBuffer();
    frameBuffer.prepare(input->width, input->height, true);
    const TargetScope target(frameBuffer);
    glFinish();

    FrameParameters values;
    const PF_Err err = readParameters(in_data, values);

    float multiplier = 1.0F;
    unsigned long pixelSize = sizeof(PF_Pixel8);
    gl::GLenum pixelType = GL_UNSIGNED_BYTE;
    ScopedName texture(AEOpenGLUtilities::UploadTexture(PF_PixelFormat_ARGB32, input, output,
                                                        in_data, pixelSize, pixelType, multiplier,
                                                        false),
                       glDeleteTextures);
    glFinish();
    applyParameters(in_data, values, renderer);
    renderer.draw(texture.get(), multiplier);
    glFinish();
    texture.reset();
    frameBuffer.endDrawing(multiplier);
    requireMemory(frameBuffer);
    AEOpenGLUtilities::DownloadTexture(static_cast<unsigned int>(input->width),
                                       static_cast<unsigned int>(input->height), input, output,
                                       in_data, PF_PixelFormat_ARGB32, pixelSize, pixelType);
    returnFreedMemory(std::int64_t{input->width} * input->height);
    return err;
}

} // namespace Vexorel::PrismDrift
