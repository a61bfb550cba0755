#include "Host/CommandLine/DrawnFrames.h"

#include "Host/Library/AssociatedAlpha.h"
#include "Host/Library/Error.h"

#include <utility>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

// The text alone: --missing, which the error may advise, is about the input.
std::unique_ptr<Host::ClipReader> opened(const Host::ClipInput& input) {
    try {
        return Host::openClip(input);
    } catch (const Host::Error& error) {
        throw Host::Error(std::string("--drawn: ") + error.what());
    }
}

std::string sizeOf(const Host::World& world) {
    return std::to_string(world.width()) + "x" + std::to_string(world.height()) + " pixels";
}

} // namespace

DrawnFrames::DrawnFrames(const Host::ClipInput& input)
    : mName("--drawn: '" + input.file.string() + "' "), mReader(opened(input)) {}

void DrawnFrames::replace(Host::ClipFrame& frame) {
    const std::string number = "frame " + std::to_string(frame.number);
    auto drawn = next();
    if (!drawn || drawn->number != frame.number) {
        throw Host::Error(mName + "lacks " + number);
    }
    Host::World& world = drawn->picture.world;
    const Host::World& expected = frame.picture.world;
    if (world.width() != expected.width() || world.height() != expected.height()) {
        throw Host::Error(mName + "has " + sizeOf(world) + " at " + number + ", the clip " +
                          sizeOf(expected));
    }
    const Host::Depth needed =
        expected.format() == PF_PixelFormat_ARGB32 ? Host::Depth{} : Host::floats;
    if (drawn->picture.depth != needed) { // was rounded, or will be
        throw Host::Error(mName + "has " + textOf(drawn->picture.depth) + " at " + number +
                          "; here it has to have " + textOf(needed));
    }
    if (drawn->picture.isAssociated) {
        Host::divideByAlpha(world);
    }
    frame.picture.world = std::move(world);
    frame.picture.isAssociated = false;
}

void DrawnFrames::end() {
    if (const auto surplus = next()) {
        throw Host::Error(mName + "has a frame " + std::to_string(surplus->number) +
                          ", which the clip doesn't have");
    }
}

std::optional<Host::ClipFrame> DrawnFrames::next() {
    while (auto item = mReader->next()) {
        if (auto* frame = std::get_if<Host::ClipFrame>(&*item)) {
            return std::move(*frame);
        }
    }
    return std::nullopt;
}

} // namespace Vexorel::PrismDrift::CommandLine
