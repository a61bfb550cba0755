#pragma once

/// What pictures say of their colours, in tags of video, and what files without such tags lose.
/// Internal to the media library.

#include "Host/Media/FFmpeg.h"
#include "Host/Media/Picture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct ColourTags {
    /// AVCOL_PRI_RESERVED0 for others than those that have a tag.
    AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
    /// AVCOL_TRC_RESERVED0 for another than those that have a tag, with the reason in words.
    AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
    std::string transferReason = {};
};

/// By the picture's profile, then by its file's tags, then by its gamma; light for floats. All is
/// unspecified for a picture that says nothing.
ColourTags colourTagsOf(const Picture& picture);

/// What is shown in wrong colours without its tags: "the transfer PQ (smpte2084) and the primaries
/// bt2020". Empty for SDR video, for sRGB, and where nothing is known.
std::string neededTags(const ColourTags& tags);

/// The colours that have no tag, likewise. Empty for none.
std::string coloursWithoutTag(const ColourTags& tags);

/// What a file of the format with this ending and name, written so, loses of what the picture says
/// of its colours, in one line. Empty for nothing.
std::string colourLoss(const Picture& picture, const PictureOutput& output,
                       const std::string& ending, const std::string& name);

/// The primaries of an ICC profile of RGB colours. AVCOL_PRI_RESERVED0 for others than those that
/// have a tag.
AVColorPrimaries primariesOfProfile(const std::vector<std::uint8_t>& profile);

} // namespace Vexorel::PrismDrift::Host
