#include "Host/Stills/Layers.h"

#include "Host/Library/Error.h"
#include "Host/Library/Text.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace Vexorel::PrismDrift::Host {
namespace {

std::string_view prefixOf(std::string_view channel) {
    const std::size_t point = channel.rfind('.');
    return point == std::string_view::npos ? std::string_view() : channel.substr(0, point);
}

// The channel of these names, of either case, behind the prefix; -1 for none.
int channelWith(const ImageSpec& spec, std::string_view prefix, std::string_view shortName,
                std::string_view longName) {
    for (int i = 0; i < spec.nchannels; ++i) {
        const std::string_view name = spec.channelnames[static_cast<std::size_t>(i)];
        const std::string_view own =
            prefix.empty() || name.size() <= prefix.size() ? name : name.substr(prefix.size() + 1);
        if (prefixOf(name) == prefix &&
            (equalIgnoringCase(own, shortName) || equalIgnoringCase(own, longName))) {
            return i;
        }
    }
    return -1;
}

std::optional<ColourChannels> coloursWith(const ImageSpec& spec, std::string_view prefix) {
    ColourChannels colours;
    colours.argb = {channelWith(spec, prefix, "A", "alpha"), channelWith(spec, prefix, "R", "red"),
                    channelWith(spec, prefix, "G", "green"),
                    channelWith(spec, prefix, "B", "blue")};
    const auto isThere = [](int channel) { return channel >= 0; };
    if (std::all_of(colours.argb.begin() + 1, colours.argb.end(), isThere)) {
        return colours;
    }
    const int gray = channelWith(spec, prefix, "Y", "gray");
    if (gray < 0 || std::any_of(colours.argb.begin() + 1, colours.argb.end(), isThere)) {
        return std::nullopt;
    }
    colours.argb = {colours.argb[0], gray, gray, gray};
    return colours;
}

std::string partName(const ImageSpec& spec) {
    return spec.get_string_attribute("oiio:subimagename", spec.get_string_attribute("name"));
}

void addOnce(std::vector<std::string>& names, const std::string& name) {
    if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end()) {
        names.push_back(name);
    }
}

// The prefixes and parts that have colours.
std::vector<std::string> layersOf(const std::vector<ImageSpec>& parts) {
    std::vector<std::string> layers;
    for (const ImageSpec& spec : parts) {
        if (coloursWith(spec, "")) {
            addOnce(layers, partName(spec));
        }
        for (const std::string& name : spec.channelnames) {
            if (coloursWith(spec, prefixOf(name))) {
                addOnce(layers, std::string(prefixOf(name)));
            }
        }
    }
    return layers;
}

std::vector<std::string> channelsOf(const std::vector<ImageSpec>& parts) {
    std::vector<std::string> channels;
    for (const ImageSpec& spec : parts) {
        std::for_each(spec.channelnames.begin(), spec.channelnames.end(),
                      [&](const std::string& name) { addOnce(channels, name); });
    }
    return channels;
}

[[noreturn]] void refuse(const std::vector<ImageSpec>& parts, const std::string& layer) {
    const std::vector<std::string> layers = layersOf(parts);
    const std::vector<std::string> channels = channelsOf(parts);
    std::vector<std::string> own;
    std::copy_if(channels.begin(), channels.end(), std::back_inserter(own),
                 [&](const std::string& name) { return prefixOf(name) == layer; });
    if (!layer.empty() && !own.empty()) {
        throw Error("its layer '" + layer +
                    "' has no red, green and blue, and no gray; its "
                    "channels are " +
                    listed(own));
    }
    std::string text = layer.empty() ? "it has no red, green and blue, and no gray"
                                     : "it has no layer '" + layer + "'";
    if (!layers.empty()) {
        text += layer.empty() ? " that belong to no layer; its layers are " : "; its layers are ";
        throw Error(text + listed(layers));
    }
    if (!layer.empty()) {
        text += ", nor any other";
    }
    throw Error(text + "; its channels are " + listed(channels));
}

} // namespace

std::string listed(const std::vector<std::string>& names) {
    constexpr std::size_t most = 12;
    std::string text;
    for (std::size_t i = 0; i < names.size() && i < most; ++i) {
        text += (text.empty() ? "" : ", ") + names[i];
    }
    return names.size() > most ? text + " and so on" : text;
}

ChosenLayer namedLayer(const std::vector<ImageSpec>& parts, const std::string& layer) {
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (const auto colours = coloursWith(parts[i], layer)) {
            return {static_cast<int>(i), *colours};
        }
    }
    for (std::size_t i = 0; i < parts.size() && !layer.empty(); ++i) {
        if (const auto colours = coloursWith(parts[i], "");
            colours && partName(parts[i]) == layer) {
            return {static_cast<int>(i), *colours};
        }
    }
    refuse(parts, layer);
}

ColourChannels orderedColours(const ImageSpec& spec) {
    ColourChannels colours;
    const bool isGray = spec.nchannels < 3;
    colours.argb = {-1, 0, isGray ? 0 : 1, isGray ? 0 : 2};
    const int alpha = spec.alpha_channel;
    if (alpha > (isGray ? 0 : 2) && alpha < spec.nchannels) {
        colours.argb[0] = alpha;
    }
    return colours;
}

} // namespace Vexorel::PrismDrift::Host
