#pragma once

/// Transfer functions: how light becomes the values that pictures store.
///
/// All map 0 to 0 and 1 to 1, whatever light 1 stands for, so that black and white stay what they
/// are: 1 is the coded white, of 10000 cd/m2 for PQ, and the scene's brightest light for HLG.
/// Negative values mirror positive ones. Above 1 the formulas go on, PQ's and HLG's up to a coded
/// 1.5, since PQ has a pole at 1.99, the others to 65536; beyond that, linear values grow in
/// proportion to coded ones. So do PQ's below half a level of 16 bits, where its own formula
/// doesn't end at 0. Every function is invertible.

#include <string>

namespace Vexorel::PrismDrift::Host {

enum class Transfer {
    Linear, ///< values are light
    Srgb,   ///< IEC 61966-2-1
    Bt709,  ///< ITU-R BT.709's for cameras, which BT.601 and BT.2020 share
    Pq,     ///< SMPTE ST 2084, ITU-R BT.2100's PQ
    Hlg     ///< ARIB STD-B67, ITU-R BT.2100's HLG, to the light of the scene
};

/// For people: "sRGB", "linear light".
std::string nameOf(Transfer transfer);

/// By the formulas in double precision. NaN and infinities stay.
double toLinear(double coded, Transfer transfer);
double fromLinear(double linear, Transfer transfer);

} // namespace Vexorel::PrismDrift::Host
