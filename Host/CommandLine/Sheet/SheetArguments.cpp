#include "Host/CommandLine/Sheet/SheetArguments.h"

#include "Host/CommandLine/Usage.h"
#include "Host/Library/Keyframes.h"
#include "Host/Library/Text.h"
#include "Host/Media/Picture.h"

#include <algorithm>
#include <string_view>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

const ParameterOption& optionNamed(const std::string& written,
                                   const std::vector<ParameterOption>& options) {
    const std::size_t start = std::min(written.find_first_not_of('-'), written.size());
    const std::string name = written.substr(start);
    std::vector<std::string> names;
    std::string list;
    for (const ParameterOption& option : options) {
        if (option.name == "--" + name) {
            return option;
        }
        names.push_back(option.name.substr(2));
        list += (list.empty() ? "" : ", ") + names.back();
    }
    const std::string hint = nearestHint(name, names);
    throw UsageError("--vary takes an option of the effect, not '" + written + "'" +
                     (hint.empty() ? "; it has " + list : hint));
}

Variation variationFrom(const std::string& text, const std::vector<ParameterOption>& options) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        throw UsageError("--vary takes an option and its values, such as shift-distance=0,10,20, "
                         "not '" +
                         text + "'");
    }
    const ParameterOption& option = optionNamed(text.substr(0, equals), options);
    Variation variation{&option, {}};
    for (const std::string_view value :
         Host::split(std::string_view(text).substr(equals + 1), ',')) {
        variation.values.emplace_back(value);
    }
    for (std::string& value : variation.values) {
        if (option.members.size() > 1 &&
            !Host::looksLikeKeyframes(value)) { // these have ':' in times
            std::replace(value.begin(), value.end(), ':', ',');
        }
    }
    return variation;
}

// An option that is varied must not be given as well: its value would have no effect.
void checkVariations(const SheetArguments& sheet) {
    const std::vector<Variation>& variations = sheet.variations;
    if (variations.size() > 2) {
        throw UsageError("--vary may be given at most twice: a sheet has two directions");
    }
    if (variations.size() == 2 && variations[0].option == variations[1].option) {
        throw UsageError("--vary names " + variations[0].option->name +
                         " twice; a grid takes two different options");
    }
    if (variations.size() == 2 && sheet.common.columns) {
        throw UsageError("--columns can't be chosen with two --vary: the second one makes the "
                         "columns");
    }
    for (const auto& [option, text] : sheet.common.values) {
        for (const Variation& variation : variations) {
            if (variation.option == option) {
                throw UsageError(option->name + " and --vary of the same exclude each other");
            }
        }
        if (variations.empty() && option->name == "--channel-order") {
            throw UsageError("a sheet shows all values of --channel-order unless --vary names "
                             "something else to compare");
        }
    }
}

void checkFiles(const Arguments& arguments) {
    const std::filesystem::path& file = arguments.output.file;
    const std::string ending = file.extension().string();
    if (ending.empty() || !Host::isPictureEnding(ending.substr(1))) {
        throw UsageError("cannot write '" + file.string() +
                         "': a sheet is a picture, so its name must end in one of " +
                         Host::pictureEndings());
    }
    const Host::FrameNumbers& frames = arguments.input.frames;
    if (!frames.all() && frames.after(-1) != frames.last()) {
        throw UsageError("--frames takes the number of one frame here, such as 12: a sheet shows "
                         "a single frame");
    }
}

} // namespace

SheetArguments readSheetArguments(const Arguments& arguments,
                                  const std::vector<ParameterOption>& options) {
    SheetArguments sheet;
    sheet.common = arguments;
    for (const std::string& text : arguments.variations) {
        sheet.variations.push_back(variationFrom(text, options));
    }
    checkVariations(sheet);
    checkFiles(arguments);
    return sheet;
}

} // namespace Vexorel::PrismDrift::CommandLine
