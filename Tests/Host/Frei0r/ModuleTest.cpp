// The module, opened by a host of the tests' own: its description, its frames, and what it must
// leave as it was.

extern "C" {
#include <frei0r.h>
}

#include "Support/HostContexts.h"
#include "Tests/Host/ScratchFolder.h"

#include <atomic>
#include <clocale>
#include <cmath>
#include <csignal>
#include <dlfcn.h>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <unistd.h>
#include <utility>

namespace {

struct Symbol {
    void* address;
    template <typename Function>
    operator Function*() const { // NOLINT(google-explicit-constructor)
        return reinterpret_cast<Function*>(address);
    }
};

struct Module {
    explicit Module(const std::string& file = FREI0R_MODULE)
        : handle(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL), dlclose) {}

    Symbol find(const char* name) const { return {dlsym(handle.get(), name)}; }

    std::shared_ptr<void> handle;
    decltype(&f0r_init) init = find("f0r_init");
    decltype(&f0r_deinit) deinit = find("f0r_deinit");
    decltype(&f0r_get_plugin_info) info = find("f0r_get_plugin_info");
    decltype(&f0r_get_param_info) paramInfo = find("f0r_get_param_info");
    decltype(&f0r_construct) construct = find("f0r_construct");
    decltype(&f0r_destruct) destruct = find("f0r_destruct");
    decltype(&f0r_set_param_value) setValue = find("f0r_set_param_value");
    decltype(&f0r_get_param_value) getValue = find("f0r_get_param_value");
    decltype(&f0r_update) update = find("f0r_update");

    template <typename Value>
    void set(f0r_instance_t instance, int index, Value value) const {
        setValue(instance, &value, index);
    }
    template <typename Value>
    Value get(f0r_instance_t instance, int index) const {
        Value value{};
        getValue(instance, &value, index);
        return value;
    }
};

using Frame = std::vector<std::uint8_t>; ///< R, G, B, A

/// An odd size, for each `number` another; other colours for each `seed`.
Frame someFrame(unsigned number, std::size_t seed = 0) {
    Frame frame(std::size_t{4} * (17 + number * 2) * 11);
    for (std::size_t i = 0; i < frame.size(); ++i) {
        frame[i] =
            static_cast<std::uint8_t>(i % 4 == 3 ? 128 + i % 128 : (i + seed) * 37 + i / 100);
    }
    return frame;
}

/// For frames of that size, with settings for each `number`.
f0r_instance_t makeInstance(const Module& module, unsigned number) {
    f0r_instance_t instance = module.construct(17 + number * 2, 11);
    module.set(instance, 0, "BGR");
    module.set(instance, 2, 0.502 + number / 2000.0);
    return instance;
}

/// The frame as the instance draws it, also in place, at an odd address between two guards.
Frame updated(const Module& module, f0r_instance_t instance, const Frame& frame) {
    Frame out(frame.size());
    const auto draw = [&](const void* from, void* to) {
        module.update(instance, std::nan(""), static_cast<const std::uint32_t*>(from),
                      static_cast<std::uint32_t*>(to));
    };
    draw(frame.data(), out.data());
    Frame guarded(frame.size() + 2, 77);
    std::copy(frame.begin(), frame.end(), guarded.begin() + 1);
    draw(&guarded[1], &guarded[1]);
    EXPECT_TRUE(guarded.front() == 77 && guarded.back() == 77);
    EXPECT_TRUE(std::equal(out.begin(), out.end(), guarded.begin() + 1));
    return out;
}

/// By an instance of its own.
Frame drawn(const Module& module, unsigned number) {
    f0r_instance_t instance = makeInstance(module, number);
    Frame frame = updated(module, instance, someFrame(number));
    module.destruct(instance);
    return frame;
}

bool drawsAFrame(const Module& module) {
    module.init();
    const bool draws = drawn(module, 0) != someFrame(0);
    module.deinit();
    return draws;
}

TEST(Frei0rModule, TellsWhatItIsBeforeInit) {
    const Module module;
    f0r_plugin_info_t info;
    module.info(&info);
    EXPECT_STREQ(info.name, "Prism Drift");
    EXPECT_TRUE(info.plugin_type == F0R_PLUGIN_TYPE_FILTER &&
                info.color_model == F0R_COLOR_MODEL_RGBA8888 &&
                info.frei0r_version == FREI0R_MAJOR_VERSION);
    f0r_instance_t instance = module.construct(720, 576);
    std::string names;
    std::string explanations;
    for (int i = 0; i < info.num_params; ++i) {
        f0r_param_info_t param;
        module.paramInfo(&param, i);
        names += std::string(param.name) + "|";
        EXPECT_EQ(param.type, i == 0 ? F0R_PARAM_STRING : F0R_PARAM_DOUBLE);
        EXPECT_TRUE(i == 0 || module.get<double>(instance, i) == (i < 9 ? 0.5 : 0.0)) << i;
        explanations += std::string(param.explanation) + "|";
    }
    EXPECT_EQ(names, "Channel Order|Shift Angle|Shift Distance|Channel Scale R Channel|Channel "
                     "Scale G Channel|Channel Scale B Channel|Channel Lightness R Channel|Channel "
                     "Lightness G Channel|Channel Lightness B Channel|Shift Angle in degrees|Shift "
                     "Distance in pixels|Channel Lightness R Channel in percent|Channel Lightness "
                     "G Channel in percent|Channel Lightness B Channel in percent|");
    for (const char* part :
         {"|0 to 1 stand for -180 to 180 degrees|", "|0 to 1 stand for 0 to 200 percent|",
          "|-360 to 360 degrees, added to Shift Angle|",
          "|-1000 to 1000 pixels, added to Shift Distance|"}) {
        EXPECT_NE(explanations.find(part), std::string::npos) << part << explanations;
    }
    EXPECT_STREQ(module.get<char*>(instance, 0), "RGB");
    module.destruct(instance);
    EXPECT_EQ(module.find("EntryPointFunc").address, nullptr);
}

TEST(Frei0rModule, TakesAnyValue) {
    const Module module;
    f0r_instance_t instance = module.construct(16, 16);
    const double kept[][2] = {{0.25, 0.25},        {-3, 0},        {7, 1},
                              {std::nan(""), 0.5}, {-INFINITY, 0}, {INFINITY, 1}};
    for (const auto& [given, wanted] : kept) {
        for (int i = -1; i < 9; ++i) { // there is no -1
            i == 0 ? module.set(instance, 0, "GBR") : module.set(instance, i, given);
            EXPECT_TRUE(i < 1 || i > 8 || module.get<double>(instance, i) == wanted) << given;
        }
    }
    const double addends[][3] = {{9, -400, -360},       {9, 359.5, 359.5},     {10, INFINITY, 1000},
                                 {10, std::nan(""), 0}, {13, -INFINITY, -100}, {14, 3, 0}}; // no 14
    for (const auto& [index, given, wanted] : addends) {
        const int i = static_cast<int>(index);
        module.set(instance, i, given);
        EXPECT_EQ(module.get<double>(instance, i), wanted) << i << ' ' << given;
    }
    testing::internal::CaptureStderr();
    module.set(instance, 0, "XYZ");
    EXPECT_STREQ(module.get<char*>(instance, 0), "GBR");
    module.set<const char*>(instance, 0, nullptr);
    EXPECT_STREQ(module.get<char*>(instance, 0), "RGB");
    EXPECT_EQ(module.construct(0, 16), nullptr);
    EXPECT_EQ(module.construct(16, 4000000000U), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "prismdrift (frei0r): Channel Order takes RGB, RBG, GRB, GBR, BRG or BGR, not 'XYZ'\n"
              "prismdrift (frei0r): a frame's side must be 1 to 65535 pixels, not 0\n"
              "prismdrift (frei0r): a frame's side must be 1 to 65535 pixels, not 4000000000\n");
    module.destruct(instance);
}

TEST(Frei0rModule, DrawsWhateverIsInitialised) {
    const Module module;
    f0r_instance_t instance = makeInstance(module, 3);
    const Frame wanted = drawn(module, 3);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(module.init() + module.init(), 2);
        for (int j = 0; j < 3; ++j) { // one deinit too many
            EXPECT_EQ(updated(module, instance, someFrame(3)), wanted);
            module.deinit();
        }
    }
    std::thread([&] { module.destruct(instance); }).join();
}

// Eight threads, shared out between two paths of the module, which has an effect, locks and
// contexts of its own under each. One instance a module is everybody's.
TEST(Frei0rModule, ServesEightThreadsFromTwoPaths) {
    const ScratchFolder folder;
    const std::string copy = folder.path() / "copy.so";
    std::filesystem::copy_file(FREI0R_MODULE, copy);
    const Module modules[] = {Module(), Module(copy)};
    ASSERT_NE(modules[0].update, modules[1].update);
    std::vector<Frame> wanted;
    for (unsigned number = 0; number < 8; ++number) {
        wanted.push_back(drawn(modules[0], number));
    }
    f0r_instance_t shared[] = {makeInstance(modules[0], 0), makeInstance(modules[1], 0)};
    std::atomic<int> wrong{0};
    std::vector<std::future<void>> threads;
    for (unsigned t = 0; t < 8; ++t) {
        threads.push_back(std::async(std::launch::async, [&, t] {
            const Module& module = modules[t % 2];
            module.init();
            f0r_instance_t own = makeInstance(module, 0);
            const Frame frame = someFrame(0, t);
            const Frame ownWanted = updated(module, own, frame);
            module.destruct(own);
            for (unsigned i = t; i < t + 40; ++i) {
                wrong += drawn(module, i % 8) != wanted[i % 8];
                module.set(shared[t % 2], 0, "BGR");
                wrong += updated(module, shared[t % 2], frame) != ownWanted;
            }
            module.deinit();
        }));
    }
    threads.clear(); // waits for them
    EXPECT_EQ(wrong, 0);
    modules[0].destruct(shared[0]);
    modules[1].destruct(shared[1]);
}

/// All that a guest could change: environment, locale, signal handlers, what is current.
std::string stateOfTheProcess() {
    std::ostringstream all(std::setlocale(LC_ALL, nullptr), std::ios::ate);
    for (char** entry = environ; *entry != nullptr; ++entry) {
        all << *entry;
    }
    for (int signal = 1; signal < 32; ++signal) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        all << ' ' << reinterpret_cast<void*>(action.sa_handler);
    }
    return all.str() + testing::PrintToString(Testing::currentState());
}

/// In a process with a context of this kind current, or none.
class Frei0rGuest : public testing::TestWithParam<std::optional<Testing::HostApi>> {};

INSTANTIATE_TEST_SUITE_P(All, Frei0rGuest,
                         testing::Values(std::nullopt, Testing::HostApi::glx,
                                         Testing::HostApi::eglDesktop,
                                         Testing::HostApi::eglEmbedded));

TEST_P(Frei0rGuest, LeavesEverythingAsItWas) {
    std::string whyNot;
    const auto host = GetParam() ? Testing::makeHostContext(*GetParam(), whyNot) : nullptr;
    ASSERT_EQ(host != nullptr, GetParam().has_value()) << whyNot;
    const std::string before = stateOfTheProcess();
    testing::internal::CaptureStdout();
    const Module module;
    for (int i = 0; i < 2; ++i) {
        module.init();
        EXPECT_TRUE(drawsAFrame(module));
        EXPECT_EQ(stateOfTheProcess(), before) << "after a frame";
        module.deinit();
        EXPECT_EQ(stateOfTheProcess(), before) << "after the set-down";
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Frei0rModule, LoadsAThousandTimesWithFlatMemory) {
    long early = 0;
    long pages = 0;
    for (int i = 0; i < 1000; ++i) {
        const Module module;
        module.init();
        module.destruct(module.construct(720, 576));
        if (i % 50 == 0) { // a frame makes contexts and shaders, which takes its time
            EXPECT_TRUE(drawsAFrame(module));
        }
        module.deinit();
        std::ifstream("/proc/self/statm") >> pages >> pages;
        early = i == 200 ? pages : early;
    }
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which keep freed memory
    EXPECT_LT(pages - early, 1024);
#endif
}

/// Runs the work, which must return true, in a new process, where nothing is loaded yet.
void expectInOwnProcess(bool (*work)(), const char* messages) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(_exit(work() ? 0 : 1), testing::ExitedWithCode(0), messages);
}

/// Whether one of Mesa's drivers is in the process, which have these names.
bool hasDriver() {
    std::ostringstream maps;
    maps << std::ifstream("/proc/self/maps").rdbuf();
    return maps.str().find("_dri.so") != std::string::npos ||
           maps.str().find("libgallium") != std::string::npos;
}

TEST(Frei0rModuleDeathTest, LoadsNoDriverBeforeAFrame) {
    const auto work = [] {
        setenv("PRISMDRIFT_RENDERER", "gl", 1);
        const Module module;
        f0r_plugin_info_t info;
        module.info(&info);
        module.init();
        module.destruct(module.construct(720, 576));
        return !hasDriver() && drawsAFrame(module) && hasDriver();
    };
    expectInOwnProcess(work, "");
}

/// The driver's threads would go on in code that is gone.
TEST(Frei0rModuleDeathTest, StaysInMemoryAndSoDoesThePlugin) {
    const auto work = [] {
        const auto stays = [](const char* file) {
            const bool isLoaded = Module(file).handle != nullptr;
            return isLoaded && dlopen(file, RTLD_LAZY | RTLD_NOLOAD) != nullptr;
        };
        return stays(FREI0R_MODULE) && stays(PRISMDRIFT_PLUGIN);
    };
    expectInOwnProcess(work, "");
}

/// As it does where there is no driver, and whatever the variable says.
TEST(Frei0rModuleDeathTest, StartsNoOpenGLForSoftware) {
    const auto work = [] {
        setenv("LIBGL_ALWAYS_SOFTWARE", "true", 1);
        setenv("PRISMDRIFT_RENDERER", "GPU", 1);
        const Module module;
        const bool drewBefore = drawsAFrame(module);
        return drewBefore && drawsAFrame(module) && !hasDriver();
    };
    expectInOwnProcess(work, "^prismdrift \\(frei0r\\): PRISMDRIFT_RENDERER takes auto, gl or "
                             "software, not 'GPU'; auto is taken\n$");
}

TEST(Frei0rModuleDeathTest, PassesFramesThroughWithoutADriver) {
    const auto work = [] {
        setenv("PRISMDRIFT_RENDERER", "gl", 1);
        setenv("__EGL_VENDOR_LIBRARY_FILENAMES", "/dev/null", 1);
        const Module module;
        return !drawsAFrame(module) && !drawsAFrame(module);
    };
    expectInOwnProcess(work,
                       "^prismdrift \\(frei0r\\): frames pass through unchanged: no OpenGL 3.3 "
                       "context could be made: [^\n]+\n$");
}

} // namespace
