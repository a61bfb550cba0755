#pragma once

/// Still pictures in files, read into worlds and written from them by OpenImageIO and by FFmpeg's
/// libraries.

#include "Host/Library/Depth.h"
#include "Host/Library/World.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct AVFrame;

namespace Vexorel::PrismDrift::Host {

class Error;
struct StillExtras;

struct Picture {
    World world; ///< of 8 bits, or of floats
    /// The ICC profile of its colours, empty for none. Profiles of other colours than RGB are not
    /// kept.
    std::vector<std::uint8_t> colorProfile;
    /// What its file says of it beside the pixels, in FFmpeg's form; null for a picture that is not
    /// from a file.
    std::shared_ptr<const AVFrame> source = nullptr;
    /// Of its file; the world may have more, or 8 bits only.
    Depth depth = {};
    /// Whether the world's colours are multiplied by alpha. Those of 8 bits never are.
    bool isAssociated = false;
    /// The library and the format that its file was read by: "OpenImageIO, tiff". Empty for a
    /// picture that is not from a file.
    std::string readBy = {};
    /// What OpenImageIO has read of its file beside the pixels, for files that it writes; or null.
    std::shared_ptr<const StillExtras> extras = nullptr;
};

/// What to read of a picture's file.
struct PictureRequest {
    WorldDepth worlds = WorldDepth::Bits8;
    /// Of a file with several layers, the one whose channels begin with this name and a point, or
    /// the part of this name. Empty for the main colours. One that is not there is an error.
    std::string layer = {};
};

/// How a picture is written.
struct PictureOutput {
    std::string ending = {}; ///< of the format to write; empty for that of the file's name
    /// What to write where the format can; otherwise, and where the format can't, the nearest to
    /// what the world and the picture's own file have.
    std::optional<Depth> depth = {};
    bool dithers = false; ///< where a world of floats goes into 8 bits
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
Picture readPicture(const std::filesystem::path& file, const ReadLimits& limits = {},
                    const PictureRequest& request = {});

/// Throws Error unless the file's name ends in a format that can be written.
void checkPictureName(const std::filesystem::path& file);

/// Throws Error where the format of the name's ending has no room for so large a picture.
void checkPictureSize(const std::filesystem::path& file, int width, int height);

/// Writes the picture: JPEG at high quality, the other formats without loss. The file appears whole
/// or not at all. Returns a line for each thing of the picture that got lost. Throws Error.
std::vector<std::string> writePicture(const std::filesystem::path& file, const Picture& picture,
                                      const PictureOutput& output = {});

/// A picture as the bytes of a file.
struct EncodedPicture {
    std::vector<std::uint8_t> bytes;
    std::vector<std::string> losses; ///< a line for each thing that got lost
};

/// Throws Error, with the reason alone, for an ending that no format has, too.
EncodedPicture encodedPicture(const Picture& picture, const PictureOutput& output);

/// The ending of the file's name in lower case, without the point: "png".
std::string endingOf(const std::filesystem::path& file);

/// Whether pictures with such an ending, of either case, can be written.
bool isPictureEnding(const std::string& ending);

/// All such endings, for messages: ".png, .jpg".
std::string pictureEndings();

} // namespace Vexorel::PrismDrift::Host
