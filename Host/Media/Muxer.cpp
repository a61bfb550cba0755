#include "Host/Media/Muxer.h"

#include "Host/Library/Error.h"
#include "Host/Library/ReplaceFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace Vexorel::PrismDrift::Host {
namespace {

// Whether MOV and MP4 have fields of their own for all of these; they drop others unless told to
// write them by name.
bool haveMovFields(const AVDictionary* metadata) {
    constexpr std::array known = {
        "title",         "artist", "album_artist", "album", "comment",  "composer", "copyright",
        "creation_time", "date",   "description",  "genre", "synopsis", "track",    "timecode"};
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        const std::string_view key = entry->key;
        if (std::find(known.begin(), known.end(), key) == known.end()) {
            return false;
        }
    }
    return true;
}

} // namespace

// What FFmpeg writes to: a descriptor, and the reason of the first call that failed. A muxer goes
// on where a seek failed, and writes a header's rest behind the end.
class Muxer::Descriptor {
public:
    Descriptor(int descriptor, bool isSeekable) : mDescriptor(descriptor) {
        constexpr int bufferSize = 1 << 16;
        auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
        if (buffer != nullptr) {
            mContext = avio_alloc_context(buffer, bufferSize, 1, this, nullptr, &write,
                                          isSeekable ? &seek : nullptr);
        }
        if (mContext == nullptr) {
            av_free(buffer);
            throw std::bad_alloc();
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        av_free(mContext->buffer);
        avio_context_free(&mContext);
    }

    AVIOContext& context() { return *mContext; }
    bool isSeekable() const { return mContext->seekable != 0; }
    int error() const { return mError; }

private:
    static int write(void* opaque, std::uint8_t* bytes, int size) {
        auto& self = *static_cast<Descriptor*>(opaque);
        const int error = writeAll(self.mDescriptor, bytes, static_cast<std::size_t>(size));
        return error != 0 ? self.failed(error) : size;
    }

    static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
        auto& self = *static_cast<Descriptor*>(opaque);
        if (whence == AVSEEK_SIZE) {
            struct stat status = {};
            return fstat(self.mDescriptor, &status) == 0 ? status.st_size : self.failed(errno);
        }
        const off_t place = lseek(self.mDescriptor, offset, whence);
        return place < 0 ? self.failed(errno) : place;
    }

    int failed(int error) {
        mError = mError != 0 ? mError : error;
        return AVERROR(error);
    }

    int mDescriptor;
    int mError = 0;
    AVIOContext* mContext = nullptr;
};

Muxer::Muxer(const Container& container, int descriptor, bool isSeekable)
    : mContainer(container), mDescriptor(std::make_unique<Descriptor>(descriptor, isSeekable)) {
    AVFormatContext* context = nullptr;
    check(avformat_alloc_output_context2(&context, nullptr, container.name, nullptr));
    mContext.reset(context);
    mContext->pb = &mDescriptor->context();
    mContext->flags |= AVFMT_FLAG_CUSTOM_IO;
    mContext->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL; // FLAC in MP4 for one
    addStream();
}

Muxer::~Muxer() = default;

AVStream& Muxer::addStream() {
    AVStream* stream = avformat_new_stream(mContext.get(), nullptr);
    if (stream == nullptr) {
        throw std::bad_alloc();
    }
    return *stream;
}

void Muxer::writeHeader(const AVCodecContext& encoder) {
    AVStream& stream = picture();
    check(avcodec_parameters_from_context(stream.codecpar, &encoder));
    stream.time_base = encoder.time_base;
    stream.avg_frame_rate = encoder.framerate;
    stream.sample_aspect_ratio = encoder.sample_aspect_ratio;
    Dictionary options;
    const std::string_view name = mContainer.name;
    if (name == "mov" || name == "mp4") {
        if (encoder.codec_id == AV_CODEC_ID_HEVC) {
            stream.codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
        }
        std::string flags;
        flags += mDescriptor->isSeekable() ? "" : "+frag_keyframe+empty_moov+default_base_moof";
        flags += haveMovFields(mContext->metadata) ? "" : "+use_metadata_tags";
        if (!flags.empty()) {
            options.set("movflags", flags);
        }
    }
    check(avformat_write_header(mContext.get(), options.pointer()));
    options.checkAllTaken();
}

void Muxer::write(AVPacket& packet, const AVStream& stream, AVRational unit) {
    mPictures += &stream == &picture() ? 1 : 0;
    packet.stream_index = stream.index;
    packet.pos = -1;
    av_packet_rescale_ts(&packet, unit, stream.time_base);
    check(av_interleaved_write_frame(mContext.get(), &packet));
}

void Muxer::finish() {
    check(av_write_trailer(mContext.get()));
    check(mContext->pb->error);
}

// A muxer that ends well doesn't tell of a call that failed: it may have filled its buffer only.
void Muxer::check(int result) const {
    if (mDescriptor->error() != 0) {
        throw Error(std::generic_category().message(mDescriptor->error()));
    }
    checkResult(result);
}

} // namespace Vexorel::PrismDrift::Host
