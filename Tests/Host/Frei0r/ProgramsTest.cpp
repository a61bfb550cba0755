// The module in the programs that people use: every frame has to be the one that prismdrift gives
// for the same values, byte for byte.

#include "Tests/Host/ScratchFolder.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::string contents(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

class Frei0rPrograms : public testing::Test {
protected:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    void SetUp() override {
        GTEST_SKIP() << "these programs lack the sanitizer's library, so that they can't load a "
                        "module that was built with it";
    }
#endif

    /// Runs it in the test's folder; its output is shown if it fails.
    void run(const std::string& command) const {
        const std::string whole = "cd '" + mScratch.path().string() +
                                  "' && export FREI0R_PATH='" FREI0R_FOLDER
                                  "' PATH='" PRISMDRIFT_FOLDER
                                  "':\"$PATH\" GST_REGISTRY=\"$PWD/registry\" && { " +
                                  command + "\n} >log 2>&1 </dev/null";
        const int status = std::system(whole.c_str());
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
            << command << "\n"
            << contents(mScratch.path() / "log");
    }

    std::string file(const std::string& name) const {
        return contents(mScratch.path() / name);
    }

    /// in.mov, of four frames with alpha, and wanted.raw, what prismdrift makes of them.
    void makeClip(const std::string& size, const std::string& options) const {
        run("ffmpeg -v error -f lavfi -i testsrc2=s=" + size +
            ":r=25,format=argb,colorchannelmixer=aa=0.7 -frames:v 4 -c:v qtrle in.mov\n"
            "ffmpeg -v error -i in.mov -pix_fmt rgba f%d.png\n"
            "for i in 1 2 3 4; do prismdrift --plugin '" PRISMDRIFT_PLUGIN "' " +
            options +
            " f$i.png o$i.png && "
            "ffmpeg -v error -i o$i.png -f rawvideo -pix_fmt rgba - >>wanted.raw || exit 1; done");
    }

    /// The frames of `name` are those of wanted.raw.
    void expectWanted(const std::string& name) const {
        const std::string wanted = file("wanted.raw"), actual = file(name);
        ASSERT_FALSE(wanted.empty());
        ASSERT_EQ(actual.size(), wanted.size());
        EXPECT_TRUE(actual == wanted) << name << " differs";
    }

    ScratchFolder mScratch;
};

const char* const kOptions = "--channel-order GBR --shift-angle -45 --shift-distance 15.5 "
                             "--channel-scale 100,80,150 --channel-lightness 0,50,-30 ";
const char* const kPositional = "GBR|0.375|0.50775|0.5|0.4|0.75|0.5|0.75|0.35";
const char* const kNumbered = "0=GBR 1=0.375 2=0.50775 3=0.5 4=0.4 5=0.75 6=0.5 7=0.75 8=0.35";

TEST_F(Frei0rPrograms, FfmpegDrawsAClip) {
    makeClip("160x90", kOptions);
    run(std::string("ffmpeg -v error -i in.mov -vf 'format=rgba,frei0r=prismdrift:") + kPositional +
        "' -f rawvideo -pix_fmt rgba out.raw");
    expectWanted("out.raw");
    EXPECT_EQ(file("log"), "");
}

// ffmpeg hands on what it is given: beyond both ends, and no number at all.
TEST_F(Frei0rPrograms, FfmpegPassesAnyValue) {
    makeClip("64x48", "--shift-angle 180 --channel-lightness 0,-100,0");
    run("ffmpeg -v error -i in.mov -vf "
        "'format=rgba,frei0r=prismdrift:RGB|7|nan|0.5|0.5|0.5|nan|-4' "
        "-f rawvideo -pix_fmt rgba out.raw");
    // -100 and -100 for green: 7 is clamped to 180 degrees, a distance of nan is the default 0.
    expectWanted("out.raw");
}

TEST_F(Frei0rPrograms, FfmpegPadsAndCropsOddWidths) {
    makeClip("100x60", "--channel-order BGR --channel-lightness 20,0,-40");
    run("ffmpeg -v error -i in.mov -vf 'format=rgba,pad=112:ih,"
        "frei0r=prismdrift:BGR|0.5|0.5|0.5|0.5|0.5|0.6|0.5|0.3,crop=100:ih:0:0' "
        "-f rawvideo -pix_fmt rgba out.raw");
    expectWanted("out.raw");
}

// At a width that is no multiple of 8, in line, on four worker threads and with a pool.
TEST_F(Frei0rPrograms, MeltDrawsAClipOnItsThreads) {
    makeClip("100x60", kOptions);
    for (const std::string mode : {"real_time=-1", "real_time=-4", "real_time=-1 threads=0"}) {
        run(std::string("rm -f out.raw; melt -silent in.mov -attach frei0r.prismdrift ") +
            kNumbered +
            " -consumer avformat:out.raw width=100 height=60 sample_aspect_num=1 "
            "sample_aspect_den=1 display_aspect_num=5 display_aspect_den=3 frame_rate_num=25 "
            "frame_rate_den=1 progressive=1 f=rawvideo vcodec=rawvideo pix_fmt=rgba "
            "mlt_image_format=rgba an=1 " +
            mode);
        SCOPED_TRACE(mode);
        expectWanted("out.raw");
    }
}

TEST_F(Frei0rPrograms, GStreamerDrawsAClip) {
    makeClip("100x60", kOptions);
    run("ffmpeg -v error -i in.mov -f rawvideo -pix_fmt rgba in.raw\n"
        "gst-launch-1.0 -q filesrc location=in.raw ! rawvideoparse format=rgba width=100 height=60 "
        "! "
        "frei0r-filter-prism-drift channel-order=GBR shift-angle=0.375 shift-distance=0.50775 "
        "channel-scale-g-channel=0.4 channel-scale-b-channel=0.75 "
        "channel-lightness-g-channel=0.75 channel-lightness-b-channel=0.35 ! "
        "filesink location=out.raw");
    expectWanted("out.raw");
}

// The first example says which picture all the others give.
TEST_F(Frei0rPrograms, ExamplesOfThePageHold) {
    std::vector<std::string> examples;
    std::istringstream page(contents(FREI0R_PAGE));
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("```", 0) == 0) {
            inside = line == "```sh";
            if (inside) {
                examples.emplace_back();
            }
        } else if (inside) {
            examples.back() += line + "\n";
        }
    }
    ASSERT_EQ(examples.size(), 4U);
    run("ffmpeg -v error -f lavfi -i testsrc2=s=320x240,format=rgba,colorchannelmixer=aa=0.7 "
        "-frames:v 1 in.png");
    for (const std::string& example : examples) {
        const bool first = example == examples.front();
        run("rm -f out.png\n" + example +
            "ffmpeg -v error -y -i out.png -f rawvideo -pix_fmt rgba " +
            (first ? "wanted.raw" : "out.raw"));
        if (!first) {
            SCOPED_TRACE(example);
            expectWanted("out.raw");
        }
    }
}

} // namespace
