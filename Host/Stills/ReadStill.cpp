#include "Host/Stills/ReadStill.h"

#include "Host/Library/AssociatedAlpha.h"
#include "Host/Library/Error.h"
#include "Host/Stills/HeifPart.h"
#include "Host/Stills/StillExtras.h"

#include <OpenImageIO/filesystem.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

// A file, opened by the reader of its format and by no other.
class OpenStill {
public:
    explicit OpenStill(const StillRequest& request) : mInput(ImageInput::create(request.format)) {
        if (mInput == nullptr) {
            throw Error("OpenImageIO has no reader for " + request.format + ": " +
                        tidied(OIIO::geterror()));
        }
        ImageSpec wishes;
        wishes.attribute("oiio:UnassociatedAlpha", 1);
        if (request.bytes != nullptr && mInput->supports("ioproxy") != 0) {
            mBytes = std::make_unique<OIIO::Filesystem::IOMemReader>(request.bytes->data(),
                                                                     request.bytes->size());
            mInput->set_ioproxy(mBytes.get());
        }
        ImageSpec first;
        if (!mInput->open(request.file.string(), first, wishes)) {
            throwErrorOf(*mInput, "it is damaged, cut off or of a kind that isn't read");
        }
    }

    ImageInput& input() { return *mInput; }

    // The parts' descriptions. A HEIF's further ones would be decoded for them.
    std::vector<ImageSpec> specs(const std::string& format) {
        std::vector<ImageSpec> specs;
        const int most = format == "heif" ? 1 : 1024;
        for (int i = 0; i < most && mInput->seek_subimage(i, 0); ++i) {
            specs.push_back(mInput->spec());
        }
        mInput->geterror(); // of the part behind the last one
        if (specs.empty()) {
            throw Error("it is damaged: it describes no picture");
        }
        return specs;
    }

private:
    std::unique_ptr<OIIO::Filesystem::IOMemReader> mBytes; // outlives the input
    ImageInput::unique_ptr mInput;
};

void warnOfFurtherPictures(std::ptrdiff_t pictures, const StillRequest& request) {
    if (pictures > 1) {
        request.warn("only the first of " + std::to_string(pictures) + " pictures is read");
    }
}

// Pages, and what else a file holds but smaller forms and masks of its first picture.
void warnOfFurtherPictures(const std::vector<ImageSpec>& specs, const StillRequest& request) {
    constexpr int smallerOrMask = 1 | 4;
    const auto count = std::count_if(specs.begin() + 1, specs.end(), [](const ImageSpec& spec) {
        return (spec.get_int_attribute("tiff:subfiletype", 0) & smallerOrMask) == 0;
    });
    warnOfFurtherPictures(count + 1, request);
}

bool hasNamedChannels(const std::string& format) {
    return format == "openexr";
}

void checkSpec(const ImageSpec& spec, const StillRequest& request) {
    if (spec.deep) {
        throw Error("it holds samples at several depths for each pixel, which aren't read");
    }
    if (spec.width <= 0 || spec.height <= 0 || spec.nchannels <= 0) {
        throw Error("it is damaged: its size is " + std::to_string(spec.width) + "x" +
                    std::to_string(spec.height));
    }
    if (spec.depth > 1) {
        throw Error("it holds a volume of " + std::to_string(spec.depth) +
                    " pictures, which aren't read");
    }
    constexpr std::int64_t mostChannels = 1024;
    if (spec.nchannels > mostChannels) {
        throw Error("it has " + std::to_string(spec.nchannels) + " channels; the limit is " +
                    std::to_string(mostChannels));
    }
    request.checkSize(spec.width, spec.height);
}

void checkTiff(const ImageSpec& spec) {
    constexpr int lab = 8;
    const int colours = spec.get_int_attribute("tiff:PhotometricInterpretation", 0);
    if (colours >= lab) {
        throw Error("its TIFF has other colours than gray, RGB, CMYK or YCbCr, which isn't read: "
                    "save it as RGB");
    }
    constexpr int inks = 5;
    if (colours == inks && spec.nchannels != 3) { // CMYK alone comes as RGB
        throw Error("its TIFF has other inks than CMYK, or channels beside them, which isn't read: "
                    "save it as RGB");
    }
    if ((spec.get_int_attribute("tiff:subfiletype", 0) & 1) != 0) {
        throw Error(
            "the first picture of its TIFF is a thumbnail of another one, which isn't read");
    }
}

// What OpenImageIO reads without an error and shows wrong.
void checkFormat(const std::string& format, const ImageSpec& spec) {
    if (format == "tiff") {
        checkTiff(spec);
    }
    constexpr int firstInColumns = 5;
    if (format == "dpx" && spec.get_int_attribute("Orientation", 1) >= firstInColumns) {
        throw Error("its rows are stored as columns, which isn't read in a DPX");
    }
}

std::int64_t bytesOf(const ImageSpec& spec) {
    return static_cast<std::int64_t>(spec.width) * spec.height *
           static_cast<std::int64_t>(storedPixelBytes(spec));
}

// The most bytes of pixels that a byte of the file can stand for; nothing where there is no limit.
std::optional<std::int64_t> mostBytesOfOne(const std::string& format, const ImageSpec& spec) {
    if (format == "dpx" || format == "cineon") {
        return 1;
    }
    constexpr std::pair<std::string_view, std::int64_t> most[] = {
        {"none", 1},                     // as it is
        {"rle", 128},                    // a count and a value
        {"packbits", 64}, {"lzw", 2730}, // strings of up to 4094 bytes take 12 bits
        {"zip", 1032},                   // strings of up to 258 bytes take two bits
        {"zips", 1032},   {"jpeg", 512}, // an even block of 64 values takes a bit
    };
    const std::string compression =
        format == "targa" ? "rle" : spec.get_string_attribute("compression");
    for (const auto& [name, bytes] : most) {
        if (compression == name) {
            return bytes;
        }
    }
    return std::nullopt;
}

// Before memory for pixels is taken that the file can't have.
void checkData(const StillRequest& request, const ImageSpec& spec, std::int64_t bytes) {
    constexpr std::int64_t unpacked = 32; // a bit may become the four bytes of a palette's colour
    std::error_code failure;
    const std::uintmax_t size = std::filesystem::file_size(request.file, failure);
    const auto most = mostBytesOfOne(request.format, spec);
    if (most && !failure && bytes > static_cast<std::int64_t>(size) * *most * unpacked) {
        throw Error("its " + std::to_string(size) + " bytes cannot hold " +
                    std::to_string(spec.width) + "x" + std::to_string(spec.height) +
                    " pixels: it is cut off or damaged");
    }
}

StoredPart readHeif(const ImageSpec& spec, const StillRequest& request) {
    HeifPart heif = heifPart(request.file.string(), spec);
    warnOfFurtherPictures(heif.pictures, request);
    if (limitMetadata(heif.part.spec, request.metadata)) { // such as its profile
        request.warnOfMetadata();
    }
    return std::move(heif.part);
}

StoredPart readPart(ImageInput& input, int index, const ImageSpec& spec,
                    const StillRequest& request) {
    if (request.format == "heif") {
        return readHeif(spec, request);
    }
    StoredPart part{spec, StoredBytes(static_cast<std::size_t>(bytesOf(spec)))};
    if (!input.read_image(index, 0, 0, spec.nchannels, OIIO::TypeUnknown, part.pixels.data()) ||
        input.has_error()) {
        throwErrorOf(input, "it is damaged or cut off");
    }
    return part;
}

void warnOfCropping(const StoredPart& part, const StillRequest& request) {
    const Window data = part.data();
    const Window shown = common(data, part.frame());
    if (shown.width == 0 || shown.height == 0) {
        throw Error("none of its pixels lie in the frame that it is to be shown in");
    }
    if (!(shown == data)) {
        request.warn("what lies outside of its frame of " + std::to_string(part.frame().width) +
                     "x" + std::to_string(part.frame().height) + " pixels is cut off");
    }
}

// What worlds hold of it.
Depth readDepth(const Depth& depth, const StillRequest& request) {
    if (floats.holds(depth)) {
        return depth;
    }
    if (request.worlds != WorldDepth::Bits8) {
        request.warn(textOf(depth) + " are read as floats of 32 bits, which round them");
    }
    return floats;
}

Still stillOf(std::shared_ptr<StillExtras> extras, const StillRequest& request) {
    const StoredPart& part = extras->part();
    const ColourChannels& colours = extras->chosen.colours;
    const Depth depth = readDepth(depthOf(part.spec, colours), request);
    const bool isDeep = request.worlds == WorldDepth::Floats ||
                        (request.worlds == WorldDepth::Stored && depth.isDeep());
    const bool isAssociated = colours.hasAlpha() && isAlphaAssociated(extras->format, part.spec);
    const bool keepsAssociated = isAssociated && isDeep && depth.isFloat;
    Still still{World(0, 0), depth, keepsAssociated, colours.hasAlpha()};
    if (request.hasPixels) {
        request.checkSize(part.frame().width, part.frame().height);
        warnOfCropping(part, request);
        PartWorld read =
            worldOf(part, colours, isDeep ? PF_PixelFormat_ARGB128 : PF_PixelFormat_ARGB32,
                    isAssociated && !keepsAssociated);
        still.world = std::move(read.world);
        if (read.losesLight) {
            request.warn(bareLightLoss);
        }
    }
    still.colorProfile = profileOf(part.spec);
    if (still.colorProfile.empty() && part.spec.find_attribute("ICCProfile") != nullptr) {
        request.warn(otherProfile);
    }
    std::tie(still.primaries, still.transfer) = colourCodes(part.spec);
    still.pixelAspect = part.spec.get_float_attribute("PixelAspectRatio", 1.F);
    still.extras = std::move(extras);
    return still;
}

} // namespace

// Only these formats know colours that are multiplied by alpha, and one of them says which it has.
bool isAlphaAssociated(const std::string& format, const ImageSpec& spec) {
    return format == "openexr" ||
           (format == "tiff" && spec.get_int_attribute("oiio:UnassociatedAlpha", 0) == 0);
}

Still readStill(const StillRequest& request) {
    OpenStill file(request);
    const bool isNamed = hasNamedChannels(request.format);
    std::vector<ImageSpec> specs = file.specs(request.format);
    if (specs.front().find_attribute("textureformat") != nullptr) {
        request.warn("the smaller sizes of its texture are left out");
    }
    if (!isNamed) {
        warnOfFurtherPictures(specs, request);
        specs.resize(1);
    }
    auto extras = std::make_shared<StillExtras>();
    extras->format = request.format;
    extras->layer = request.layer;
    if (request.bytes != nullptr) {
        extras->raw = rawMetadataOf(*request.bytes, static_cast<std::size_t>(request.metadata));
    }
    if (extras->raw.hasFurtherPictures) {
        request.warn("further pictures, such as a gain map or a preview, are left out");
    }
    std::int64_t bytes = 0;
    bool isLarge = false;
    for (ImageSpec& spec : specs) {
        checkSpec(spec, request);
        bytes += bytesOf(spec);
        isLarge = limitMetadata(spec, request.metadata) || isLarge;
        if (!isNamed) { // only there a frame may differ from what is stored
            spec.x = spec.y = spec.full_x = spec.full_y = 0;
            spec.full_width = spec.width;
            spec.full_height = spec.height;
        }
    }
    if (bytes > request.mostBytes) {
        throw Error("its channels take " + std::to_string(bytes) +
                    " bytes of memory; the limit is " + std::to_string(request.mostBytes));
    }
    checkData(request, specs.front(), bytes);
    if (!isNamed && !request.layer.empty()) {
        throw Error("it has no layer '" + request.layer + "': pictures of this format have none");
    }
    checkFormat(request.format, specs.front());
    extras->chosen =
        isNamed ? namedLayer(specs, request.layer) : ChosenLayer{0, orderedColours(specs.front())};
    if (isLarge) {
        request.warnOfMetadata();
    }
    const int orientation = specs.front().get_int_attribute("Orientation", 1);
    for (std::size_t i = 0; i < specs.size(); ++i) {
        extras->parts.push_back(request.hasPixels
                                    ? readPart(file.input(), static_cast<int>(i), specs[i], request)
                                    : StoredPart{specs[i], {}});
        turn(extras->parts.back());
    }
    Still still = stillOf(std::move(extras), request);
    still.orientation = orientation;
    return still;
}

} // namespace Vexorel::PrismDrift::Host
