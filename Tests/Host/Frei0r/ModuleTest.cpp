// The module opened by a host of the tests' own: what it says, draws and leaves as it was.

extern "C" {
#include <frei0r.h>
}

#include "Host/Library/Effect.h"
#include "PrismDrift/Sources/PrismDrift.h"
#include "Support/HostContexts.h"

#include <array>
#include <atomic>
#include <clocale>
#include <cmath>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Vexorel::PrismDrift;

namespace {

class Module {
public:
    Module() : mHandle(dlopen(FREI0R_MODULE, RTLD_NOW | RTLD_LOCAL)) {
        if (mHandle == nullptr) {
            throw std::runtime_error(dlerror());
        }
        find(init, "f0r_init");
        find(deinit, "f0r_deinit");
        find(info, "f0r_get_plugin_info");
        find(paramInfo, "f0r_get_param_info");
        find(construct, "f0r_construct");
        find(destruct, "f0r_destruct");
        find(set, "f0r_set_param_value");
        find(get, "f0r_get_param_value");
        find(update, "f0r_update");
    }
    ~Module() { dlclose(mHandle); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    decltype(&f0r_init) init;
    decltype(&f0r_deinit) deinit;
    decltype(&f0r_get_plugin_info) info;
    decltype(&f0r_get_param_info) paramInfo;
    decltype(&f0r_construct) construct;
    decltype(&f0r_destruct) destruct;
    decltype(&f0r_set_param_value) set;
    decltype(&f0r_get_param_value) get;
    decltype(&f0r_update) update;

    bool exports(const char* name) const { return dlsym(mHandle, name) != nullptr; }

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

private:
    template <typename Function>
    void find(Function& function, const char* name) {
        function = reinterpret_cast<Function>(dlsym(mHandle, name));
        if (function == nullptr) {
            throw std::runtime_error(name);
        }
    }
    void* mHandle;
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
    Host::Effect effect(&EntryPointFunc);
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
    const std::array<const char*, 9> names = {"Channel Order",
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
        EXPECT_STREQ(param.name, names[static_cast<std::size_t>(i)]);
        EXPECT_EQ(param.type, i == 0 ? F0R_PARAM_STRING : F0R_PARAM_DOUBLE);
        if (i > 0) {
            EXPECT_EQ(module.number(instance, i), 0.5) << i;
        }
    }
    EXPECT_EQ(module.text(instance), "RGB");
    module.destruct(instance);
    EXPECT_FALSE(module.exports("EntryPointFunc"));
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

TEST(Frei0rModule, ServesEightThreads) {
    const Module module;
    module.init();
    std::vector<Frame> frames, wanted;
    for (unsigned size = 0; size < 8; ++size) {
        frames.push_back(someFrame(16 + size * 3, 12 + size));
        wanted.push_back(expected(frames.back(), 16 + size * 3, 12 + size, size));
    }
    std::atomic<int> wrong{0};
    std::array<f0r_instance_t, 8> last{};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (unsigned i = 0; i < 50; ++i) {
                const unsigned k = (t + i) % 8;
                f0r_instance_t instance = makeInstance(module, 16 + k * 3, 12 + k, k);
                wrong += updated(module, instance, frames[k]) != wanted[k];
                if (i == 49) {
                    last[t] = instance;
                } else {
                    module.destruct(instance);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    module.deinit();
    for (f0r_instance_t instance : last) {
        module.destruct(instance); // made on another thread, which is gone
    }
}

void oneFrame(const Module& module) {
    module.init();
    f0r_instance_t instance = makeInstance(module, 32, 16, 3.0);
    const Frame frame = someFrame(32, 16);
    EXPECT_NE(updated(module, instance, frame), frame);
    module.destruct(instance);
}

TEST(Frei0rModule, IsAGoodGuest) {
    const Module module;
    const auto environment = [] {
        std::string all;
        for (char** entry = environ; *entry != nullptr; ++entry) {
            all += std::string(*entry) + "\n";
        }
        return all;
    };
    const auto handlers = [] {
        std::vector<void*> all;
        for (int signal = 1; signal < 32; ++signal) {
            struct sigaction action {};
            sigaction(signal, nullptr, &action);
            all.push_back(reinterpret_cast<void*>(action.sa_handler));
        }
        return all;
    };
    const std::string variables = environment(), locale = std::setlocale(LC_ALL, nullptr);
    const auto signals = handlers();
    const auto current = Testing::currentState();
    testing::internal::CaptureStdout();
    oneFrame(module);
    EXPECT_EQ(Testing::currentState(), current) << "after a frame, with no context of the host's";
    module.deinit();
    EXPECT_EQ(Testing::currentState(), current) << "after the set-down";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(environment(), variables);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale);
    EXPECT_EQ(handlers(), signals);
}

class Frei0rHostContext : public testing::TestWithParam<Testing::HostApi> {};

TEST_P(Frei0rHostContext, IsCurrentAsBefore) {
    std::string whyNot;
    const auto host = Testing::makeHostContext(GetParam(), whyNot);
    ASSERT_NE(host, nullptr) << whyNot;
    const auto current = Testing::currentState();
    const Module module;
    for (int i = 0; i < 2; ++i) {
        oneFrame(module);
        EXPECT_EQ(Testing::currentState(), current);
        module.deinit();
        EXPECT_EQ(Testing::currentState(), current);
    }
}
INSTANTIATE_TEST_SUITE_P(All, Frei0rHostContext,
                         testing::Values(Testing::HostApi::glx, Testing::HostApi::eglDesktop,
                                         Testing::HostApi::eglEmbedded));

long residentKiB() {
    std::ifstream file("/proc/self/statm");
    long size = 0, resident = 0;
    file >> size >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

TEST(Frei0rModule, ReloadsWithFlatMemory) {
    long after20 = 0;
    for (int i = 0; i < 100; ++i) {
        const Module module;
        oneFrame(module);
        module.deinit();
        if (i == 19) {
            after20 = residentKiB();
        }
    }
#ifndef __SANITIZE_ADDRESS__ // which keeps freed memory for a while
    EXPECT_LT(residentKiB() - after20, 4096);
#endif
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
