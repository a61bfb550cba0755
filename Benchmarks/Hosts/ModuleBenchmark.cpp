// A frame through the frei0r module against the bare GL calls of the same frame, in turn in one
// run.

extern "C" {
#include <frei0r.h>
}

#include "Frame/BareFrame.h"
#include "Host/Library/World.h"
#include "Shared/GL/AEOpenGLContext.h"
#include "Shared/GL/MessageSink.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <dlfcn.h>
#include <vector>

namespace {

using Vexorel::PrismDrift::AEOpenGLContext;
using Vexorel::PrismDrift::Host::World;

template <typename Function>
Function* function(const char* name) {
    static void* module = dlopen(FREI0R_MODULE, RTLD_NOW | RTLD_LOCAL);
    return module == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(module, name));
}

template <typename Function>
double milliseconds(Function work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void moduleFrames(benchmark::State& state) {
    constexpr int width = 1920, height = 1080;
    auto* update = function<decltype(f0r_update)>("f0r_update");
    if (update == nullptr) {
        state.SkipWithError("the module can't be opened");
        return;
    }
    function<decltype(f0r_init)>("f0r_init")();
    void* instance = function<decltype(f0r_construct)>("f0r_construct")(width, height);
    std::vector<std::uint32_t> frame(std::size_t{width} * height, 0xff804020U);
    std::vector<std::uint32_t> drawn(frame.size());
    const auto drawModule = [&] { update(instance, 0.0, frame.data(), drawn.data()); };

    World input(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::array<std::uint8_t, 4> pixel = {0xff, 0x20, 0x40, 0x80}; // A, R, G, B
            std::copy(pixel.begin(), pixel.end(), input.row(y) + std::ptrdiff_t{4} * x);
        }
    }
    World output(width, height);
    PF_LayerDef target = output.layer();
    AEOpenGLContext context(nullptr);
    BareFrame bare(width, height);
    // The module leaves the thread's context as it finds it, so that this one stays current.
    const auto drawBare = [&] { bare.frame(input.layer(), target); };
    drawModule();
    context.makeContextCurrent();
    drawBare();
    if (drawn != frame) {
        state.SkipWithError("the module does not draw");
    }
    std::vector<double> moduleTimes, bareTimes, ratios;
    for (auto _ : state) {
        const bool moduleFirst = ratios.size() % 2 == 0;
        double moduleTime = moduleFirst ? milliseconds(drawModule) : 0.0;
        context.makeContextCurrent();
        bareTimes.push_back(milliseconds(drawBare));
        moduleTime = moduleFirst ? moduleTime : milliseconds(drawModule);
        context.makeContextCurrent();
        moduleTimes.push_back(moduleTime);
        ratios.push_back(moduleTime / bareTimes.back());
        state.SetIterationTime(moduleTime / 1000);
    }
    state.counters["module_ms"] = median(moduleTimes);
    state.counters["bare_ms"] = median(bareTimes);
    state.counters["ratio"] = median(ratios);
    function<decltype(f0r_destruct)>("f0r_destruct")(instance);
    function<decltype(f0r_deinit)>("f0r_deinit")();
}
BENCHMARK(moduleFrames)->UseManualTime()->MinTime(6)->Unit(benchmark::kMillisecond);

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
