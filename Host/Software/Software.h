#pragma once

/// The effect drawn by the processor: the plug-in's picture without OpenGL, for worlds of 8 and 16
/// bits and of floats.
///
/// 8 bits follow the plug-in. Alpha is the input's. Where it is 255 a value lies within 0.53 of
/// exact arithmetic at the positions that the plug-in's shader computes, and never more than one
/// from the plug-in's, drawn by a driver that interpolates in single precision; elsewhere the
/// colour is one that a premultiplied target of 8 bits holds, at most one of its steps away; at
/// alpha 0 it is 0. A channel without scale, shift and lightness keeps its values in frames of any
/// size, also where the shader's positions are no longer as exact.
///
/// 16 bits (white is 32768) and floats follow the effect's definition in exact arithmetic, to their
/// precision, and colours don't depend on alpha. Floats may leave 0 to 1; infinities and NaN stay
/// in the pixels that read them, where a neighbour without a share in a value is not read.
///
/// The result has the same bits on every processor and with any number of threads, those of NaN
/// aside.

#include "Host/Library/HostedEffect.h"
#include "PrismDrift/Sources/FrameParameters.h"

#include <string>

namespace Vexorel::PrismDrift::Host {

struct SoftwareSettings {
    /// Any numbers: a lightness beyond -1 to 1 counts as the nearer end, and what gives a place
    /// that is no number reads the last column or row.
    ChannelValues values;
    /// How many draw a frame at most, the caller's among them; 0 for one per processor, up to 16. A
    /// small frame gets fewer.
    unsigned threads = 0;
};

/// Draws a frame from any thread, several at the same time. Where the sizes differ, the frame is as
/// large as the input, and the output gets the rows and columns that both have. Throws Error, and
/// leaves the output untouched, where a world has no pixels, both share memory, or their formats
/// differ.
void renderInSoftware(const World& input, World& output, const SoftwareSettings& settings);

/// The same for pixels of someone else, both of this format. Rows may go upwards: `rowbytes` is
/// below 0 then. Throws Error too for a null pointer, a side beyond `largestSide`, rows that are
/// shorter than their pixels, and an unknown format.
void renderInSoftware(const PF_LayerDef& input, const PF_LayerDef& output, PF_PixelFormat format,
                      const SoftwareSettings& settings);

/// Whether drawing this input would copy every pixel to the bit, so that a host may leave the frame
/// alone. True for worlds of 16 bits and floats where no channel is moved or changed; a shift once
/// round the frame is no move. Never for 8 bits: their colours keep what a premultiplied target
/// holds. Throws Error where there is too little memory.
bool isNeutral(const World& input, const SoftwareSettings& settings);

/// What the effect would draw with at that time. The parameters are those that Prism Drift
/// publishes, recognised by their numbers and kinds; throws Error for another effect's.
SoftwareSettings softwareSettings(const ParameterValues& values, const FrameSettings& frame);

/// The vector unit that frames are drawn with here, such as "AVX2" or "AVX-512"; "no vector unit"
/// for none.
std::string softwareUnit();

} // namespace Vexorel::PrismDrift::Host
