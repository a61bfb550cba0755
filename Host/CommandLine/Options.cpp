#include "Host/CommandLine/Options.h"

#include "Host/CommandLine/Usage.h"
#include "Host/Library/Number.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

using Host::ClipSetting;
using Text = const std::string&;

[[noreturn]] void refuse(const char* option, const std::string& takes, Text text) {
    throw UsageError(std::string(option) + " takes " + takes + ", not '" + text + "'");
}

std::int64_t wholeNumber(const char* option, Text text, int least, int most) {
    const auto number = Host::parseWholeNumber(text, least, most);
    if (!number) {
        refuse(option,
               "a whole number from " + std::to_string(least) + " to " + std::to_string(most),
               text);
    }
    return *number;
}

// One of the words, each of which stands for a value.
template <typename Value>
Value choice(const char* option, Text text,
             std::initializer_list<std::pair<const char*, Value>> choices) {
    std::string names;
    std::size_t left = choices.size();
    for (const auto& [name, value] : choices) {
        if (text == name) {
            return value;
        }
        names += std::string(names.empty() ? "" : left == 1 ? " or " : ", ") + name;
        --left;
    }
    refuse(option, names, text);
}

void storeFrames(Arguments& arguments, Text text) {
    const auto frames = Host::FrameNumbers::parse(text);
    if (!frames) {
        refuse("--frames",
               "numbers up to 2147483647 and ascending ranges, such as 10-99 or 1-100x2,200", text);
    }
    arguments.input.frames = *frames;
}

void storeMissing(Arguments& arguments, Text text) {
    arguments.input.missing = choice<Host::Missing>(
        "--missing", text, {{"skip", Host::Missing::Skip}, {"hold", Host::Missing::Hold}});
}

void storeQuality(Arguments& arguments, Text text) {
    const auto quality = Host::parseNumber(text);
    if (!quality || *quality < 0 || *quality > 100) {
        refuse("--quality", "a number from 0 to 100", text);
    }
    arguments.output.quality = quality;
}

void storeDepth(Arguments& arguments, Text text) {
    arguments.output.depth = choice<Host::Depth>("--depth", text,
                                                 {{"8", Host::Depth{8}},
                                                  {"16", Host::Depth{16}},
                                                  {"half", Host::halfFloats},
                                                  {"float", Host::floats}});
}

void storeDownsample(Arguments& arguments, Text text) {
    constexpr int most = 65536;
    arguments.downsample = static_cast<std::uint32_t>(wholeNumber("--downsample", text, 1, most));
}

void storeColumns(Arguments& arguments, Text text) {
    arguments.columns = static_cast<int>(wholeNumber("--columns", text, 1, mostCells));
}

void storeCellWidth(Arguments& arguments, Text text) {
    constexpr int least = 96; // room for a label
    constexpr int most = 8192;
    arguments.cellWidth = static_cast<int>(wholeNumber("--cell-width", text, least, most));
}

void storeMaxPixels(Arguments& arguments, Text text) {
    constexpr int most = std::numeric_limits<int>::max();
    arguments.input.limits.pixels = wholeNumber("--max-pixels", text, 1, most);
}

void storeMaxMetadata(Arguments& arguments, Text text) {
    constexpr int most = 1024;
    constexpr std::int64_t mebibyte = 1 << 20;
    arguments.input.limits.metadata = wholeNumber("--max-metadata", text, 0, most) * mebibyte;
}

void storeProgress(Arguments& arguments, Text text) {
    arguments.progress = choice<ProgressStyle>("--progress", text,
                                               {{"bar", ProgressStyle::Bar},
                                                {"lines", ProgressStyle::Lines},
                                                {"kv", ProgressStyle::KeyValue},
                                                {"none", ProgressStyle::None}});
}

const std::vector<Option> fileOptions = {
    {.name = "INPUT",
     .help = "A picture, a sequence such as in.%04d.png or in.####.png, a video file, or - for "
             "standard input",
     .store = [](Arguments& to, Text text) { to.input.file = text; },
     .sheetHelp = "A picture, a sequence such as in.%04d.png, a video file, or - for standard "
                  "input. The first frame is shown unless --frames chooses another"},
    {.name = "OUTPUT",
     .help = "A picture, a sequence, a video file, or - for standard output. The ending of its "
             "name chooses the format",
     .store = [](Arguments& to, Text text) { to.output.file = text; },
     .sheetHelp = "The sheet, a picture. The ending of its name chooses the format"},
};

const std::vector<Option> sheetOptions = {
    {.name = "--vary",
     .takes = "OPTION=VALUE,...",
     .help = "Compare these values of one of the effect's options: shift-distance=0,10,20. A "
             "group takes one value for all its members, or one for each with ':' between: "
             "channel-scale=100,104:100:96. Given twice, the first goes down and the second "
             "across",
     .store = [](Arguments& to, Text text) { to.variations.push_back(text); },
     .onlyIn = Command::Sheet,
     .repeats = true},
    {.name = "--columns",
     .takes = "N",
     .help = "Cells in a row. Default: chosen to leave few gaps",
     .store = storeColumns,
     .onlyIn = Command::Sheet},
    {.name = "--cell-width",
     .takes = "PIXELS",
     .help = "Width that the pictures are scaled down to, 96 to 8192. Default: the picture's "
             "own width, but 128 at least and 320 at most",
     .store = storeCellWidth,
     .onlyIn = Command::Sheet},
};

const std::vector<Option> effectOptions = {
    {.name = "--preset",
     .takes = "FILE",
     .help = "Take the values in a preset, - for standard input. Options on the command line "
             "override it",
     .store = [](Arguments& to, Text text) { to.preset = text; }},
    {.name = "--save-preset",
     .takes = "FILE",
     .help = "Save the values of all parameters as a preset, - for standard output. Works without "
             "INPUT and OUTPUT, too",
     .store = [](Arguments& to, Text text) { to.savePreset = text; },
     .onlyIn = Command::Render},
};

const std::vector<Option> inputOptions = {
    {.name = "--frames",
     .takes = "RANGE",
     .help = "Render only these frames: 10-99 or 1-100x2,200. A sequence is numbered by its file "
             "names, a video from 0",
     .store = storeFrames,
     .setting = ClipSetting::Frames,
     .sheetTakes = "N",
     .sheetHelp = "Show this frame instead of the first. A sequence is numbered by its file "
                  "names, a video from 0"},
    {.name = "--drawn",
     .takes = "FRAMES",
     .help = "Draw nothing: take the drawn frames of a farm from this sequence or clip, and all "
             "else from INPUT",
     .store = [](Arguments& to, Text text) { to.drawn = text; },
     .onlyIn = Command::Render},
    {.name = "--missing",
     .takes = "skip|hold",
     .help = "Where a sequence lacks a picture, leave the frame out or repeat the picture "
             "before. Default: stop with an error",
     .store = storeMissing,
     .setting = ClipSetting::Missing},
    {.name = "--framerate",
     .takes = "RATE",
     .help = "Frames per second of a sequence or of raw input. Default: 25",
     .store = [](Arguments& to, Text text) { to.input.frameRate = text; },
     .setting = ClipSetting::FrameRate},
    {.name = "--input-format",
     .takes = "FORMAT",
     .help = "Format of the input by ffmpeg's name, such as rawvideo",
     .store = [](Arguments& to, Text text) { to.input.format = text; },
     .setting = ClipSetting::InputFormat},
    {.name = "--video-size",
     .takes = "WIDTHxHEIGHT",
     .help = "Frame size of raw input",
     .store = [](Arguments& to, Text text) { to.input.videoSize = text; },
     .setting = ClipSetting::VideoSize},
    {.name = "--pixel-format",
     .takes = "FORMAT",
     .help = "Pixel format of raw input by ffmpeg's name, such as rgba",
     .store = [](Arguments& to, Text text) { to.input.pixelFormat = text; },
     .setting = ClipSetting::InputPixelFormat},
    {.name = "--layer",
     .takes = "NAME",
     .help = "Render this layer of an OpenEXR file, or this part. Default: its R, G, B and A",
     .store = [](Arguments& to, Text text) { to.input.picture.layer = text; },
     .setting = ClipSetting::Layer},
    {.name = "--max-pixels",
     .takes = "N",
     .help = "Refuse pictures of more pixels. Default: 268435456, which is 16384x16384",
     .store = storeMaxPixels,
     .setting = ClipSetting::MaxPixels},
    {.name = "--max-metadata",
     .takes = "MIB",
     .help = "Leave out the texts and colour profiles of a picture beyond so many MiB. Default: 4",
     .store = storeMaxMetadata,
     .setting = ClipSetting::MaxMetadata},
};

const std::vector<Option> outputOptions = {
    {.name = "--codec",
     .takes = "NAME",
     .help = "Video codec: h264, hevc, prores, qtrle, png, vp9 or ffv1, as far as the file "
             "format takes it. Default: the input's own, or one that suits",
     .store = [](Arguments& to, Text text) { to.output.codec = text; },
     .onlyIn = Command::Render,
     .setting = ClipSetting::Codec},
    {.name = "--quality",
     .takes = "0-100",
     .help = "Quality for h264, hevc and vp9; a higher one looks better and takes more space. "
             "Default: 75",
     .store = storeQuality,
     .onlyIn = Command::Render,
     .setting = ClipSetting::Quality},
    {.name = "--encoder-preset",
     .takes = "NAME",
     .help = "The encoder's own preset: ultrafast, superfast, veryfast, faster, fast, medium, "
             "slow, slower, veryslow or placebo for h264 and hevc, 5 (the fastest) to 0 for vp9. "
             "Slower ones make smaller files. Default: medium, 4 for vp9",
     .store = [](Arguments& to, Text text) { to.output.encoderPreset = text; },
     .onlyIn = Command::Render,
     .setting = ClipSetting::EncoderPreset},
    {.name = "--depth",
     .takes = "8|16|half|float",
     .help = "Write so many bits a channel, or floats, as far as the format can. Default: what the "
             "input has",
     .store = storeDepth,
     .onlyIn = Command::Render},
    {.name = "--dither",
     .help = "Where more than 8 bits become 8, mix neighbouring levels in a pattern, so that soft "
             "gradients show no steps",
     .store = [](Arguments& to, Text) { to.output.dithers = true; },
     .onlyIn = Command::Render},
    {.name = "--output-format",
     .takes = "FORMAT",
     .help = "Format for a pipe or a name without an ending: rawvideo, yuv4mpegpipe, nut, "
             "matroska, png and so on",
     .store = [](Arguments& to, Text text) { to.output.format = text; },
     .onlyIn = Command::Render,
     .setting = ClipSetting::OutputFormat},
    {.name = "--output-pixel-format",
     .takes = "FORMAT",
     .help = "Pixel format of the written video by ffmpeg's name",
     .store = [](Arguments& to, Text text) { to.output.pixelFormat = text; },
     .onlyIn = Command::Render,
     .setting = ClipSetting::OutputPixelFormat},
};

const std::vector<Option> renderingOptions = {
    {.name = "--linear",
     .help = "Shift and push colours in linear light, as lenses do, instead of as they are coded. "
             "Takes pictures and clips whose transfer is known: sRGB, BT.709, PQ, HLG",
     .store = [](Arguments& to, Text) { to.linear = true; }},
    {.name = "--downsample",
     .takes = "N",
     .help = "Treat the input as reduced to 1/N of its full size: distances are divided by N",
     .store = storeDownsample},
    {.name = "--renderer",
     .takes = "auto|gl|software",
     .help = "What draws: gl is the effect itself, in OpenGL, software its equal on the processor. "
             "Default: PRISMDRIFT_RENDERER, or auto, which takes gl where graphics hardware draws"},
    {.name = "--plugin",
     .takes = "FILE",
     .help = "Load this plug-in instead of the program's own, and draw with it"},
};

const std::vector<Option> informationOptions = {
    {.name = "--list-parameters",
     .help = "List the effect's parameters with their ranges and defaults",
     .store = [](Arguments& to, Text) { to.listParameters = true; },
     .onlyIn = Command::Render},
    {.name = "--about",
     .help = "Print the effect's description of itself",
     .store = [](Arguments& to, Text) { to.about = true; },
     .onlyIn = Command::Render},
    {.name = "--script",
     .takes = "FILE",
     .help = "Run the script in FILE, - for standard input, and print its result",
     .store = [](Arguments& to, Text text) { to.script = text; },
     .onlyIn = Command::Render},
    {.name = "--version",
     .help = "Print the versions of the program, the effect and FFmpeg, and what draws",
     .onlyIn = Command::Render},
    {.name = "--help", .help = "Print this help", .shortName = "-h"},
    {.name = "--progress",
     .takes = "bar|lines|kv|none",
     .help = "How to report progress on standard error; kv writes ffmpeg's key=value blocks. "
             "Default: a bar on a terminal, elsewhere a line every few seconds",
     .store = storeProgress},
    {.name = "--quiet",
     .help = "Print errors only, no warnings and no progress",
     .store = [](Arguments& to, Text) { to.quiet = true; }},
    {.name = "--verbose",
     .help = "Print what draws and why, what reads, and the plug-in's own messages, too",
     .store = [](Arguments& to, Text) { to.verbose = true; }},
};

} // namespace

const std::vector<Option>& programOptions() {
    static const std::vector<Option> all = [] {
        std::vector<Option> options;
        const std::pair<const char*, const std::vector<Option>*> groups[] = {
            {"", &fileOptions},
            {"The sheet", &sheetOptions},
            {effectGroup, &effectOptions},
            {"Input", &inputOptions},
            {"Output", &outputOptions},
            {"Rendering", &renderingOptions},
            {"Information", &informationOptions}};
        for (const auto& [heading, members] : groups) {
            for (const Option& member : *members) {
                options.push_back(member);
                options.back().group = heading;
            }
        }
        return options;
    }();
    return all;
}

std::string optionFor(Host::ClipSetting setting) {
    const std::vector<Option>& options = programOptions();
    const auto found = std::find_if(options.begin(), options.end(), [&](const Option& option) {
        return option.setting == setting;
    });
    return found == options.end() ? "" : found->name;
}

} // namespace Vexorel::PrismDrift::CommandLine
