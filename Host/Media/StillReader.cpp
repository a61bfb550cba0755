#include "Host/Media/StillReader.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/PictureData.h"
#include "Host/Media/PngChunks.h"
#include "Host/Media/SizeLimit.h"
#include "Host/Media/StillsModuleLoader.h"

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

// A file's bytes without its large and its damaged metadata.
std::vector<std::uint8_t> pngBytes(const fs::path& file, const ReadLimits& limits) {
    std::vector<std::uint8_t> bytes = bytesOf(file);
    checkPng({}, bytes.data(), bytes.size());
    if (auto smaller = smallerPng(bytes.data(), bytes.size(), limits.metadata)) {
        bytes = std::move(smaller->bytes);
        if (smaller->wasLarge) {
            warnOfLargeMetadata(file, limits);
        }
        if (smaller->wasDamaged) {
            warnOfDamagedMetadata(file, limits);
        }
    }
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

} // namespace

Picture readStillPicture(const fs::path& file, const std::string& format, const ReadLimits& limits,
                         const PictureRequest& request) {
    const StillFunctions& functions = stills();
    const SizeLimit size(AV_CODEC_ID_NONE, limits.pixels);
    constexpr std::int64_t bytesPerPixel = 64;
    std::vector<std::uint8_t> bytes;
    StillRequest still;
    still.file = file;
    still.format = format;
    if (format == "png") {
        bytes = pngBytes(file, limits);
        still.bytes = &bytes;
    }
    still.worlds = request.worlds;
    still.layer = request.layer;
    still.checkSize = [&](int width, int height) { size.check(width, height); };
    still.mostBytes = size.pixels() * bytesPerPixel;
    still.metadata = limits.metadata;
    still.warnOfMetadata = [&] { warnOfLargeMetadata(file, limits); };
    still.warn = [&](const std::string& line) {
        if (limits.warn) {
            limits.warn(Error("of " + nameOf(file) + " " + line));
        }
    };
    Still read = functions.readStill(still);
    auto source = propertiesOf(read);
    return {.world = std::move(read.world),
            .colorProfile = std::move(read.colorProfile),
            .source = std::move(source),
            .depth = read.depth,
            .isAssociated = read.isAssociated,
            .readBy = "OpenImageIO, " + format,
            .extras = std::move(read.extras)};
}

} // namespace Vexorel::PrismDrift::Host
