#include "Host/Media/StreamCopier.h"

#include <array>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/timecode.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

// Whether an entry is about the file that it stands in, its container, encoder or statistics; the
// new file has its own.
bool describesFile(std::string_view key) {
    for (const char* own : {"major_brand", "minor_version", "compatible_brands", "encoder",
                            "ENCODER", "DURATION", "alpha_mode", "vendor_id"}) {
        if (key == own) {
            return true;
        }
    }
    for (const std::string_view statistic : {"BPS", "NUMBER_OF_", "_STATISTICS_"}) {
        if (key.substr(0, statistic.size()) == statistic) {
            return true;
        }
    }
    return false;
}

void copyMetadata(AVDictionary** to, const AVDictionary* from) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(from, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        if (!describesFile(entry->key)) {
            checkResult(av_dict_set(to, entry->key, entry->value, AV_DICT_DONT_OVERWRITE));
        }
    }
}

// As av_calloc, but never null.
void* allocated(std::size_t count, std::size_t size) {
    void* memory = av_calloc(count, size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

// Whether packets that follow each other have the same time, as TrueHD's may in Matroska, which
// counts milliseconds.
bool haveSameTimes(const AVStream& stream) {
    constexpr AVRational truehdPacket = {1, 1200}; // seconds, at any sample rate
    return stream.codecpar->codec_id == AV_CODEC_ID_TRUEHD &&
           av_cmp_q(stream.time_base, truehdPacket) > 0;
}

const char* kindOf(const AVStream& stream) {
    switch (stream.codecpar->codec_type) {
    case AVMEDIA_TYPE_AUDIO:
        return "sound";
    case AVMEDIA_TYPE_SUBTITLE:
        return "subtitles";
    case AVMEDIA_TYPE_VIDEO:
        return "video";
    case AVMEDIA_TYPE_ATTACHMENT:
        return "attachment";
    default:
        return "data";
    }
}

// A data stream is left to the muxer, which makes a time code's from the metadata.
bool isHandedOn(const AVStream& stream, int videoStream) {
    return stream.index != videoStream && stream.codecpar->codec_type != AVMEDIA_TYPE_DATA;
}

} // namespace

StreamCopier::StreamCopier(const ClipProperties& clip, bool isPartial, Muxer& muxer,
                           const ClipOutput& output)
    : mMuxer(muxer), mOutput(output), mFrameRate(rational(clip.frameRate)) {
    const AVFormatContext& source = *clip.container;
    if (source.start_time != AV_NOPTS_VALUE) {
        mStart = source.start_time;
    }
    for (unsigned i = 0; i < source.nb_streams; ++i) {
        mStreams.push_back({source.streams[i]->time_base});
    }
    const AVStream& picture = *source.streams[clip.videoStream];
    copyMetadata(&mMuxer.context().metadata, source.metadata);
    copyMetadata(&mMuxer.picture().metadata, picture.metadata);
    mMuxer.picture().disposition = picture.disposition;
    if (isPartial) {
        warnOfLostStreams(source, clip.videoStream);
    } else {
        addStreams(source, clip.videoStream);
        copyChapters(source);
    }
}

void StreamCopier::addStreams(const AVFormatContext& source, int videoStream) {
    for (unsigned i = 0; i < source.nb_streams; ++i) {
        if (isHandedOn(*source.streams[i], videoStream)) {
            addStream(*source.streams[i]);
        }
    }
}

void StreamCopier::warnOfLostStreams(const AVFormatContext& source, int videoStream) const {
    std::string lost;
    for (unsigned i = 0; i < source.nb_streams; ++i) {
        const std::string kind = kindOf(*source.streams[i]);
        if (isHandedOn(*source.streams[i], videoStream) && lost.find(kind) == std::string::npos) {
            lost += (lost.empty() ? "" : ", ") + kind;
        }
    }
    if (!lost.empty()) {
        mOutput.warn("of chosen frames only the picture is written, without " + lost);
    }
}

std::string StreamCopier::reasonToLeaveOut(const AVStream& stream) const {
    const AVMediaType type = stream.codecpar->codec_type;
    const Container& container = mMuxer.container();
    const bool isMatroska = std::string_view(container.name) == "matroska";
    const bool isCover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    if (type == AVMEDIA_TYPE_VIDEO && !isCover) {
        return "one video is written";
    }
    if (type == AVMEDIA_TYPE_AUDIO && stream.codecpar->sample_rate <= 0) {
        return "the input says too little of it";
    }
    // Matroska has attachments, and would take a cover for a second video.
    const AVCodecID codec = stream.codecpar->codec_id;
    // MOV says that it takes these, and then refuses its header: they are MP4's.
    const bool isForMp4Alone =
        codec == AV_CODEC_ID_FLAC || codec == AV_CODEC_ID_OPUS || codec == AV_CODEC_ID_TRUEHD;
    const bool hasPlace =
        type == AVMEDIA_TYPE_ATTACHMENT || (type == AVMEDIA_TYPE_VIDEO && isMatroska)
            ? isMatroska && type == AVMEDIA_TYPE_ATTACHMENT
            : !(isForMp4Alone && std::string_view(container.name) == "mov") &&
                  avformat_query_codec(mMuxer.context().oformat, codec, FF_COMPLIANCE_NORMAL) == 1;
    if (!hasPlace) {
        return "." + std::string(container.ending) + " has no place for it";
    }
    return haveSameTimes(stream) && std::string_view(container.name) == "mp4"
               ? "the input's times are too coarse for it"
               : "";
}

void StreamCopier::addStream(const AVStream& from) {
    const std::string reason = reasonToLeaveOut(from);
    if (!reason.empty()) {
        mOutput.warn("stream " + std::to_string(from.index) + ", " + kindOf(from) + " (" +
                     avcodec_get_name(from.codecpar->codec_id) + "), is left out: " + reason);
        return;
    }
    AVStream& to = mMuxer.addStream();
    checkResult(avcodec_parameters_copy(to.codecpar, from.codecpar));
    to.codecpar->codec_tag = 0;
    to.time_base = from.time_base;
    to.disposition = from.disposition;
    to.duration = from.duration;
    copyMetadata(&to.metadata, from.metadata);
    for (int i = 0; i < from.nb_side_data; ++i) {
        const AVPacketSideData& data = from.side_data[i];
        std::uint8_t* copy = av_stream_new_side_data(&to, data.type, data.size);
        if (copy == nullptr) {
            throw std::bad_alloc();
        }
        std::memcpy(copy, data.data, data.size);
    }
    mStreams[static_cast<std::size_t>(from.index)].to = &to;
}

void StreamCopier::copyChapters(const AVFormatContext& source) {
    if (source.nb_chapters == 0) {
        return;
    }
    AVFormatContext& to = mMuxer.context();
    to.chapters = static_cast<AVChapter**>(allocated(source.nb_chapters, sizeof(void*)));
    for (unsigned i = 0; i < source.nb_chapters; ++i) {
        auto* chapter = static_cast<AVChapter*>(allocated(1, sizeof(AVChapter)));
        to.chapters[to.nb_chapters++] = chapter; // which frees it
        *chapter = *source.chapters[i];
        const std::int64_t start = av_rescale_q(mStart, microseconds, chapter->time_base);
        chapter->start = av_sat_sub64(chapter->start, start);
        chapter->end = av_sat_sub64(chapter->end, start);
        chapter->metadata = nullptr;
        copyMetadata(&chapter->metadata, source.chapters[i]->metadata);
    }
}

void StreamCopier::advanceTimecodes(std::int64_t frame) {
    AVFormatContext& context = mMuxer.context();
    advanceTimecode(context.metadata, frame);
    for (unsigned i = 0; i < context.nb_streams; ++i) {
        advanceTimecode(context.streams[i]->metadata, frame);
    }
}

void StreamCopier::advanceTimecode(AVDictionary*& metadata, std::int64_t frame) const {
    const AVDictionaryEntry* entry = av_dict_get(metadata, "timecode", nullptr, 0);
    AVTimecode code;
    if (entry == nullptr ||
        av_timecode_init_from_string(&code, mFrameRate, entry->value, nullptr) < 0) {
        return;
    }
    std::array<char, AV_TIMECODE_STR_SIZE> text{};
    av_timecode_make_string(&code, text.data(), static_cast<int>(frame));
    checkResult(av_dict_set(&metadata, "timecode", text.data(), 0));
}

void StreamCopier::write(const ClipPacket& item) {
    const auto index = static_cast<std::size_t>(item.packet->stream_index);
    if (index >= mStreams.size()) {
        if (!std::exchange(mHasWarnedOfLateStream, true)) {
            mOutput.warn("stream " + std::to_string(index) +
                         ", which begins in the middle of the input, is left out");
        }
        return;
    }
    const Stream& stream = mStreams[index];
    if (stream.to == nullptr) {
        return;
    }
    auto packet = owned(av_packet_clone(item.packet.get()));
    const std::int64_t start = av_rescale_q(mStart, microseconds, stream.unit);
    for (std::int64_t* time : {&packet->pts, &packet->dts}) {
        *time = *time == AV_NOPTS_VALUE ? *time : av_sat_sub64(*time, start);
    }
    mMuxer.write(*packet, *stream.to, stream.unit);
}

} // namespace Vexorel::PrismDrift::Host
