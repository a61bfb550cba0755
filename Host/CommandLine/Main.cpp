// The program prismdrift: renders pictures, sequences and video with the effect.

#include "Host/CommandLine/Arguments.h"
#include "Host/CommandLine/ChosenValues.h"
#include "Host/CommandLine/ClipErrorText.h"
#include "Host/CommandLine/Interruption.h"
#include "Host/CommandLine/MemoryWatch.h"
#include "Host/CommandLine/ModuleSearch.h"
#include "Host/CommandLine/ParseLine.h"
#include "Host/CommandLine/PictureDrawing.h"
#include "Host/CommandLine/Preset.h"
#include "Host/CommandLine/Progress.h"
#include "Host/CommandLine/RenderClip.h"
#include "Host/CommandLine/RendererOption.h"
#include "Host/CommandLine/RunScript.h"
#include "Host/CommandLine/Sheet/Sheet.h"
#include "Host/CommandLine/Sheet/SheetArguments.h"
#include "Host/CommandLine/StandardOutput.h"
#include "Host/CommandLine/Usage.h"
#include "Host/CommandLine/VersionText.h"
#include "Host/Library/Error.h"
#include "Host/Library/HostedEffect.h"
#include "Host/Library/ReplaceFile.h"
#include "Host/Library/Text.h"
#include "Host/Media/Clip.h"
#include "Host/Media/ClipError.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <limits>
#include <malloc.h>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>
#include <unistd.h>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

enum ExitStatus { Done = 0, CouldNot = 1, WrongUsage = 2 };

// The plug-in to use, or an error that says where one was looked for.
std::filesystem::path pluginFor(const ParsedLine& line) {
    return line.has("--plugin")
               ? std::filesystem::path(line.last("--plugin"))
               : findModule("PrismDrift.so", "the plug-in", "; --plugin FILE names another");
}

// What draws, or what is wrong with the wish for it.
std::string rendererLine(const ParsedLine& line) {
    try {
        return Host::rendererText(rendererRequest(line));
    } catch (const UsageError& error) {
        return error.what();
    }
}

// The text of --help or --version. Without a plug-in it says why its part is missing.
std::string information(const ParsedLine& line) {
    std::unique_ptr<Host::HostedEffect> effect;
    std::string missing;
    try {
        effect = std::make_unique<Host::HostedEffect>(pluginFor(line));
    } catch (const std::runtime_error& error) {
        missing = error.what();
    }
    if (!line.has("--help")) {
        return versionText(effect.get(), missing, rendererLine(line));
    }
    if (effect == nullptr) {
        return helpText(line.command, {}) + "\nThe effect's own options are missing: " + missing +
               "\n";
    }
    return helpText(line.command, parameterOptions(effect->parameters()));
}

void checkOutput(const Arguments& arguments) {
    try {
        Host::checkClipOutput(arguments.output);
    } catch (const Host::Error& error) {
        throw UsageError(textWithOptions(error));
    }
}

// A file appears whole or not at all.
void savePreset(const std::filesystem::path& file, const Host::ParameterValues& values,
                const StandardOutput& standardOutput) {
    const std::string text = presetText(values);
    if (file == "-") {
        standardOutput.write(text);
    } else {
        Host::replaceFile(file, text.data(), text.size());
    }
}

void sayInterrupted(std::int64_t frames) {
    const std::string text =
        frames == 0   ? "; nothing is written"
        : frames == 1 ? " after 1 frame, which is written"
                      : " after " + std::to_string(frames) + " frames, which are written";
    std::cerr << "prismdrift: interrupted" << text << "\n";
}

// The drawn frames that stand in for those that `input` would be drawn to; nothing without any.
std::optional<DrawnFrames> drawnFrames(const Arguments& arguments, const Host::ClipInput& input) {
    if (arguments.drawn.empty()) {
        return std::nullopt;
    }
    Host::ClipInput drawn;
    drawn.file = arguments.drawn;
    drawn.frames = input.frames;
    if (input.missing == Host::Missing::Skip) {
        drawn.missing = input.missing; // nobody has drawn what the input lacks
    }
    drawn.picture.worlds = input.picture.worlds;
    drawn.limits = input.limits;
    return DrawnFrames(drawn);
}

// Gives the signal that ended it early, 0 for none.
int render(Host::HostedEffect& effect, const Arguments& arguments,
           const StandardOutput& standardOutput) {
    if (!arguments.output.file.empty()) {
        checkOutput(arguments);
    }
    Host::ParameterValues values = chosenValues(effect, arguments);
    if (!arguments.savePreset.empty()) {
        savePreset(arguments.savePreset, values, standardOutput);
    }
    if (arguments.output.file.empty()) {
        return 0; // there is nothing to render
    }
    Progress* shown = nullptr; // once frames are read
    const auto renderer = rendererFor(effect, arguments);
    Host::ClipInput input = arguments.input;
    input.picture.worlds = worldsFor(arguments, *renderer);
    input.limits.warn = [&](const Host::Error& left) {
        if (shown != nullptr) {
            shown->warn(textWithOptions(left));
        }
    };
    const auto reader = Host::openClip(input);
    auto drawn = drawnFrames(arguments, input);
    values.resolve({[&] { return reader->frameCount(); },
                    [&](double seconds) { return reader->frameAt(seconds); }});
    const Host::ClipProperties& clip = reader->properties();
    Progress progress(arguments.progressStyle(), !arguments.quiet, clip.expected);
    shown = &progress;
    Host::ClipOutput output = arguments.output;
    output.standardOutput = standardOutput.descriptor();
    output.warn = [&](const std::string& text) { progress.warn(text); };
    PictureDrawing drawing(*renderer, {arguments.downsample, arguments.linear}, output.warn);
    // From here on there may be a temporary file to remove.
    const FirstSignalKept signals;
    const auto writer = Host::openClipWriter(output, input, *reader);
    const int signal = renderClip({drawing, values, *reader, *writer, progress, signals,
                                   arguments.verbose, drawn ? &*drawn : nullptr});
    checkMemory(); // of a pipe
    progress.finish(signal == 0);
    if (signal != 0 && !arguments.quiet) {
        sayInterrupted(progress.frames());
    }
    return signal;
}

int run(const ParsedLine& line) {
    const StandardOutput output(line.has("--verbose"));
    if (line.has("--help") || line.has("--version")) {
        output.show(information(line));
        return Done;
    }
    if (line.has("--script")) { // needs no effect
        output.write(runScript(readArguments(line, {}).script) + "\n");
        return Done;
    }
    Host::HostedEffect effect(pluginFor(line));
    const std::vector<ParameterOption> options = parameterOptions(effect.parameters());
    const Arguments arguments = readArguments(line, options);
    if (line.command == Command::Sheet) {
        makeSheet(effect, options, readSheetArguments(arguments, options));
    } else if (arguments.about) {
        output.show(effect.about() + "\n");
    } else if (arguments.listParameters) {
        output.show(parameterTable(effect.parameters()));
    } else if (const int signal = render(effect, arguments, output); signal != 0) {
        constexpr int interrupted = 128; // as shells count it
        return interrupted + signal;
    }
    return Done;
}

// Frames come and go in buffers of megabytes: memory that the system takes back after each frame,
// and clears before the next, costs more than it saves.
void keepMemory() {
    constexpr int largest = 32 << 20; // that the C library takes
    mallopt(M_MMAP_THRESHOLD, largest);
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

// A lack of memory where an exception can't be thrown, such as in the parser of the command line.
// For all other causes the program aborts, as it would without this.
[[noreturn]] void endWithoutMemory() {
    try {
        if (const auto error = std::current_exception()) {
            std::rethrow_exception(error);
        }
    } catch (const std::bad_alloc&) {
        constexpr std::string_view text = "prismdrift: error: there is not enough memory\n";
        Host::writeAll(STDERR_FILENO, text.data(), text.size());
        std::_Exit(CouldNot);
    } catch (...) { // NOLINT(bugprone-empty-catch)
    }
    std::abort();
}

// Before all objects of the program's are made.
[[gnu::constructor(101)]] void prepareForLackOfMemory() {
    std::set_terminate(&endWithoutMemory);
}

// `shown` are lines that may follow.
int complain(const std::string& text, ExitStatus status, const std::string& shown = "") {
    std::cerr << "prismdrift: error: " << Host::printable(text) << "\n"
              << shown << (shown.empty() ? "" : "\n");
    return status;
}

int runOrComplain(int count, const char* const* words) {
    keepMemory();
    Host::setCommitCheck(&checkMemory);
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe is an error of writing
    try {
        return run(parseLine(count, words));
    } catch (const UsageError& error) {
        return complain(error.what(), WrongUsage, error.shown());
    } catch (const std::bad_alloc&) {
        return complain("there is not enough memory", CouldNot);
    } catch (const std::exception& error) {
        return complain(textWithOptions(error), CouldNot);
    }
}

} // namespace
} // namespace Vexorel::PrismDrift::CommandLine

int main(int count, char** words) {
    return Vexorel::PrismDrift::CommandLine::runOrComplain(count, words);
}
