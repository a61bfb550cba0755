#pragma once

/// What the program uses of the libraries that take long to load: FFmpeg's, by way of the media
/// library, and the one that draws text. Both are in a module, prismdrift_media.so, that is loaded
/// when the first of these functions is called: most of the time that the program takes to print
/// its parameters would go into loading them.
///
/// The declarations stay where they are, in the headers of Host/Media and in Lettering.h. In the
/// program, LoadedMedia.cpp defines them; the tests link the functions themselves.

#include "Host/CommandLine/Sheet/Lettering.h"
#include "Host/Media/Clip.h"
#include "Host/Media/PictureTransfer.h"
#include "Host/Media/Versions.h"

namespace Vexorel::PrismDrift::CommandLine {

struct MediaFunctions {
    decltype(&Host::checkClipInput) checkClipInput;
    decltype(&Host::openClip) openClip;
    decltype(&Host::checkClipOutput) checkClipOutput;
    decltype(&Host::openClipWriter) openClipWriter;
    decltype(&Host::checkPictureSize) checkPictureSize;
    decltype(&Host::writePicture) writePicture;
    decltype(&Host::isPictureEnding) isPictureEnding;
    decltype(&Host::pictureEndings) pictureEndings;
    decltype(&Host::mediaVersions) mediaVersions;
    decltype(&Host::transferOf) transferOf;
    decltype(&CommandLine::checkLettering) checkLettering;
    decltype(&CommandLine::canShow) canShow;
    decltype(&CommandLine::textHeight) textHeight;
    decltype(&CommandLine::drawText) drawText;
};

/// The module's only symbol, `prismdriftMedia`. The check is called before any file that the module
/// writes takes its target's place, as `Host::setCommitCheck` says.
using MediaEntry = const MediaFunctions* (*)(void (*commitCheck)());

} // namespace Vexorel::PrismDrift::CommandLine
