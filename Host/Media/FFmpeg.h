#pragma once

/// Owners for the objects of FFmpeg's libraries, and what their errors mean. Internal to the media
/// library.

#include "Host/Media/Clip.h"

#include <cstring>
#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace Vexorel::PrismDrift::Host {

inline AVRational rational(const Ratio& ratio) {
    return {ratio.numerator, ratio.denominator};
}

/// The unit that the libraries state a file's own times in.
constexpr AVRational microseconds = {1, AV_TIME_BASE};

/// A number that stands in a file, as one of the first `count` values of its enumeration, else
/// `unknown`. Any other may not be loaded as what FFmpeg declares it to be.
template <typename Enumeration>
Enumeration knownOr(Enumeration unknown, const Enumeration& field, Enumeration count) {
    int number = 0;
    static_assert(sizeof number == sizeof field);
    std::memcpy(&number, &field, sizeof number);
    return number >= 0 && number < static_cast<int>(count) ? field : unknown;
}

struct FFmpegDeleter {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

template <typename Type>
using FFmpegPtr = std::unique_ptr<Type, FFmpegDeleter>;

/// Throws std::bad_alloc for a null pointer, which is how the libraries report a lack of memory.
template <typename Type>
FFmpegPtr<Type> owned(Type* object) {
    if (object == nullptr) {
        throw std::bad_alloc();
    }
    return FFmpegPtr<Type>(object);
}

/// Owns names and their values, such as options for one of the libraries.
class Dictionary {
public:
    Dictionary() = default;
    /// From "name=value:name=value".
    explicit Dictionary(const std::string& text); ///< throws as checkResult does
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;
    ~Dictionary() { av_dict_free(&mEntries); }

    void set(const char* name, const std::string& value);
    bool has(const char* name) const;

    /// For a call that takes what it knows out of the dictionary.
    AVDictionary** pointer() { return &mEntries; }

    /// Throws Error if such a call left anything.
    void checkAllTaken() const;

private:
    AVDictionary* mEntries = nullptr;
};

/// Keeps the first error that the libraries log on this thread after the call, but for those of
/// metadata. They log in words what their results only number. From the first call in the process
/// on they print nothing.
void keepFirstLoggedError();

/// That error, empty for none.
const std::string& firstLoggedError();

/// The first of what a file asks for and they have logged not to have, empty for nothing. They go
/// on without it in places.
const std::string& loggedMissingFeature();

/// Whether they have logged that a text or the like beside a picture is damaged.
bool hasLoggedDamagedMetadata();

/// Why a call on this thread gave `result`: the error that was logged, else the number's meaning.
std::string reasonFor(int result);

/// Throws std::bad_alloc where memory was lacking, Error with the reason for another negative
/// result.
void checkResult(int result);

} // namespace Vexorel::PrismDrift::Host
