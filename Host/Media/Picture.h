#pragma once

/// Still pictures in files, read into worlds and written from them by FFmpeg's libraries.

#include "Host/Library/World.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

struct AVFrame;

namespace Vexorel::PrismDrift::Host {

struct Picture {
    World world;
    /// The ICC profile of its colours, empty for none; only profiles of RGB colours are kept.
    std::vector<std::uint8_t> colorProfile;
    /// What its file says of it beside the pixels, as FFmpeg keeps it; null for none.
    std::shared_ptr<const AVFrame> source = nullptr;
};

/// Reads the first picture of a local file, whole; it may be written to afterwards. Alpha is kept,
/// and opaque where the file has none; a picture that is to be turned to stand upright is turned.
/// Throws Error, which names the file and the reason; a picture
/// that breaks off is an error.
Picture readPicture(const std::filesystem::path& file);

/// The bits of the deepest channel of the picture's file, 8 where that isn't known.
int depthOf(const Picture& picture);

/// Throws Error unless the file's name ends in a format that can be written.
void checkPictureName(const std::filesystem::path& file);

/// Throws Error where the format of the name's ending has no room for so large a picture.
void checkPictureSize(const std::filesystem::path& file, int width, int height);

/// Writes the picture in the format of the name's ending, JPEG at high quality and the others
/// without loss; the file appears whole or not at all. Gives a warning, in one line, where
/// something of the picture got lost, else an empty text. Throws Error.
/// `ending` says the format in its stead, without the point.
std::string writePicture(const std::filesystem::path& file, const Picture& picture,
                         const std::string& ending = "");

/// The same by the ending alone, "png" for one. `encodedPicture` gives the bytes of a file and
/// throws Error.
bool isPictureEnding(const std::string& ending);
std::string pictureEndings(); ///< all, for messages: ".png, .jpg"
bool pictureKeepsAlpha(const std::string& ending);
std::vector<std::uint8_t> encodedPicture(const std::string& ending, const Picture& picture);

} // namespace Vexorel::PrismDrift::Host
