#pragma once

/// Which of FFmpeg's formats and decoders are used. Internal to the media library.

#include <string>

extern "C" {
#include <libavcodec/codec_id.h>
}

namespace Vexorel::PrismDrift::Host {

/// The names of all formats but those that draw a text, play a list of other files, run a program
/// or go out to a network; as a list for FFmpeg's option of that name.
const std::string& formatWhitelist();

/// Whether the codec is used. Not those of drawings and texts, and not those whose pictures FFmpeg
/// shows wrong.
bool isDecoded(AVCodecID codec);

/// The names of the decoders that FFmpeg may use to learn what a file holds, as a list for its
/// option codec_whitelist. Its look ahead has no limits, and the frames of picture codecs need
/// none.
const std::string& probedCodecs();

} // namespace Vexorel::PrismDrift::Host
