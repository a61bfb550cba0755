#include "Host/Media/FFmpeg.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace Vexorel::PrismDrift::Host {
namespace {

thread_local std::string firstError;

void keepMessage(void* /*sender*/, int level, const char* format, va_list arguments) {
    if (level > AV_LOG_ERROR || !firstError.empty()) {
        return;
    }
    std::array<char, 512> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    firstError = line.data();
    // Advice for users of another program, and what ends a line.
    firstError.erase(std::min(firstError.find(", see the documentation"), firstError.size()));
    while (!firstError.empty() && (firstError.back() == '\n' || firstError.back() == '.')) {
        firstError.pop_back();
    }
}

} // namespace

FFmpegMessages::FFmpegMessages() {
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(&keepMessage); });
    firstError.clear();
}

std::string FFmpegMessages::reason(int code) {
    if (!firstError.empty()) {
        return firstError;
    }
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

const std::string& FFmpegMessages::firstMessage() {
    return firstError;
}

} // namespace Vexorel::PrismDrift::Host
