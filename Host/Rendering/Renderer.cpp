#include "Host/Rendering/Renderer.h"

#include "Host/Software/Software.h"
#include "Platform/Threads/Mutex.h"

namespace Vexorel::PrismDrift::Host {
namespace {

// The effect itself. Frames are drawn in turns, as the effect would do anyway, so that none is
// under way at the set-down.
class OpenGLRenderer : public Renderer {
public:
    explicit OpenGLRenderer(HostedEffect& effect) : mEffect(effect) {}

    void render(const World& input, World& output, const ParameterValues& values,
                const FrameSettings& settings) override {
        const Platform::MutexLock lock(mMutex);
        mEffect.render(input, output, values, settings);
    }

    bool takes(PF_PixelFormat format) const override { return format == PF_PixelFormat_ARGB32; }

    void setDown() override {
        const Platform::MutexLock lock(mMutex);
        mEffect.setDown();
    }

private:
    Platform::Mutex mMutex;
    HostedEffect& mEffect;
};

class SoftwareRenderer : public Renderer {
public:
    explicit SoftwareRenderer(const HostedEffect& effect) {
        softwareSettings(effect.defaultValues(), {}); // throws for another effect
    }

    void render(const World& input, World& output, const ParameterValues& values,
                const FrameSettings& settings) override {
        renderInSoftware(input, output, softwareSettings(values, settings));
    }

    bool takes(PF_PixelFormat format) const override {
        return format == PF_PixelFormat_ARGB32 || format == PF_PixelFormat_ARGB64 ||
               format == PF_PixelFormat_ARGB128;
    }

    void setDown() override {}
};

} // namespace

std::unique_ptr<Renderer> makeRenderer(HostedEffect& effect, const RendererRequest& request) {
    if (chosenRenderer(request).isSoftware) {
        return std::make_unique<SoftwareRenderer>(effect);
    }
    return std::make_unique<OpenGLRenderer>(effect);
}

} // namespace Vexorel::PrismDrift::Host
