#pragma once

/// What HDR pictures say of the display that they were mastered on, and of how bright they get.
/// Internal to the media library.

#include "Host/Media/FFmpeg.h"

#include <optional>
#include <string>

extern "C" {
#include <libavutil/mastering_display_metadata.h>
}

namespace Vexorel::PrismDrift::Host {

struct HdrMetadata {
    std::optional<AVMasteringDisplayMetadata> display;
    std::optional<AVContentLightMetadata> light;

    /// Of a frame's side data; nothing of null.
    static HdrMetadata of(const AVFrame* frame);

    bool isEmpty() const { return !display && !light; }

    /// As parameters of an encoder that has these names for them: ":name=value", once or twice.
    std::string parameters(const char* displayName, const char* lightName) const;

    /// For containers with fields of their own. Throws std::bad_alloc.
    void addTo(AVStream& stream) const;
};

/// Whether a frame has HDR metadata of its own, HDR10+'s or Dolby Vision's. They would not fit
/// another picture.
bool hasDynamicHdr(const AVFrame& frame);

/// Gives a frame what its stream says of all and the frame itself doesn't. Throws std::bad_alloc.
void addHdrMetadata(const AVStream& stream, AVFrame& frame);

} // namespace Vexorel::PrismDrift::Host
