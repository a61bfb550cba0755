#pragma once

/// Still pictures in files, read into worlds and written from them by OpenImageIO. Its library
/// takes long to load, so all of this is in a module, prismdrift_stills.so, that the media library
/// loads when a picture needs it.

#include "Host/Library/Depth.h"
#include "Host/Library/World.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// What a file has beside its colours: texts and numbers, further channels, further parts.
struct StillExtras;

struct Still {
    World world; ///< upright; of 8 bits, or of floats; empty where no pixels are wanted
    Depth depth; ///< of the file
    /// Whether the colours of a world of floats are multiplied by alpha, as the file has them.
    bool isAssociated = false;
    bool hasAlpha = false; ///< in the file
    std::vector<std::uint8_t> colorProfile = {};
    /// The colours' primaries and their curve by the numbers of ITU-T H.273; 2 where nothing is
    /// known, 0 for others than those that have a number.
    int primaries = 2, transfer = 2;
    float pixelAspect = 1; ///< a pixel's width by its height
    int orientation = 1;   ///< of the file, by EXIF's numbers
    std::shared_ptr<const StillExtras> extras = nullptr;
};

/// What to warn of where a picture's profile isn't one of RGB.
constexpr const char* otherProfile =
    "its colour profile, which isn't one of RGB colours, is left out";

struct StillRequest {
    std::filesystem::path file;
    std::string format; ///< by OpenImageIO's names: "tiff"
    /// What stands in for the file's bytes, where the format can be read from memory.
    const std::vector<std::uint8_t>* bytes = nullptr;
    bool hasPixels = true; ///< false for what the file has beside them
    WorldDepth worlds = WorldDepth::Bits8;
    std::string layer = {}; ///< of its channels, or one of its parts; empty for the main colours
    /// Throws for more pixels than may be read. Called before any is unpacked.
    std::function<void(int width, int height)> checkSize;
    std::int64_t mostBytes = 0; ///< that all channels of all parts may take, unpacked
    std::int64_t metadata = 0;  ///< bytes of texts, profiles and the like; more are left out
    std::function<void()> warnOfMetadata;         ///< called where some were left out
    std::function<void(const std::string&)> warn; ///< what else isn't in the world, in words
};

/// What is written into a still's file.
struct StillPicture {
    const World& world;
    Depth depth; ///< of its own file
    bool isAssociated = false;
    const std::vector<std::uint8_t>& colorProfile;
    const StillExtras* extras = nullptr; ///< null for none
};

struct StillFile {
    std::vector<std::uint8_t> bytes;
    std::vector<std::string> losses; ///< a line for each thing that got lost
};

/// What the module does. The functions throw Error with the reason alone.
struct StillFunctions {
    Still (*readStill)(const StillRequest& request);
    /// The picture as the bytes of a file of the format that the ending names, of this depth where
    /// the format has it; else of the nearest, or where it is not set, of the nearest to what the
    /// world and the picture's own file have.
    StillFile (*encodedStill)(const StillPicture& picture, const std::string& ending,
                              std::optional<Depth> depth, bool dithers);
    /// A line for each thing of the extras that a file without any of them loses.
    std::vector<std::string> (*lossesIn)(const StillExtras& extras, const std::string& name);
    std::string (*stillsVersion)();
};

/// The module's only symbol, `prismdriftStills`.
using StillEntry = const StillFunctions* (*)();

} // namespace Vexorel::PrismDrift::Host
