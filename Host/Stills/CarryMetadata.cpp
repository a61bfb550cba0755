#include "Host/Library/Error.h"
#include "Host/Stills/StillExtras.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

// Of a header that takes one of the TIFF library's.
OIIO_NAMESPACE_BEGIN
OIIO_API void encode_exif(const ImageSpec& spec, std::vector<char>& blob);
OIIO_API std::string encode_xmp(const ImageSpec& spec, bool minimal);
OIIO_NAMESPACE_END

namespace Vexorel::PrismDrift::Host {
namespace {

enum class Kind { Text, Exif, Resolution, Film, Space, Own };

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool isAmong(std::string_view name, std::initializer_list<std::string_view> list) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

// Own: what a reader says of its file, or of how its pixels were packed.
Kind kindOf(std::string_view name) {
    if (isAmong(name, {"oiio:ColorSpace", "oiio:Gamma", "chromaticities"})) {
        return Kind::Space;
    }
    if (isAmong(name, {"XResolution", "YResolution", "ResolutionUnit", "PixelAspectRatio"})) {
        return Kind::Resolution;
    }
    if (isAmong(name, {"smpte:TimeCode", "smpte:KeyCode", "FramesPerSecond"})) {
        return Kind::Film;
    }
    if (isAmong(name, {"ExposureTime", "FNumber"})) { // the only ones without a prefix
        return Kind::Exif;
    }
    for (const std::string_view start : {"Exif:", "GPS:", "IPTC:", "xmp:", "XMP:"}) {
        if (startsWith(name, start)) {
            return Kind::Exif;
        }
    }
    const bool isText =
        isAmong(name, {"ImageDescription", "Artist", "Copyright", "Software", "DateTime", "Make",
                       "Model", "DocumentName", "HostComputer", "Keywords", "PageName"});
    return isText ? Kind::Text : Kind::Own;
}

bool isTaken(Kind kind, std::string_view name, const StillFormat& format, bool isSameFormat) {
    switch (kind) {
    case Kind::Text:
        return format.hasTexts || std::string_view(format.format) == "dpx";
    case Kind::Exif:
        return format.hasExif && std::string_view(format.format) != "png";
    case Kind::Resolution:
        return format.hasExif || std::string_view(format.format) == "dpx";
    case Kind::Film:
        return isAmong(format.format, {"dpx", "openexr"});
    case Kind::Space:
        return isAmong(format.format, {"png", "openexr"});
    default: // those of the same format, but for how it was packed
        return isSameFormat &&
               (startsWith(name, "dpx:") ||
                (std::string_view(format.format) == "openexr" && !startsWith(name, "oiio:") &&
                 !startsWith(name, "openexr:") && name != "textureformat"));
    }
}

bool has(const ImageSpec& spec, Kind kind) {
    return std::any_of(
        spec.extra_attribs.begin(), spec.extra_attribs.end(),
        [&](const OIIO::ParamValue& value) { return kindOf(value.name().string()) == kind; });
}

// The channels and parts that aren't the picture.
std::vector<std::string> furtherChannels(const StillExtras& extras) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < extras.parts.size(); ++i) {
        const ImageSpec& spec = extras.parts[i].spec;
        for (int channel = 0; channel < spec.nchannels; ++channel) {
            if (static_cast<int>(i) != extras.chosen.part || !extras.chosen.colours.has(channel)) {
                names.push_back(spec.channelnames[static_cast<std::size_t>(channel)]);
            }
        }
    }
    return names;
}

void addLosses(const StillExtras& extras, const StillFormat& format,
               std::vector<std::string>& losses) {
    const std::string noPlace = std::string(format.name) + " has no place for ";
    const std::vector<std::string> channels = furtherChannels(extras);
    const bool keepsChannels = extras.format == "openexr" && extras.format == format.format;
    if (!channels.empty() && !keepsChannels) {
        losses.push_back(noPlace + std::to_string(channels.size()) +
                         (channels.size() == 1 ? " further channel (" : " further channels (") +
                         listed(channels) + ")");
    }
    const RawMetadata& raw = extras.raw;
    const bool isThere =
        has(extras.spec(), Kind::Exif) || !raw.exif.empty() || !raw.xmp.empty() || raw.hasIptc();
    if (isThere && !format.hasExif) {
        losses.push_back(noPlace + "EXIF, IPTC and XMP");
    }
    const std::vector<std::string> comments = extras.raw.comments();
    const std::string description = extras.spec().get_string_attribute("ImageDescription");
    const bool isCarried =
        std::string_view(format.format) == "jpeg" ||
        (format.hasTexts && std::count(comments.begin(), comments.end(), description) ==
                                static_cast<std::ptrdiff_t>(comments.size()));
    if (!comments.empty() && !isCarried) {
        losses.push_back(std::string(format.name) + " is written without the JPEG's comment");
    }
    if (has(extras.spec(), Kind::Film) && !isTaken(Kind::Film, "", format, false)) {
        losses.push_back(noPlace + "time codes and key codes");
    }
}

// OpenImageIO 2.4 writes a half, a quarter and so on into EXIF as 1/0, but not what is next to it.
void avoidUnitFractions(ImageSpec& spec) {
    for (OIIO::ParamValue& value : spec.extra_attribs) {
        const float number = value.get_float();
        if (value.type() == OIIO::TypeFloat && kindOf(value.name().string()) == Kind::Exif &&
            number > 0 && number < 1 && std::trunc(1 / number) == 1 / number) {
            *static_cast<float*>(const_cast<void*>(value.data())) = std::nextafter(number, 0.F);
        }
    }
}

// A chunk with its length and its checksum.
std::string chunk(const std::string& type, std::string_view data) {
    const std::string checked = type + std::string(data);
    std::uint32_t sum = 0xFFFFFFFFU;
    for (const char byte : checked) {
        sum ^= static_cast<std::uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    const auto number = [](std::uint32_t value) {
        return std::string{static_cast<char>(value >> 24U), static_cast<char>(value >> 16U),
                           static_cast<char>(value >> 8U), static_cast<char>(value)};
    };
    return number(static_cast<std::uint32_t>(data.size())) + checked + number(~sum);
}

// The bytes in the form of zlib, not packed.
std::string stored(const std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t most = 65535;
    constexpr std::uint32_t prime = 65521;
    std::string text = "\x78\x01";
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (std::size_t at = 0; at < bytes.size(); at += most) {
        const std::size_t size = std::min(most, bytes.size() - at);
        text += {static_cast<char>(at + size == bytes.size() ? 1 : 0), static_cast<char>(size),
                 static_cast<char>(size >> 8U), static_cast<char>(~size),
                 static_cast<char>(~size >> 8U)};
        text.append(reinterpret_cast<const char*>(bytes.data()) + at, size);
    }
    for (const std::uint8_t byte : bytes) {
        low = (low + byte) % prime;
        high = (high + low) % prime;
    }
    return text += {static_cast<char>(high >> 8U), static_cast<char>(high),
                    static_cast<char>(low >> 8U), static_cast<char>(low)};
}

bool takesRaw(const StillFormat& format) {
    return isAmong(format.format, {"jpeg", "png"});
}

} // namespace

std::vector<std::string> lossesIn(const StillExtras& extras, const std::string& name) {
    std::vector<std::string> losses;
    const StillFormat format{"", "", name.c_str(), {}};
    addLosses(extras, format, losses);
    const auto& values = extras.spec().extra_attribs;
    if (std::any_of(values.begin(), values.end(), [](const OIIO::ParamValue& value) {
            const std::string text = value.name().string();
            return kindOf(text) == Kind::Text && !isAmong(text, {"DateTime", "Software"});
        })) {
        losses.push_back(name + " is written without texts");
    }
    return losses;
}

void addUnwritten(const StillExtras& extras, const StillFormat& format, const ImageSpec& spec,
                  std::vector<std::string>& losses) {
    std::vector<std::string> names;
    for (const OIIO::ParamValue& value : extras.spec().extra_attribs) {
        const std::string name = value.name().string();
        const Kind kind = kindOf(name);
        const bool isMeant = kind == Kind::Text || (kind == Kind::Exif && format.hasExif);
        // Of how the values are stored, and of the file's own making.
        const bool isTechnical =
            isAmong(name, {"DateTime", "Exif:YCbCrPositioning", "Exif:ComponentsConfiguration",
                           "Exif:ImageHistory", "Exif:ExifVersion", "Exif:FlashPixVersion",
                           "GPS:VersionID"});
        if (isMeant && !isTechnical && spec.find_attribute(name) == nullptr) {
            names.push_back(name);
        }
    }
    if (!names.empty()) {
        losses.push_back(std::string(format.name) + " is written without " + listed(names));
    }
    if (!extras.raw.xmp.empty() && format.hasExif) {
        losses.push_back(std::string(format.name) +
                         " is written with those XMP properties alone that OpenImageIO knows");
    }
}

void carryMetadata(const StillPicture& picture, const StillFormat& format, ImageSpec& spec,
                   std::vector<std::string>& losses) {
    if (!picture.colorProfile.empty()) {
        if (std::string_view(format.format) == "png") {
            // Added behind the writer, whose library refuses the whole picture for an odd one.
        } else if (format.hasProfile) {
            spec.attribute("ICCProfile",
                           TypeDesc(TypeDesc::UINT8, static_cast<int>(picture.colorProfile.size())),
                           picture.colorProfile.data());
        } else {
            losses.push_back(std::string(format.name) + " has no place for a colour profile");
        }
    }
    if (picture.extras == nullptr) {
        return;
    }
    const bool isSameFormat = picture.extras->format == format.format;
    const bool isRaw = takesRaw(format) && !picture.extras->raw.isEmpty();
    for (const OIIO::ParamValue& value : picture.extras->spec().extra_attribs) {
        const std::string name = value.name().string();
        if (isRaw && kindOf(name) == Kind::Exif) {
            continue; // added behind the writer
        }
        if (isTaken(kindOf(name), name, format, isSameFormat) && name != "ICCProfile" &&
            spec.find_attribute(name) == nullptr) {
            spec.attribute(name, value.type(), value.data());
        }
    }
    avoidUnitFractions(spec);
    addLosses(*picture.extras, format, losses);
}

void addPngMetadata(const StillPicture& picture, std::vector<std::uint8_t>& png) {
    std::string chunks;
    if (!picture.colorProfile.empty()) {
        using namespace std::string_literals;
        chunks += chunk("iCCP", "profile\0\0"s + stored(picture.colorProfile));
    }
    ImageSpec spec = picture.extras != nullptr ? picture.extras->spec() : ImageSpec();
    avoidUnitFractions(spec);
    RawMetadata raw = picture.extras != nullptr ? picture.extras->raw : RawMetadata();
    if (raw.exif.empty() && has(spec, Kind::Exif)) {
        std::vector<char> exif;
        OIIO::encode_exif(spec, exif);
        raw.exif.assign(exif.data(), exif.size());
    }
    if (raw.xmp.empty() && has(spec, Kind::Exif)) { // IPTC's texts, too
        raw.xmp = OIIO::encode_xmp(spec, true);
    }
    for (const auto& [type, data] : pngChunksOf(raw)) {
        chunks += chunk(type, data);
    }
    constexpr std::ptrdiff_t behindHeader = 33;
    png.insert(png.begin() + behindHeader, chunks.begin(), chunks.end());
}

} // namespace Vexorel::PrismDrift::Host
