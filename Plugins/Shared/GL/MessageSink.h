#pragma once

/// Where the plug-in's own messages go: the description of each new context, shader errors.

#include <string>

namespace Vexorel::PrismDrift {

/// Receives one piece of text at a time, line ends included. May be called on any thread that
/// renders, by one thread at a time.
using MessageSink = void (*)(const std::string& text);

/// Sends all further messages to `sink`; with null they are dropped. Until the first call they go
/// to standard output, flushed after each piece. A module whose host owns standard output sets
/// null before its first command.
void setMessageSink(MessageSink sink);

void writeMessage(const std::string& text);

} // namespace Vexorel::PrismDrift
