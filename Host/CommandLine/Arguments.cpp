#include "Host/CommandLine/Arguments.h"

#include "Host/CommandLine/Usage.h"
#include "Host/Library/Number.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>

namespace {

using Vexorel::PrismDrift::Host::parseNumber;

constexpr double largestDownsample = 65536;
constexpr std::size_t helpColumn = 28; // where the help's second column starts

// CLI11's layout, with our own words where it would put what can't be left out in brackets.
class HelpLayout : public CLI::Formatter {
public:
    HelpLayout() { column_width(helpColumn); }

    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
        return "Usage: prismdrift [options] INPUT OUTPUT\n";
    }
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

// CLI11's parser over our options, and what it found.
class Parser {
public:
    explicit Parser(const std::vector<ParameterOption>& options) : mOptions(options) {
        mApp.set_help_flag();
        mApp.formatter(std::make_shared<HelpLayout>());
        mApp.allow_extras();
        mApp.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
        addPositionals();
        addParameters();
        addOthers();
    }

    // Nothing that CLI11 stumbles over is lost: it comes out of `problem`.
    void parse(int count, const char* const* arguments) {
        std::vector<std::string> words = joined(count, arguments);
        std::reverse(words.begin(), words.end()); // as CLI11 takes them
        try {
            mApp.parse(std::move(words));
        } catch (const CLI::ParseError& error) {
            mProblem = error.what();
        }
    }

    EarlyArguments early() const {
        EarlyArguments found;
        if (!mPlugin.empty()) {
            found.plugin = mPlugin;
        }
        if (!mScript.empty()) {
            found.script = mScript;
        }
        found.verbose = mVerbose;
        found.help = mHelp;
        found.version = mVersion;
        return found;
    }

    Arguments result() const {
        complainAboutTheRest();
        Arguments found;
        found.listParameters = mListParameters;
        found.about = mAbout;
        found.quiet = mQuiet;
        found.downsample = downsample();
        found.input = mInput;
        found.output = mOutput;
        found.script = mScript;
        for (std::size_t i = 0; i < mOptions.size(); ++i) {
            if (mApp.get_option(mOptions[i].name)->count() > 0) {
                found.values.emplace_back(&mOptions[i], mTexts[i]);
            }
        }
        if (!mScript.empty() && !mInput.empty()) {
            throw UsageError("--script stands alone, without INPUT and OUTPUT; not '" + mInput +
                             "'");
        }
        if (!mListParameters && !mAbout && mScript.empty() && mOutput.empty()) {
            throw UsageError(mInput.empty() ? "INPUT and OUTPUT are missing; --help tells more"
                                            : "OUTPUT is missing; --help tells more");
        }
        return found;
    }

    std::string help() const { return mApp.help(); }

private:
    void addPositionals() {
        mApp.add_option("INPUT", mInput, "The picture to read: a local file")->type_name("");
        mApp.add_option("OUTPUT", mOutput,
                        wrapped("The picture to write, in the format of its name's ending"))
            ->type_name("");
    }

    void addParameters() {
        mTexts.resize(mOptions.size());
        for (std::size_t i = 0; i < mOptions.size(); ++i) {
            mApp.add_option(mOptions[i].name, mTexts[i], wrapped(mOptions[i].meaning))
                ->type_name(mOptions[i].takes)
                ->group("The effect");
        }
    }

    void addOthers() {
        mApp.add_option(
                "--downsample", mDownsample,
                wrapped("The picture stands for one N times as large: distances are divided by N"))
            ->type_name("N")
            ->group("Rendering");
        mApp.add_option("--plugin", mPlugin, "The plug-in to load instead of the program's own")
            ->type_name("FILE")
            ->group("Rendering");
        addFlag("--list-parameters", mListParameters,
                "Print what the effect publishes about its parameters");
        addFlag("--about", mAbout, "Print what the effect says about itself");
        mApp.add_option("--script", mScript,
                        wrapped("Run the script in FILE and print its value as text"))
            ->type_name("FILE")
            ->group("Information");
        addFlag("--version", mVersion, "Print the versions of the program and its effect");
        addFlag("--help,-h", mHelp, "Print this help");
        addFlag("--quiet", mQuiet, "Print errors only, no warnings");
        addFlag("--verbose", mVerbose, "Show what the plug-in itself prints, too");
    }

    void addFlag(const char* names, bool& flag, const char* meaning) {
        mApp.add_flag(names, flag, wrapped(meaning))->group("Information")->disable_flag_override();
    }

    // An option and its value as one word, so that a value may begin with a dash.
    std::vector<std::string> joined(int count, const char* const* arguments) const {
        std::vector<std::string> words;
        bool optionsOver = false;
        for (int i = 1; i < count; ++i) {
            std::string word = arguments[i];
            const CLI::Option* option = optionsOver ? nullptr : mApp.get_option_no_throw(word);
            optionsOver = optionsOver || word == "--";
            const bool takesValue = word.rfind("--", 0) == 0 && option != nullptr &&
                                    option->get_expected_max() > 0 &&
                                    !option->get_type_name().empty();
            if (takesValue && i + 1 < count &&
                mApp.get_option_no_throw(arguments[i + 1]) == nullptr) {
                word += std::string("=") + arguments[++i];
            }
            words.push_back(std::move(word));
        }
        return words;
    }

    // Unknown options first, with the name that was meant; then what CLI11 said.
    void complainAboutTheRest() const {
        const std::vector<std::string> rest = mApp.remaining();
        for (const std::string& word : rest) {
            if (word.size() > 1 && word[0] == '-') {
                const std::string name = word.substr(0, word.find('='));
                throw UsageError(
                    "unknown option '" + name + "'" + nearestHint(name, names()) +
                    (nearestHint(name, names()).empty() ? "; --help lists them all" : ""));
            }
        }
        if (!mProblem.empty()) {
            throw UsageError(problem());
        }
        if (!rest.empty()) {
            throw UsageError("'" + rest.front() +
                             "' is one argument too many; an INPUT and an OUTPUT are taken");
        }
    }

    // CLI11's words begin with the option's name, without dashes if it is a flag that was given a
    // value; ours say what it takes.
    std::string problem() const {
        const std::string name = mProblem.substr(0, mProblem.find_first_of(": ="));
        const CLI::Option* option = mApp.get_option_no_throw(name);
        if (option == nullptr && mApp.get_option_no_throw("--" + name) != nullptr) {
            return "--" + name + " takes no value";
        }
        if (option != nullptr && !option->get_type_name().empty()) {
            return name + " takes a value: " + option->get_type_name();
        }
        return mProblem;
    }

    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const CLI::Option* option : mApp.get_options()) {
            for (const std::string& name : option->get_lnames()) {
                all.push_back("--" + name);
            }
        }
        return all;
    }

    std::uint32_t downsample() const {
        const auto number = parseNumber(mDownsample);
        if (!number || *number != std::floor(*number) || *number < 1 ||
            *number > largestDownsample) {
            throw UsageError("--downsample takes a whole number from 1 to 65536, not '" +
                             mDownsample + "'");
        }
        return static_cast<std::uint32_t>(*number);
    }

    const std::vector<ParameterOption>& mOptions;
    CLI::App mApp{"Shifts the red, green and blue of a picture apart.", "prismdrift"};
    std::string mInput, mOutput, mPlugin, mScript, mDownsample = "1", mProblem;
    std::vector<std::string> mTexts;
    bool mListParameters = false, mAbout = false, mVersion = false, mHelp = false, mQuiet = false,
         mVerbose = false;
};

} // namespace

EarlyArguments readEarlyArguments(int count, const char* const* arguments) {
    const std::vector<ParameterOption> none;
    Parser parser(none);
    parser.parse(count, arguments);
    return parser.early();
}

Arguments readArguments(int count, const char* const* arguments,
                        const std::vector<ParameterOption>& options) {
    Parser parser(options);
    parser.parse(count, arguments);
    return parser.result();
}

std::string helpText(const std::vector<ParameterOption>& options) {
    return Parser(options).help();
}
