#pragma once

/// Still pictures in files, read into worlds and written from them by FFmpeg's libraries.

#include "Host/Library/World.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct AVFrame;

namespace Vexorel::PrismDrift::Host {

class Error;

struct Picture {
    World world;
    /// The ICC profile of its colours, empty for none. Profiles of other colours than RGB are not
    /// kept.
    std::vector<std::uint8_t> colorProfile;
    /// What its file says of it beside the pixels, in FFmpeg's form; null for a picture that is not
    /// from a file.
    std::shared_ptr<const AVFrame> source = nullptr;
};

/// What a picture may take of the machine, however small its file is.
struct ReadLimits {
    std::int64_t pixels = std::int64_t{16384} * 16384; ///< more are an error
    /// Bytes of texts, profiles and the like, unpacked. What goes beyond them is left out.
    std::int64_t metadata = std::int64_t{4} << 20;
    /// Once it is set, from any thread, a wait for a pipe gives up as soon as a signal ends it.
    /// Null for none.
    const std::atomic<bool>* isStopped = nullptr;
    /// Called with what was left out, while a picture is read and on the same thread.
    std::function<void(const Error&)> warn = nullptr;
};

/// Reads the first picture of a local file, whole: the file may be written to afterwards. A picture
/// without alpha is opaque. One that is stored lying is turned upright. Throws Error, which names
/// the file and the reason; a picture that breaks off is an error.
Picture readPicture(const std::filesystem::path& file, const ReadLimits& limits = {});

/// The bits of the deepest channel of the picture's file, 8 where that isn't known.
int depthOf(const Picture& picture);

/// Throws Error unless the file's name ends in a format that can be written.
void checkPictureName(const std::filesystem::path& file);

/// Throws Error where the format of the name's ending has no room for so large a picture.
void checkPictureSize(const std::filesystem::path& file, int width, int height);

/// Writes the picture in the format of the name's ending, or of `ending` where one is given: JPEG
/// at high quality, the others without loss. The file appears whole or not at all. Returns a
/// warning, in one line, where something of the picture got lost, else an empty text. Throws Error.
std::string writePicture(const std::filesystem::path& file, const Picture& picture,
                         const std::string& ending = "");

/// The ending of the file's name in lower case, without the point: "png".
std::string endingOf(const std::filesystem::path& file);

/// Whether pictures with such an ending, of either case, can be written.
bool isPictureEnding(const std::string& ending);

/// All such endings, for messages: ".png, .jpg".
std::string pictureEndings();

bool pictureKeepsAlpha(const std::string& ending);

/// The bytes of a file with such an ending. Throws Error.
std::vector<std::uint8_t> encodedPicture(const std::string& ending, const Picture& picture);

} // namespace Vexorel::PrismDrift::Host
