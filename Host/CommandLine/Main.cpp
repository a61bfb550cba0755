// The program prismdrift: renders a still picture with the effect.

#include "Host/CommandLine/Arguments.h"
#include "Host/CommandLine/PluginSearch.h"
#include "Host/CommandLine/RunScript.h"
#include "Host/CommandLine/StandardOutput.h"
#include "Host/CommandLine/Usage.h"
#include "Host/Library/Effect.h"
#include "Host/Library/Error.h"
#include "Host/Media/Picture.h"
#include "Host/Media/ReplaceFile.h"

#include <iostream>
#include <memory>

namespace {

namespace Host = Vexorel::PrismDrift::Host;

enum ExitStatus { Done = 0, CouldNot = 1, WrongUsage = 2 };

// The plug-in to use, or an error that says where one was looked for.
std::filesystem::path pluginFor(const EarlyArguments& early) {
    if (early.plugin) {
        return *early.plugin;
    }
    const PluginSearch search = findPlugin();
    if (search.found) {
        return *search.found;
    }
    std::string text = "the plug-in was not found; looked for";
    for (const auto& place : search.looked) {
        text += (place == search.looked.front() ? " '" : ", '") + place.string() + "'";
    }
    throw Host::Error(text + "; --plugin FILE names another");
}

// What can be told without a plug-in is told without one, too.
std::string information(const EarlyArguments& early) {
    std::unique_ptr<Host::Effect> effect;
    std::string missing;
    try {
        effect = std::make_unique<Host::Effect>(pluginFor(early));
    } catch (const Host::Error& error) {
        missing = error.what();
    }
    if (early.help) {
        return helpText(effect ? parameterOptions(effect->parameters())
                               : std::vector<ParameterOption>()) +
               (effect ? "" : "\nThe effect's own options are missing: " + missing + "\n");
    }
    std::string text = "prismdrift " PRISMDRIFT_VERSION "\n";
    if (!effect) {
        return text + "no effect: " + missing + "\n";
    }
    const std::string about = effect->about();
    return text + "effect: " + about.substr(0, about.find('\n')) + "\n";
}

// Before any work is done: a name that no format can be read from is wrong usage, the rest is not.
void checkOutput(const std::filesystem::path& output) {
    std::error_code ignored;
    if (!std::filesystem::is_directory(output, ignored)) {
        try {
            Host::checkPictureName(output);
        } catch (const Host::Error& error) {
            throw UsageError(error.what());
        }
    }
    Host::checkReplaceable(output);
}

void render(Host::Effect& effect, const Arguments& arguments) {
    Host::ParameterValues values = effect.defaultValues();
    for (const auto& [option, text] : arguments.values) {
        option->apply(text, values);
    }
    checkOutput(arguments.output);
    Host::Picture picture = Host::readPicture(arguments.input);
    Host::FrameSettings settings;
    settings.downsample = arguments.downsample;
    Host::World result(picture.world.width(), picture.world.height());
    effect.render(picture.world, result, values, settings);
    picture.world = std::move(result);
    const std::string warning = Host::writePicture(arguments.output, picture);
    if (!warning.empty() && !arguments.quiet) {
        std::cerr << "prismdrift: warning: " << warning << "\n";
    }
}

void run(int count, const char* const* words) {
    const EarlyArguments early = readEarlyArguments(count, words);
    const StandardOutput output(early.verbose);
    if (early.help || early.version) {
        output.write(information(early));
        return;
    }
    if (early.script) { // needs no effect
        output.write(runScript(readArguments(count, words, {}).script) + "\n");
        return;
    }
    Host::Effect effect(pluginFor(early));
    const std::vector<ParameterOption> options = parameterOptions(effect.parameters());
    const Arguments arguments = readArguments(count, words, options);
    if (arguments.about) {
        output.write(effect.about() + "\n");
    } else if (arguments.listParameters) {
        output.write(parameterTable(effect.parameters()));
    } else {
        render(effect, arguments);
    }
}

int complain(const char* text, ExitStatus status) {
    std::cerr << "prismdrift: error: " << text << "\n";
    return status;
}

} // namespace

int main(int count, char** words) {
    try {
        run(count, words);
        return Done;
    } catch (const UsageError& error) {
        return complain(error.what(), WrongUsage);
    } catch (const std::bad_alloc&) {
        return complain("there is not enough memory", CouldNot);
    } catch (const std::exception& error) {
        return complain(error.what(), CouldNot);
    }
}
