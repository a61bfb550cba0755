#include "Shared/GL/MessageSink.h"

#include <atomic>
#include <iostream>

namespace Vexorel::PrismDrift {
namespace {

void writeToStandardOutput(const std::string& text) {
    std::cout << text << std::flush;
}

std::atomic<MessageSink> gSink{&writeToStandardOutput};

} // namespace

void setMessageSink(MessageSink sink) {
    gSink = sink;
}

void writeMessage(const std::string& text) {
    const MessageSink sink = gSink;
    if (sink != nullptr) {
        sink(text);
    }
}

} // namespace Vexorel::PrismDrift
