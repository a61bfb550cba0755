// Command lines, one word a line, up to where a file would be opened.

#include "Host/CommandLine/ChosenValues.h"
#include "Host/CommandLine/ClipErrorText.h"
#include "Host/CommandLine/Sheet/SheetArguments.h"
#include "Host/CommandLine/Usage.h"
#include "Host/Library/Error.h"
#include "Host/Library/Text.h"
#include "Host/Media/SequencePattern.h"
#include "Tests/Fuzz/Target.h"
#include "Tests/Host/FakeEffect.h"

namespace Host = Vexorel::PrismDrift::Host;
using namespace Vexorel::PrismDrift::CommandLine;

namespace {

// What the program does with a line before it opens a file.
void interpret(const ParsedLine& line, const Host::HostedEffect& effect) {
    static const std::vector<ParameterOption> options = parameterOptions(effect.parameters());
    Arguments arguments = readArguments(line, options);
    arguments.preset.clear();
    if (line.command == Command::Sheet) {
        const SheetArguments sheet = readSheetArguments(arguments, options);
        for (const Variation& variation : sheet.variations) {
            Host::ParameterValues values = effect.defaultValues();
            for (const std::string& value : variation.values) {
                variation.option->apply(value, values);
            }
        }
        arguments = sheet.common;
    } else if (!arguments.output.file.empty()) {
        Host::checkClipOutput(arguments.output);
    }
    Host::SequencePattern::of(arguments.input.file);
    Host::ParameterValues values = chosenValues(effect, arguments);
    values.resolve({[] { return 100; },
                    [](double seconds) {
                        return Host::nearestFrame(seconds, {25, 1});
                    }});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Host::HostedEffect effect(&FakeEffect::entry);
    std::string text = "prismdrift\n" + std::string(Fuzz::textOf(data, size));
    std::replace(text.begin(), text.end(), '\n', '\0');
    std::vector<const char*> words;
    for (const std::string_view word : Host::split(text, '\0')) {
        words.push_back(word.data()); // the next separator ends it
    }
    const ParsedLine line = parseLine(static_cast<int>(words.size()), words.data());
    try {
        interpret(line, effect);
    } catch (const UsageError& error) {
        EXPECT_STRNE(error.what(), "");
    } catch (const Host::Error& error) {
        EXPECT_NE(textWithOptions(error), "");
    }
    if (line.has("--help")) {
        EXPECT_NE(helpText(line.command, parameterOptions(effect.parameters())), "");
    }
    return 0;
}
