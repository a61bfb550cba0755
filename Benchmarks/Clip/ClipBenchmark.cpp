// A clip through the whole program, against the same frames drawn from memory and against reading
// and writing the clip without drawing, in turn in one run, each as a process of its own with its
// start and its set-up; and the memory that a clip ten times as long takes.
//
//   prismdrift_clip_benchmark [frames [rounds]]    100 frames and 3 rounds unless given

#include "Host/CommandLine/BoundedQueue.h"
#include "Host/Library/Error.h"
#include "Host/Library/HostedEffect.h"
#include "Host/Media/Clip.h"

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

// With what draws the frames from memory, too.
double runProgram(const fs::path& from, const fs::path& to) {
    return runProcess({PRISMDRIFT_PROGRAM, from, to, "--quiet", "--renderer", "gl",
                       "--shift-distance", std::to_string(distance)});
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
    for (int i = 0; i < count; ++i) {
        const World& input = frames[static_cast<std::size_t>(i) % frames.size()];
        World output(input.width(), input.height());
        FrameSettings settings;
        settings.time = {i, 1, 25};
        effect.render(input, output, values, settings);
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

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void compareTimes(const fs::path& folder, int count, int rounds) {
    const std::string self = fs::read_symlink("/proc/self/exe");
    makeClip(folder / "clip.mp4", width, height, count);
    std::vector<double> whole, drawing, files, toSlower, toSum;
    std::printf("%d frames of %dx%d, %u processors\n", count, width, height,
                std::thread::hardware_concurrency());
    for (int round = 0; round < rounds; ++round) {
        whole.push_back(secondsOf([&] { runProgram(folder / "clip.mp4", folder / "whole.mp4"); }));
        drawing.push_back(secondsOf([&] { runProcess({self, "draw", std::to_string(count)}); }));
        files.push_back(secondsOf([&] {
            runProcess({self, "copy", folder / "clip.mp4", folder / "files.mp4"});
        }));
        toSlower.push_back(whole.back() / std::max(drawing.back(), files.back()));
        toSum.push_back(whole.back() / (drawing.back() + files.back()));
        std::printf("round %d: whole %.2f s, drawn from memory %.2f s, decoded and encoded %.2f s; "
                    "whole / slower %.3f, whole / sum %.3f\n",
                    round + 1, whole.back(), drawing.back(), files.back(), toSlower.back(),
                    toSum.back());
        std::fflush(stdout);
    }
    std::printf("medians: whole %.2f s, drawn %.2f s, decoded and encoded %.2f s; whole / slower "
                "%.3f, whole / sum %.3f\n",
                median(whole), median(drawing), median(files), median(toSlower), median(toSum));
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
    const std::string part = count > 2 ? words[1] : "";
    if (part == "draw") {
        drawFromMemory(std::atoi(words[2]));
        return 0;
    }
    if (part == "copy" && count > 3) {
        readAndWrite(words[2], words[3]);
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
