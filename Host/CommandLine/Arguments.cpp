#include "Host/CommandLine/Arguments.h"

#include "Host/CommandLine/Usage.h"
#include "Host/Library/Error.h"
#include "Host/Library/Number.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

using Host::parseNumber;

constexpr double largestDownsample = 65536;
constexpr std::size_t helpColumn = 28; // where the help's second column starts

// CLI11's layout, with our own words where it would put what can't be left out in brackets.
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

constexpr const char* ownUsage =
    "prismdrift [options] INPUT OUTPUT\n"
    "       prismdrift sheet [options] INPUT OUTPUT\n"
    "                            compares settings in one picture, see sheet --help";

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

// CLI11's parser over our options, and what it found.
class Parser {
public:
    explicit Parser(const std::vector<ParameterOption>& options,
                    const SubCommand* subCommand = nullptr)
        : mOptions(options) {
        mApp.set_help_flag();
        mApp.formatter(std::make_shared<HelpLayout>(subCommand ? subCommand->usage : ownUsage));
        mApp.allow_extras();
        mApp.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
        addPositionals();
        if (subCommand != nullptr) {
            addOwn(*subCommand);
        }
        addParameters();
        addClips();
        addOthers();
        if (subCommand != nullptr) {
            changeFor(*subCommand);
        }
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
        found.progress = progress();
        found.downsample = downsample();
        found.input = input();
        found.output = output();
        found.script = mScript;
        found.own = mOwn;
        found.preset = mPreset;
        found.savePreset = mSavePreset;
        for (std::size_t i = 0; i < mOptions.size(); ++i) {
            if (mApp.get_option(mOptions[i].name)->count() > 0) {
                found.values.emplace_back(&mOptions[i], mTexts[i]);
            }
        }
        if (!mScript.empty() && !mInput.empty()) {
            throw UsageError("--script stands alone, without INPUT and OUTPUT; not '" + mInput +
                             "'");
        }
        const bool onlySaves = !mSavePreset.empty() && mInput.empty();
        if (!mListParameters && !mAbout && mScript.empty() && mOutput.empty() && !onlySaves) {
            throw UsageError(mInput.empty() ? "INPUT and OUTPUT are missing; --help tells more"
                                            : "OUTPUT is missing; --help tells more");
        }
        return found;
    }

    std::string help() const { return singleSpaced(mApp.help()); }

private:
    void addPositionals() {
        mApp.add_option("INPUT", mInput,
                        wrapped("A picture, a sequence such as in.%04d.png or in.####.png, a "
                                "video file, or - for standard input"))
            ->type_name("");
        mApp.add_option("OUTPUT", mOutput,
                        wrapped("The same, in the format of its name's ending; - is standard "
                                "output"))
            ->type_name("");
    }

    void addParameters() {
        mTexts.resize(mOptions.size());
        for (std::size_t i = 0; i < mOptions.size(); ++i) {
            mApp.add_option(mOptions[i].name, mTexts[i], wrapped(mOptions[i].meaning))
                ->type_name(mOptions[i].takes)
                ->group("The effect");
        }
        addText("The effect", "--preset", mPreset, "FILE",
                "Take the values in a preset; what is given on the line comes before it");
        addText("The effect", "--save-preset", mSavePreset, "FILE",
                "Keep all values in a preset; needs no INPUT and OUTPUT");
    }

    void addText(const char* group, const char* name, std::string& text, const char* takes,
                 const char* meaning) {
        mApp.add_option(name, text, wrapped(meaning))->type_name(takes)->group(group);
    }

    void addClips() {
        const char* group = "Input";
        addText(group, "--frames", mFrames, "RANGE",
                "Only these frames, 10-99 or 1-100x2,200: a sequence's by its numbers, a video's "
                "counted from 0");
        addText(group, "--missing", mMissing, "skip|hold",
                "What a sequence lacks is left out, or the picture before stands for it");
        addText(group, "--framerate", mFrameRate, "RATE",
                "Frames a second of a sequence or a raw pipe; 25 unless given");
        addText(group, "--input-format", mInputFormat, "FORMAT",
                "The input's format by ffmpeg's name, rawvideo for one");
        addText(group, "--video-size", mVideoSize, "WIDTHxHEIGHT", "Of raw input");
        addText(group, "--pixel-format", mPixelFormat, "FORMAT",
                "Of raw input, by ffmpeg's name, rgba for one");
        group = "Output";
        addText(group, "--codec", mCodec, "NAME",
                "h264, hevc, prores, qtrle, png, vp9 or ffv1, as the file takes it; the input's "
                "own or what suits unless given");
        addText(group, "--quality", mQuality, "0-100",
                "Of h264, hevc and vp9: 75 unless given, more is better and larger");
        addText(group, "--output-format", mOutputFormat, "FORMAT",
                "rawvideo, yuv4mpegpipe, nut, matroska, a picture's ending and the like; for pipes "
                "and names without an ending");
        addText(group, "--output-pixel-format", mOutputPixelFormat, "FORMAT",
                "Of the written video, by ffmpeg's name");
    }

    void addOthers() {
        const char* group = "Rendering";
        addText(group, "--downsample", mDownsample, "N",
                "The picture stands for one N times as large: distances are divided by N");
        addText(group, "--plugin", mPlugin, "FILE",
                "The plug-in to load instead of the program's own");
        addFlag("--list-parameters", mListParameters,
                "Print what the effect publishes about its parameters");
        addFlag("--about", mAbout, "Print what the effect says about itself");
        group = "Information";
        addText(group, "--script", mScript, "FILE",
                "Run the script in FILE and print its value as text");
        addFlag("--version", mVersion, "Print the versions of the program and what it runs on");
        addFlag("--help,-h", mHelp, "Print this help");
        addText(group, "--progress", mProgress, "bar|lines|kv|none",
                "How to tell on standard error how far it is: kv is ffmpeg's key=value blocks; a "
                "bar on a terminal, else a line every few seconds, unless given");
        addFlag("--quiet", mQuiet, "Print errors only, no warnings and no progress");
        addFlag("--verbose", mVerbose, "Show what the plug-in itself prints, too");
    }

    void addOwn(const SubCommand& subCommand) {
        for (const SubCommand::Option& option : subCommand.options) {
            mApp.add_option(option.name, mOwn[option.name], wrapped(option.meaning))
                ->type_name(option.takes)
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                ->allow_extra_args(false)
                ->group(subCommand.group);
        }
    }

    void changeFor(const SubCommand& subCommand) {
        mApp.description(subCommand.meaning);
        for (const SubCommand::Option& option : subCommand.wording) {
            mApp.get_option(option.name)
                ->type_name(option.takes)
                ->description(wrapped(option.meaning));
        }
        for (const std::string& name : subCommand.leftOut) {
            mApp.remove_option(mApp.get_option(name));
        }
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

    [[noreturn]] static void refuse(const std::string& option, const std::string& takes,
                                    const std::string& text) {
        throw UsageError(option + " takes " + takes + ", not '" + text + "'");
    }

    Host::ClipInput input() const {
        Host::ClipInput clip;
        clip.file = mInput;
        clip.format = mInputFormat;
        clip.videoSize = mVideoSize;
        clip.pixelFormat = mPixelFormat;
        clip.frameRate = mFrameRate;
        if (!mFrameRate.empty()) {
            try {
                Host::frameRateFrom(mFrameRate);
            } catch (const Host::Error& error) {
                throw UsageError(std::string("--framerate: ") + error.what());
            }
        }
        if (!mFrames.empty()) {
            const auto frames = Host::FrameNumbers::parse(mFrames);
            if (!frames) {
                refuse("--frames", "numbers and ranges such as 10-99 or 1-100x2,200", mFrames);
            }
            clip.frames = *frames;
        }
        if (mMissing == "skip") {
            clip.missing = Host::Missing::Skip;
        } else if (mMissing == "hold") {
            clip.missing = Host::Missing::Hold;
        } else if (!mMissing.empty()) {
            refuse("--missing", "skip or hold", mMissing);
        }
        return clip;
    }

    Host::ClipOutput output() const {
        Host::ClipOutput clip;
        clip.file = mOutput;
        clip.format = mOutputFormat;
        clip.codec = mCodec;
        clip.pixelFormat = mOutputPixelFormat;
        if (!mQuality.empty()) {
            clip.quality = parseNumber(mQuality);
            if (!clip.quality || *clip.quality < 0 || *clip.quality > 100) {
                refuse("--quality", "a number from 0 to 100", mQuality);
            }
        }
        return clip;
    }

    std::optional<ProgressStyle> progress() const {
        const std::pair<const char*, ProgressStyle> styles[] = {{"bar", ProgressStyle::Bar},
                                                                {"lines", ProgressStyle::Lines},
                                                                {"kv", ProgressStyle::KeyValue},
                                                                {"none", ProgressStyle::None}};
        for (const auto& [name, style] : styles) {
            if (mProgress == name) {
                return style;
            }
        }
        if (!mProgress.empty()) {
            refuse("--progress", "bar, lines, kv or none", mProgress);
        }
        return std::nullopt;
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
    std::string mInput, mOutput, mPlugin, mScript, mPreset, mSavePreset, mDownsample = "1",
                                                                         mProblem;
    std::string mFrames, mMissing, mFrameRate, mInputFormat, mVideoSize, mPixelFormat;
    std::string mCodec, mQuality, mOutputFormat, mOutputPixelFormat, mProgress;
    std::vector<std::string> mTexts;
    std::map<std::string, std::vector<std::string>> mOwn;
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
                        const std::vector<ParameterOption>& options, const SubCommand* subCommand) {
    Parser parser(options, subCommand);
    parser.parse(count, arguments);
    return parser.result();
}

std::string helpText(const std::vector<ParameterOption>& options, const SubCommand* subCommand) {
    return Parser(options, subCommand).help();
}

} // namespace Vexorel::PrismDrift::CommandLine
