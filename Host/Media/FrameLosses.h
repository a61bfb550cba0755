#pragma once

/// What the frames of a clip lose in a video. Internal to the media library.

#include "Host/Media/Clip.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/StoredLayout.h"

#include <set>
#include <string>

namespace Vexorel::PrismDrift::Host {

class FrameLosses {
public:
    /// The output must outlive it. `codec` is as the user writes it.
    FrameLosses(const ClipOutput& output, const char* codec, AVPixelFormat format);

    /// Warns of each kind of thing that gets lost, at the first picture that loses it.
    void of(const Picture& picture, const StraightWorld& straight);

private:
    enum class Kind { Depth, Alpha, Light, Profile, Metadata };

    void warn(Kind kind, const std::string& text);

    const ClipOutput& mOutput;
    const std::string mCodec;
    const AVPixelFormat mFormat;
    std::set<Kind> mTold;
};

} // namespace Vexorel::PrismDrift::Host
