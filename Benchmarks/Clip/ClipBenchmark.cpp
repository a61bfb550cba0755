// A clip through the whole program, against each of its parts alone (decoding, conversion, drawing,
// conversion back, encoding) and against all but the drawing at once, in turn in one run, each as a
// process of its own with its start and its set-up; and the memory that a clip ten times as long
// takes.
//
//   prismdrift_clip_benchmark [frames [rounds]]    100 frames and 3 rounds unless given
//
// PRISMDRIFT_RENDERER chooses what draws, in the program and from memory.

#include "Clip/ClipSteps.h"
#include "Host/CommandLine/BoundedQueue.h"
#include "Host/Library/Error.h"
#include "Host/Media/Clip.h"
#include "Host/Rendering/Renderer.h"
#include "Timing.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <malloc.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace Vexorel::PrismDrift::CommandLine;
using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;

constexpr double distance = 24.5;
constexpr int width = 1920;
constexpr int height = 1080;

// A picture with structure that differs from frame to frame, as far as an encoder cares.
World drawnFrame(int wide, int high, int number) {
    World world(wide, high);
    for (int y = 0; y < high; ++y) {
        std::uint8_t* pixel = world.row(y);
        for (int x = 0; x < wide; ++x, pixel += 4) {
            const int place = x + 3 * number;
            pixel[0] = 255;
            pixel[1] = static_cast<std::uint8_t>((place / 8 * 37 + y / 8 * 11) % 256);
            pixel[2] = static_cast<std::uint8_t>((place + y) % 256);
            pixel[3] = static_cast<std::uint8_t>((place / 32 + y / 32) % 2 * 200);
        }
    }
    return world;
}

// H.264 of frames at 25 a second, made by way of a sequence's first pictures.
void makeClip(const fs::path& file, int wide, int high, int count) {
    const fs::path still = file.parent_path() / "still.%d.png";
    ClipInput input;
    input.file = still;
    writePicture(file.parent_path() / "still.0.png", {drawnFrame(wide, high, 0), {}});
    const auto reader = openClip(input);
    ClipOutput output;
    output.file = file;
    const auto writer = openClipWriter(output, input, *reader);
    for (int i = 0; i < count; ++i) {
        writer->write(ClipFrame{{drawnFrame(wide, high, i), {}}, i, i, i, 1});
    }
    writer->finish();
    fs::remove(file.parent_path() / "still.0.png");
}

double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The most memory that a process has had resident, in MiB, 0 once it is over.
double peakOf(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::atof(line.c_str() + 6) / 1024;
        }
    }
    return 0;
}

// A command as a process of its own; the most memory it had resident, in MiB. (What the system
// counts for a child begins with its parent's.)
double runProcess(std::vector<std::string> words) {
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    pid_t child = 0;
    int status = 0;
    double peak = 0;
    if (posix_spawn(&child, pointers[0], nullptr, nullptr, pointers.data(), environ) != 0) {
        throw Error("the program doesn't start");
    }
    while (waitpid(child, &status, WNOHANG) == 0) {
        peak = std::max(peak, peakOf(child));
        constexpr std::chrono::milliseconds pause{5};
        std::this_thread::sleep_for(pause);
    }
    if (status != 0) {
        throw Error("the program failed");
    }
    return peak;
}

double runProgram(const fs::path& from, const fs::path& to) {
    return runProcess(
        {PRISMDRIFT_PROGRAM, from, to, "--quiet", "--shift-distance", std::to_string(distance)});
}

// Frame after frame as the program has them drawn, from ten that are in memory.
void drawFromMemory(int count) {
    std::vector<World> frames;
    for (int i = 0; i < 10; ++i) {
        frames.push_back(drawnFrame(width, height, i));
    }
    HostedEffect effect{fs::path(PRISMDRIFT_PLUGIN)};
    ParameterValues values = effect.defaultValues();
    for (const Parameter& parameter : effect.parameters()) {
        if (parameter.name == "Shift Distance") {
            values.set(parameter.index, distance);
        }
    }
    const auto renderer = makeRenderer(effect, rendererFromEnvironment());
    for (int i = 0; i < count; ++i) {
        const World& input = frames[static_cast<std::size_t>(i) % frames.size()];
        World output(input.width(), input.height());
        FrameSettings settings;
        settings.time = {i, 1, 25};
        renderer->render(input, output, values, settings);
    }
}

// Decoding and encoding on a thread each, as in the program, with nothing between them.
void readAndWrite(const fs::path& from, const fs::path& to) {
    ClipInput input;
    input.file = from;
    const auto reader = openClip(input);
    ClipOutput output;
    output.file = to;
    const auto writer = openClipWriter(output, input, *reader);
    constexpr std::size_t underWay = 4;
    BoundedQueue<ClipItem> queue(underWay);
    std::thread reading([&] {
        while (auto item = reader->next()) {
            queue.push(std::move(*item));
        }
        queue.end();
    });
    while (auto item = queue.pop()) {
        writer->write(std::move(*item));
    }
    writer->finish();
    reading.join();
}

// What is measured in each round: the whole program, then its parts.
struct Row {
    const char* name;
    std::function<void()> work;
    std::vector<double> seconds = {};
};

void compareTimes(const fs::path& folder, int count, int rounds) {
    const std::string self = fs::read_symlink("/proc/self/exe");
    const fs::path clip = folder / "clip.mp4";
    makeClip(clip, width, height, count);
    const auto part = [&](const char* name, const fs::path& last = "") {
        return [=] { runProcess({self, name, std::to_string(count), clip, last}); };
    };
    Row rows[] = {
        {"the whole program", [&] { runProgram(clip, folder / "whole.mp4"); }},
        {"decoding", part("decode")},
        {"conversion", part("convert")},
        {"drawing", part("draw")},
        {"conversion back", part("back")},
        {"encoding", part("encode")},
        {"decoding to encoding at once, without drawing", part("copy", folder / "files.mp4")}};
    const auto& [whole, decoding, conversion, drawing, back, encoding, files] = rows;
    std::printf("%d frames of %dx%d, %u processors; %s\n", count, width, height,
                std::thread::hardware_concurrency(),
                rendererText(rendererFromEnvironment()).c_str());
    std::vector<double> toSlower, toLongest, toSum;
    for (int round = 0; round < rounds; ++round) {
        double sum = 0;
        for (Row& row : rows) {
            row.seconds.push_back(secondsOf(row.work));
            sum += &row == &whole || &row == &files ? 0 : row.seconds.back();
            std::printf("round %d: %7.2f s %s\n", round + 1, row.seconds.back(), row.name);
            std::fflush(stdout);
        }
        const double first = whole.seconds.back();
        const auto last = [](const Row& row) { return row.seconds.back(); };
        toSlower.push_back(first / std::max(last(drawing), last(files)));
        toLongest.push_back(first / std::max({last(decoding) + last(conversion), last(drawing),
                                              last(back) + last(encoding)}));
        toSum.push_back(first / sum);
    }
    std::printf("medians, a frame:\n");
    for (const Row& row : rows) {
        std::printf("%7.2f ms %s\n", 1000 * median(row.seconds) / count, row.name);
    }
    std::printf("the whole to the slower of drawing and the rest at once %.3f, to the longest of "
                "the three threads %.3f, to the sum of the parts %.3f\n",
                median(toSlower), median(toLongest), median(toSum));
}

void compareMemory(const fs::path& folder) {
    for (const int count : {100, 1000}) {
        makeClip(folder / "small.mp4", width / 3, height / 3, count);
        std::printf("%4d frames of %dx%d: %.1f MiB resident at most\n", count, width / 3,
                    height / 3, runProgram(folder / "small.mp4", folder / "out.mp4"));
    }
}

} // namespace

int main(int count, char** words) {
    // As the program does.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    if (count > 3) { // a part alone: its name, the frames, the clip, and where a copy goes
        const std::string part = words[1];
        const int frames = std::atoi(words[2]);
        part == "decode"    ? decodeFrames(words[3])
        : part == "convert" ? convertFrames(words[3], frames)
        : part == "draw"    ? drawFromMemory(frames)
        : part == "back"    ? convertFramesBack(words[3], frames)
        : part == "encode"  ? encodeFrames(words[3], frames)
                            : readAndWrite(words[3], words[4]);
        return 0;
    }
    std::string name = (fs::temp_directory_path() / "prismdrift-clip-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        std::fprintf(stderr, "cannot make a folder\n");
        return 1;
    }
    int result = 0;
    try {
        compareTimes(name, count > 1 ? std::atoi(words[1]) : 100,
                     count > 2 ? std::atoi(words[2]) : 3);
        compareMemory(name);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        result = 1;
    }
    fs::remove_all(name);
    return result;
}
