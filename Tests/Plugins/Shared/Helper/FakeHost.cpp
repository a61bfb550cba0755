#include "FakeHost.h"

#include <cstdarg>
#include <cstdio>

namespace {

FakeHost* sHost = nullptr;

std::string key(const char* name, std::int32_t version) {
    return std::string(name) + " " + std::to_string(version);
}

std::int32_t acquire(const char* name, std::int32_t version, void** suite) {
    sHost->calls.push_back("acquire " + key(name, version));
    const auto found = sHost->suites.find(key(name, version));
    if (found == sHost->suites.end()) {
        return 1;
    }
    const FakeHost::Answer& answer = found->second;
    if (answer.fills) {
        *suite = answer.suite;
    }
    sHost->held += answer.suite != nullptr && answer.result == 0 ? 1 : 0;
    return answer.result;
}

std::int32_t release(const char* name, std::int32_t version) {
    sHost->calls.push_back("release " + key(name, version));
    --sHost->held;
    return 1; // a host's complaint, which nobody is to look at
}

int print(char* buffer, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsprintf(buffer, format, arguments);
    va_end(arguments);
    return length;
}

} // namespace

FakeHost::FakeHost() : basic{acquire, release} {
    sHost = this;
    utils.ansi.sprintf = print;
    in.utils = &utils;
    in.pica_basicP = &basic;
    out.out_flags = 1; // a flag that was there before
}

FakeHost::~FakeHost() {
    sHost = nullptr;
}
