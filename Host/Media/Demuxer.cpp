#include "Host/Media/Demuxer.h"

#include "Host/Media/ClipError.h"
#include "Host/Media/InputFormats.h"
#include "Host/Media/StillLibrary.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/opt.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

int openNoOther(AVFormatContext* context, AVIOContext** /*io*/, const char* url, int /*flags*/,
                AVDictionary** /*options*/) {
    av_log(context, AV_LOG_ERROR, "it refers to another file, '%s'", url);
    return AVERROR(EACCES);
}

bool isStillFormat(const AVInputFormat& format) {
    const std::string_view name = format.name;
    constexpr std::string_view ending = "_pipe";
    return name == "image2" ||
           (name.size() > ending.size() && name.substr(name.size() - ending.size()) == ending);
}

// A setting that FFmpeg's format takes as an option.
struct FormatOption {
    const char* name;
    const std::string& value; // empty where it isn't set
    ClipSetting setting;
    const char* words; // for messages
};

ClipInput inputOf(const fs::path& file) {
    ClipInput input;
    input.file = file;
    return input;
}

std::array<FormatOption, 3> formatOptions(const ClipInput& input) {
    return {{{"video_size", input.videoSize, ClipSetting::VideoSize, "video size"},
             {"pixel_format", input.pixelFormat, ClipSetting::InputPixelFormat, "pixel format"},
             {"framerate", input.frameRate, ClipSetting::FrameRate, "frame rate"}}};
}

// The largest block that FFmpeg allots while this lives.
class BlockLimit {
public:
    explicit BlockLimit(std::uintmax_t bytes) { av_max_alloc(bytes); }
    BlockLimit(const BlockLimit&) = delete;
    BlockLimit& operator=(const BlockLimit&) = delete;
    ~BlockLimit() { av_max_alloc(std::numeric_limits<int>::max()); } // FFmpeg's own
};

} // namespace

void checkReadable(const fs::path& file) {
    // Without opening it: whoever writes to a named pipe would take this for its reader.
    struct stat status = {};
    if (stat(file.c_str(), &status) != 0 || access(file.c_str(), R_OK) != 0) {
        throw Error(std::generic_category().message(errno));
    }
    if (S_ISDIR(status.st_mode)) {
        throw Error("it is a directory");
    }
    if (S_ISREG(status.st_mode) && status.st_size == 0) {
        throw Error("the file is empty");
    }
}

bool isPlainFile(const fs::path& file) {
    std::error_code failure;
    return file != "-" && fs::is_regular_file(file, failure);
}

bool isStillPicture(const fs::path& file) {
    if (!isPlainFile(file)) {
        return false;
    }
    // A JPEG may be the first of a video's.
    if (const StillLibrary library = libraryFor(file);
        !library.openImageIOFormat.empty() && !library.isCheckedByFFmpeg) {
        return true;
    }
    try {
        const auto demuxer = Demuxer::openAlone(inputOf(file));
        return demuxer->isOfStills();
    } catch (const InputFailure&) {
        rethrowWithPrefix(cannotRead(file));
    } catch (const Error&) {
        return false;
    }
}

Demuxer::Demuxer(const ClipInput& input) : mMostPixels(input.limits.pixels) {
    keepFirstLoggedError();
    if (input.file != "-") {
        checkReadable(input.file);
    }
    mFile.emplace(input.file, input.limits.isStopped);
    try {
        open(input);
    } catch (const Error&) {
        mFile->check();
        throw;
    }
    mFile->check();
    mEarlyMessage = firstLoggedError();
}

void Demuxer::open(const ClipInput& input) {
    const AVInputFormat* wanted =
        input.format.empty() ? nullptr : av_find_input_format(input.format.c_str());
    // FFmpeg frees the context if it can't open the file.
    AVFormatContext* context = owned(avformat_alloc_context()).release();
    context->pb = &mFile->context();
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    context->io_open = &openNoOther;
    Dictionary options;
    options.set("protocol_whitelist", "none");
    options.set("format_whitelist", formatWhitelist());
    options.set("codec_whitelist", probedCodecs());
    options.set("pattern_type", "none"); // '%' and '*' are plain characters
    for (const FormatOption& option : formatOptions(input)) {
        if (!option.value.empty()) {
            options.set(option.name, option.value);
        }
    }
    const std::string name = fs::absolute(input.file).string(); // its ending tells of the format
    const int result = avformat_open_input(&context, name.c_str(), wanted, options.pointer());
    if (result == AVERROR_INVALIDDATA) {
        throw Error(mFile->isEmpty() ? "it is empty"
                    : input.format.empty()
                        ? "it is no picture or video of a known format"
                        : "it is damaged or not of the format '" + input.format + "'");
    }
    if (firstLoggedError().rfind("Format not on whitelist", 0) == 0) {
        throw Error("its format isn't read: it is a text, a drawing, music, a list of other files "
                    "or one that FFmpeg shows wrong");
    }
    checkResult(result);
    mFormat.reset(context);
    for (const FormatOption& option : formatOptions(input)) {
        if (options.has(option.name)) {
            throw ClipError(ClipReason::SettingNotTaken, {option.setting},
                            "its format, " + std::string(context->iformat->name) + ", takes no " +
                                option.words);
        }
    }
}

std::unique_ptr<Demuxer> Demuxer::openAlone(const ClipInput& input) {
    // A block of the index of hours of video; a larger file may have a larger one.
    constexpr std::uintmax_t usual = 64 << 20;
    constexpr std::uintmax_t ofFile = 4;
    std::error_code failure;
    const std::uintmax_t size = isPlainFile(input.file) ? fs::file_size(input.file, failure) : 0;
    const BlockLimit limit(std::max(usual, failure ? 0 : std::min(size, usual << 5) * ofFile));
    try {
        return std::make_unique<Demuxer>(input);
    } catch (const std::bad_alloc&) {
        throw Error("what it says of itself takes more memory than there is, or than a file of its "
                    "size can need");
    }
}

void Demuxer::findStreams() {
    if (std::exchange(mHasFoundStreams, true)) {
        return; // FFmpeg doesn't survive a second time
    }
    keepFirstLoggedError();
    // FFmpeg decodes frames for it with contexts of its own. A picture needs none of that.
    const bool isStill = isOfStills();
    if (isStill) {
        constexpr std::int64_t least = 32;
        mFormat->probesize = least;
        av_opt_set(mFormat.get(), "codec_whitelist", "none", 0);
    }
    const unsigned known = mFormat->nb_streams;
    std::vector<AVDictionary*> options(known, nullptr);
    for (AVDictionary*& option : options) {
        av_dict_set_int(&option, "max_pixels", mMostPixels, 0);
    }
    const int result = avformat_find_stream_info(mFormat.get(), options.data());
    std::for_each(options.begin(), options.end(), [](auto& option) { av_dict_free(&option); });
    check(result);
    // It may have read as far as where a short file is damaged.
    if (mEarlyMessage.empty()) {
        mEarlyMessage = firstLoggedError();
    }
    if (mayStartBroken() || isStill) {
        mEarlyMessage.clear();
    }
}

AVStream& Demuxer::pictureStream() {
    const auto best = [this]() -> AVStream* {
        const int index =
            av_find_best_stream(mFormat.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        return index < 0 ? nullptr : mFormat->streams[index];
    };
    AVStream* stream = best();
    if (stream == nullptr || stream->codecpar->codec_id == AV_CODEC_ID_NONE) {
        findStreams();
        stream = best();
    }
    if (stream == nullptr) {
        throw Error("there is no picture in it");
    }
    return *stream;
}

bool Demuxer::isOfStills() const {
    return isStillFormat(*mFormat->iformat);
}

bool Demuxer::mayStartBroken() const {
    for (const char* name : {"mpegts", "mpeg", "h264", "hevc", "mpegvideo", "m4v"}) {
        if (std::string_view(mFormat->iformat->name) == name) {
            return true;
        }
    }
    return false;
}

bool Demuxer::read(AVPacket& packet) {
    const int result = av_read_frame(mFormat.get(), &packet);
    mFile->check();
    if (result == AVERROR_EOF) {
        mEndError = reasonOfEnd();
        return false;
    }
    checkResult(result);
    mPlace = avio_tell(mFormat->pb);
    return true;
}

// A format may do without what a failed call should have given.
void Demuxer::check(int result) const {
    mFile->check();
    checkResult(result);
}

std::string Demuxer::reasonOfEnd() const {
    const std::string& reason = firstLoggedError().empty() ? mEarlyMessage : firstLoggedError();
    if (!reason.empty()) {
        return "the file is cut off or damaged (" + reason + ")";
    }
    if (std::string_view(mFormat->iformat->name) == "gif" && mFile->lastByte() != ';') {
        return "it is cut off";
    }
    const bool isFrames = std::string_view(mFormat->iformat->name) == "yuv4mpegpipe";
    return isFrames && avio_tell(mFormat->pb) > mPlace ? "it is cut off" : "";
}

} // namespace Vexorel::PrismDrift::Host
