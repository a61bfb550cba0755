#include "Host/Stills/WriteStill.h"

#include "Host/Library/AssociatedAlpha.h"
#include "Host/Library/Error.h"
#include "Host/Stills/PartOfWorld.h"
#include "Host/Stills/StillExtras.h"
#include "Host/Stills/TemporaryFile.h"

#include <OpenImageIO/filesystem.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

TypeDesc typeFor(const Depth& depth) {
    if (depth.isFloat) {
        return depth.bits > halfFloats.bits ? TypeDesc::FLOAT : TypeDesc::HALF;
    }
    return depth.isDeep() ? TypeDesc::UINT16 : TypeDesc::UINT8;
}

// A file to be written: its parts, of which one takes the world's colours.
struct NewStill {
    std::vector<StoredPart> parts;
    std::size_t chosen = 0;
    ColourChannels colours;
};

std::string nameIn(const std::string& layer, const char* channel) {
    return layer.empty() ? channel : layer + "." + channel;
}

// One part with the colours alone.
NewStill plainStill(const World& world, TypeDesc type, bool hasAlpha) {
    NewStill still;
    still.colours.argb = {hasAlpha ? 3 : -1, 0, 1, 2};
    ImageSpec spec(world.width(), world.height(), hasAlpha ? 4 : 3, type);
    spec.alpha_channel = hasAlpha ? 3 : -1;
    still.parts.push_back({spec, StoredBytes(spec.image_bytes(true))});
    return still;
}

// The stored pixels in a larger or smaller window, those that are missing all zero.
StoredPart inWindow(const StoredPart& part, const Window& window) {
    StoredPart result{part.spec, {}};
    result.spec.x = window.x;
    result.spec.y = window.y;
    result.spec.width = window.width;
    result.spec.height = window.height;
    result.pixels.resize(result.spec.image_bytes(true));
    const Window both = common(part.data(), window);
    const std::size_t step = storedPixelBytes(part.spec);
    for (int y = both.y; y < both.y + both.height; ++y) {
        const std::byte* from =
            part.row(y - part.spec.y) + step * static_cast<std::size_t>(both.x - part.spec.x);
        std::copy_n(from, step * static_cast<std::size_t>(both.width),
                    result.row(y - window.y) + step * static_cast<std::size_t>(both.x - window.x));
    }
    return result;
}

// Where its own channels can't take the colours: without those, with red, green, blue and alpha of
// the type.
StoredPart withColours(const StoredPart& part, const std::string& layer, TypeDesc type,
                       bool hasAlpha, ColourChannels& colours) {
    StoredPart result = part;
    ImageSpec& spec = result.spec;
    spec.channelnames = {nameIn(layer, "R"), nameIn(layer, "G"), nameIn(layer, "B")};
    if (hasAlpha) {
        spec.channelnames.push_back(nameIn(layer, "A"));
    }
    spec.channelformats.assign(spec.channelnames.size(), type);
    std::vector<int> kept;
    for (int i = 0; i < part.spec.nchannels; ++i) {
        if (!colours.has(i)) {
            kept.push_back(i);
            spec.channelnames.push_back(part.spec.channelnames[static_cast<std::size_t>(i)]);
            spec.channelformats.push_back(part.spec.channelformat(i));
        }
    }
    const int own = hasAlpha ? 4 : 3;
    colours.argb = {hasAlpha ? 3 : -1, 0, 1, 2};
    spec.nchannels = static_cast<int>(spec.channelnames.size());
    spec.alpha_channel = colours.argb[0];
    result.pixels.assign(spec.image_bytes(true), std::byte{});
    for (std::size_t pixel = 0; pixel < spec.image_pixels(); ++pixel) {
        const std::byte* from = part.pixels.data() + pixel * storedPixelBytes(part.spec);
        std::byte* to = result.pixels.data() + pixel * storedPixelBytes(spec);
        for (std::size_t i = 0; i < kept.size(); ++i) {
            std::copy_n(from + offsetOf(part.spec, kept[i]),
                        part.spec.channelformat(kept[i]).size(),
                        to + offsetOf(spec, own + static_cast<int>(i)));
        }
    }
    return result;
}

// The parts and channels of the file that the picture is from, whose colours are replaced.
NewStill layeredStill(const StillPicture& picture, TypeDesc type) {
    const StillExtras& extras = *picture.extras;
    NewStill still{extras.parts, static_cast<std::size_t>(extras.chosen.part),
                   extras.chosen.colours};
    StoredPart& part = still.parts[still.chosen];
    const Window frame = part.frame();
    const Window window = common(part.data(), frame);
    const bool isWhole = window == frame || !isEmptyOutside(picture.world, frame, window);
    part = inWindow(part, isWhole ? frame : window);
    const bool hadAlpha = still.colours.hasAlpha();
    const bool gainsAlpha = !hadAlpha && isWhole && isTransparent(picture.world);
    if (gainsAlpha || part.spec.channelformat(still.colours.argb[1]) != type ||
        (still.colours.isGray() && !isGrayWorld(picture.world))) {
        part = withColours(part, extras.layer, type, hadAlpha || gainsAlpha, still.colours);
    }
    return still;
}

bool hasLayers(const StillPicture& picture, const StillFormat& format) {
    return picture.extras != nullptr && picture.extras->format == format.format &&
           std::string(format.format) == "openexr" && !picture.extras->part().pixels.empty() &&
           picture.extras->part().frame().width == picture.world.width() &&
           picture.extras->part().frame().height == picture.world.height();
}

void writePart(ImageOutput& output, const StoredPart& part) {
    if (!output.write_image(OIIO::TypeUnknown, part.pixels.data())) {
        throwErrorOf(output, "its pixels can't be written");
    }
}

void writeParts(ImageOutput& output, const std::string& name,
                const std::vector<StoredPart>& parts) {
    std::vector<ImageSpec> specs;
    std::transform(parts.begin(), parts.end(), std::back_inserter(specs),
                   [](const StoredPart& part) { return part.spec; });
    const bool isOpen = specs.size() == 1
                            ? output.open(name, specs[0])
                            : output.open(name, static_cast<int>(specs.size()), specs.data());
    if (!isOpen) {
        throwErrorOf(output, "the format doesn't take such a picture");
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0 && !output.open(name, specs[i], ImageOutput::AppendSubimage)) {
            throwErrorOf(output, "the format doesn't take so many parts");
        }
        writePart(output, parts[i]);
    }
    if (!output.close()) {
        throwErrorOf(output, "the file can't be finished");
    }
}

std::vector<std::uint8_t> bytesOf(const std::string& format, const std::vector<StoredPart>& parts) {
    const auto output = ImageOutput::create(format);
    if (output == nullptr) {
        throw Error("OpenImageIO has no writer for " + format + " (" + tidied(OIIO::geterror()) +
                    ")");
    }
    // A TIFF with EXIF comes broken from memory, and several parts go past it.
    if (output->supports("ioproxy") == 0 || format == "tiff" || parts.size() > 1) {
        const TemporaryFile file;
        writeParts(*output, file.name(), parts);
        return file.bytes();
    }
    OIIO::Filesystem::IOVecOutput bytes;
    if (!output->set_ioproxy(&bytes)) {
        throwErrorOf(*output, "it can't be written into memory");
    }
    writeParts(*output, "still." + format, parts);
    return std::move(bytes.buffer());
}

// Fills the rows of a DPX up to whole words of 32 bits, as the format says and readers expect, of
// which some can't read the file otherwise. OpenImageIO leaves that out.
void fillRows(const ImageSpec& spec, int bits, std::vector<std::uint8_t>& file) {
    constexpr std::size_t word = 4;
    constexpr std::size_t sizeAt = 16;
    constexpr std::size_t pixelsAt = 808;
    constexpr std::size_t paddingAt = 812;
    const std::size_t rowBytes = static_cast<std::size_t>(spec.width) *
                                 static_cast<std::size_t>(spec.nchannels) * (bits > 8 ? 2 : 1);
    const std::size_t padding = (word - rowBytes % word) % word;
    if (bits == 10 || bits == 12 || padding == 0) { // those stand in words
        return;
    }
    const bool isBigEndian = file[0] == 'S';
    const auto place = [&](std::size_t at, std::size_t i) -> std::uint8_t& {
        return file[at + (isBigEndian ? word - 1 - i : i)];
    };
    const auto set = [&](std::size_t at, std::size_t value) {
        for (std::size_t i = 0; i < word; ++i) {
            place(at, i) = static_cast<std::uint8_t>(value >> 8 * i);
        }
    };
    std::size_t pixels = 0;
    for (std::size_t i = 0; i < word; ++i) {
        pixels |= std::size_t{place(pixelsAt, i)} << 8 * i;
    }
    const auto begin = file.cbegin() + static_cast<std::ptrdiff_t>(pixels);
    std::vector<std::uint8_t> filled(file.cbegin(), begin);
    for (int y = 0; y < spec.height; ++y) {
        const auto row = begin + static_cast<std::ptrdiff_t>(rowBytes) * y;
        filled.insert(filled.end(), row, row + static_cast<std::ptrdiff_t>(rowBytes));
        filled.resize(filled.size() + padding);
    }
    file = std::move(filled);
    set(paddingAt, padding);
    set(sizeAt, file.size());
}

// What the written file says of itself; nothing where that takes a file.
std::optional<ImageSpec> writtenSpec(const std::string& format,
                                     const std::vector<std::uint8_t>& bytes) {
    const auto input = ImageInput::create(format);
    if (input == nullptr || input->supports("ioproxy") == 0) {
        return std::nullopt;
    }
    OIIO::Filesystem::IOMemReader reader(bytes.data(), bytes.size());
    input->set_ioproxy(&reader);
    ImageSpec spec;
    if (!input->open("still." + format, spec)) {
        throwErrorOf(*input, "what was written can't be read");
    }
    input->close();
    return spec;
}

// How a part is packed: as it was in its file, but never with a loss, which each writing would add
// to, and in its full size alone.
void pack(ImageSpec& spec, const char* usual, bool keeps) {
    const std::string own = spec.get_string_attribute("compression");
    constexpr std::array lossless = {"none", "rle", "zip", "zips", "piz"};
    if (!keeps || std::find(lossless.begin(), lossless.end(), own) == lossless.end()) {
        spec.attribute("compression", usual);
        spec.erase_attribute("openexr:dwaCompressionLevel");
    }
    for (const char* name : {"openexr:levelmode", "openexr:roundingmode", "textureformat"}) {
        spec.erase_attribute(name);
    }
}

// What to write into, and what of its depth gets lost.
Depth writtenDepth(const StillFormat& format, const StillPicture& picture,
                   const std::optional<Depth>& depth, std::vector<std::string>& losses) {
    const bool isDeep = picture.world.format() == PF_PixelFormat_ARGB128;
    const Depth own = isDeep ? picture.depth : Depth();
    const Depth written = nearestDepth(format, depth.value_or(own));
    const std::string loss = depthLoss(format.name, written, depth, own);
    if (!loss.empty()) {
        losses.push_back(loss);
    }
    return written;
}

bool isFormat(const StillFormat& format, std::string_view name) {
    return format.format == name;
}

// How the colours are written, and what of them gets lost however deep the file is.
ColourSteps colourSteps(const StillPicture& picture, const StillFormat& format,
                        const Depth& written, std::vector<std::string>& losses) {
    ColourSteps steps{picture.isAssociated, format.alpha};
    steps.bits = written.isFloat ? 0 : written.bits;
    if (picture.isAssociated && written.isFloat && format.alpha == Alpha::Straight) {
        steps.wanted = Alpha::Associated; // which a TIFF can be, and stays
    }
    if (picture.isAssociated && steps.wanted == Alpha::Straight && hasBareLight(picture.world)) {
        losses.emplace_back(bareLightLoss);
    }
    if (isFormat(format, "hdr") &&
        (picture.extras == nullptr || picture.extras->format != format.format)) {
        losses.emplace_back("Radiance HDR holds 8 bits a channel with one exponent for all three, "
                            "and nothing below 0");
    }
    return steps;
}

// What OpenImageIO's writer doesn't write, or not as it was.
void addMetadata(const StillPicture& picture, const StillFormat& format, StillFile& file) {
    if (isFormat(format, "png")) {
        addPngMetadata(picture, file.bytes);
        if (picture.extras != nullptr && picture.extras->raw.hasIptc()) {
            file.losses.emplace_back("PNG has no place for IPTC or extended XMP");
        }
    } else if (picture.extras != nullptr && isFormat(format, "jpeg")) {
        addToJpeg(picture.extras->raw, file.bytes);
    } else if (picture.extras != nullptr) {
        if (const auto spec = writtenSpec(format.format, file.bytes)) {
            addUnwritten(*picture.extras, format, *spec, file.losses);
        }
    }
}

} // namespace

StillFile encodedStill(const StillPicture& picture, const std::string& ending,
                       std::optional<Depth> depth, bool dithers) {
    const StillFormat& format = stillFormat(ending);
    StillFile file;
    const Depth written = writtenDepth(format, picture, depth, file.losses);
    const TypeDesc type = typeFor(written);
    const bool isLayered = hasLayers(picture, format);
    const bool isTransparentWorld = isTransparent(picture.world);
    NewStill still = isLayered ? layeredStill(picture, type)
                               : plainStill(picture.world, type,
                                            isTransparentWorld && format.alpha != Alpha::None);
    if (isTransparentWorld && format.alpha == Alpha::None) {
        file.losses.push_back(std::string(format.name) + " has no transparency: the alpha is lost");
    }
    StoredPart& part = still.parts[still.chosen];
    ColourSteps steps = colourSteps(picture, format, written, file.losses);
    steps.dithers = dithers;
    if (steps.wanted == Alpha::Straight) {
        part.spec.attribute("oiio:UnassociatedAlpha", 1);
    }
    store(picture.world, still.colours, steps, part);
    if (!written.isFloat) {
        part.spec.attribute("oiio:BitsPerSample", written.bits);
    }
    for (StoredPart& packed : still.parts) {
        pack(packed.spec, format.compression, isLayered);
    }
    if (isFormat(format, "jpeg")) {
        part.spec.attribute("jpeg:subsampling", "4:4:4");
    }
    carryMetadata(picture, format, part.spec, file.losses);
    file.bytes = bytesOf(format.format, still.parts);
    if (file.bytes.empty()) {
        throw Error("OpenImageIO has written nothing");
    }
    if (isFormat(format, "dpx")) {
        fillRows(part.spec, written.bits, file.bytes);
    }
    addMetadata(picture, format, file);
    return file;
}

} // namespace Vexorel::PrismDrift::Host
