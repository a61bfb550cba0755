// What VideoWriter hands on of its input as it is: sound, subtitles, chapters, metadata.

#include "Host/Library/Error.h"
#include "Host/Media/VideoWriter.h"

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

// What a container says of itself and what its encoder was, which the new one says anew.
bool isOwnBusiness(const char* key) {
    const std::string_view name = key;
    for (const char* own : {"major_brand", "minor_version", "compatible_brands", "encoder",
                            "ENCODER", "DURATION", "alpha_mode", "vendor_id"}) {
        if (name == own) {
            return true;
        }
    }
    return false;
}

void copyMetadata(AVDictionary** to, const AVDictionary* from) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(from, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        const std::string_view key = entry->key;
        const bool isStatistic = key.substr(0, 3) == "BPS" || key.substr(0, 10) == "NUMBER_OF_" ||
                                 key.substr(0, 12) == "_STATISTICS_";
        if (!isOwnBusiness(entry->key) && !isStatistic) {
            av_dict_set(to, entry->key, entry->value, AV_DICT_DONT_OVERWRITE);
        }
    }
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

} // namespace

void VideoWriter::copyTheRest() {
    copyMetadata(&mMuxer->metadata, mSource.container->metadata);
    const AVStream& from = *mSource.container->streams[mSource.videoStream];
    copyMetadata(&mStream->metadata, from.metadata);
    mStream->disposition = from.disposition;
    addCopiedStreams();
}

void VideoWriter::addCopiedStreams() {
    std::string left;
    for (unsigned i = 0; i < mSource.container->nb_streams; ++i) {
        const AVStream& from = *mSource.container->streams[i];
        const bool isOurs = static_cast<int>(i) == mSource.videoStream;
        // A data stream, a time code for one, comes back from the metadata or means nothing here.
        if (isOurs || from.codecpar->codec_type == AVMEDIA_TYPE_DATA) {
            continue;
        }
        if (!mPartial) {
            addCopiedStream(from);
        } else if (left.find(kindOf(from)) == std::string::npos) {
            left += (left.empty() ? "" : ", ") + std::string(kindOf(from));
        }
    }
    if (!left.empty()) {
        warn("of chosen frames only the picture is written, without " + left);
    }
    if (!mPartial) {
        copyChapters();
    }
}

void VideoWriter::addCopiedStream(const AVStream& from) {
    const AVCodecID codec = from.codecpar->codec_id;
    const AVMediaType type = from.codecpar->codec_type;
    const bool isSecondVideo =
        type == AVMEDIA_TYPE_VIDEO && (from.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
    const bool isMatroska = std::string_view(mContainer.name) == "matroska";
    const bool hasPlace =
        type == AVMEDIA_TYPE_ATTACHMENT
            ? isMatroska
            : avformat_query_codec(mMuxer->oformat, codec, FF_COMPLIANCE_NORMAL) == 1 &&
                  !(type == AVMEDIA_TYPE_VIDEO && isMatroska); // where it would be a second video
    const bool isDescribed = type != AVMEDIA_TYPE_AUDIO || from.codecpar->sample_rate > 0;
    if (isSecondVideo || !hasPlace || !isDescribed) {
        const std::string ending = mContainer.ending;
        const std::string reason = isSecondVideo  ? "one video is written"
                                   : !isDescribed ? "the input says too little of it"
                                                  : "." + ending + " has no place for it";
        warn("stream " + std::to_string(from.index) + ", " + kindOf(from) + " (" +
             avcodec_get_name(codec) + "), is left out: " + reason);
        return;
    }
    AVStream* to = avformat_new_stream(mMuxer.get(), nullptr);
    if (to == nullptr) {
        throw std::bad_alloc();
    }
    check(avcodec_parameters_copy(to->codecpar, from.codecpar));
    to->codecpar->codec_tag = 0;
    to->time_base = from.time_base;
    to->disposition = from.disposition;
    to->duration = from.duration;
    copyMetadata(&to->metadata, from.metadata);
    for (int i = 0; i < from.nb_side_data; ++i) {
        const AVPacketSideData& data = from.side_data[i];
        std::uint8_t* copy = av_stream_new_side_data(to, data.type, data.size);
        if (copy != nullptr) {
            std::memcpy(copy, data.data, data.size);
        }
    }
    mStreams[from.index] = to->index;
}

void VideoWriter::copyChapters() {
    const AVFormatContext& from = *mSource.container;
    if (from.nb_chapters == 0) {
        return;
    }
    mMuxer->chapters = static_cast<AVChapter**>(av_calloc(from.nb_chapters, sizeof(void*)));
    for (unsigned i = 0; mMuxer->chapters != nullptr && i < from.nb_chapters; ++i) {
        auto* chapter = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
        if (chapter == nullptr) {
            throw std::bad_alloc();
        }
        *chapter = *from.chapters[i];
        const std::int64_t start = av_rescale_q(mStart, microseconds, chapter->time_base);
        chapter->start -= start;
        chapter->end -= start;
        chapter->metadata = nullptr;
        copyMetadata(&chapter->metadata, from.chapters[i]->metadata);
        mMuxer->chapters[mMuxer->nb_chapters++] = chapter;
    }
}

// The time code of the clip's first frame becomes that of a later one.
void VideoWriter::advanceTimecode(AVDictionary*& metadata, std::int64_t frames) const {
    const AVDictionaryEntry* entry = av_dict_get(metadata, "timecode", nullptr, 0);
    AVTimecode code;
    if (entry == nullptr || av_timecode_init_from_string(&code, rational(mSource.frameRate),
                                                         entry->value, nullptr) < 0) {
        return;
    }
    std::array<char, AV_TIMECODE_STR_SIZE> text{};
    av_timecode_make_string(&code, text.data(), static_cast<int>(frames));
    av_dict_set(&metadata, "timecode", text.data(), 0);
}

void VideoWriter::writePacket(const ClipPacket& item) {
    const auto index = static_cast<std::size_t>(item.packet->stream_index);
    const auto found = mStreams.find(item.packet->stream_index);
    if (found == mStreams.end()) {
        if (index >= mUnits.size() && !mPartial && !std::exchange(mHasLateStream, true)) {
            warn("stream " + std::to_string(index) +
                 ", which begins in the middle of the input, is left out");
        }
        return;
    }
    auto packet = owned(av_packet_clone(item.packet.get()));
    const AVRational from = mUnits[index];
    const std::int64_t start = av_rescale_q(mStart, microseconds, from);
    packet->pts -= packet->pts == AV_NOPTS_VALUE ? 0 : start;
    packet->dts -= packet->dts == AV_NOPTS_VALUE ? 0 : start;
    packet->stream_index = found->second;
    packet->pos = -1;
    av_packet_rescale_ts(packet.get(), from, mMuxer->streams[found->second]->time_base);
    mux(*packet);
}

} // namespace Vexorel::PrismDrift::Host
