#include "Host/CommandLine/ParseLine.h"

#include "Host/CommandLine/Options.h"
#include "Host/Library/Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstring>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

constexpr std::size_t helpColumn = 28; // where the help's second column starts

struct CommandWords {
    const char* usage;
    const char* description;
};

CommandWords wordsOf(Command command) {
    if (command == Command::Sheet) {
        return {"prismdrift sheet [options] INPUT OUTPUT",
                "Renders one picture with different settings and lays the results out side by\n"
                "side, labelled: all channel orders, or the values that --vary names."};
    }
    return {"prismdrift [options] INPUT OUTPUT\n"
            "       prismdrift sheet [options] INPUT OUTPUT\n"
            "                            compares settings in one picture, see sheet --help",
            "Shifts the red, green and blue of a picture apart. Keyframes change a value\n"
            "over time: \"0=0; 50=20\" goes from 0 at frame 0 to 20 at frame 50."};
}

// CLI11's layout, without its marks behind the names of options, and with a usage line of ours.
class HelpLayout : public CLI::Formatter {
public:
    explicit HelpLayout(std::string usage) : mUsage(std::move(usage)) { column_width(helpColumn); }

    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
        return "Usage: " + mUsage + "\n";
    }

    std::string make_option_opts(const CLI::Option* option) const override {
        return option->get_type_name().empty() ? "" : " " + option->get_type_name();
    }

private:
    std::string mUsage;
};

// Breaks the text into lines that stand beside the options on a terminal of 80 columns.
std::string wrapped(const std::string& text) {
    constexpr std::size_t width = 80 - helpColumn;
    std::string result;
    std::size_t start = 0;
    while (text.size() - start > width) {
        const std::size_t blank = text.rfind(' ', start + width);
        if (blank == std::string::npos || blank <= start) {
            break;
        }
        result += text.substr(start, blank - start) + "\n";
        start = blank + 1;
    }
    return result + text.substr(start);
}

// CLI11 ends a group with a blank line and begins the next with one.
std::string singleSpaced(std::string text) {
    for (std::size_t at = 0; (at = text.find("\n\n\n", at)) != std::string::npos;) {
        text.erase(at, 1);
    }
    return text;
}

void addOption(CLI::App& app, const Option& option, Command command) {
    const bool isSheet = command == Command::Sheet;
    const std::string help =
        wrapped(isSheet && option.sheetHelp != nullptr ? option.sheetHelp : option.help);
    if (option.isFlag()) {
        const std::string shortName = option.shortName ? std::string(",") + option.shortName : "";
        app.add_flag(option.name + shortName, help)->group(option.group)->disable_flag_override();
        return;
    }
    CLI::Option* added = app.add_option(option.name, CLI::callback_t(), help);
    added->type_name(isSheet && option.sheetTakes != nullptr ? option.sheetTakes : option.takes);
    if (!option.isFile()) {
        added->group(option.group)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
            ->expected(1)
            ->allow_extra_args(false);
    }
}

// CLI11's parser of a command; the effect's options are in it for the help only.
void setUp(CLI::App& app, Command command, const std::vector<ParameterOption>& effectOptions = {}) {
    const CommandWords words = wordsOf(command);
    app.description(words.description);
    app.set_help_flag();
    app.formatter(std::make_shared<HelpLayout>(words.usage));
    app.allow_extras();
    bool hasEffect = false;
    for (const Option& option : programOptions()) {
        if (std::strcmp(option.group, effectGroup) == 0 && !std::exchange(hasEffect, true)) {
            for (const ParameterOption& parameter : effectOptions) {
                app.add_option(parameter.name, CLI::callback_t(),
                               wrapped(Host::printable(parameter.meaning)))
                    ->type_name(Host::printable(parameter.takes))
                    ->group(effectGroup);
            }
        }
        if (option.isTakenBy(command)) {
            addOption(app, option, command);
        }
    }
}

// Takes out of a line the options that CLI11 doesn't know and those with a value missing or too
// many. What is left has each option and its value in one word, so that a value may begin with a
// dash.
class WordSorter {
public:
    WordSorter(const CLI::App& app, std::vector<std::string> words)
        : mApp(app), mWords(std::move(words)) {}

    std::vector<std::string> sort(ParsedLine& line) {
        std::vector<std::string> sorted;
        bool optionsOver = false;
        while (mNext < mWords.size()) {
            const std::string word = mWords[mNext++];
            optionsOver = optionsOver || word == "--";
            if (isOption(word) && !optionsOver) {
                sortOption(word, sorted, line);
            } else {
                sorted.push_back(word);
            }
        }
        return sorted;
    }

private:
    static bool isOption(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

    void sortOption(const std::string& word, std::vector<std::string>& sorted, ParsedLine& line) {
        const std::string name = word.substr(0, word.find('='));
        const CLI::Option* option = mApp.get_option_no_throw(name);
        const bool isFlag = option != nullptr && option->get_type_name().empty();
        if (isFlag && name != word) {
            note(line, name + " takes no value");
        } else if (isFlag) {
            sorted.push_back(word);
        } else {
            const std::string text = name == word ? nextValue(word) : word.substr(name.size() + 1);
            if (option == nullptr) {
                line.others.push_back({name, text});
            } else if (text.empty()) {
                note(line, name + " takes a value: " + option->get_type_name() +
                               (name == word ? hintAtDashes(name) : ""));
            } else {
                sorted.push_back(name + "=" + text);
            }
        }
    }

    // The first problem is the one to report.
    static void note(ParsedLine& line, const std::string& problem) {
        if (line.problem.empty()) {
            line.problem = problem;
        }
    }

    // How to write the value that is next in the line, if it looks like an option and is none.
    std::string hintAtDashes(const std::string& option) const {
        const std::string next = mNext < mWords.size() ? mWords[mNext] : "";
        const bool isValue = next.size() > 2 && next.rfind("--", 0) == 0 &&
                             mApp.get_option_no_throw(next.substr(0, next.find('='))) == nullptr;
        return isValue ? "; one that begins with -- is written " + option + "=VALUE" : "";
    }

    // The word behind the option if it can be its value; otherwise empty.
    std::string nextValue(const std::string& option) {
        const bool isLong = option.rfind("--", 0) == 0;
        if (!isLong || mNext == mWords.size() || mWords[mNext].rfind("--", 0) == 0 ||
            (isOption(mWords[mNext]) && mApp.get_option_no_throw(mWords[mNext]) != nullptr)) {
            return "";
        }
        return mWords[mNext++];
    }

    const CLI::App& mApp;
    const std::vector<std::string> mWords;
    std::size_t mNext = 0;
};

} // namespace

ParsedLine parseLine(int count, const char* const* words) {
    ParsedLine line;
    std::vector<std::string> rest(words + std::min(count, 1), words + count);
    if (!rest.empty() && rest.front() == "sheet") {
        line.command = Command::Sheet;
        rest.erase(rest.begin());
    }
    CLI::App app;
    setUp(app, line.command);
    std::vector<std::string> known = WordSorter(app, std::move(rest)).sort(line);
    std::reverse(known.begin(), known.end()); // as CLI11 takes them
    try {
        app.parse(std::move(known));
    } catch (const CLI::ParseError& error) {
        line.problem += line.problem.empty() ? error.what() : "";
    }
    for (const Option& option : programOptions()) {
        const CLI::Option* found =
            option.isTakenBy(line.command) ? app.get_option(option.name) : nullptr;
        if (found != nullptr && found->count() > 0) {
            line.texts[option.name] =
                option.isFlag() ? std::vector<std::string>(1) : found->results();
        }
    }
    line.surplus = app.remaining();
    const auto separator = std::find(line.surplus.begin(), line.surplus.end(), "--");
    if (separator != line.surplus.end()) { // CLI11 leaves it there
        line.surplus.erase(separator);
    }
    return line;
}

std::string helpText(Command command, const std::vector<ParameterOption>& effectOptions) {
    CLI::App app;
    setUp(app, command, effectOptions);
    return singleSpaced(app.help());
}

} // namespace Vexorel::PrismDrift::CommandLine
