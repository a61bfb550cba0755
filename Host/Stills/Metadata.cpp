#include "Host/Stills/StillExtras.h"

#include "Host/Library/Primaries.h"
#include "Host/Library/Text.h"
#include "Host/Stills/HeifPart.h"

#include <algorithm>
#include <cstring>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr const char* profileName = "ICCProfile";

std::int64_t bytesOf(const OIIO::ParamValue& value) {
    std::int64_t bytes = static_cast<std::int64_t>(value.name().size());
    if (value.type().basetype == TypeDesc::STRING) {
        for (int i = 0; i < value.nvalues() * static_cast<int>(value.type().numelements()); ++i) {
            bytes += static_cast<std::int64_t>(value.get_string_indexed(i).size());
        }
        return bytes;
    }
    return bytes + static_cast<std::int64_t>(value.datasize());
}

// What the file says of its primaries, if it does.
int primariesOf(const ImageSpec& spec, int usual) {
    Chromaticities points{};
    const TypeDesc type(TypeDesc::FLOAT, static_cast<int>(points.size()));
    const OIIO::ParamValue* said = spec.find_attribute("chromaticities", type);
    if (said == nullptr) {
        return usual;
    }
    std::memcpy(points.data(), said->data(), sizeof points);
    return primariesNumber(points);
}

} // namespace

bool limitMetadata(ImageSpec& spec, std::int64_t bytes) {
    constexpr std::int64_t always = 64; // numbers that say how the pixels are to be taken
    std::int64_t sum = 0;
    std::vector<std::string> large;
    for (const OIIO::ParamValue& value : spec.extra_attribs) {
        const std::int64_t size = bytesOf(value);
        if (size > always && sum + size > bytes) {
            large.emplace_back(value.name().string());
        } else {
            sum += size;
        }
    }
    for (const std::string& name : large) {
        spec.erase_attribute(name);
    }
    return !large.empty();
}

std::vector<std::uint8_t> profileOf(const ImageSpec& spec) {
    const OIIO::ParamValue* profile = spec.find_attribute(profileName);
    constexpr std::size_t headerSize = 128;
    constexpr std::size_t spaceOffset = 16;
    if (profile == nullptr || profile->datasize() < static_cast<int>(headerSize)) {
        return {};
    }
    const auto* bytes = static_cast<const std::uint8_t*>(profile->data());
    if (std::memcmp(bytes + spaceOffset, "RGB ", 4) != 0) {
        return {};
    }
    return {bytes, bytes + profile->datasize()};
}

std::pair<int, int> colourCodes(const ImageSpec& spec) {
    constexpr int bt709 = 1;
    constexpr int linear = 8;
    constexpr int srgb = 13;
    if (spec.find_attribute(heifTransfer) != nullptr) {
        return {spec.get_int_attribute(heifPrimaries), spec.get_int_attribute(heifTransfer)};
    }
    const std::string space = spec.get_string_attribute("oiio:ColorSpace");
    if (equalIgnoringCase(space, "sRGB")) {
        return {primariesOf(spec, bt709), srgb};
    }
    if (equalIgnoringCase(space, "linear")) {
        return {primariesOf(spec, unknownColours), linear};
    }
    if (equalIgnoringCase(space, "Rec709")) {
        return {primariesOf(spec, bt709), bt709};
    }
    // A film scan's densities.
    const bool isOther =
        equalIgnoringCase(space, "KodakLog") ||
        equalIgnoringCase(spec.get_string_attribute("dpx:Transfer"), "Printing density");
    return {primariesOf(spec, unknownColours), isOther ? otherColours : unknownColours};
}

} // namespace Vexorel::PrismDrift::Host
