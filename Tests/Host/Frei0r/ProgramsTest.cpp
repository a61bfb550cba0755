// The module in the programs that people use: every frame has to be the one that prismdrift gives
// for the same values and renderer, byte for byte.

#include "Tests/Host/ScratchFolder.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {

/// For the scripts: `clip SIZE OPTIONS` makes in.mov, of four frames with alpha, and wanted.raw,
/// what prismdrift makes of them; `decode` writes out.raw; `same` compares the two.
const std::string kPrelude =
    "export FREI0R_PATH='" FREI0R_FOLDER "' GST_REGISTRY=\"$PWD/registry\"\n"
    "export PATH='" PRISMDRIFT_FOLDER "':\"$PATH\"\n"
    "page='" FREI0R_PAGE "'\n"
    R"sh(
decode() { ffmpeg -v error -y -i "$@" -f rawvideo -pix_fmt rgba out.raw; }
same() { test -s wanted.raw; cmp wanted.raw out.raw; }
clip() {
    ffmpeg -v error -y -f lavfi -i "testsrc2=s=$1:r=25,format=argb,colorchannelmixer=aa=0.7" \
        -frames:v 4 -c:v qtrle in.mov
    ffmpeg -v error -y -i in.mov -pix_fmt rgba f%d.png
    for i in 1 2 3 4; do
        prismdrift $2 f$i.png o$i.png
        decode o$i.png
        cat out.raw >>wanted.raw
    done
}
# On a busy machine melt may hang, or end before its output has begun, with any filter or none.
melt() {
    for attempt in 1 2 3 4 5; do
        timeout 30 melt "$@" || true
        if test -s out.raw || test -s out.png; then
            return
        fi
    done
}
options='--channel-order GBR --shift-angle -45 --shift-distance 15.5'
options="$options --channel-scale 100,80,150 --channel-lightness 0,50,-30"
)sh";

/// Under a sanitizer the programs, which are built without, load its run time before the module.
/// What they leak themselves is their own business.
const std::string kSanitizer =
#ifdef SANITIZER_RUNTIME
    R"sh(sanitized=yes
export ASAN_OPTIONS="$ASAN_OPTIONS:detect_leaks=0"
mkdir bin
for program in ffmpeg melt gst-launch-1.0; do
    echo 'exec env LD_PRELOAD=)sh" SANITIZER_RUNTIME
    R"sh(' "$(command -v $program)" '"$@"' >bin/$program
done
chmod +x bin/*
PATH="$PWD/bin:$PATH"
)sh";
#else
    "sanitized=no\n";
#endif

/// All programs, the module in them too, draw with the renderer that is the parameter.
class Frei0rPrograms : public testing::TestWithParam<const char*> {
protected:
    Frei0rPrograms() { setenv("PRISMDRIFT_RENDERER", GetParam(), 1); }
};

INSTANTIATE_TEST_SUITE_P(With, Frei0rPrograms, testing::Values("gl", "software"));

/// Runs a script in a folder of its own; its output is shown if it fails.
void run(const std::string& script) {
    const ScratchFolder scratch;
    std::ofstream(scratch.path() / "script") << kSanitizer << kPrelude << script;
    const std::string command =
        "cd '" + scratch.path().string() + "' && sh -e script >log 2>&1 </dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0)
        << script << std::ifstream(scratch.path() / "log").rdbuf();
}

TEST_P(Frei0rPrograms, FfmpegDrawsAClip) {
    run(R"(clip 160x90 "$options"
decode in.mov -vf 'format=rgba,frei0r=prismdrift:GBR|0.375|0.50775|0.5|0.4|0.75|0.5|0.75|0.35'
same
test ! -s log)");
}

// ffmpeg hands on what it is given: beyond both ends, and no number at all. 7 is clamped to 180
// degrees, a distance of nan is the default 0, and a lightness of -4 is -100.
TEST_P(Frei0rPrograms, FfmpegPassesAnyValue) {
    run(R"(clip 64x48 '--shift-angle 180 --channel-lightness 0,-100,0'
decode in.mov -vf 'format=rgba,frei0r=prismdrift:RGB|7|nan|0.5|0.5|0.5|nan|-4'
same)");
}

// Addends join the positions, and the sum stays within the range: 72 - 117 degrees, 1100 pixels, 30
// and -130 percent.
TEST_P(Frei0rPrograms, FfmpegAddsNumbersWithUnits) {
    run(R"(clip 64x48 '--shift-angle -45 --shift-distance 1000 --channel-lightness 30,0,-100'
decode in.mov -vf \
    'format=rgba,frei0r=prismdrift:RGB|0.7|0.95|0.5|0.5|0.5|0.5|0.5|0.35|-117|200|30|0|-100'
same)");
}

TEST_P(Frei0rPrograms, FfmpegPadsAndCropsOddWidths) {
    run(R"(clip 100x60 '--channel-order BGR --channel-lightness 20,0,-40'
decode in.mov -vf \
    'format=rgba,pad=112:ih,frei0r=prismdrift:BGR|0.5|0.5|0.5|0.5|0.5|0.6|0.5|0.3,crop=100:ih:0:0'
same)");
}

// At a width that is no multiple of 8, in line, on four worker threads and with a pool.
TEST_P(Frei0rPrograms, MeltDrawsAClipOnItsThreads) {
    run(R"(clip 100x60 "$options"
for mode in real_time=-1 real_time=-4 'real_time=-1 threads=0'; do
    rm -f out.raw
    melt -silent in.mov -attach frei0r.prismdrift \
        0=GBR 1=0.375 2=0.50775 3=0.5 4=0.4 5=0.75 6=0.5 7=0.75 8=0.35 \
        -consumer avformat:out.raw width=100 height=60 sample_aspect_num=1 sample_aspect_den=1 \
        display_aspect_num=5 display_aspect_den=3 frame_rate_num=25 frame_rate_den=1 progressive=1 \
        f=rawvideo vcodec=rawvideo pix_fmt=rgba mlt_image_format=rgba an=1 $mode
    same
done)");
}

TEST_P(Frei0rPrograms, GStreamerDrawsAClip) {
    run(R"(clip 100x60 "$options"
decode in.mov
mv out.raw in.raw
gst-launch-1.0 -q filesrc location=in.raw ! rawvideoparse format=rgba width=100 height=60 ! \
    frei0r-filter-prism-drift channel-order=GBR shift-angle=0.375 shift-distance=0.50775 \
    channel-scale-g-channel=0.4 channel-scale-b-channel=0.75 \
    channel-lightness-g-channel=0.75 channel-lightness-b-channel=0.35 ! filesink location=out.raw
same)");
}

// The first example says which picture all the others give.
TEST_P(Frei0rPrograms, ExamplesOfThePageHold) {
    run(R"(ffmpeg -v error -f lavfi -i testsrc2=s=320x240,format=rgba,colorchannelmixer=aa=0.7 \
    -frames:v 1 in.png
awk '/^```/ { inside = $0 == "```sh"; n += inside; next } inside { print >"example" n }' "$page"
for i in 1 2 3 4; do
    rm -f out.png out.raw
    # Under a sanitizer melt waits for itself, whatever modules it has, when it reads a picture.
    test $i$sanitized = 3yes && continue
    . ./example$i
    decode out.png
    test $i != 1 || cp out.raw wanted.raw
    same
done
test ! -e example5)");
}

} // namespace
