#include "Host/CommandLine/Sheet/Sheet.h"

#include "Host/CommandLine/ChosenValues.h"
#include "Host/CommandLine/ClipErrorText.h"
#include "Host/CommandLine/PictureDrawing.h"
#include "Host/CommandLine/Progress.h"
#include "Host/CommandLine/RenderClip.h"
#include "Host/CommandLine/RendererOption.h"
#include "Host/CommandLine/Sheet/Lettering.h"
#include "Host/CommandLine/Sheet/SheetLayout.h"
#include "Host/CommandLine/Usage.h"
#include "Host/Library/Error.h"
#include "Host/Library/Number.h"
#include "Host/Library/ReducedWorld.h"
#include "Host/Library/ReplaceFile.h"
#include "Host/Media/ClipError.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

// One picture of the sheet: drawn with these values, or without values the original.
struct Cell {
    std::string label;
    std::optional<Host::ParameterValues> values;
};

// The frame to show.
struct Frame {
    Host::Picture picture;
    Host::FrameTime time;
    Host::ClipKind kind;
    std::optional<std::int64_t> number; // nothing for a still
};

const ParameterOption* findOption(const std::vector<ParameterOption>& options, const char* name) {
    const auto found = std::find_if(options.begin(), options.end(),
                                    [name](const auto& option) { return option.name == name; });
    return found == options.end() ? nullptr : &*found;
}

// Of thousands of keyframes only the first ones are shown, or the text would be higher than a
// sheet.
std::string labelOf(const ParameterOption& option, const std::string& value) {
    constexpr std::size_t longest = 200;
    std::string label = option.name.substr(2) + " " + value; // without the dashes
    if (label.size() > longest) {
        label.resize(label.find_last_of(" ;,", longest));
        label += " ...";
    }
    return label;
}

Variation allChannelOrders(const std::vector<ParameterOption>& options) {
    const ParameterOption* order = findOption(options, "--channel-order");
    if (order == nullptr) {
        throw UsageError("this effect has no --channel-order to show all values of; name what to "
                         "compare with --vary");
    }
    return {order, order->members.front()->choices};
}

void applyVaried(const Variation& variation, const std::string& value, Cell& cell) {
    try {
        variation.option->apply(value, *cell.values);
    } catch (const UsageError& error) {
        throw UsageError(std::string("--vary: ") + error.what(), error.shown());
    }
    cell.label += (cell.label.empty() ? "" : "\n") + labelOf(*variation.option, value);
}

// At the distance 0 all channels lie on top of each other, so that neither their order nor the
// angle shows. Where a sheet compares one of these and no distance was given, this chooses one.
class ChosenDistance {
public:
    ChosenDistance(const std::vector<ParameterOption>& options, const SheetArguments& arguments,
                   const std::vector<Variation>& variations)
        : mOption(findOption(options, "--shift-distance")) {
        const auto isVaried = [&](const ParameterOption* option) {
            return std::any_of(variations.begin(), variations.end(),
                               [&](const auto& variation) { return variation.option == option; });
        };
        const auto& given = arguments.common.values;
        mIsNeeded = mOption != nullptr && !isVaried(mOption) &&
                    std::none_of(given.begin(), given.end(),
                                 [&](const auto& value) { return value.option == mOption; }) &&
                    (isVaried(findOption(options, "--channel-order")) ||
                     isVaried(findOption(options, "--shift-angle")));
    }

    // Sets the distance of the cells where it is 0, and gives the words for it, empty for none.
    std::string apply(const Frame& frame, std::uint32_t downsample, std::vector<Cell>& cells) {
        constexpr double part = 0.04; // of the width
        std::string words;
        for (Cell& cell : cells) {
            if (!mIsNeeded || !cell.values ||
                cell.values->at(mOption->members.front()->index, frame.time) != 0) {
                continue;
            }
            const double wanted =
                std::max(1.0, std::round(part * frame.picture.world.width())) * downsample;
            const std::string value =
                Host::numberText(std::min(wanted, mOption->members.front()->maximum));
            mOption->apply(value, *cell.values);
            cell.label += "\n" + labelOf(*mOption, value);
            words = labelOf(*mOption, value) + " (chosen, as it was 0)";
        }
        return words;
    }

private:
    const ParameterOption* mOption;
    bool mIsNeeded = false;
};

// The cells row by row: the first variation from cell to cell, or in a grid from row to row.
std::vector<Cell> variedCells(const std::vector<Variation>& variations,
                              const Host::ParameterValues& base) {
    static const std::vector<std::string> single(1);
    const bool isGrid = variations.size() > 1;
    const std::vector<std::string>& across = isGrid ? variations[1].values : single;
    const std::size_t count = variations[0].values.size() * across.size();
    if (count > static_cast<std::size_t>(mostCells)) {
        throw UsageError("--vary makes " + std::to_string(count) + " cells; a sheet has at most " +
                         std::to_string(mostCells));
    }
    std::vector<Cell> cells;
    for (const std::string& first : variations[0].values) {
        for (const std::string& second : across) {
            Cell cell{"", base};
            applyVaried(variations[0], first, cell);
            if (isGrid) {
                applyVaried(variations[1], second, cell);
            }
            cells.push_back(std::move(cell));
        }
    }
    return cells;
}

// Also places the cells' keyframes in the clip.
Frame readFrame(const Host::ClipInput& input, std::vector<Cell>& cells) {
    const auto reader = Host::openClip(input);
    for (Cell& cell : cells) {
        if (cell.values) {
            cell.values->resolve({[&] { return reader->frameCount(); },
                                  [&](double seconds) { return reader->frameAt(seconds); }});
        }
    }
    while (auto item = reader->next()) {
        if (auto* frame = std::get_if<Host::ClipFrame>(&*item)) {
            const Host::ClipProperties& clip = reader->properties();
            Frame found{
                std::move(frame->picture), frameTime(frame->index, clip.frameRate), clip.kind, {}};
            if (clip.kind != Host::ClipKind::Still) {
                found.number = frame->number;
            }
            return found;
        }
    }
    throw Host::Error("cannot read '" + input.file.string() + "': there is no picture in it");
}

SheetText sheetText(const Arguments& arguments, const Frame& frame, const std::vector<Cell>& cells,
                    const std::string& chosen) {
    SheetText text;
    text.title =
        arguments.input.file == "-" ? "standard input" : arguments.input.file.filename().string();
    if (frame.number) {
        text.title += ", frame " + std::to_string(*frame.number);
    }
    const Host::World& world = frame.picture.world;
    text.subtitle = std::to_string(world.width()) + "x" + std::to_string(world.height());
    if (!arguments.preset.empty()) {
        text.subtitle +=
            ", preset " + (arguments.preset == "-" ? "from standard input"
                                                   : arguments.preset.filename().string());
    }
    for (const auto& [option, value] : arguments.values) {
        text.subtitle += ", " + labelOf(*option, value);
    }
    if (arguments.downsample > 1) {
        text.subtitle += ", downsample " + std::to_string(arguments.downsample);
    }
    if (!chosen.empty()) {
        text.subtitle += ", " + chosen;
    }
    for (const Cell& cell : cells) {
        text.labels.push_back(cell.label);
    }
    return text;
}

SheetLayout layoutOf(const SheetArguments& arguments, const std::vector<Variation>& variations,
                     const Host::World& picture, SheetText text) {
    constexpr int usualWidth = 320;
    constexpr int narrowest = 128; // most labels fit in a line
    const int cells = static_cast<int>(text.labels.size());
    const int columns =
        variations.size() > 1
            ? static_cast<int>(variations[1].values.size())
            : std::min(cells, arguments.common.columns.value_or(defaultColumns(cells)));
    const int cellWidth =
        arguments.common.cellWidth.value_or(std::clamp(picture.width(), narrowest, usualWidth));
    return {std::move(text), picture.width(), picture.height(), cellWidth, columns};
}

// Draws a cell's picture where its place in the sheet is.
void drawCell(const SheetLayout& layout, Host::World& sheet, int index, const Host::World& world) {
    if (world.format() == PF_PixelFormat_ARGB32) {
        layout.draw(sheet, index, world);
    } else {
        layout.draw(sheet, index, Host::reducedTo8Bits(world));
    }
}

// Renders the cells one after the other into the sheet; an original is the first.
void drawCells(PictureDrawing& drawing, Frame& frame, const std::vector<Cell>& cells,
               const SheetLayout& layout, Host::World& sheet, Progress& progress) {
    Host::World& world = frame.picture.world;
    Host::World drawn(world.width(), world.height(), world.format());
    bool isPrepared = false;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const bool isOriginal = !cells[i].values;
        if (!isOriginal && !std::exchange(isPrepared, true)) {
            drawing.prepare(frame.picture, frame.kind);
        }
        if (!isOriginal) {
            drawing.draw(world, drawn, *cells[i].values, frame.time);
        }
        drawCell(layout, sheet, static_cast<int>(i), isOriginal ? world : drawn);
        progress.frameDone(0);
    }
}

} // namespace

void makeSheet(Host::HostedEffect& effect, const std::vector<ParameterOption>& options,
               const SheetArguments& arguments) {
    const Arguments& common = arguments.common;
    std::vector<Variation> variations = arguments.variations;
    const bool showsOriginal = variations.empty();
    if (showsOriginal) {
        variations.push_back(allChannelOrders(options));
    }
    std::vector<Cell> cells = variedCells(variations, chosenValues(effect, common));
    if (showsOriginal) {
        cells.insert(cells.begin(), {"original", {}});
    }
    checkLettering();
    Host::checkReplaceable(common.output.file);

    Host::ClipInput input = common.input;
    std::vector<std::string> warnings;
    input.limits.warn = [&](const Host::Error& left) { warnings.push_back(textWithOptions(left)); };
    if (common.linear) {
        input.picture.worlds = Host::WorldDepth::Floats;
    }
    Frame frame = readFrame(input, cells);
    const std::string chosen =
        ChosenDistance(options, arguments, variations).apply(frame, common.downsample, cells);
    const SheetText text = sheetText(common, frame, cells, chosen);
    const SheetLayout layout = layoutOf(arguments, variations, frame.picture.world, text);
    Host::checkPictureSize(common.output.file, layout.width(), layout.height());
    const auto renderer = rendererFor(effect, common);
    if (common.linear) {
        worldsFor(common, *renderer); // throws where it draws no floats
    }
    Progress progress(common.progressStyle(), !common.quiet,
                      static_cast<std::int64_t>(cells.size()));
    for (const std::string& warning : warnings) {
        progress.warn(warning);
    }
    if (frame.picture.depth.isDeep()) {
        progress.warn("the input has " + Host::textOf(frame.picture.depth) +
                      "; a sheet keeps 8 bits a channel" + Host::cutOff(frame.picture.depth, {}));
    }
    if (!canShow(text.title)) {
        progress.warn("no font that is installed has all letters of the title '" + text.title +
                      "'");
    }
    Host::Picture sheet{layout.emptySheet(), frame.picture.colorProfile, frame.picture.source};
    PictureDrawing drawing(*renderer, {common.downsample, common.linear},
                           [&](const std::string& loss) { progress.warn(loss); });
    drawCells(drawing, frame, cells, layout, sheet.world, progress);
    const std::vector<std::string> losses = Host::writePicture(common.output.file, sheet);
    progress.finish(true);
    for (const std::string& loss : losses) {
        progress.warn(loss);
    }
}

} // namespace Vexorel::PrismDrift::CommandLine
