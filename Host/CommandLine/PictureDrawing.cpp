#include "Host/CommandLine/PictureDrawing.h"

#include "Host/Color/LinearLight.h"
#include "Host/Library/AssociatedAlpha.h"
#include "Host/Library/Error.h"

#include <utility>

namespace Vexorel::PrismDrift::CommandLine {

PictureDrawing::PictureDrawing(Host::Renderer& renderer, const DrawingSettings& settings,
                               std::function<void(const std::string&)> warn)
    : mRenderer(renderer), mSettings(settings), mWarn(std::move(warn)) {}

void PictureDrawing::draw(Host::Picture& picture, Host::ClipKind kind,
                          const Host::ParameterValues& values, const Host::FrameTime& time) {
    Host::World& world = picture.world;
    if (picture.depth.isDeep() && world.format() == PF_PixelFormat_ARGB32) {
        warnOnce(mIsDepthTold, "the input has " + textOf(picture.depth) +
                                   "; the renderer keeps 8 bits a channel" +
                                   cutOff(picture.depth, {}));
    }
    if (mRenderer.changesNothing(world, values, {time, mSettings.downsample})) {
        return;
    }
    prepare(picture, kind);
    if (mSpare.width() != world.width() || mSpare.height() != world.height() ||
        mSpare.format() != world.format()) {
        mSpare = Host::World(world.width(), world.height(), world.format());
    }
    draw(world, mSpare, values, time);
    std::swap(world, mSpare);
}

void PictureDrawing::prepare(Host::Picture& picture, Host::ClipKind kind) {
    if (std::exchange(picture.isAssociated, false) && Host::divideByAlpha(picture.world)) {
        warnOnce(mIsLightTold, Host::bareLightLoss);
    }
    if (mSettings.isLinear) {
        const Host::PictureTransfer found = Host::transferOf(picture, kind);
        if (!found.transfer) {
            throw Host::Error("--linear needs a transfer that is known (sRGB, BT.709, PQ, HLG or "
                              "linear light): " +
                              found.reason);
        }
        mTransfer = found.transfer;
        Host::toLinear(picture.world, *mTransfer);
    }
}

void PictureDrawing::draw(const Host::World& prepared, Host::World& drawn,
                          const Host::ParameterValues& values, const Host::FrameTime& time) {
    mRenderer.render(prepared, drawn, values, {time, mSettings.downsample});
    if (mTransfer) {
        Host::fromLinear(drawn, *mTransfer);
    }
}

void PictureDrawing::warnOnce(bool& isTold, const std::string& text) {
    if (!std::exchange(isTold, true)) {
        mWarn(text);
    }
}

} // namespace Vexorel::PrismDrift::CommandLine
