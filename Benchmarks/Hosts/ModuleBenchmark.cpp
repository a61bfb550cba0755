// A frame through the frei0r module against the bare GL calls of the same frame, in pairs: one of
// each behind the other, in random order, so that what else the machine does falls on both.

extern "C" {
#include <frei0r.h>
}

#include "Frame/BareFrame.h"
#include "Host/Library/World.h"
#include "Shared/GL/AEOpenGLContext.h"
#include "Shared/GL/MessageSink.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <random>
#include <sys/resource.h>
#include <utility>
#include <vector>

namespace {

using Vexorel::PrismDrift::AEOpenGLContext;
using Vexorel::PrismDrift::Host::World;

template <typename Function>
Function* function(const char* name) {
    static void* module = dlopen(FREI0R_MODULE, RTLD_NOW | RTLD_LOCAL);
    return module == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(module, name));
}

double milliseconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

double pageFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_minflt);
}

// What frames cost: milliseconds that passed, milliseconds of all processors, page faults.
struct Costs {
    std::vector<double> wall, processors, faults;

    template <typename Frame>
    void take(const Frame& frame) {
        const double fault = pageFaults();
        const double processor = milliseconds(CLOCK_PROCESS_CPUTIME_ID);
        const double start = milliseconds(CLOCK_MONOTONIC);
        frame();
        wall.push_back(milliseconds(CLOCK_MONOTONIC) - start);
        processors.push_back(milliseconds(CLOCK_PROCESS_CPUTIME_ID) - processor);
        faults.push_back(pageFaults() - fault);
    }
};

double quantile(std::vector<double> values, double share) {
    const auto at = values.begin() + static_cast<long>(share * static_cast<double>(values.size()));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

double median(const std::vector<double>& values) {
    return quantile(values, 0.5);
}

std::vector<double> ratios(const std::vector<double>& ours, const std::vector<double>& bare) {
    std::vector<double> all;
    for (std::size_t i = 0; i < ours.size(); ++i) {
        all.push_back(ours[i] / bare[i]);
    }
    return all;
}

// The same soft picture twice: as the module takes it and as the effect does.
void fill(std::vector<std::uint32_t>& frame, World& world) {
    for (std::size_t i = 0; i < frame.size(); ++i) {
        auto* pixel = reinterpret_cast<std::uint8_t*>(&frame[i]);
        const auto x = i % static_cast<std::size_t>(world.width());
        const auto y = i / static_cast<std::size_t>(world.width());
        pixel[0] = static_cast<std::uint8_t>(x / 3);
        pixel[1] = static_cast<std::uint8_t>(y / 2);
        pixel[2] = static_cast<std::uint8_t>((x + y) / 5);
        pixel[3] = 255;
        std::uint8_t* row = world.row(static_cast<int>(y)) + x * 4;
        row[0] = pixel[3];
        std::copy(pixel, pixel + 3, row + 1);
    }
}

void report(benchmark::State& state, const Costs& module, const Costs& bare) {
    const std::vector<double> wall = ratios(module.wall, bare.wall);
    state.counters["pairs"] = static_cast<double>(wall.size());
    state.counters["ratio"] = median(wall);
    state.counters["ratio_q1"] = quantile(wall, 0.25);
    state.counters["ratio_q3"] = quantile(wall, 0.75);
    state.counters["cpu_ratio"] = median(ratios(module.processors, bare.processors));
    state.counters["module_ms"] = median(module.wall);
    state.counters["bare_ms"] = median(bare.wall);
    state.counters["module_faults"] = median(module.faults);
    state.counters["bare_faults"] = median(bare.faults);
}

void moduleFrames(benchmark::State& state) {
    const auto width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto* update = function<decltype(f0r_update)>("f0r_update");
    if (update == nullptr) {
        state.SkipWithError("the module can't be opened");
        return;
    }
    setenv("PRISMDRIFT_RENDERER", "gl", 1);
    function<decltype(f0r_init)>("f0r_init")();
    void* instance = function<decltype(f0r_construct)>("f0r_construct")(
        static_cast<unsigned>(width), static_cast<unsigned>(height));
    std::vector<std::uint32_t> frame(static_cast<std::size_t>(width) *
                                     static_cast<std::size_t>(height));
    std::vector<std::uint32_t> drawn(frame.size());
    World input(width, height), output(width, height);
    fill(frame, input);
    PF_LayerDef target = output.layer();
    AEOpenGLContext context(nullptr);
    BareFrame bare(width, height);
    // The module leaves the thread's context as it finds it, so that the bare one stays current.
    const auto drawBare = [&] { bare.frame(input.layer(), target); };
    const auto drawModule = [&] { update(instance, 0.0, frame.data(), drawn.data()); };
    drawModule();
    drawBare();
    const std::uint8_t* inputEnd = input.row(height - 1) + std::ptrdiff_t{4} * width;
    if (drawn != frame || !std::equal(std::as_const(input).row(0), inputEnd, output.row(0))) {
        state.SkipWithError("the two do not draw the same picture");
    }
    std::mt19937 random(1);
    Costs moduleCosts, bareCosts;
    for (auto _ : state) {
        const bool moduleFirst = random() % 2 == 0;
        if (moduleFirst) {
            moduleCosts.take(drawModule);
        }
        bareCosts.take(drawBare);
        if (!moduleFirst) {
            moduleCosts.take(drawModule);
        }
        state.SetIterationTime(moduleCosts.wall.back() / 1000);
    }
    if (!moduleCosts.wall.empty()) {
        report(state, moduleCosts, bareCosts);
    }
    function<decltype(f0r_destruct)>("f0r_destruct")(instance);
    function<decltype(f0r_deinit)>("f0r_deinit")();
}
BENCHMARK(moduleFrames)
    ->Args({1280, 720})
    ->Args({1920, 1080})
    ->ArgNames({"width", "height"})
    ->UseManualTime()
    ->Iterations(60)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    Vexorel::PrismDrift::setMessageSink(nullptr);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
