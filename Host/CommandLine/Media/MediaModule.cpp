// The module prismdrift_media.so.

#include "Host/CommandLine/Media/MediaFunctions.h"
#include "Host/Library/ReplaceFile.h"

namespace Vexorel::PrismDrift::CommandLine {
namespace {

constexpr MediaFunctions functions = {
    &Host::checkClipInput,
    &Host::openClip,
    &Host::checkClipOutput,
    &Host::openClipWriter,
    &Host::checkPictureSize,
    &Host::writePicture,
    &Host::isPictureEnding,
    &Host::pictureEndings,
    &Host::mediaVersions,
    &Host::transferOf,
    &checkLettering,
    &canShow,
    &textHeight,
    &drawText,
};

} // namespace
} // namespace Vexorel::PrismDrift::CommandLine

extern "C" [[gnu::visibility("default")]] const Vexorel::PrismDrift::CommandLine::MediaFunctions*
prismdriftMedia(void (*commitCheck)()) {
    Vexorel::PrismDrift::Host::setCommitCheck(commitCheck);
    return &Vexorel::PrismDrift::CommandLine::functions;
}
