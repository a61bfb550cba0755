#include "Host/Media/SizeLimit.h"

#include "Host/Media/ClipError.h"

#include <algorithm>
#include <limits>
#include <unistd.h>

namespace Vexorel::PrismDrift::Host {
namespace {

// A picture of more pixels would not fit into the machine's memory.
std::int64_t largestPixelCount() {
    constexpr std::int64_t bytesPerPixel = 16; // of all copies that are made of it
    const std::int64_t bytes =
        std::int64_t{sysconf(_SC_PHYS_PAGES)} * std::int64_t{sysconf(_SC_PAGESIZE)};
    return bytes > 0 ? bytes / bytesPerPixel : std::numeric_limits<std::int32_t>::max();
}

// The most pixels that a byte of this codec can stand for; nothing where there is no limit, and
// where `PictureData` looks at it.
std::optional<std::int64_t> mostPixelsPerByte(AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_APNG: // 1032 bytes of 8 pixels in one
        return 8256;
    case AV_CODEC_ID_MJPEG: // a bit for a block of 8x8
        return 512;
    case AV_CODEC_ID_GIF: // strings of up to 4094 pixels in 12 bits
        return 2730;
    case AV_CODEC_ID_BMP: // 255 pixels in two bytes
    case AV_CODEC_ID_TARGA:
        return 128;
    case AV_CODEC_ID_PCX: // 63 bytes of 8 pixels in two bytes
    case AV_CODEC_ID_SGI:
    case AV_CODEC_ID_PSD:
    case AV_CODEC_ID_QDRAW:
        return 1024;
    case AV_CODEC_ID_QOI:
        return 62;
    case AV_CODEC_ID_PPM:
    case AV_CODEC_ID_PGM:
    case AV_CODEC_ID_PBM:
    case AV_CODEC_ID_PAM:
    case AV_CODEC_ID_DPX:
    case AV_CODEC_ID_XWD:
    case AV_CODEC_ID_XBM:
    case AV_CODEC_ID_DDS:
        return 8;
    default:
        return std::nullopt;
    }
}

// The size of the frame in a packet of a GIF, which may be a part of the whole picture.
std::pair<int, int> gifFrameSize(const AVPacket& packet) {
    const auto byte = [&](int index) { return index < packet.size ? packet.data[index] : 0; };
    const auto number = [&](int index) { return byte(index) | byte(index + 1) << 8; };
    constexpr int headerSize = 13;
    constexpr int extension = '!';
    constexpr int image = ',';
    const auto paletteSize = [](int flags) { return (flags & 0x80) != 0 ? 6 << (flags & 7) : 0; };
    int at = byte(0) == 'G' ? headerSize + paletteSize(byte(10)) : 0;
    while (byte(at) == extension) {
        at += 2;
        while (byte(at) != 0) { // the length of a block
            at += byte(at) + 1;
        }
        ++at;
    }
    return byte(at) == image ? std::pair(number(at + 5), number(at + 7)) : std::pair(0, 0);
}

// Whether it is a BMP that may end early and leave the rest of the picture to its background.
bool isRunLengthBmp(const AVPacket& packet) {
    constexpr int compression = 30;
    return packet.size > compression &&
           (packet.data[compression] == 1 || packet.data[compression] == 2);
}

} // namespace

SizeLimit::SizeLimit(AVCodecID codec, std::int64_t mostPixels)
    : mCodec(codec),
      mWantedPixels(mostPixels),
      mPixels(std::min(mostPixels, largestPixelCount())) {}

void SizeLimit::add(const AVPacket& packet) {
    mBytes += packet.size;
    if (mCodec == AV_CODEC_ID_GIF) {
        mStoredSize = gifFrameSize(packet);
    } else if (mCodec == AV_CODEC_ID_BMP && isRunLengthBmp(packet)) {
        mStoredSize = {0, 0};
    }
}

bool SizeLimit::allows(const AVFrame& frame) {
    const auto [width, height] = mStoredSize.value_or(std::pair(frame.width, frame.height));
    const double pixels = 1.0 * width * height;
    constexpr double always = 1 << 22; // pixels that do no harm
    const auto most = mostPixelsPerByte(mCodec);
    mRefusal.clear();
    if (most && pixels > always && pixels > static_cast<double>(mBytes * *most)) {
        mRefusal = "its " + std::to_string(mBytes) + " bytes cannot hold " + std::to_string(width) +
                   "x" + std::to_string(height) + " pixels: it is cut off or damaged";
    }
    return mRefusal.empty();
}

void SizeLimit::throwIfRefused() const {
    if (!mRefusal.empty()) {
        throw Error(mRefusal);
    }
    // The decoder has logged the picture's size.
    const std::string& logged = firstLoggedError();
    if (logged.find("max pixel count") == std::string::npos) {
        return;
    }
    const std::size_t size = std::min(logged.find_first_of("0123456789"), logged.size());
    refuse(logged.substr(size, logged.find(' ', size) - size));
}

void SizeLimit::check(int width, int height) const {
    if (std::int64_t{width} * height > mPixels) {
        refuse(std::to_string(width) + "x" + std::to_string(height));
    }
}

void SizeLimit::refuse(const std::string& size) const {
    const std::string text = "its " + size + " pixels are more than " + std::to_string(mPixels);
    if (mPixels < mWantedPixels) {
        throw Error(text + ", for which this machine has too little memory");
    }
    throw ClipError(ClipReason::BeyondLimit, {ClipSetting::MaxPixels}, text);
}

} // namespace Vexorel::PrismDrift::Host
