#include "Host/Media/FFmpeg.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <new>
#include <string_view>

namespace Vexorel::PrismDrift::Host {
namespace {

thread_local std::string firstError;
thread_local bool metadataAreDamaged = false;
thread_local std::string lastWarning, missing;

// What decoders log as an error of the texts beside a picture, which they then do without.
constexpr std::array<std::string_view, 6> ofMetadata = {
    "mjpeg: invalid TIFF header in EXIF",
    "mjpeg: error decoding EXIF",
    "unable to decode APP fields",
    "invalid TIFF header in Exif",
    "error decoding Exif",
    "Error allocating temporary buffer"}; // of TIFF's tags

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

void keepError(void* /*sender*/, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_WARNING || !firstError.empty()) {
        return;
    }
    if (startsWith(format, " is not implemented.") && missing.empty() &&
        !startsWith(lastWarning, "TIFF tag type")) { // that is one of EXIF's
        missing = lastWarning;
        return;
    }
    if (startsWith(format, "Codec (%s) not on whitelist")) { // as it was told
        return;
    }
    for (const std::string_view known : ofMetadata) {
        if (startsWith(format, known)) {
            metadataAreDamaged = true;
            return;
        }
    }
    std::array<char, 512> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    if (level > AV_LOG_ERROR) {
        lastWarning = line.data();
        return;
    }
    firstError = line.data();
    // Advice for users of another program, and the end of the line.
    firstError.erase(std::min(firstError.find(", see the documentation"), firstError.size()));
    while (!firstError.empty() && (firstError.back() == '\n' || firstError.back() == '.')) {
        firstError.pop_back();
    }
}

} // namespace

Dictionary::Dictionary(const std::string& text) {
    const int result = av_dict_parse_string(&mEntries, text.c_str(), "=", ":", 0);
    if (result < 0) {
        av_dict_free(&mEntries); // no destructor runs
        checkResult(result);
    }
}

void Dictionary::set(const char* name, const std::string& value) {
    if (av_dict_set(&mEntries, name, value.c_str(), 0) < 0) {
        throw std::bad_alloc();
    }
}

void Dictionary::checkAllTaken() const {
    if (const AVDictionaryEntry* left = av_dict_get(mEntries, "", nullptr, AV_DICT_IGNORE_SUFFIX)) {
        throw Error(std::string("FFmpeg's libraries know no option '") + left->key + "' here");
    }
}

bool Dictionary::has(const char* name) const {
    return av_dict_get(mEntries, name, nullptr, 0) != nullptr;
}

void keepFirstLoggedError() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(&keepError); });
    firstError.clear();
    metadataAreDamaged = false;
    missing.clear();
}

const std::string& firstLoggedError() {
    return firstError;
}

const std::string& loggedMissingFeature() {
    return missing;
}

bool hasLoggedDamagedMetadata() {
    return metadataAreDamaged;
}

std::string reasonFor(int result) {
    if (!firstError.empty()) {
        return firstError;
    }
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(result, text.data(), text.size());
    return text.data();
}

void checkResult(int result) {
    if (result == AVERROR(ENOMEM)) {
        throw std::bad_alloc();
    }
    if (result < 0) {
        throw Error(reasonFor(result));
    }
}

} // namespace Vexorel::PrismDrift::Host
