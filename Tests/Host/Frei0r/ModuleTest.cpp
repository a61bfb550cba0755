// The module opened by a host of the tests' own: what it says, draws and leaves as it was.

extern "C" {
#include <frei0r.h>
}

#include "Host/Library/HostedEffect.h"
#include "PrismDrift/Sources/PrismDrift.h"
#include "Support/HostContexts.h"
#include "Tests/Host/ScratchFolder.h"

#include <array>
#include <atomic>
#include <clocale>
#include <cmath>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Vexorel::PrismDrift;

namespace {

class Module {
public:
    explicit Module(const std::string& file = FREI0R_MODULE)
        : mHandle(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (mHandle == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }
    ~Module() { dlclose(mHandle); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    template <typename Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(mHandle, name));
    }

private:
    void* mHandle;

public:
    decltype(&f0r_init) init = find<decltype(f0r_init)>("f0r_init");
    decltype(&f0r_deinit) deinit = find<decltype(f0r_deinit)>("f0r_deinit");
    decltype(&f0r_get_plugin_info) info =
        find<decltype(f0r_get_plugin_info)>("f0r_get_plugin_info");
    decltype(&f0r_get_param_info) paramInfo =
        find<decltype(f0r_get_param_info)>("f0r_get_param_info");
    decltype(&f0r_construct) construct = find<decltype(f0r_construct)>("f0r_construct");
    decltype(&f0r_destruct) destruct = find<decltype(f0r_destruct)>("f0r_destruct");
    decltype(&f0r_set_param_value) set = find<decltype(f0r_set_param_value)>("f0r_set_param_value");
    decltype(&f0r_get_param_value) get = find<decltype(f0r_get_param_value)>("f0r_get_param_value");
    decltype(&f0r_update) update = find<decltype(f0r_update)>("f0r_update");

    void setNumber(f0r_instance_t instance, int index, double value) const {
        set(instance, &value, index);
    }
    void setText(f0r_instance_t instance, const char* text) const {
        char* pointer = const_cast<char*>(text);
        set(instance, &pointer, 0);
    }
    double number(f0r_instance_t instance, int index) const {
        double value = -1.0;
        get(instance, &value, index);
        return value;
    }
    std::string text(f0r_instance_t instance) const {
        char* pointer = nullptr;
        get(instance, &pointer, 0);
        return pointer;
    }
};

using Frame = std::vector<std::uint8_t>; ///< R, G, B, A

Frame someFrame(unsigned width, unsigned height) {
    Frame frame(std::size_t{4} * width * height);
    for (std::size_t i = 0; i < frame.size(); ++i) {
        frame[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 128 + i % 128 : i * 37 + i / 100);
    }
    return frame;
}

/// What the effect gives through the host library, for the order BGR and a distance in pixels.
Frame expected(const Frame& frame, unsigned width, unsigned height, double distance) {
    Host::HostedEffect effect(&EntryPointFunc);
    Host::World in(static_cast<int>(width), static_cast<int>(height));
    Host::World out(in.width(), in.height());
    const auto copy = [&](auto each) {
        for (std::size_t i = 0; i < frame.size(); ++i) {
            each(i, static_cast<int>(i / 4 / width),
                 i / 4 % width * 4 + (i % 4 == 3 ? 0 : i % 4 + 1));
        }
    };
    copy([&](std::size_t i, int y, std::size_t x) { in.row(y)[x] = frame[i]; });
    Host::ParameterValues values = effect.defaultValues();
    values.set(1, 6);
    values.set(2, 36.0);
    values.set(3, distance);
    effect.render(in, out, values);
    Frame result(frame.size());
    copy([&](std::size_t i, int y, std::size_t x) { result[i] = out.row(y)[x]; });
    return result;
}

f0r_instance_t makeInstance(const Module& module, unsigned width, unsigned height,
                            double distance) {
    f0r_instance_t instance = module.construct(width, height);
    module.setText(instance, "BGR");
    module.setNumber(instance, 1, 0.6);
    module.setNumber(instance, 2, 0.5 + distance / 2000.0);
    return instance;
}

void update(const Module& module, f0r_instance_t instance, const std::uint8_t* in,
            std::uint8_t* out) {
    module.update(instance, std::nan(""), reinterpret_cast<const std::uint32_t*>(in),
                  reinterpret_cast<std::uint32_t*>(out));
}

Frame updated(const Module& module, f0r_instance_t instance, const Frame& frame) {
    Frame out(frame.size());
    update(module, instance, frame.data(), out.data());
    return out;
}

TEST(Frei0rModule, TellsWhatItIsBeforeInit) {
    const Module module;
    f0r_plugin_info_t info;
    module.info(&info);
    EXPECT_STREQ(info.name, "Prism Drift");
    EXPECT_EQ(info.plugin_type, F0R_PLUGIN_TYPE_FILTER);
    EXPECT_EQ(info.color_model, F0R_COLOR_MODEL_RGBA8888);
    EXPECT_EQ(info.frei0r_version, FREI0R_MAJOR_VERSION);
    ASSERT_EQ(info.num_params, 9);
    const std::array<std::string, 9> names = {"Channel Order",
                                              "Shift Angle",
                                              "Shift Distance",
                                              "Channel Scale R Channel",
                                              "Channel Scale G Channel",
                                              "Channel Scale B Channel",
                                              "Channel Lightness R Channel",
                                              "Channel Lightness G Channel",
                                              "Channel Lightness B Channel"};
    f0r_instance_t instance = module.construct(720, 576);
    for (int i = 0; i < 9; ++i) {
        f0r_param_info_t param;
        module.paramInfo(&param, i);
        EXPECT_EQ(param.name, names[static_cast<std::size_t>(i)]);
        EXPECT_EQ(param.type, i == 0 ? F0R_PARAM_STRING : F0R_PARAM_DOUBLE);
        if (i > 0) {
            EXPECT_EQ(module.number(instance, i), 0.5) << i;
        }
    }
    EXPECT_EQ(module.text(instance), "RGB");
    module.destruct(instance);
    EXPECT_EQ(module.find<void()>("EntryPointFunc"), nullptr);
}

TEST(Frei0rModule, TakesAnyValue) {
    const Module module;
    f0r_instance_t instance = module.construct(16, 16);
    const std::array<std::array<double, 2>, 6> cases = {{{0.25, 0.25},
                                                         {-3.0, 0.0},
                                                         {7.0, 1.0},
                                                         {std::nan(""), 0.5},
                                                         {-INFINITY, 0.0},
                                                         {INFINITY, 1.0}}};
    for (const auto& [given, kept] : cases) {
        for (int i = 1; i < 9; ++i) {
            module.setNumber(instance, i, given);
            EXPECT_EQ(module.number(instance, i), kept);
        }
    }
    module.setNumber(instance, 9, 0.1); // there is none such
    module.setNumber(instance, -1, 0.1);
    module.setText(instance, "GBR");
    testing::internal::CaptureStderr();
    module.setText(instance, "XYZ");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "prismdrift (frei0r): Channel Order takes RGB, RBG, GRB, GBR, BRG or BGR, not 'XYZ'\n");
    EXPECT_EQ(module.text(instance), "GBR");
    module.setText(instance, nullptr);
    EXPECT_EQ(module.text(instance), "RGB");
    module.destruct(instance);
    testing::internal::CaptureStderr();
    EXPECT_EQ(module.construct(0, 16), nullptr);
    EXPECT_EQ(module.construct(16, 4000000000U), nullptr);
    testing::internal::GetCapturedStderr();
}

TEST(Frei0rModule, DrawsWhatTheProgramDraws) {
    const Module module;
    EXPECT_EQ(module.init(), 1);
    for (const auto& [width, height] : {std::array{64U, 48U}, {37U, 21U}, {1U, 1U}, {5U, 300U}}) {
        const Frame frame = someFrame(width, height);
        f0r_instance_t instance = makeInstance(module, width, height, 4.0);
        const Frame wanted = expected(frame, width, height, 4.0);
        EXPECT_EQ(updated(module, instance, frame), wanted) << width << "x" << height;

        Frame shifted(frame.size() + 2, 77); // an odd address, in place, with a guard on each side
        std::copy(frame.begin(), frame.end(), shifted.begin() + 1);
        update(module, instance, shifted.data() + 1, shifted.data() + 1);
        EXPECT_EQ(Frame(shifted.begin() + 1, shifted.end() - 1), wanted);
        EXPECT_EQ(shifted.front(), 77);
        EXPECT_EQ(shifted.back(), 77);

        module.setNumber(instance, 2, 0.505);
        EXPECT_EQ(updated(module, instance, frame), expected(frame, width, height, 10.0));
        module.destruct(instance);
    }
    module.deinit();
}

TEST(Frei0rModule, CountsInitAndOutlivesDeinit) {
    const Module module;
    module.init();
    module.init();
    const Frame frame = someFrame(32, 16);
    const Frame wanted = expected(frame, 32, 16, 3.0);
    f0r_instance_t instance = makeInstance(module, 32, 16, 3.0);
    EXPECT_EQ(updated(module, instance, frame), wanted);
    module.deinit();
    EXPECT_EQ(updated(module, instance, frame), wanted);
    module.deinit();
    module.deinit(); // one too many
    module.init();
    EXPECT_EQ(updated(module, instance, frame), wanted);
    module.deinit();
    std::thread([&] { module.destruct(instance); }).join();
}

/// Eight threads, shared out among the modules, each make, set, use and end `rounds` instances of
/// eight sizes; the last of each ends on this thread, with the others and their uses gone. One
/// instance a module is everybody's.
void serveEightThreads(const std::vector<const Module*>& modules, unsigned rounds) {
    std::vector<Frame> frames, wanted;
    for (unsigned size = 0; size < 8; ++size) {
        frames.push_back(someFrame(16 + size * 3, 12 + size));
        wanted.push_back(expected(frames.back(), 16 + size * 3, 12 + size, size));
    }
    std::vector<f0r_instance_t> shared;
    for (const Module* module : modules) {
        shared.push_back(makeInstance(*module, 16, 12, 0));
    }
    std::atomic<int> wrong{0};
    std::array<f0r_instance_t, 8> last{};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            const Module& module = *modules[t % modules.size()];
            f0r_instance_t everybodys = shared[t % modules.size()];
            module.init();
            for (unsigned i = 0; i < rounds; ++i) {
                const unsigned k = (t + i) % 8;
                module.destruct(
                    std::exchange(last[t], makeInstance(module, 16 + k * 3, 12 + k, k)));
                wrong += updated(module, last[t], frames[k]) != wanted[k];
                if (i % 5 != 0) {
                    continue;
                }
                module.setNumber(everybodys, 2, 0.5);
                wrong += updated(module, everybodys, frames[0]) != wanted[0];
            }
            module.deinit();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    for (unsigned t = 0; t < 8; ++t) {
        modules[t % modules.size()]->destruct(last[t]);
    }
    for (std::size_t i = 0; i < modules.size(); ++i) {
        modules[i]->destruct(shared[i]);
    }
}

TEST(Frei0rModule, ServesEightThreads) {
    const Module module;
    serveEightThreads({&module}, 50);
}

// Under another path it is another module, with an effect, locks and contexts of its own.
TEST(Frei0rModule, ServesThreadsFromTwoPaths) {
    const ScratchFolder folder;
    const std::string copy = folder.path() / "copy.so";
    std::filesystem::copy_file(FREI0R_MODULE, copy);
    const Module first, second(copy);
    ASSERT_NE(first.update, second.update);
    serveEightThreads({&first, &second}, 12);
}

void oneFrame(const Module& module) {
    module.init();
    f0r_instance_t instance = makeInstance(module, 32, 16, 3.0);
    const Frame frame = someFrame(32, 16);
    EXPECT_NE(updated(module, instance, frame), frame);
    module.destruct(instance);
}

/// All that a guest could change: environment, locale, signal handlers, what is current.
std::vector<std::string> stateOfTheProcess() {
    std::vector<std::string> all = {std::setlocale(LC_ALL, nullptr)};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        all.emplace_back(*entry);
    }
    for (int signal = 1; signal < 32; ++signal) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        all.push_back(std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler)));
    }
    for (const std::uintptr_t each : Testing::currentState()) {
        all.push_back(std::to_string(each));
    }
    return all;
}

/// In a process with such a context current, or none.
class Frei0rGuest : public testing::TestWithParam<std::optional<Testing::HostApi>> {};

TEST_P(Frei0rGuest, LeavesEverythingAsItWas) {
    std::string whyNot;
    std::unique_ptr<Testing::HostContext> host;
    if (GetParam()) {
        host = Testing::makeHostContext(*GetParam(), whyNot);
        ASSERT_NE(host, nullptr) << whyNot;
    }
    const auto before = stateOfTheProcess();
    testing::internal::CaptureStdout();
    const Module module;
    for (int i = 0; i < 2; ++i) {
        oneFrame(module);
        EXPECT_EQ(stateOfTheProcess(), before) << "after a frame";
        module.deinit();
        EXPECT_EQ(stateOfTheProcess(), before) << "after the set-down";
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
INSTANTIATE_TEST_SUITE_P(All, Frei0rGuest,
                         testing::Values(std::nullopt, Testing::HostApi::glx,
                                         Testing::HostApi::eglDesktop,
                                         Testing::HostApi::eglEmbedded));

long residentKiB() {
    std::ifstream file("/proc/self/statm");
    long size = 0, resident = 0;
    file >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kAllowedKiB = 1 << 20; // they keep freed memory, and notes of their own, for a while
#else
constexpr long kAllowedKiB = 4096;
#endif

TEST(Frei0rModule, LoadsAThousandTimesWithFlatMemory) {
    long early = 0;
    for (int i = 0; i < 1000; ++i) {
        const Module module;
        module.init();
        module.destruct(module.construct(720, 576));
        if (i % 50 == 0) { // a frame makes contexts and shaders, which takes its time
            oneFrame(module);
            module.deinit();
        }
        module.deinit();
        if (i == 200) {
            early = residentKiB();
        }
    }
    EXPECT_LT(residentKiB() - early, kAllowedKiB);
}

// In processes of their own: what is loaded, and whether there is a driver, is the process's
// matter.
TEST(Frei0rModuleDeathTest, LoadsNoDriverBeforeAFrame) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const Module module;
            f0r_plugin_info_t info;
            module.info(&info);
            module.init();
            module.destruct(module.construct(720, 576));
            const auto driverIsLoaded = [] {
                std::ifstream file("/proc/self/maps");
                const std::string maps(std::istreambuf_iterator<char>(file), {});
                return maps.find("libEGL_mesa") != std::string::npos;
            };
            const bool before = driverIsLoaded();
            oneFrame(module);
            _exit(!before && driverIsLoaded() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(Frei0rModuleDeathTest, PassesFramesThroughWithoutADriver) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            setenv("__EGL_VENDOR_LIBRARY_FILENAMES", "/dev/null", 1);
            const Module module;
            module.init();
            const Frame frame = someFrame(32, 16);
            bool same = true;
            for (int i = 0; i < 3; ++i) {
                f0r_instance_t instance = makeInstance(module, 32, 16, 3.0);
                same = same && updated(module, instance, frame) == frame;
                module.destruct(instance);
            }
            module.deinit();
            _exit(same ? 0 : 1);
        },
        testing::ExitedWithCode(0),
        "^prismdrift \\(frei0r\\): frames pass through unchanged: no OpenGL 3.3 context could be "
        "made: [^\n]+\n$");
}

} // namespace
