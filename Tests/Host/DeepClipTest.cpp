#include "Host/Media/Clip.h"
#include "Tests/Host/MediaTest.h"

#include <array>
#include <cstring>
#include <tuple>

using namespace Vexorel::PrismDrift::Host;
using testing::AnyOf;
using testing::HasSubstr;

extern "C" {
#include <libavutil/frame.h>
}

namespace {

// Clips of more than 8 bits, read into floats and written again.
class DeepClipTest : public MediaTest {
protected:
    ClipInput input(const std::string& name) const {
        ClipInput input;
        input.file = path(name);
        input.picture.worlds = WorldDepth::Stored;
        return input;
    }

    // The warnings, one a line.
    std::string copy(const std::string& from, const std::string& to, const std::string& codec = "",
                     std::optional<Depth> depth = {}, const std::string& format = "",
                     bool dithers = false) const {
        ClipOutput output;
        output.file = path(to);
        output.codec = codec;
        output.pixelFormat = format;
        output.depth = depth;
        output.dithers = dithers;
        std::string warnings;
        output.warn = [&](const std::string& text) { warnings += text + "\n"; };
        const auto reader = openClip(input(from));
        const auto writer = openClipWriter(output, input(from), *reader);
        while (auto item = reader->next()) {
            writer->write(std::move(*item));
        }
        writer->finish();
        return warnings;
    }

    std::string streamOf(const std::string& name) const {
        return shell("ffprobe -v error -select_streams v -show_entries stream=codec_name,pix_fmt "
                     "-of csv=p=0:s='|' " +
                     name);
    }

    // The first frame's values of `format` by FFmpeg itself.
    std::string valuesOf(const std::string& name, const std::string& format) const {
        return shell("ffmpeg -v error -nostdin -i " + name + " -frames:v 1 -f rawvideo -pix_fmt " +
                     format + " -");
    }

    // A frame of 64 times 48 pixels that have every bit of the format.
    void makeNoise(const std::string& format, const std::string& optionsAndName) const {
        std::mt19937 random(5);
        std::string bytes(std::size_t{64} * 48 * 8, 0);
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        std::ofstream(path("noise"), std::ios::binary) << bytes;
        ffmpeg("-f rawvideo -s 64x48 -pix_fmt gbrap16le -i noise -pix_fmt " + format + " " +
               optionsAndName);
    }
};

TEST_F(DeepClipTest, TheCodecAndThePixelFormatKeepTheDepth) {
    struct Case {
        const char *made, *name, *codec;
        int bits; // wanted, 0 for the clip's own
        const char *expected, *warning = "";
    };
    const Case cases[] = {
        {"yuv420p10le -c:v libx265 -x265-params log-level=none i.mkv", "o.mp4", "", 0,
         "hevc|yuv420p10le"},
        {"yuv422p10le -c:v libx264 i.mkv", "o.mp4", "", 0, "h264|yuv422p10le"},
        {"yuv420p10le -c:v ffv1 i.mkv", "o.mp4", "h264", 0, "h264|yuv420p10le",
         "h264 of 10 bits a channel isn't shown by some players\n"},
        {"yuv420p10le -c:v libvpx-vp9 i.mkv", "o.mp4", "", 0, "hevc|yuv420p10le"},
        {"yuv420p10le -c:v libvpx-vp9 i.mkv", "o.mp4", "", 8, "h264|yuv420p",
         "the input has 10 bits a channel; 8 bits a channel are kept\n"},
        {"yuv444p12le -c:v libvpx-vp9 i.mkv", "o.webm", "", 0, "vp9|yuv444p12le"},
        {"yuv444p12le -c:v libvpx-vp9 i.mkv", "o.mp4", "h264", 0, "h264|yuv444p10le",
         "h264 of 10 bits a channel isn't shown by some players\nh264 holds 10 bits a channel, "
         "not 12\n"},
        {"yuv422p12le -c:v ffv1 i.mkv", "o.mp4", "", 0, "hevc|yuv422p12le"},
        {"yuv422p10le -c:v prores_ks i.mov", "o.mov", "", 0, "prores|yuv422p10le"},
        {"yuv422p10le -c:v prores_ks i.mov", "o.mkv", "ffv1", 0, "ffv1|yuv422p10le"},
        {"yuva444p10le -c:v ffv1 i.mkv", "o.mov", "", 0, "prores|yuva444p12le"},
        {"yuva420p10le -c:v ffv1 i.mkv", "o.webm", "", 0, "vp9|yuv420p",
         "vp9 holds 8 bits a channel, not 10\n"},
        {"gbrp12le -c:v ffv1 i.mkv", "o.mkv", "", 0, "ffv1|gbrp12le"},
        {"gbrp14le -c:v ffv1 i.mkv", "o.nut", "", 0, "ffv1|gbrp14le"},
        {"gbrap10le -c:v ffv1 i.mkv", "o.mkv", "png", 0, "png|rgba64be"},
        {"rgb48be -c:v png i.mkv", "o.mkv", "", 0, "png|rgb48be"},
        {"rgb48be -c:v png i.mkv", "o.mp4", "", 0, "hevc|yuv420p12le",
         "hevc holds 12 bits a channel, not 16\n"},
        {"rgb48be -c:v png i.mkv", "o.mov", "qtrle", 0, "qtrle|rgb24",
         "qtrle holds 8 bits a channel, not 16\n"},
        {"gbrapf32le i.exr", "o.nut", "", 0, "rawvideo|rgba64le",
         ".nut has no place for the transfer linear\n"
         "rawvideo holds 16 bits a channel, not floats: what lies beyond 0 to 1 is cut off\n"},
        {"gbrpf32le i.exr", "o.mkv", "ffv1", 0, "ffv1|gbrp16le",
         "ffv1 holds 16 bits a channel, not floats: what lies beyond 0 to 1 is cut off\n"},
        {"yuv420p14le -c:v ffv1 i.mkv", "o.y4m", "", 0, "rawvideo|yuv420p14le"},
        {"rgb48le -c:v rawvideo i.nut", "o.nut", "", 0, "rawvideo|rgb48le"},
        {"yuv420p -c:v libx264 i.mkv", "o.mkv", "", 10, "h264|yuv420p10le"},
        {"gray12le -c:v ffv1 i.mkv", "o.mkv", "", 0, "ffv1|gbrp12le"},
    };
    for (const auto& [made, name, codec, bits, expected, warning] : cases) {
        const std::string text = made;
        const std::size_t space = text.find(' ');
        makeNoise(text.substr(0, space), text.substr(space + 1));
        const std::optional<Depth> depth = bits > 0 ? std::optional(Depth{bits}) : std::nullopt;
        EXPECT_EQ(copy(text.substr(text.rfind(' ') + 1), name, codec, depth), warning)
            << made << " " << name;
        EXPECT_EQ(streamOf(name), std::string(expected) + "\n") << made << " " << name;
    }
}

// Codecs without loss give back what FFmpeg reads of the clip, to the bit.
TEST_F(DeepClipTest, EachDepthComesBack) {
    for (const char* format :
         {"yuv444p10le", "yuv444p12le", "yuv444p16le", "yuva444p10le", "yuva444p16le", "gbrp10le",
          "gbrp12le", "gbrp14le", "gbrp16le", "gbrap10le", "gbrap12le", "gbrap16le", "gray10le"}) {
        makeNoise(format, "-c:v ffv1 i.mkv");
        const bool isGray = std::strncmp(format, "gray", 4) == 0;
        copy("i.mkv", "o.mkv");
        copy("i.mkv", "o.nut");
        EXPECT_TRUE(valuesOf("o.mkv", format) == valuesOf("i.mkv", format)) << format;
        EXPECT_TRUE(isGray || valuesOf("o.nut", format) == valuesOf("i.mkv", format)) << format;
    }
    // NUT has no tag for floats: their readers would take them for something else.
    EXPECT_THAT(errorOf([&] { copy("i.mkv", "o.nut", "rawvideo", {}, "gbrpf32le"); }),
                HasSubstr("'gbrpf32le' is no pixel format of rawvideo"));
}

TEST_F(DeepClipTest, WhatHdrPicturesSayIsKept) {
    const std::string metadata =
        "-colorspace bt2020nc -color_primaries bt2020 -color_trc smpte2084 -color_range tv ";
    makeNoise("yuv420p10le",
              metadata +
                  "-c:v libx265 -x265-params log-level=none:master-display='G(13250,34500)B(7500,"
                  "3000)R(34000,16000)WP(15635,16450)L(10000000,50)':max-cll=1000,400 i.mkv");
    const auto said = [&](const std::string& name) {
        return ffprobe("-select_streams v -show_entries "
                       "stream=color_space,color_primaries,color_transfer,color_range:"
                       "stream_side_data " +
                       name) +
               shell("ffprobe -v error -of compact=p=0 -select_streams v -show_entries "
                     "frame=color_space:frame_side_data " +
                     name + " | head -1");
    };
    for (const auto& [name, codec] : {std::pair("o.mp4", "hevc"),
                                      {"o.mp4", "h264"},
                                      {"o.mkv", "hevc"},
                                      {"o.mov", "prores"},
                                      {"o.mkv", "vp9"},
                                      {"o.mkv", "ffv1"},
                                      {"o.webm", "vp9"}}) {
        EXPECT_THAT(copy("i.mkv", name, codec), testing::Not(HasSubstr("HDR")));
        const std::string found = said(name);
        for (const char* part :
             {"color_range=tv", "color_space=bt2020nc", "color_transfer=smpte2084",
              "color_primaries=bt2020", "max_content=1000", "max_average=400"}) {
            EXPECT_THAT(found, HasSubstr(part)) << name << " " << codec;
        }
        EXPECT_THAT(found, AnyOf(HasSubstr("red_x=34000/50000"), HasSubstr("red_x=17/25")));
        EXPECT_THAT(found, AnyOf(HasSubstr("luminance=50/10000"), HasSubstr("luminance=1/200")));
    }
    for (const char* name : {"o.y4m", "o.nut", "o.raw"}) {
        EXPECT_THAT(copy("i.mkv", name), HasSubstr("has no place for what HDR pictures say"));
    }
}

TEST_F(DeepClipTest, HdrMetadataOfEachFrameAreSaidToBeLost) {
    makeNoise("yuv420p10le", "-c:v ffv1 i.mkv");
    const auto reader = openClip(input("i.mkv"));
    std::string warnings;
    ClipOutput output;
    output.file = path("o.mkv");
    output.warn = [&](const std::string& text) { warnings += text; };
    const auto writer = openClipWriter(output, input("i.mkv"), *reader);
    auto item = reader->next();
    auto& source = std::get<ClipFrame>(*item).picture.source;
    AVFrame* dynamic = av_frame_alloc();
    ASSERT_EQ(av_frame_copy_props(dynamic, source.get()), 0);
    dynamic->format = source->format;
    ASSERT_NE(av_frame_new_side_data(dynamic, AV_FRAME_DATA_DYNAMIC_HDR_PLUS, 64), nullptr);
    source = {dynamic, [](AVFrame* frame) { av_frame_free(&frame); }};
    writer->write(std::move(*item));
    EXPECT_THAT(warnings, HasSubstr("HDR metadata of each frame"));
}

// The pictures of formats that hold 16 bits have every value of the clip's.
TEST_F(DeepClipTest, PicturesOfItKeepTheDepthOrSayWhatIsLost) {
    makeNoise("rgba64le", "-c:v png i.mkv");
    for (const auto& [name, format, loss] :
         {std::tuple("o.png", "rgba64be", ""),
          {"o.tif", "rgba64le", ""},
          {"o.pam", "rgba64le", ""},
          {"o.tga", "bgra", "TGA holds 8 bits a channel, not 16"}}) {
        const std::string warnings = copy("i.mkv", name);
        EXPECT_EQ(*loss == 0 ? warnings.empty() : warnings.find(loss) != std::string::npos, true)
            << warnings;
        EXPECT_EQ(streamOf(name).find(format) != std::string::npos, true) << streamOf(name);
        EXPECT_EQ(valuesOf(name, format) == valuesOf("i.mkv", format), *loss == 0) << name;
    }
}

// A later picture of a sequence may lose what the first one hasn't.
TEST_F(DeepClipTest, EachLossOfASequenceIsSaidOnce) {
    makeNoise("rgb48be", "i.1.png");
    makeNoise("rgb48be", "i.2.png");
    makeNoise("rgba", "i.3.png");
    EXPECT_THAT(
        copy("i.%d.png", "o.%d.jpg"),
        testing::MatchesRegex("'[^\n]*o.1.jpg': JPEG holds 8 bits a channel, not 16, and so "
                              "on\n'[^\n]*o.3.jpg': JPEG has no transparency[^\n]*\n"));
}

// Each file says of its colours what is true of them, or a line says what it can't say.
TEST_F(DeepClipTest, ColoursAreTaggedAsWhatTheyAreOrSaidToBeLost) {
    const auto clip = [](const std::string& transfer, const std::string& primaries) {
        return "ffmpeg -v error -y -f lavfi -i testsrc2=s=64x48 -frames:v 1 -pix_fmt yuv420p10le "
               "-c:v ffv1 -color_trc " +
               transfer + " -color_primaries " + primaries + " i.mkv";
    };
    const std::string create = "oiiotool --nosoftwareattrib --create 64x48 3 ";
    const std::string light = create + "-d half --attrib:type=float[8] chromaticities ";
    const std::string p3 = light + "0.68,0.32,0.265,0.69,0.15,0.06,0.3127,0.329 -o i.exr";
    const std::string aces = light + "0.7347,0.2653,0,1,0.0001,-0.077,0.32168,0.33767 -o i.exr";
    struct Case {
        std::string made, name, tags; // of video: matrix, transfer, primaries
        std::vector<const char*> losses = {};
    };
    const Case cases[] = {
        {p3, "o.mp4", "bt709|linear|smpte432"},
        {p3, "o.y4m", "", {".y4m has no place for the transfer linear and the primaries smpte432"}},
        {aces, "o.mov", "bt709|linear|unknown", {"video has no tag for the picture's primaries"}},
        {light + "0.708,0.292,0.17,0.797,0.131,0.046,0.3127,0.329 -o i.exr", "o.mkv",
         "bt2020nc|linear|bt2020"},
        {create + "-d half -o i.exr", "o.mkv", "bt709|linear|bt709"},
        {create + "-d uint10 --attrib dpx:Transfer 'Printing density' -o i.dpx",
         "o.mkv",
         "bt709|unknown|bt709",
         {"video has no tag for the picture's transfer (its file names one without a tag)\n"}},
        {create + "-d uint10 --attrib dpx:Transfer 'Printing density' -o i.dpx", "o.dpx", ""},
        {create + "-d float -o i.tif", "o.mkv", "bt709|linear|bt709"},
        {create + "-d uint8 --attrib Artist Me -o i.tif",
         "o.mkv",
         "bt709|bt709|bt709",
         {"a video is written without texts"}},
        {p3, "o.exr", ""},
        {p3, "o.png", "", {"PNG has no place for the primaries smpte432\n"}},
        {p3, "o.webp", "", {"WebP has no place for the transfer linear and the primaries"}},
        {create + "-d half -o i.exr", "o.png", ""},
        {create + "-d half -o i.exr", "o.tif", ""},
        {clip("smpte2084", "bt2020"),
         "o.png",
         "",
         {"PNG has no place for the transfer PQ (smpte2084) and the primaries bt2020\n"}},
        {clip("arib-std-b67", "unknown"), "o.dpx", "", {"DPX has no place for the transfer HLG"}},
        {clip("bt709", "bt709"), "o.png", ""},
        {clip("bt709", "smpte170m"), "o.tif", "", {"the primaries smpte170m\n"}},
        {clip("smpte2084", "bt2020"),
         "o.exr",
         "",
         {"(smpte2084) and the primaries bt2020: readers take them for linear light\n"}},
        {clip("unknown", "unknown"),
         "o.exr",
         "",
         {"OpenEXR has no place for how its values are coded: readers take them"}},
    };
    for (const auto& [made, name, tags, losses] : cases) {
        SCOPED_TRACE(testing::Message() << made << " " << name);
        shell(made);
        std::istringstream lines(copy(made.substr(made.rfind(' ') + 1), name));
        std::string warnings;
        for (std::string line; std::getline(lines, line);) {
            const bool isOther = line.find(" holds ") != std::string::npos ||
                                 line.find("ImageHistory") != std::string::npos ||
                                 (losses.empty() && line.find("texts") != std::string::npos);
            warnings += isOther ? "" : line + "\n";
        }
        for (const char* loss : losses) {
            EXPECT_THAT(warnings, HasSubstr(loss));
        }
        EXPECT_TRUE(!losses.empty() || warnings.empty()) << warnings;
        EXPECT_TRUE(tags.empty() ||
                    shell("ffprobe -v error -show_entries stream=color_space,color_transfer,"
                          "color_primaries -of csv=p=0:s='|' " +
                          name) == tags + "\n");
    }
}

// A compositor's clip is divided by its alpha on its way into a codec that keeps it apart.
TEST_F(DeepClipTest, AssociatedColoursAreDividedForCodecs) {
    makeNoise("rgba64le", "-c:v png i.mkv");
    const auto reader = openClip(input("i.mkv"));
    ClipOutput output;
    output.file = path("o.mkv");
    const auto writer = openClipWriter(output, input("i.mkv"), *reader);
    auto frame = std::get<ClipFrame>(*reader->next());
    World& world = frame.picture.world;
    auto* first = reinterpret_cast<PF_PixelFloat*>(world.row(0));
    *first = {0.5F, 0.25F, 0.5F, 0.125F};
    frame.picture.isAssociated = true;
    writer->write(std::move(frame));
    writer->finish();
    const std::string bytes = valuesOf("o.mkv", "rgba64le").substr(0, 8);
    const auto word = [&](std::size_t i) {
        return int(std::uint8_t(bytes[2 * i])) + 256 * int(std::uint8_t(bytes[2 * i + 1]));
    };
    EXPECT_EQ((std::array{word(0), word(1), word(2), word(3)}),
              (std::array{32768, 65535, 16384, 32768}));
}

} // namespace
