#pragma once

/// Draws a clip with the effect, frame after frame: reading and writing run beside it.

#include "Host/CommandLine/DrawnFrames.h"
#include "Host/CommandLine/Interruption.h"
#include "Host/CommandLine/PictureDrawing.h"
#include "Host/CommandLine/Progress.h"
#include "Host/Media/Clip.h"

namespace Vexorel::PrismDrift::CommandLine {

struct ClipRendering {
    PictureDrawing& drawing;
    const Host::ParameterValues& values;
    Host::ClipReader& reader;
    Host::ClipWriter& writer;
    Progress& progress;
    const FirstSignalKept& signals;
    bool isVerbose = false;       ///< names what reads the pictures on standard error
    DrawnFrames* drawn = nullptr; ///< stand in for what would be drawn
};

/// Draws all that the reader gives and finishes the writer. A few frames are under way at a time,
/// however long the clip is. Throws what the reader, the renderer or the writer throws; the writer
/// is then left unfinished. An interruption ends the clip early and well: the signal is returned,
/// 0 without one.
int renderClip(const ClipRendering& rendering);

/// The time of the clip's frame as the effect counts it. Throws Error for a clip that is longer.
Host::FrameTime frameTime(std::int64_t index, const Host::Ratio& rate);

} // namespace Vexorel::PrismDrift::CommandLine
