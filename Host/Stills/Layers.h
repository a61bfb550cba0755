#pragma once

/// Which channels of a file's parts are the picture. Internal to the library of stills.

#include "Host/Stills/StoredPart.h"

#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct ChosenLayer {
    int part = 0;
    ColourChannels colours;
};

/// Of a file whose channels have names of their own: the layer's red, green and blue ("diffuse.R"),
/// or its gray ("diffuse.Y"), and its alpha. A layer is a prefix of names, or a part. Without one,
/// the first colours that have no prefix. Throws Error, with the reason alone, where there are
/// none.
ChosenLayer namedLayer(const std::vector<ImageSpec>& parts, const std::string& layer);

/// Of a file whose channels have an order: gray or red, green and blue, and then the alpha.
ColourChannels orderedColours(const ImageSpec& spec);

/// "3 further channels (Z, N.X, N.Y)"; of many, the first few names.
std::string listed(const std::vector<std::string>& names);

} // namespace Vexorel::PrismDrift::Host
