#include "Host/Media/Picture.h"

#include "Host/Library/Error.h"
#include "Host/Media/PixelConversion.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

// The plain reasons why there is nothing to decode, in the system's words.
void checkReadable(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        throw Error(std::generic_category().message(errno));
    }
    struct stat status = {};
    const int result = fstat(descriptor, &status);
    close(descriptor);
    if (result == 0 && S_ISDIR(status.st_mode)) {
        throw Error("it is a directory");
    }
    if (result == 0 && S_ISREG(status.st_mode) && status.st_size == 0) {
        throw Error("the file is empty");
    }
}

// More pixels than this would not fit into the machine's memory several times over.
std::int64_t largestPixelCount() {
    constexpr std::int64_t bytesPerPixel = 16;
    const std::int64_t bytes =
        std::int64_t{sysconf(_SC_PHYS_PAGES)} * std::int64_t{sysconf(_SC_PAGESIZE)};
    return bytes > 0 ? bytes / bytesPerPixel : std::numeric_limits<std::int32_t>::max();
}

// Opens the file itself and nothing that it may refer to.
int openOnlyTheFile(AVFormatContext* context, AVIOContext** io, const char* url, int flags,
                    AVDictionary** options) {
    const auto& allowed = *static_cast<const std::string*>(context->opaque);
    if (allowed != url) {
        av_log(context, AV_LOG_ERROR, "it refers to another file, '%s'", url);
        return AVERROR(EACCES);
    }
    return avio_open2(io, url, flags, &context->interrupt_callback, options);
}

// What FFmpeg takes for a picture and isn't one: a text, which it would draw, and lists that have
// their pictures in other files.
void refuseForeignFormat(std::string_view name) {
    for (const char* foreign : {"tty", "concat", "hls", "dash", "imf"}) {
        if (name == foreign) {
            throw Error("it is no picture but a text or a list of other files");
        }
    }
}

// Decodes the first picture of one file.
class Decoder {
public:
    explicit Decoder(const fs::path& file) : mUrl("file:" + fs::absolute(file).string()) {
        openFile();
        openCodec();
    }

    FFmpegPtr<AVFrame> firstFrame() {
        auto frame = owned(av_frame_alloc());
        auto packet = owned(av_packet_alloc());
        for (;;) {
            const int read = av_read_frame(mFormat.get(), packet.get());
            if (read < 0 && read != AVERROR_EOF) {
                check(read);
            }
            if (read >= 0 && packet->stream_index != mStream) {
                av_packet_unref(packet.get());
                continue;
            }
            check(avcodec_send_packet(mCodec.get(), read < 0 ? nullptr : packet.get()));
            av_packet_unref(packet.get());
            const int received = avcodec_receive_frame(mCodec.get(), frame.get());
            if (received == 0) {
                break;
            }
            if (received != AVERROR(EAGAIN)) {
                check(received == AVERROR_EOF ? AVERROR_INVALIDDATA : received);
            }
        }
        if ((frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame->decode_error_flags != 0) {
            check(AVERROR_INVALIDDATA);
        }
        return frame;
    }

private:
    void check(int result) const {
        if (result == AVERROR_INVALIDDATA) {
            throw Error("it is damaged, cut off or no picture at all (" + mMessages.reason(result) +
                        ")");
        }
        if (result < 0) {
            throw Error(mMessages.reason(result));
        }
    }

    void openFile() {
        // FFmpeg frees a context of ours when it can't open the file.
        AVFormatContext* context = owned(avformat_alloc_context()).release();
        context->opaque = &mUrl;
        context->io_open = &openOnlyTheFile;
        AVDictionary* options = nullptr;
        av_dict_set(&options, "protocol_whitelist", "file", 0);
        av_dict_set(&options, "pattern_type", "none", 0); // '%' and '*' are plain characters
        const int result = avformat_open_input(&context, mUrl.c_str(), nullptr, &options);
        av_dict_free(&options);
        if (result == AVERROR_INVALIDDATA) {
            throw Error("it is no picture of a known format");
        }
        check(result);
        mFormat.reset(context);
        refuseForeignFormat(context->iformat->name);
    }

    void openCodec() {
        mStream = av_find_best_stream(mFormat.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        if (mStream < 0 || parameters().codec_id == AV_CODEC_ID_NONE) {
            check(avformat_find_stream_info(mFormat.get(), nullptr));
            mStream = av_find_best_stream(mFormat.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        }
        if (mStream < 0) {
            throw Error("there is no picture in it");
        }
        const AVCodec* codec = avcodec_find_decoder(parameters().codec_id);
        if (codec == nullptr) {
            throw Error(std::string("there is no decoder for ") +
                        avcodec_get_name(parameters().codec_id));
        }
        mCodec = owned(avcodec_alloc_context3(codec));
        check(avcodec_parameters_to_context(mCodec.get(), &parameters()));
        mCodec->thread_count = 1; // it is one picture, and its messages come on this thread
        // A picture that breaks off is an error; a tag that FFmpeg's TIFF doesn't know is none.
        if (codec->id != AV_CODEC_ID_TIFF) {
            mCodec->err_recognition = AV_EF_EXPLODE | AV_EF_CRCCHECK;
        }
        mCodec->max_pixels = largestPixelCount();
        check(avcodec_open2(mCodec.get(), codec, nullptr));
    }

    const AVCodecParameters& parameters() const { return *mFormat->streams[mStream]->codecpar; }

    FFmpegMessages mMessages;
    std::string mUrl;
    FFmpegPtr<AVFormatContext> mFormat;
    FFmpegPtr<AVCodecContext> mCodec;
    int mStream = -1;
};

std::vector<std::uint8_t> profileOf(const AVFrame& frame) {
    const AVFrameSideData* profile = av_frame_get_side_data(&frame, AV_FRAME_DATA_ICC_PROFILE);
    constexpr std::size_t headerSize = 128;
    constexpr std::size_t spaceOffset = 16;
    if (profile == nullptr || profile->size < headerSize ||
        std::memcmp(profile->data + spaceOffset, "RGB ", 4) != 0) {
        return {};
    }
    return {profile->data, profile->data + profile->size};
}

} // namespace

Picture readPicture(const fs::path& file) {
    try {
        checkReadable(file);
        Decoder decoder(file);
        const auto frame = decoder.firstFrame();
        return {worldFromFrame(*frame), profileOf(*frame)};
    } catch (const Error& error) {
        throw Error("cannot read '" + file.string() + "': " + error.what());
    } catch (const std::bad_alloc&) {
        throw Error("cannot read '" + file.string() + "': there is not enough memory");
    }
}

} // namespace Vexorel::PrismDrift::Host
