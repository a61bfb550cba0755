#include "Host/CommandLine/Sheet/SheetArguments.h"

#include "Host/CommandLine/Usage.h"
#include "Host/Library/Number.h"
#include "Host/Media/Picture.h"

#include <algorithm>
#include <cmath>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

constexpr const char* vary = "--vary";
constexpr const char* columns = "--columns";
constexpr const char* cellWidth = "--cell-width";
constexpr int narrowestCell = 96; // room for a label
constexpr int widestCell = 8192;

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find(separator, start);
        parts.push_back(text.substr(start, end - start));
        if (end == std::string::npos) {
            return parts;
        }
        start = end + 1;
    }
}

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
                     (hint.empty() ? "; there are " + list : hint));
}

Variation variationFrom(const std::string& text, const std::vector<ParameterOption>& options) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos) {
        throw UsageError("--vary takes an option and its values, such as shift-distance=0,10,20, "
                         "not '" +
                         text + "'");
    }
    const ParameterOption& option = optionNamed(text.substr(0, equals), options);
    Variation variation{&option, split(text.substr(equals + 1), ',')};
    for (std::string& value : variation.values) {
        const bool isKeyframes = value.find('=') != std::string::npos; // has ':' in its times
        if (option.members.size() > 1 && !isKeyframes) {
            std::replace(value.begin(), value.end(), ':', ',');
        }
    }
    return variation;
}

// The last of the texts that were given for the option.
std::optional<int> wholeNumber(const Arguments& arguments, const char* option, int least,
                               int most) {
    const std::vector<std::string>& texts = arguments.own.at(option);
    if (texts.empty()) {
        return std::nullopt;
    }
    const auto number = Host::parseNumber(texts.back());
    if (!number || *number != std::floor(*number) || *number < least || *number > most) {
        throw UsageError(std::string(option) + " takes a whole number from " +
                         std::to_string(least) + " to " + std::to_string(most) + ", not '" +
                         texts.back() + "'");
    }
    return static_cast<int>(*number);
}

// What is varied has no value beside, or nobody would see it.
void checkVariations(const SheetArguments& sheet) {
    const std::vector<Variation>& variations = sheet.variations;
    if (variations.size() > 2) {
        throw UsageError("--vary is taken at most twice: a sheet has two directions");
    }
    if (variations.size() == 2 && variations[0].option == variations[1].option) {
        throw UsageError("--vary names " + variations[0].option->name +
                         " twice; a grid takes two different options");
    }
    if (variations.size() == 2 && sheet.columns) {
        throw UsageError("--columns goes with one --vary at most: in a grid, the second --vary "
                         "makes the columns");
    }
    for (const auto& [option, text] : sheet.common.values) {
        for (const Variation& variation : variations) {
            if (variation.option == option) {
                throw UsageError(option->name + " is given beside --vary of the same; leave one of "
                                                "them out");
            }
        }
        if (variations.empty() && option->name == "--channel-order") {
            throw UsageError("--channel-order is what a sheet shows all values of; name something "
                             "else to compare with --vary");
        }
    }
}

void checkFiles(const Arguments& arguments) {
    const std::filesystem::path& file = arguments.output.file;
    const std::string ending = file.extension().string();
    if (ending.empty() || !Host::isPictureEnding(ending.substr(1))) {
        throw UsageError("cannot write '" + file.string() +
                         "': a sheet is a picture, so that its name must end in one of " +
                         Host::pictureEndings());
    }
    const Host::FrameNumbers& frames = arguments.input.frames;
    if (!frames.all() && frames.after(-1) != frames.last()) {
        throw UsageError("--frames takes the number of one frame here, such as 12: a sheet shows "
                         "a single frame");
    }
}

} // namespace

const SubCommand& sheetCommand() {
    static const SubCommand command = {
        "prismdrift sheet [options] INPUT OUTPUT",
        "Shows one picture with different settings, side by side and labelled: with all\n"
        "channel orders, or with the values that --vary names.",
        "The sheet",
        {{vary, "OPTION=VALUE,...",
          "Compare these values of one of the effect's options: shift-distance=0,10,20; for a "
          "group one value for all or one for each member, channel-scale=100,104:100:96. Twice "
          "for a grid, the first down, the second across"},
         {columns, "N", "How many cells stand side by side; what looks best unless given"},
         {cellWidth, "PIXELS",
          "The width that pictures are scaled down to, 96 to 8192; 320, or the picture's own if "
          "that is less, unless given"}},
        {{"INPUT", "",
          "A picture, a sequence such as in.%04d.png, a video file, or - for standard input; of "
          "several frames, the first is shown"},
         {"OUTPUT", "", "The sheet, a picture in the format of its name's ending"},
         {"--frames", "N",
          "Show this frame instead of the first: a sequence's by its number, a video's counted "
          "from 0"}},
        {"--codec", "--quality", "--output-format", "--output-pixel-format", "--save-preset",
         "--list-parameters", "--about", "--script", "--version"}};
    return command;
}

SheetArguments readSheetArguments(int count, const char* const* arguments,
                                  const std::vector<ParameterOption>& options) {
    SheetArguments sheet;
    sheet.common = readArguments(count, arguments, options, &sheetCommand());
    for (const std::string& text : sheet.common.own.at(vary)) {
        sheet.variations.push_back(variationFrom(text, options));
    }
    sheet.columns = wholeNumber(sheet.common, columns, 1, mostCells);
    sheet.cellWidth = wholeNumber(sheet.common, cellWidth, narrowestCell, widestCell);
    checkVariations(sheet);
    checkFiles(sheet.common);
    return sheet;
}

} // namespace Vexorel::PrismDrift::CommandLine
