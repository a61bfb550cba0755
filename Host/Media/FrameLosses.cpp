#include "Host/Media/FrameLosses.h"

#include "Host/Library/AssociatedAlpha.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/StillsModuleLoader.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Vexorel::PrismDrift::Host {

FrameLosses::FrameLosses(const ClipOutput& output, const char* codec, AVPixelFormat format)
    : mOutput(output), mCodec(codec), mFormat(format) {}

void FrameLosses::of(const Picture& picture, const StraightWorld& straight) {
    const Depth held = depthOf(mFormat);
    const bool isChosen = !mOutput.pixelFormat.empty() && !mOutput.depth;
    warn(Kind::Depth,
         depthLoss(mCodec, held, isChosen ? held : mOutput.depth, wantedDepth({}, picture)));
    const AVFrame* source = picture.source.get();
    const bool mayHaveAlpha =
        source == nullptr || carriesAlpha(static_cast<AVPixelFormat>(source->format));
    if (mayHaveAlpha && !carriesAlpha(mFormat) && mTold.count(Kind::Alpha) == 0 &&
        hasAlpha(picture.world)) {
        warn(Kind::Alpha, "the alpha of '" + mOutput.file.string() + "' is lost: " + mCodec +
                              " in " + av_get_pix_fmt_name(mFormat) + " has none");
    }
    if (carriesAlpha(mFormat) && straight.losesLight()) {
        warn(Kind::Light, bareLightLoss);
    }
    if (!picture.colorProfile.empty()) {
        warn(Kind::Profile, "a video has no place for the colour profile");
    }
    if (picture.extras != nullptr && mTold.count(Kind::Metadata) == 0) {
        for (const std::string& loss : stills().lossesIn(*picture.extras, "a video")) {
            mTold.insert(Kind::Metadata);
            mOutput.warn(loss);
        }
    }
}

void FrameLosses::warn(Kind kind, const std::string& text) {
    if (!text.empty() && mTold.insert(kind).second) {
        mOutput.warn(text);
    }
}

} // namespace Vexorel::PrismDrift::Host
