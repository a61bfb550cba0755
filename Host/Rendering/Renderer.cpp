#include "Host/Rendering/Renderer.h"

#include "Host/Library/Error.h"
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

    bool changesNothing(const World& /*input*/, const ParameterValues& /*values*/,
                        const FrameSettings& /*settings*/) const override {
        return false;
    }

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

    bool changesNothing(const World& input, const ParameterValues& values,
                        const FrameSettings& settings) const override {
        return isNeutral(input, softwareSettings(values, settings));
    }

    void setDown() override {}
};

bool isDrawnBySoftware(const HostedEffect& effect) {
    try {
        softwareSettings(effect.defaultValues(), {});
        return true;
    } catch (const Error&) { // another effect
        return false;
    }
}

// Each world by the one that takes it; the effect itself comes first.
class EitherRenderer : public Renderer {
public:
    explicit EitherRenderer(HostedEffect& effect) : mOpenGL(effect), mSoftware(effect) {}

    void render(const World& input, World& output, const ParameterValues& values,
                const FrameSettings& settings) override {
        if (mOpenGL.takes(input.format())) {
            mOpenGL.render(input, output, values, settings);
        } else {
            mSoftware.render(input, output, values, settings);
        }
    }

    bool takes(PF_PixelFormat format) const override {
        return mOpenGL.takes(format) || mSoftware.takes(format);
    }

    bool changesNothing(const World& input, const ParameterValues& values,
                        const FrameSettings& settings) const override {
        return !mOpenGL.takes(input.format()) && mSoftware.changesNothing(input, values, settings);
    }

    void setDown() override { mOpenGL.setDown(); }

private:
    OpenGLRenderer mOpenGL;
    SoftwareRenderer mSoftware;
};

} // namespace

std::unique_ptr<Renderer> makeRenderer(HostedEffect& effect, const RendererReport& chosen) {
    if (chosen.isSoftware) {
        return std::make_unique<SoftwareRenderer>(effect);
    }
    if (chosen.sharesWithSoftware && isDrawnBySoftware(effect)) {
        return std::make_unique<EitherRenderer>(effect);
    }
    return std::make_unique<OpenGLRenderer>(effect);
}

std::unique_ptr<Renderer> makeRenderer(HostedEffect& effect, const RendererRequest& request) {
    return makeRenderer(effect, chosenRenderer(request));
}

} // namespace Vexorel::PrismDrift::Host
