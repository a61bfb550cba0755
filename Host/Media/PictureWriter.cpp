#include "Host/Media/Picture.h"

#include "Host/Library/AssociatedAlpha.h"
#include "Host/Library/ReplaceFile.h"
#include "Host/Library/Text.h"
#include "Host/Media/ClipError.h"
#include "Host/Media/PictureColours.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/PixelFormats.h"
#include "Host/Media/StillsModuleLoader.h"
#include "Host/Media/StoredLayout.h"
#include "Host/Media/VideoFormats.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

// Which pictures OpenImageIO writes into a format's files, where its module is there.
enum class Stills { None, Deep, DeepOrWithMetadata, All };

// A format of pictures: its ending, its name for messages, FFmpeg's encoder with options; none
// where only OpenImageIO writes it.
struct Format {
    const char* ending;
    const char* name;
    const char* encoder;
    const char* options;
    Stills stills = Stills::None;
    int longestSide = largestSide;
};

// PNG and WebP are several times faster for a few percent of size. JPEG's quality is 2 on a scale
// from 1, the best, to 31, in units of FF_QP2LAMBDA: its artefacts can't be seen.
constexpr const char* pngOptions = "pred=up:compression_level=1";
constexpr const char* jpegOptions = "flags=+qscale:global_quality=236";
constexpr const char* tiffOptions = "compression_algo=lzw";
constexpr const char* webpOptions = "lossless=1:quality=20:compression_level=1";

constexpr int webpSide = 16383;

constexpr std::array formats = {
    Format{"png", "PNG", "png", pngOptions, Stills::DeepOrWithMetadata},
    Format{"jpg", "JPEG", "mjpeg", jpegOptions, Stills::All},
    Format{"jpeg", "JPEG", "mjpeg", jpegOptions, Stills::All},
    Format{"tif", "TIFF", "tiff", tiffOptions, Stills::All},
    Format{"tiff", "TIFF", "tiff", tiffOptions, Stills::All},
    Format{"webp", "WebP", "libwebp", webpOptions, Stills::None, webpSide},
    Format{"bmp", "BMP", "bmp", ""},
    Format{"tga", "TGA", "targa", ""},
    Format{"ppm", "PPM", "ppm", "", Stills::Deep},
    Format{"pam", "PAM", "pam", ""},
    Format{"sgi", "SGI", "sgi", "", Stills::Deep},
    Format{"qoi", "QOI", "qoi", ""},
    Format{"exr", "OpenEXR", nullptr, "", Stills::All},
    Format{"dpx", "DPX", nullptr, "", Stills::All},
    Format{"hdr", "Radiance HDR", nullptr, "", Stills::All},
};

bool isAvailable(const Format& format) {
    return format.encoder != nullptr ? avcodec_find_encoder_by_name(format.encoder) != nullptr
                                     : hasStills();
}

bool isDeep(const World& world) {
    return world.format() != PF_PixelFormat_ARGB32;
}

// Whether OpenImageIO writes the picture. Where its module is missing, FFmpeg writes what it can.
bool isStill(const Format& format, const Picture& picture, const PictureOutput& output) {
    const bool deep = isDeep(picture.world) || (output.depth && output.depth->isDeep());
    const bool isMeant = format.stills == Stills::All || (format.stills != Stills::None && deep) ||
                         (format.stills == Stills::DeepOrWithMetadata && picture.extras != nullptr);
    return isMeant && (format.encoder == nullptr || deep || reasonWithoutStills().empty());
}

// The format with this ending, null for none.
const Format* formatFor(std::string_view ending) {
    for (const Format& format : formats) {
        if (equalIgnoringCase(ending, format.ending) && isAvailable(format)) {
            return &format;
        }
    }
    return nullptr;
}

// By the ending, or the name's where it is empty.
const Format& formatOf(const fs::path& file, const std::string& ending = "") {
    const Format* format = formatFor(ending.empty() ? endingOf(file) : ending);
    if (format == nullptr) {
        throw Error(cannotWrite(file) + "the name must end in the format to write, one of " +
                    pictureEndings() + ", " + containerEndings());
    }
    return *format;
}

// The encoder's pixel format that loses the least of the picture.
AVPixelFormat pixelFormatFor(const AVCodec& codec, bool alpha, const Depth& depth) {
    AVPixelFormat best = AV_PIX_FMT_NONE;
    std::pair<int, int> bestRank = {0, 0}; // the greater the better
    for (const AVPixelFormat* format = codec.pix_fmts;
         format != nullptr && *format != AV_PIX_FMT_NONE; ++format) {
        int rank = 0;
        if (isPackedRgb(*format)) {
            rank = carriesAlpha(*format) == alpha ? 4 : 3;
        } else if (*format == AV_PIX_FMT_YUV444P) {
            rank = 2;
        }
        const std::pair<int, int> both = {rank, -depthCost(depth, *format)};
        if (rank > 0 && both > bestRank) {
            bestRank = both;
            best = *format;
        }
    }
    return best;
}

FFmpegPtr<AVCodecContext> openEncoder(const Format& format, const AVCodec& codec,
                                      const AVFrame& frame) {
    auto context = owned(avcodec_alloc_context3(&codec));
    context->width = frame.width;
    context->height = frame.height;
    context->pix_fmt = static_cast<AVPixelFormat>(frame.format);
    context->color_range = frame.color_range;
    context->colorspace = frame.colorspace;
    context->time_base = {1, 1};
    context->thread_count = 1;
    Dictionary options(format.options);
    checkResult(avcodec_open2(context.get(), &codec, options.pointer()));
    options.checkAllTaken();
    return context;
}

FFmpegPtr<AVPacket> encode(const Format& format, const Picture& picture, const World& straight,
                           AVPixelFormat pixelFormat, bool dithers) {
    keepFirstLoggedError();
    const AVCodec& codec = *avcodec_find_encoder_by_name(format.encoder);
    auto frame = frameFromWorld(straight, pixelFormat, {dithers, true});
    frame->pts = 0;
    if (!picture.colorProfile.empty()) {
        AVFrameSideData* profile = av_frame_new_side_data(frame.get(), AV_FRAME_DATA_ICC_PROFILE,
                                                          picture.colorProfile.size());
        if (profile == nullptr) {
            throw std::bad_alloc();
        }
        std::memcpy(profile->data, picture.colorProfile.data(), picture.colorProfile.size());
    }
    const auto context = openEncoder(format, codec, *frame);
    frame->quality = context->global_quality;
    auto packet = owned(av_packet_alloc());
    checkResult(avcodec_send_frame(context.get(), frame.get()));
    checkResult(avcodec_send_frame(context.get(), nullptr));
    checkResult(avcodec_receive_packet(context.get(), packet.get()));
    return packet;
}

EncodedPicture encodedByFFmpeg(const Format& format, const Picture& picture,
                               const PictureOutput& output) {
    const bool alpha = hasAlpha(picture.world);
    const Depth wanted = wantedDepth(output.depth, picture);
    const AVPixelFormat pixelFormat =
        pixelFormatFor(*avcodec_find_encoder_by_name(format.encoder), alpha, wanted);
    const StraightWorld straight(picture);
    const auto packet = encode(format, picture, straight.world(), pixelFormat, output.dithers);
    EncodedPicture encoded{{packet->data, packet->data + packet->size}, {}};
    if (std::string loss =
            depthLoss(format.name, depthOf(pixelFormat), output.depth, wantedDepth({}, picture));
        !loss.empty()) {
        encoded.losses.push_back(std::move(loss));
    }
    if (alpha && !carriesAlpha(pixelFormat)) {
        encoded.losses.push_back(std::string(format.name) +
                                 " has no transparency: the alpha is lost");
    } else if (straight.losesLight()) {
        encoded.losses.emplace_back(bareLightLoss);
    }
    if (!picture.colorProfile.empty() && std::string_view(format.ending) != "png") {
        encoded.losses.push_back(std::string(format.name) + " is written without a colour profile");
    }
    if (picture.extras != nullptr) {
        for (std::string& loss : stills().lossesIn(*picture.extras, format.name)) {
            encoded.losses.push_back(std::move(loss));
        }
    }
    return encoded;
}

EncodedPicture encodedByOpenImageIO(const Format& format, const Picture& picture,
                                    const PictureOutput& output) {
    StillFile file = stills().encodedStill({.world = picture.world,
                                            .depth = picture.depth,
                                            .isAssociated = picture.isAssociated,
                                            .colorProfile = picture.colorProfile,
                                            .extras = picture.extras.get()},
                                           format.ending, output.depth, output.dithers);
    return {std::move(file.bytes), std::move(file.losses)};
}

} // namespace

EncodedPicture encodedPicture(const Picture& picture, const PictureOutput& output) {
    const Format* format = formatFor(output.ending);
    if (format == nullptr) {
        throw Error("'" + output.ending + "' is no format of pictures");
    }
    EncodedPicture encoded = isStill(*format, picture, output)
                                 ? encodedByOpenImageIO(*format, picture, output)
                                 : encodedByFFmpeg(*format, picture, output);
    if (std::string loss = colourLoss(picture, output, format->ending, format->name);
        !loss.empty()) {
        encoded.losses.push_back(std::move(loss));
    }
    return encoded;
}

std::string endingOf(const fs::path& file) {
    const std::string extension = file.extension().string();
    return lowerCase(extension.empty() ? extension : extension.substr(1));
}

bool isPictureEnding(const std::string& ending) {
    return formatFor(ending) != nullptr;
}

std::string pictureEndings() {
    std::string endings;
    for (const Format& format : formats) {
        if (isAvailable(format)) {
            endings += (endings.empty() ? "." : ", .") + std::string(format.ending);
        }
    }
    return endings;
}

void checkPictureName(const fs::path& file) {
    formatOf(file);
}

void checkPictureSize(const fs::path& file, int width, int height) {
    const Format& format = formatOf(file);
    if (std::max(width, height) > format.longestSide) {
        throw Error(cannotWrite(file) + format.name + " takes at most " +
                    std::to_string(format.longestSide) + " pixels a side, not " +
                    std::to_string(width) + "x" + std::to_string(height));
    }
}

std::vector<std::string> writePicture(const fs::path& file, const Picture& picture,
                                      const PictureOutput& output) {
    PictureOutput known = output;
    known.ending = formatOf(file, output.ending).ending;
    EncodedPicture encoded;
    try {
        encoded = encodedPicture(picture, known);
    } catch (const std::exception&) {
        rethrowWithPrefix(cannotWrite(file));
    }
    replaceFile(file, encoded.bytes.data(), encoded.bytes.size());
    for (std::string& loss : encoded.losses) {
        loss.insert(0, nameOf(file) + ": ");
    }
    return encoded.losses;
}

} // namespace Vexorel::PrismDrift::Host
