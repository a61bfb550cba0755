#include "Host/CommandLine/Sheet/Sheet.h"

#include "Host/CommandLine/ChosenValues.h"
#include "Host/CommandLine/Progress.h"
#include "Host/CommandLine/RenderClip.h"
#include "Host/CommandLine/Sheet/Lettering.h"
#include "Host/CommandLine/Sheet/SheetLayout.h"
#include "Host/CommandLine/Usage.h"
#include "Host/Library/Error.h"
#include "Host/Library/Number.h"
#include "Host/Library/ReplaceFile.h"

#include <algorithm>
#include <cmath>

namespace {

namespace Host = Vexorel::PrismDrift::Host;

// One picture of the sheet: with these values, or untouched.
struct Cell {
    std::string label;
    std::optional<Host::ParameterValues> values;
};

// The frame to show, and the time at which it is drawn.
struct Frame {
    Host::Picture picture;
    Host::FrameTime time;
    std::optional<std::int64_t> number; // nothing for a still
};

const ParameterOption* find(const std::vector<ParameterOption>& options, const char* name) {
    const auto found = std::find_if(options.begin(), options.end(),
                                    [name](const auto& option) { return option.name == name; });
    return found == options.end() ? nullptr : &*found;
}

std::string labelOf(const ParameterOption& option, const std::string& value) {
    return option.name.substr(2) + " " + value; // without the dashes
}

Variation allChannelOrders(const std::vector<ParameterOption>& options) {
    const ParameterOption* order = find(options, "--channel-order");
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
        throw UsageError(std::string("--vary: ") + error.what());
    }
    cell.label += (cell.label.empty() ? "" : "\n") + labelOf(*variation.option, value);
}

// Where all channels lie upon each other, neither their order nor the angle shows.
class ChosenDistance {
public:
    ChosenDistance(const std::vector<ParameterOption>& options, const SheetArguments& arguments,
                   const std::vector<Variation>& variations)
        : mOption(find(options, "--shift-distance")) {
        const auto isVaried = [&](const ParameterOption* option) {
            return std::any_of(variations.begin(), variations.end(),
                               [&](const auto& variation) { return variation.option == option; });
        };
        const auto& given = arguments.common.values;
        mIsNeeded = mOption != nullptr && !isVaried(mOption) &&
                    std::none_of(given.begin(), given.end(),
                                 [&](const auto& value) { return value.first == mOption; }) &&
                    (isVaried(find(options, "--channel-order")) ||
                     isVaried(find(options, "--shift-angle")));
    }

    // Puts a distance into the cells whose own is 0, and gives it in words.
    std::string apply(const Frame& frame, std::uint32_t downsample, std::vector<Cell>& cells) {
        constexpr double part = 0.04; // of the width
        std::string said;
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
            said = labelOf(*mOption, value) + " (chosen, as none was given)";
        }
        return said;
    }

private:
    const ParameterOption* mOption;
    bool mIsNeeded = false;
};

std::vector<Cell> cellsOf(const std::vector<Variation>& variations,
                          const Host::ParameterValues& base) {
    static const std::vector<std::string> nothing(1);
    const bool isGrid = variations.size() > 1;
    const std::vector<std::string>& across = isGrid ? variations[1].values : nothing;
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

// Also resolves the cells' keyframes, whose times are the clip's.
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
            Frame found{std::move(frame->picture), frameTime(frame->index, clip.frameRate), {}};
            if (clip.kind != Host::ClipKind::Still) {
                found.number = frame->number;
            }
            return found;
        }
    }
    throw Host::Error("cannot read '" + input.file.string() + "': there is no picture in it");
}

SheetText textOf(const Arguments& arguments, const Frame& frame, const std::vector<Cell>& cells,
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
        text.subtitle += ", preset " + arguments.preset.filename().string();
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

int defaultCellWidth(int pictureWidth) {
    constexpr int usual = 320;
    constexpr int narrowest = 128; // most labels fit in a line
    return std::clamp(pictureWidth, narrowest, usual);
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
    std::vector<Cell> cells = cellsOf(variations, chosenValues(effect, common));
    if (showsOriginal) {
        cells.insert(cells.begin(), {"original", {}});
    }
    Host::checkLettering();
    Host::checkReplaceable(common.output.file);

    const Frame frame = readFrame(common.input, cells);
    const std::string chosen =
        ChosenDistance(options, arguments, variations).apply(frame, common.downsample, cells);
    const Host::World& input = frame.picture.world;
    const int count = static_cast<int>(cells.size());
    const int columns = variations.size() > 1
                            ? static_cast<int>(variations[1].values.size())
                            : std::min(count, arguments.columns.value_or(defaultColumns(count)));
    const SheetText text = textOf(common, frame, cells, chosen);
    const SheetLayout layout(text, input.width(), input.height(),
                             arguments.cellWidth.value_or(defaultCellWidth(input.width())),
                             columns);
    Host::checkPictureSize(common.output.file, layout.width(), layout.height());
    Progress progress(common.quiet ? ProgressStyle::None
                                   : common.progress.value_or(automaticProgress()),
                      !common.quiet, count);
    if (!Host::canShow(text.title)) {
        progress.warn("no font that is installed has all letters of the title '" + text.title +
                      "'");
    }
    Host::Picture sheet{layout.emptySheet(), frame.picture.colorProfile};
    Host::World drawn(input.width(), input.height());
    for (int i = 0; i < count; ++i) {
        const auto& values = cells[static_cast<std::size_t>(i)].values;
        if (values) {
            effect.render(input, drawn, *values, {frame.time, common.downsample});
        }
        layout.draw(sheet.world, i, values ? drawn : input);
        progress.frameDone(0);
    }
    const std::string warning = Host::writePicture(common.output.file, sheet);
    progress.finish(true);
    if (!warning.empty()) {
        progress.warn(warning);
    }
}
