/// Frames drawn in software, each in turn with a copy of the same memory, so that their ratio holds
/// on a noisy machine; and the plug-in's frames in the same run. `copies` is the median of the
/// ratios, `bytes` that to the same frame of 8 bits, and `drawn_frames` that to a frame drawn. The
/// frames are as many as no cache holds.

#include "Host/Color/LinearLight.h"
#include "Host/Software/Software.h"
#include "PrismDrift/Sources/Embedded.h"
#include "Timing.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using namespace Vexorel::PrismDrift;
using namespace Vexorel::PrismDrift::Host;

namespace {

struct Size {
    const char* name;
    int width, height;
};
constexpr Size sizes[] = {{"1080p", 1920, 1080}, {"2160p", 3840, 2160}};

struct Format {
    const char* name;
    PF_PixelFormat format;
};
constexpr Format formats[] = {{"bytes", PF_PixelFormat_ARGB32},
                              {"words", PF_PixelFormat_ARGB64},
                              {"floats", PF_PixelFormat_ARGB128}};

struct Case {
    const char* name;
    ChannelValues values;
};
const Case cases[] = {
    {"identity", {}},
    {"shift", {RGB, 16.0F, 0.0F, {}, {1.0F, 1.0F, 1.0F}}},
    {"all", {BGR, 20.5F, 36.0F, {0.2F, 0.0F, -0.2F}, {1.1F, 1.0F, 0.9F}}},
    {"small", {BGR, 20.5F, 36.0F, {0.2F, 0.0F, -0.2F}, {0.1F, 0.3F, 0.5F}}},
};

// Opaque noise.
void fill(World& world) {
    std::uint32_t random = 1;
    for (int y = 0; y < world.height(); ++y) {
        for (int x = 0; x < world.width() * 4; ++x) {
            random = random * 1664525U + 1013904223U;
            const float part = x % 4 == 0 ? 1.0F : static_cast<float>(random >> 8U) / (1 << 24);
            if (world.format() == PF_PixelFormat_ARGB32) {
                world.row(y)[x] = static_cast<std::uint8_t>(part * 255);
            } else if (world.format() == PF_PixelFormat_ARGB64) {
                reinterpret_cast<std::uint16_t*>(world.row(y))[x] =
                    static_cast<std::uint16_t>(part * 32768);
            } else {
                reinterpret_cast<float*>(world.row(y))[x] = part;
            }
        }
    }
}

// Pairs of input and output, used in turn.
class Frames {
public:
    Frames(const Size& size, PF_PixelFormat format) {
        const World first(size.width, size.height, format);
        mBytes = static_cast<std::size_t>(first.rowBytes()) * static_cast<std::size_t>(size.height);
        constexpr std::size_t together = 128 << 20; // more than caches hold
        for (std::size_t bytes = 0; bytes < together; bytes += 2 * mBytes) {
            fill(mInputs.emplace_back(size.width, size.height, format));
            fill(mOutputs.emplace_back(size.width, size.height, format));
        }
    }

    void next() { mIndex = (mIndex + 1) % mInputs.size(); }
    const World& input() const { return mInputs[mIndex]; }
    World& output() { return mOutputs[mIndex]; }
    void copy() { std::memcpy(output().row(0), input().row(0), mBytes); }

private:
    std::vector<World> mInputs, mOutputs;
    std::size_t mBytes = 0;
    std::size_t mIndex = 0;
};

// Times `draw` in turn with `rival`, each on the next frame; gives the median of the ratios.
template <typename Draw, typename Rival>
double compare(benchmark::State& state, const Draw& draw, const Rival& rival) {
    std::vector<double> ratios;
    draw();
    for (auto _ : state) {
        const bool isFirst = ratios.size() % 2 == 0;
        double time = isFirst ? milliseconds(draw) : 0.0;
        const double other = milliseconds(rival);
        time = isFirst ? time : milliseconds(draw);
        ratios.push_back(time / other);
        state.SetIterationTime(time / 1000);
    }
    return ratios.empty() ? 0 : median(std::move(ratios));
}

void copies(benchmark::State& state, const Size& size, PF_PixelFormat format) {
    Frames frames(size, format);
    for (auto _ : state) {
        frames.next();
        state.SetIterationTime(milliseconds([&] { frames.copy(); }) / 1000);
    }
}

void software(benchmark::State& state, const Size& size, PF_PixelFormat format,
              const SoftwareSettings& settings) {
    Frames frames(size, format);
    const auto draw = [&] {
        frames.next();
        renderInSoftware(frames.input(), frames.output(), settings);
    };
    const auto copy = [&] {
        frames.next();
        frames.copy();
    };
    state.counters["copies"] = compare(state, draw, copy);
}

void againstBytes(benchmark::State& state, const Size& size, PF_PixelFormat format,
                  const SoftwareSettings& settings) {
    Frames deep(size, format);
    Frames bytes(size, PF_PixelFormat_ARGB32);
    const auto drawer = [&](Frames& frames) {
        return [&frames, &settings] {
            frames.next();
            renderInSoftware(frames.input(), frames.output(), settings);
        };
    };
    state.counters["bytes"] = compare(state, drawer(deep), drawer(bytes));
}

// To light and back, beside the same frame drawn with all that the threads can do.
void linearLight(benchmark::State& state, const Size& size, Transfer transfer) {
    Frames frames(size, PF_PixelFormat_ARGB128);
    const auto change = [&] {
        frames.next();
        toLinear(frames.output(), transfer);
        fromLinear(frames.output(), transfer);
    };
    const auto draw = [&] {
        frames.next();
        renderInSoftware(frames.input(), frames.output(), {cases[2].values, 0});
    };
    state.counters["drawn_frames"] = compare(state, change, draw);
}

void plugIn(benchmark::State& state, const Size& size) {
    Frames frames(size, PF_PixelFormat_ARGB32);
    HostedEffect effect(&EntryPointFunc);
    ParameterValues values = effect.defaultValues();
    const double numbers[] = {6, 36, 20.5, 0, 110, 100, 90, 0, 0, 20, 0, -20};
    for (int index = 1; index <= 12; ++index) {
        if (effect.parameters()[static_cast<std::size_t>(index - 1)].hasValue()) {
            values.set(index, numbers[index - 1]);
        }
    }
    const SoftwareSettings settings = softwareSettings(values, {});
    const auto draw = [&] { effect.render(frames.input(), frames.output(), values); };
    const auto rival = [&] {
        renderInSoftware(frames.input(), frames.output(), {settings.values, 1});
    };
    try {
        state.counters["software_frames"] = compare(state, draw, rival);
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
    }
}

void add(const std::string& name, const std::function<void(benchmark::State&)>& run) {
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->MinTime(0.5);
}

void addAll(const Size& size) {
    for (const Format& format : formats) {
        const std::string start = std::string(size.name) + "/" + format.name;
        add(start + "/copy", [=](auto& state) { copies(state, size, format.format); });
        for (const Case& each : cases) {
            for (const unsigned threads : {1U, 2U}) {
                const SoftwareSettings settings{each.values, threads};
                add(start + "/" + each.name + "/threads:" + std::to_string(threads),
                    [=](auto& state) { software(state, size, format.format, settings); });
            }
        }
        if (format.format != PF_PixelFormat_ARGB32) {
            add(start + "/all/against_bytes", [=](auto& state) {
                againstBytes(state, size, format.format, {cases[2].values, 1});
            });
        }
    }
    for (const Transfer transfer : {Transfer::Srgb, Transfer::Bt709, Transfer::Pq, Transfer::Hlg}) {
        add(std::string(size.name) + "/floats/linear:" + nameOf(transfer),
            [=](auto& state) { linearLight(state, size, transfer); });
    }
    add(std::string(size.name) + "/bytes/all/plug-in", [=](auto& state) { plugIn(state, size); });
}

} // namespace

int main(int argc, char** argv) {
    setMessageSink(nullptr);
    std::for_each(std::begin(sizes), std::end(sizes), addAll);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::AddCustomContext("vector unit", softwareUnit());
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
