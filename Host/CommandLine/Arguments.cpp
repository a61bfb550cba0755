#include "Host/CommandLine/Arguments.h"

#include "Host/CommandLine/ClipErrorText.h"
#include "Host/CommandLine/Options.h"
#include "Host/CommandLine/RendererOption.h"
#include "Host/CommandLine/Usage.h"
#include "Host/Library/Error.h"

#include <algorithm>
#include <utility>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

[[noreturn]] void refuseUnknown(const std::string& name, const ParsedLine& line,
                                const std::vector<ParameterOption>& effectOptions) {
    const Command command = line.command;
    std::vector<std::string> names;
    names.reserve(effectOptions.size() + programOptions().size());
    for (const ParameterOption& option : effectOptions) {
        names.push_back(option.name);
    }
    for (const Option& option : programOptions()) {
        if (option.isTakenBy(command) && !option.isFile()) {
            names.emplace_back(option.name);
        } else if (name == option.name) {
            throw UsageError(name + (command == Command::Sheet
                                         ? " is no option of 'prismdrift sheet'"
                                         : " is an option of 'prismdrift sheet' only"));
        }
    }
    const std::string hint = nearestHint(name, names);
    if (hint.empty() && line.has("--script")) {
        throw UsageError("--script takes no options of the effect beside it; leave out '" + name +
                         "'");
    }
    throw UsageError("unknown option '" + name + "'" +
                     (hint.empty() ? "; --help lists them all" : hint));
}

// The effect's options in the published order, of each the last text that was given.
std::vector<EffectArgument> effectArguments(const ParsedLine& line,
                                            const std::vector<ParameterOption>& effectOptions) {
    for (const ParsedLine::OtherOption& other : line.others) {
        const auto hasName = [&](const auto& option) { return option.name == other.name; };
        const auto option = std::find_if(effectOptions.begin(), effectOptions.end(), hasName);
        if (option == effectOptions.end()) {
            refuseUnknown(other.name, line, effectOptions);
        }
        if (other.text.empty()) {
            throw UsageError(option->name + " takes a value: " + option->takes);
        }
    }
    std::vector<EffectArgument> arguments;
    for (const ParameterOption& option : effectOptions) {
        const auto last =
            std::find_if(line.others.rbegin(), line.others.rend(),
                         [&](const auto& other) { return other.name == option.name; });
        if (last != line.others.rend()) {
            arguments.push_back({&option, last->text});
        }
    }
    return arguments;
}

// What prints something renders nothing and saves nothing beside it.
void checkFiles(const Arguments& arguments) {
    const std::string input = arguments.input.file.string();
    const bool hasOutput = !arguments.output.file.empty();
    if (input.empty() && hasOutput) {
        throw UsageError("INPUT is an empty name; --help tells what it can be");
    }
    for (const auto& [option, isGiven] : {std::pair("--script", !arguments.script.empty()),
                                          {"--about", arguments.about},
                                          {"--list-parameters", arguments.listParameters}}) {
        if (isGiven && !input.empty()) {
            throw UsageError(std::string(option) +
                             " takes no INPUT and OUTPUT beside it; leave out '" + input + "'");
        }
        if (isGiven && !arguments.savePreset.empty()) {
            throw UsageError(std::string(option) +
                             " takes no --save-preset beside it; leave one of them out");
        }
        if (isGiven) {
            return;
        }
    }
    const bool onlySaves = !arguments.savePreset.empty() && input.empty();
    if (!onlySaves && !hasOutput) {
        throw UsageError(input.empty() ? "INPUT and OUTPUT are missing; --help tells more"
                                       : "OUTPUT is missing; --help tells more");
    }
}

void checkPipes(const Arguments& arguments) {
    if (arguments.preset == "-" && arguments.input.file == "-") {
        throw UsageError("--preset and INPUT can't both be standard input; name a file for one");
    }
    if (arguments.savePreset == "-" && arguments.output.file == "-") {
        throw UsageError(
            "--save-preset and OUTPUT can't both be standard output; name a file for one");
    }
}

// Frames that are drawn already can't be drawn otherwise.
void checkDrawn(const Arguments& arguments) {
    const std::string without = "--drawn takes frames that are drawn already; leave out ";
    if (arguments.drawn.empty()) {
        return;
    }
    if (!arguments.values.empty()) {
        throw UsageError(without + arguments.values.front().option->name);
    }
    for (const auto& [option, isGiven] : {std::pair("--preset", !arguments.preset.empty()),
                                          {"--downsample", arguments.downsample != 1}}) {
        if (isGiven) {
            throw UsageError(without + option);
        }
    }
    if (arguments.drawn == "-") {
        throw UsageError("--drawn takes a sequence or a clip in a file, not standard input");
    }
}

// What is wrong with every file is wrong usage. Where no input is named or described there is
// nothing to check, and no need to load what would.
void checkInput(const Host::ClipInput& input) {
    if (input.file.empty() && input.format.empty() && input.videoSize.empty() &&
        input.pixelFormat.empty() && input.frameRate.empty()) {
        return;
    }
    try {
        Host::checkClipInput(input);
    } catch (const Host::Error& error) {
        throw UsageError(textWithOptions(error));
    }
}

} // namespace

Arguments readArguments(const ParsedLine& line, const std::vector<ParameterOption>& effectOptions) {
    Arguments arguments;
    arguments.values = effectArguments(line, effectOptions);
    if (!line.problem.empty()) {
        throw UsageError(line.problem);
    }
    if (!line.surplus.empty()) {
        throw UsageError("'" + line.surplus.front() +
                         "' is one argument too many; an INPUT and an OUTPUT are taken");
    }
    for (const Option& option : programOptions()) {
        if (option.store == nullptr || !line.has(option.name)) {
            continue;
        }
        const std::vector<std::string>& texts = line.texts.at(option.name);
        for (auto text = option.repeats ? texts.begin() : texts.end() - 1; text != texts.end();
             ++text) {
            option.store(arguments, *text);
        }
    }
    arguments.renderer = rendererRequest(line);
    checkFiles(arguments);
    checkPipes(arguments);
    checkDrawn(arguments);
    checkInput(arguments.input);
    return arguments;
}

} // namespace Vexorel::PrismDrift::CommandLine
