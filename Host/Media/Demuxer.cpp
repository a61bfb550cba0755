#include "Host/Media/Demuxer.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Vexorel::PrismDrift::Host {
namespace {

namespace fs = std::filesystem;

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

// What FFmpeg takes for pictures and isn't: a text, which it would draw, lists that have their
// pictures in other files, and what comes from a device.
bool isForeign(const AVInputFormat& format) {
    for (const char* name : {"tty", "concat", "hls", "dash", "imf"}) {
        if (name == std::string_view(format.name)) {
            return true;
        }
    }
    return false;
}

const AVInputFormat* formatNamed(const std::string& name) {
    if (name.empty()) {
        return nullptr;
    }
    const AVInputFormat* format = av_find_input_format(name.c_str());
    if (format == nullptr) {
        throw Error("there is no input format '" + name + "'");
    }
    return format;
}

struct DictionaryEnd {
    AVDictionary* options = nullptr;
    ~DictionaryEnd() { av_dict_free(&options); }
};

} // namespace

void checkReadable(const fs::path& file) {
    // Not opened: whoever writes to a named pipe would take that for its reader.
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

std::int64_t largestPixelCount() {
    constexpr std::int64_t bytesPerPixel = 16;
    const std::int64_t bytes =
        std::int64_t{sysconf(_SC_PHYS_PAGES)} * std::int64_t{sysconf(_SC_PAGESIZE)};
    return bytes > 0 ? bytes / bytesPerPixel : std::numeric_limits<std::int32_t>::max();
}

bool isStillPicture(const fs::path& file) {
    struct stat status = {};
    if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false; // a pipe's bytes come but once
    }
    try {
        const Demuxer demuxer(file, "", {});
        const std::string_view name = demuxer.context().iformat->name;
        constexpr std::string_view ending = "_pipe";
        return name == "image2" ||
               (name.size() > ending.size() && name.substr(name.size() - ending.size()) == ending);
    } catch (const Error&) {
        return false;
    }
}

Demuxer::Demuxer(const fs::path& file, const std::string& format,
                 const std::map<std::string, std::string>& options)
    : mUrl(file == "-" ? "pipe:0" : "file:" + fs::absolute(file).string()) {
    if (file != "-") {
        checkReadable(file);
    }
    const AVInputFormat* wanted = formatNamed(format);
    if (format == "rawvideo" && options.count("video_size") == 0) {
        throw Error("rawvideo says nothing of itself: it needs --video-size, and --pixel-format "
                    "unless it is yuv420p");
    }
    // FFmpeg frees a context of ours when it can't open the file.
    AVFormatContext* context = owned(avformat_alloc_context()).release();
    context->opaque = &mUrl;
    context->io_open = &openOnlyTheFile;
    context->interrupt_callback = {
        [](void* stopped) { return static_cast<std::atomic<bool>*>(stopped)->load() ? 1 : 0; },
        &mIsStopped};
    DictionaryEnd rest;
    av_dict_set(&rest.options, "protocol_whitelist", "file,pipe", 0);
    av_dict_set(&rest.options, "pattern_type", "none", 0); // '%' and '*' are plain characters
    for (const auto& [key, value] : options) {
        av_dict_set(&rest.options, key.c_str(), value.c_str(), 0);
    }
    const int result = avformat_open_input(&context, mUrl.c_str(), wanted, &rest.options);
    if (result == AVERROR_INVALIDDATA) {
        throw Error(format.empty() ? "it is no picture or video of a known format"
                                   : "it is damaged or has not the format '" + format + "'");
    }
    check(result);
    mFormat.reset(context);
    if (isForeign(*context->iformat)) {
        throw Error("it is no picture but a text or a list of other files");
    }
    for (const auto& [key, value] : options) {
        if (av_dict_get(rest.options, key.c_str(), nullptr, 0) != nullptr) {
            std::string option = "--" + key;
            std::replace(option.begin(), option.end(), '_', '-');
            throw Error("its format, " + std::string(context->iformat->name) + ", takes no " +
                        option);
        }
    }
}

void Demuxer::check(int result) const {
    if (result < 0) {
        throw Error(mMessages.reason(result));
    }
}

} // namespace Vexorel::PrismDrift::Host
