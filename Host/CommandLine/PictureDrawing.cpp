#include "Host/CommandLine/PictureDrawing.h"

#include "Host/Library/AssociatedAlpha.h"

#include <utility>

namespace Vexorel::PrismDrift::CommandLine {

PictureDrawing::PictureDrawing(Host::Renderer& renderer, std::uint32_t downsample,
                               std::function<void(const std::string&)> warn)
    : mRenderer(renderer), mDownsample(downsample), mWarn(std::move(warn)) {}

void PictureDrawing::draw(Host::Picture& picture, const Host::ParameterValues& values,
                          const Host::FrameTime& time) {
    Host::World& world = picture.world;
    if (mRenderer.changesNothing(world, values, {time, mDownsample})) {
        return;
    }
    prepare(picture);
    if (mSpare.width() != world.width() || mSpare.height() != world.height() ||
        mSpare.format() != world.format()) {
        mSpare = Host::World(world.width(), world.height(), world.format());
    }
    draw(world, mSpare, values, time);
    std::swap(world, mSpare);
}

void PictureDrawing::prepare(Host::Picture& picture) {
    if (picture.depth.isDeep() && picture.world.format() == PF_PixelFormat_ARGB32) {
        warnOnce(mIsDepthTold, "the input has " + textOf(picture.depth) + "; the renderer keeps 8 bits");
    }
    if (std::exchange(picture.isAssociated, false) && Host::divideByAlpha(picture.world)) {
        warnOnce(mIsLightTold, "light that covers nothing, colour at an alpha of 0, is lost");
    }
}

void PictureDrawing::draw(const Host::World& prepared, Host::World& drawn,
                          const Host::ParameterValues& values, const Host::FrameTime& time) {
    mRenderer.render(prepared, drawn, values, {time, mDownsample});
}

void PictureDrawing::warnOnce(bool& isTold, const std::string& text) {
    if (!std::exchange(isTold, true)) {
        mWarn(text);
    }
}

} // namespace Vexorel::PrismDrift::CommandLine
