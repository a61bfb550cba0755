#include "Host/Media/StillReader.h"

#include "Host/Library/Orientation.h"
#include "Host/Media/ClipError.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/PictureData.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/PngChunks.h"
#include "Host/Media/SizeLimit.h"
#include "Host/Media/StillHeader.h"
#include "Host/Media/StillsModuleLoader.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <new>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

std::vector<std::uint8_t> bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(fs::file_size(file)));
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

// A PNG's bytes without its large and its damaged metadata, and with those that stand behind the
// pixels before them, where OpenImageIO looks. The decoder of FFmpeg gives the colour profile, of
// which OpenImageIO's would print what it dislikes.
std::vector<std::uint8_t> pngBytes(const fs::path& file, const ReadLimits& limits) {
    std::vector<std::uint8_t> bytes = bytesOf(file);
    if (auto smaller = smallerPng(bytes.data(), bytes.size(), limits.metadata)) {
        bytes = std::move(smaller->bytes);
    }
    return withMetadataFirst(bytes);
}

// A JPEG's bytes with the mark of its end, without which OpenImageIO refuses pixels that are all
// there.
std::vector<std::uint8_t> jpegBytes(const fs::path& file) {
    std::vector<std::uint8_t> bytes = bytesOf(file);
    bytes.insert(bytes.end(), {0xFF, 0xD9});
    return bytes;
}

AVPixelFormat formatOf(const Still& still) {
    if (still.depth.isFloat) {
        return still.hasAlpha ? AV_PIX_FMT_GBRAPF32 : AV_PIX_FMT_GBRPF32;
    }
    if (still.depth.isDeep()) {
        return still.hasAlpha ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_RGB48;
    }
    return still.hasAlpha ? AV_PIX_FMT_RGBA : AV_PIX_FMT_RGB24;
}

// What writers of video go by, as FFmpeg would say it of such a picture.
std::shared_ptr<const AVFrame> propertiesOf(const Still& still) {
    auto frame = owned(av_frame_alloc());
    frame->format = formatOf(still);
    frame->width = still.world.width();
    frame->height = still.world.height();
    frame->colorspace = AVCOL_SPC_RGB;
    frame->color_range = AVCOL_RANGE_JPEG;
    frame->color_primaries = static_cast<AVColorPrimaries>(still.primaries);
    frame->color_trc = static_cast<AVColorTransferCharacteristic>(still.transfer);
    constexpr int finest = 10000;
    if (std::isfinite(still.pixelAspect) && still.pixelAspect > 0 && still.pixelAspect != 1.F) {
        frame->sample_aspect_ratio = av_d2q(still.pixelAspect, finest);
    }
    if (!still.colorProfile.empty()) {
        AVFrameSideData* profile = av_frame_new_side_data(frame.get(), AV_FRAME_DATA_ICC_PROFILE,
                                                          still.colorProfile.size());
        if (profile == nullptr) {
            throw std::bad_alloc();
        }
        std::copy(still.colorProfile.begin(), still.colorProfile.end(), profile->data);
    }
    return {frame.release(), FFmpegDeleter()};
}

class StillCall {
public:
    StillCall(const fs::path& file, const std::string& format, const ReadLimits& limits,
              const PictureRequest& request)
        : mSize(AV_CODEC_ID_NONE, limits.pixels) {
        checkStillHeader(file, format, mSize);
        constexpr std::int64_t bytesPerPixel = 64;
        mRequest.file = file;
        mRequest.format = format;
        if (format == "png") {
            mBytes = pngBytes(file, limits);
            mRequest.bytes = &mBytes;
        } else if (format == "jpeg") {
            mBytes = jpegBytes(file);
            mRequest.bytes = &mBytes;
        } else if (const auto padding = format == "dpx" ? unnamedPadding(file) : std::nullopt) {
            mBytes = bytesOf(file);
            std::copy(padding->bytes.begin(), padding->bytes.end(),
                      mBytes.begin() + static_cast<std::ptrdiff_t>(padding->at));
            mRequest.bytes = &mBytes;
        }
        mRequest.worlds = request.worlds;
        mRequest.layer = request.layer;
        mRequest.checkSize = [this](int width, int height) { mSize.check(width, height); };
        mRequest.mostBytes = mSize.pixels() * bytesPerPixel;
        mRequest.metadata = limits.metadata;
        mRequest.warnOfMetadata = [file, limits] { warnOfLargeMetadata(file, limits); };
        mRequest.warn = [file, limits](const std::string& line) {
            if (limits.warn) {
                limits.warn(Error("of " + nameOf(file) + " " + line));
            }
        };
    }
    StillCall(const StillCall&) = delete;
    StillCall& operator=(const StillCall&) = delete;
    ~StillCall() = default;

    Still read(bool hasPixels) {
        mRequest.hasPixels = hasPixels;
        return stills().readStill(mRequest);
    }

private:
    SizeLimit mSize;
    std::vector<std::uint8_t> mBytes;
    StillRequest mRequest;
};

Picture pictureOf(Still&& still, const std::string& format) {
    auto source = propertiesOf(still);
    return {.world = std::move(still.world),
            .colorProfile = std::move(still.colorProfile),
            .source = std::move(source),
            .depth = still.depth,
            .isAssociated = still.isAssociated,
            .readBy = "OpenImageIO, " + format,
            .extras = std::move(still.extras)};
}

} // namespace

Picture readStillPicture(const fs::path& file, const std::string& format, const ReadLimits& limits,
                         const PictureRequest& request) {
    return pictureOf(StillCall(file, format, limits, request).read(true), format);
}

Picture readStillPicture(const fs::path& file, const std::string& format, const ReadLimits& limits,
                         const PictureRequest& request, Picture&& decoded) {
    StillCall call(file, format, limits, request);
    const bool wantsFloats = request.worlds == WorldDepth::Floats ||
                             (request.worlds == WorldDepth::Stored && decoded.depth.isDeep());
    const bool hasFloats = decoded.world.format() == PF_PixelFormat_ARGB128;
    const bool needsPixels = wantsFloats && !hasFloats;
    // FFmpeg rounds CMYK down, to up to four levels too few. Colours of half the size it enlarges
    // otherwise than the library that nearly all other programs read JPEG by.
    const bool isJpeg = format == "jpeg";
    const bool isOfInks =
        isJpeg && carriesAlpha(static_cast<AVPixelFormat>(decoded.source->format));
    std::optional<Still> still;
    try {
        still = call.read(needsPixels || isJpeg);
    } catch (const Error&) {
        if (isOfInks) {
            throw;
        }
        // The other pixels are fine.
        warnOfDamagedMetadata(file, limits);
        return std::move(decoded);
    }
    if (needsPixels || isOfInks) {
        Picture picture = pictureOf(std::move(*still), format);
        picture.colorProfile = decoded.colorProfile;
        return picture;
    }
    if (isJpeg) {
        decoded.world = std::move(still->world);
        decoded.readBy = "OpenImageIO, jpeg";
    } else {
        if (const auto turn = Orientation::ofTag(still->orientation); !turn.upright()) {
            decoded.world = turned(decoded.world, turn);
        }
        decoded.readBy += "; what stands beside its pixels by OpenImageIO";
    }
    decoded.extras = std::move(still->extras);
    return std::move(decoded);
}

} // namespace Vexorel::PrismDrift::Host
