/// A frame through the effect's entry point against the same GL calls written bare, both in one
/// run, frame by frame in turn.

#include "Frame/BareFrame.h"
#include "Timing.h"

#include "Platform/Effect/Suites.h"
#include "PrismDrift/Sources/PrismDrift.h"
#include "Shared/GL/AEOpenGLContext.h"
#include "Shared/GL/MessageSink.h"

#include <benchmark/benchmark.h>
#include <glbinding/AbstractFunction.h>
#include <glbinding/callbacks.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

using namespace gl33core;
using Vexorel::PrismDrift::AEOpenGLContext;

namespace {

/// As little of a host as a frame needs, so that the time is the effect's.
struct Host {
    /// The one block that a frame asks for, kept from frame to frame: what a host's memory costs is
    /// the host's affair.
    std::vector<char> block;
    void* blockAddress = nullptr;
    PF_HandleSuite1 handles{[](std::size_t size) {
                                host().block.resize(std::max(size, host().block.size()));
                                host().blockAddress = host().block.data();
                                return &host().blockAddress;
                            },
                            [](PF_Handle handle) { return *handle; }, [](PF_Handle) {},
                            [](PF_Handle) {}};
    SPBasicSuite basic{[](const char*, std::int32_t, void** suite) {
                           *suite = &host().handles;
                           return std::int32_t{0};
                       },
                       [](const char*, std::int32_t) { return std::int32_t{0}; }};
    PF_UtilCallbacks utils{{std::sprintf, std::strcpy},
                           [](PF_LayerDef* world, void*, PF_Pixel8** pixel) {
                               *pixel = static_cast<PF_Pixel8*>(world->data);
                               return PF_Err{0};
                           },
                           nullptr};
    PF_InData in_data{};
    PF_OutData out_data{};

    Host() {
        in_data.inter.checkout_param = [](PF_ProgPtr, std::int32_t index, std::int32_t,
                                          std::int32_t, std::uint32_t, PF_ParamDef* param) {
            if (index == 1) {
                param->u.pd.value = 1;
            } else if (index > 4 && index < 8) {
                param->u.fs_d.value = 100.0;
            }
            return PF_Err{0};
        };
        in_data.inter.checkin_param = [](PF_ProgPtr, PF_ParamDef*) { return PF_Err{0}; };
        in_data.utils = &utils;
        in_data.pica_basicP = &basic;
        in_data.downsample_x = {1, 1};
    }

    static Host& host() {
        static Host instance;
        return instance;
    }

    PF_Err run(PF_Cmd cmd, PF_LayerDef* input = nullptr, PF_LayerDef* output = nullptr) {
        PF_ParamDef layer{};
        if (input != nullptr) {
            layer.u.ld = *input;
        }
        PF_ParamDef* params[] = {&layer};
        return EntryPointFunc(cmd, &in_data, &out_data, params, output, nullptr);
    }
};

/// A world with padded rows and something in it.
struct World {
    World(int width, int height)
        : bytes(static_cast<std::size_t>(width * 4 + 64) * static_cast<std::size_t>(height)),
          layer{bytes.data(), width * 4 + 64, width, height} {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = i % 4 == 0 ? 255 : static_cast<unsigned char>(i * 2654435761U >> 24U);
        }
    }
    std::vector<unsigned char> bytes;
    PF_LayerDef layer;
};

double residentMiB() {
    std::ifstream status("/proc/self/statm");
    double total = 0;
    double resident = 0;
    status >> total >> resident;
    return resident * 4096 / (1024 * 1024);
}

/// The median of each, and the median of the ratios of two frames that followed each other.
void frames(benchmark::State& state) {
    const auto width = static_cast<int>(state.range(0));
    const auto height = static_cast<int>(state.range(1));
    World input(width, height);
    World effectOutput(width, height);
    World bareOutput(width, height);
    Host& host = Host::host();
    AEOpenGLContext bareContext(nullptr);
    BareFrame bare(width, height);
    const auto drawBare = [&] { bare.frame(input.layer, bareOutput.layer); };
    const auto drawEffect = [&] {
        if (host.run(PF_Cmd_RENDER, &input.layer, &effectOutput.layer) != PF_Err_NONE) {
            state.SkipWithError("the effect could not render");
        }
    };
    drawEffect();
    bareContext.makeContextCurrent();
    drawBare();
    if (effectOutput.bytes != bareOutput.bytes) {
        state.SkipWithError("the two do not draw the same picture");
    }
    std::vector<double> effectTimes;
    std::vector<double> bareTimes;
    std::vector<double> ratios;
    for (auto _ : state) {
        const bool effectFirst = effectTimes.size() % 2 == 0;
        double effectTime = effectFirst ? milliseconds(drawEffect) : 0.0;
        bareContext.makeContextCurrent();
        bareTimes.push_back(milliseconds(drawBare));
        effectTime = effectFirst ? effectTime : milliseconds(drawEffect);
        effectTimes.push_back(effectTime);
        ratios.push_back(effectTime / bareTimes.back());
        bareContext.makeContextCurrent();
        state.SetIterationTime(effectTime / 1000);
    }
    if (!ratios.empty()) {
        state.counters["effect_ms"] = median(effectTimes);
        state.counters["bare_ms"] = median(bareTimes);
        state.counters["ratio"] = median(ratios);
    }
}

/// The bare frame's stages, each finished before the next begins.
void stages(benchmark::State& state) {
    const auto width = static_cast<int>(state.range(0));
    const auto height = static_cast<int>(state.range(1));
    World input(width, height);
    World output(width, height);
    AEOpenGLContext context(nullptr);
    BareFrame bare(width, height);
    std::array<std::vector<double>, BareFrame::stageCount> times;
    for (auto _ : state) {
        for (int i = 0; i < BareFrame::stageCount; ++i) {
            const auto stage = static_cast<BareFrame::Stage>(i);
            times.at(static_cast<std::size_t>(i)).push_back(milliseconds([&] {
                bare.run(stage, input.layer, output.layer);
                glFinish();
            }));
        }
    }
    for (std::size_t i = 0; i < times.size(); ++i) {
        state.counters[std::string(BareFrame::stageNames.at(i)) + "_ms"] = median(times.at(i));
    }
}

/// GL names made minus names deleted, of all kinds, counted in the context that is current.
class NameCount {
public:
    NameCount() {
        glbinding::setCallbackMask(glbinding::CallbackMask::After |
                                   glbinding::CallbackMask::ParametersAndReturnValue);
        glbinding::setAfterCallback([this](const glbinding::FunctionCall& call) {
            const std::string name = call.function->name();
            const bool made = name.compare(0, 5, "glGen") == 0;
            const bool deleted = name.compare(0, 8, "glDelete") == 0;
            if (made || deleted) {
                mCount += made ? 1 : -1;
            }
        });
    }
    ~NameCount() {
        glbinding::setCallbackMask(glbinding::CallbackMask::None);
        glbinding::setAfterCallback(nullptr);
    }
    NameCount(const NameCount&) = delete;
    NameCount& operator=(const NameCount&) = delete;
    long count() const { return mCount; }

private:
    long mCount = 0;
};

/// A thousand frames, each of another size than the one before. The counters are how much grew
/// from the hundredth to the last.
void changingSizes(benchmark::State& state) {
    World input(640, 480);
    World output(640, 480);
    Host& host = Host::host();
    CGLSetCurrentContext(nullptr); // so that the effect's context stays current, to be watched
    host.run(PF_Cmd_RENDER, &input.layer, &output.layer);
    const NameCount names;
    for (auto _ : state) {
        double residentBefore = 0;
        long namesBefore = 0;
        for (int i = 0; i < 1000; ++i) {
            input.layer.width = output.layer.width = 64 + i % 97 * 5;
            input.layer.height = output.layer.height = 48 + i % 89 * 4;
            if (host.run(PF_Cmd_RENDER, &input.layer, &output.layer) != PF_Err_NONE) {
                state.SkipWithError("the effect could not render");
            }
            if (i == 99) {
                residentBefore = residentMiB();
                namesBefore = names.count();
            }
        }
        state.counters["resident_MiB_grown"] = residentMiB() - residentBefore;
        state.counters["names_grown"] = static_cast<double>(names.count() - namesBefore);
    }
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->Args({1280, 720})->Args({1920, 1080})->Args({3840, 2160});
    bench->ArgNames({"width", "height"})->Unit(benchmark::kMillisecond);
}

BENCHMARK(frames)->Apply(sizes)->UseManualTime()->MinTime(8);
BENCHMARK(stages)->Apply(sizes)->MinTime(4);
BENCHMARK(changingSizes)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    Vexorel::PrismDrift::setMessageSink(nullptr);
    if (Host::host().run(PF_Cmd_GLOBAL_SETUP) != PF_Err_NONE) {
        std::fputs("no OpenGL 3.3 context could be made\n", stderr);
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    Host::host().run(PF_Cmd_GLOBAL_SETDOWN);
    return 0;
}
