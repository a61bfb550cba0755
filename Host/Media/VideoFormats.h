#pragma once

/// The containers and codecs that clips are written in, and what suits a clip best. Internal to the
/// media library.

#include "Host/Media/Clip.h"
#include "Host/Media/FFmpeg.h"
#include "Host/Media/HdrMetadata.h"

#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct VideoCodec {
    const char* name; ///< as the user writes it
    const char* encoder;
    /// The formats to choose from, the first for a clip of RGB pixels without alpha. Those of more
    /// than 8 bits follow, in the same order. Empty: all that pixels can be converted to.
    std::vector<AVPixelFormat> formats = {};
    const char* options = "";               ///< as "key=value:key=value"
    const char* parametersOption = nullptr; ///< takes parameters of the encoder's own library
    const char* parameters = "";            ///< of that library, in the same form
    const char* masteringDisplay = nullptr; ///< its names for what HDR pictures were mastered on,
    const char* contentLight = nullptr;     ///< and for how bright they get
    const char* qualityOption = nullptr;    ///< null for a codec that has no quality to choose
    double worst = 0, best = 0;             ///< its values at qualities 0 and 100
    const char* presetOption = nullptr;     ///< null for a codec without presets
    std::vector<const char*> presets = {};  ///< from the fastest on
    bool saysRange = true;                  ///< false: readers assume the limited range
    /// Has a field for the chroma location of 4:2:0, and readers go by nothing else.
    bool saysChroma = false;
};

struct Container {
    const char* name; ///< FFmpeg's name of the format
    const char* ending;
    std::vector<const char*> codecs; ///< the first is the default
    const char* alphaCodec;          ///< for a clip with alpha
    const char* deepCodec;           ///< for a clip of more than 8 bits
    bool saysColours = true;         ///< has a field for the matrix of YUV
    bool saysRange = true;           ///< has a field for the range of YUV
    bool saysHdr = true;             ///< has fields for what HDR pictures were mastered on
    bool countsFrames = false;       ///< has a frame rate, and no time for each frame
    bool saysChroma = false;         ///< has a field for the usual chroma locations of 4:2:0
    bool tagsRawFormats = false;     ///< names raw pixels' format by FFmpeg's tag, if it has one
};

/// The container for an ending or a format's name, null for none.
const Container* containerFor(const std::string& endingOrName);

/// ".mp4, .mov, …" of all containers.
std::string containerEndings();

/// The codec of the name `wanted`. Where that is empty: the clip's own if the container takes it
/// and it keeps the alpha and more than 8 bits, else one that keeps the alpha, else one that keeps
/// more than 8 bits, else the container's default. Throws Error with the codecs that the container
/// takes.
const VideoCodec& chooseCodec(const Container& container, const std::string& wanted,
                              AVCodecID ownCodec, bool alpha, const Depth& depth = {});

/// Throws ClipError for the name of a pixel format that the codec of this name doesn't take, or for
/// an empty one none of the container's codecs.
void checkPixelFormat(const Container& container, const std::string& codec,
                      const std::string& wanted);

/// Throws ClipError for an encoder preset that the codec of this name doesn't have, or for an empty
/// one none of the container's codecs.
void checkEncoderPreset(const Container& container, const std::string& codec,
                        const std::string& wanted);

/// Throws ClipError for an encoder preset that the codec doesn't have, unless it has none at all.
void checkEncoderPreset(const VideoCodec& codec, const std::string& wanted);

/// The pixel format of the name `wanted`. Where that is empty: of the clip's own layout if the
/// codec has it, else of the nearest, with alpha if the clip has it and the codec can; and of this
/// depth, else the next greater one, else the greatest. Throws Error for one that the
/// container, the codec or the converter doesn't take.
AVPixelFormat choosePixelFormat(const Container& container, const VideoCodec& codec,
                                const std::string& wanted, const AVFrame& source,
                                const Depth& depth = {});

/// Where readers of the output will take the chroma of this format and range to lie: where the
/// clip's lies, if the output can say so.
AVChromaLocation writtenChroma(const VideoCodec& codec, const Container& container,
                               AVPixelFormat format, AVColorRange range, AVChromaLocation clips);

/// Whether the codec takes this format at even sides only, and one of these is odd.
bool needsEvenSides(const VideoCodec& codec, AVPixelFormat format, int width, int height);

/// The encoder's options for a quality from 0 to 100, a preset, if that isn't empty, and pictures
/// that were mastered so.
std::string encoderOptions(const VideoCodec& codec, double quality, const std::string& preset,
                           const HdrMetadata& hdr = {});

constexpr double defaultQuality = 75;

} // namespace Vexorel::PrismDrift::Host
