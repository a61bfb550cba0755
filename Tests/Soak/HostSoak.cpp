// The plug-in file and the frei0r module, loaded and unloaded, and the host libraries.

#include "Host/ScratchFolder.h"
#include "Plugins/PrismDrift/EffectTest.h"
#include "Soak/Meter.h"

#include "Host/Library/HostedEffect.h"
#include "Host/Library/ScriptEngine.h"
#include "Host/Media/Clip.h"
#include "PrismDrift/Sources/PrismDrift.h"

extern "C" {
#include <frei0r.h>
}

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <memory>

namespace Testing {
namespace {

using namespace Vexorel::PrismDrift::Host;
using HostWorld = Vexorel::PrismDrift::Host::World;

/// Gives the effect's settings in the order of the parameters.
ParameterValues valuesOf(const HostedEffect& effect, const Settings& settings) {
    ParameterValues values = effect.defaultValues();
    for (const Parameter& parameter : effect.parameters()) {
        if (parameter.hasValue()) {
            values.set(parameter.index, settings.at(static_cast<std::size_t>(parameter.index)));
        }
    }
    return values;
}

/// A frame of the effect, compared with the reference.
void expectFrameOf(HostedEffect& effect, int number) {
    TestHost reference;
    reference.settings = with(number % 6, number, number % 11, {100, 90, 110});
    World8 source = randomPicture(20 + number % 7, 16, false, static_cast<std::uint32_t>(number));
    World8 result(source.width(), source.height());
    HostWorld input(source.width(), source.height());
    HostWorld output(source.width(), source.height());
    const std::size_t bytes = static_cast<std::size_t>(source.width()) * 4;
    for (int y = 0; y < source.height(); ++y) {
        std::copy_n(&source.at(0, y).alpha, bytes, input.row(y));
    }
    effect.render(input, output, valuesOf(effect, reference.settings));
    for (int y = 0; y < source.height(); ++y) {
        std::copy_n(output.row(y), bytes, &result.at(0, y).alpha);
    }
    expectPixels(reference, source, result);
}

TEST(HostSoak, Loads) {
    for (Meter meter(100); meter.next();) {
        HostedEffect effect{std::filesystem::path(PRISMDRIFT_PLUGIN)};
        expectFrameOf(effect, meter.index());
        effect.setDown();
    }
}

TEST(HostSoak, Library) {
    for (Meter meter(1000); meter.next();) {
        HostedEffect effect(&EntryPointFunc);
        ParameterValues values = effect.defaultValues();
        const Parameter& distance = effect.parameters().at(2);
        values.set(3, Keyframes::parse("0=1;5~=20;-1=3", distance));
        values.resolve({[] { return 10; }, [](double seconds) { return std::int64_t(seconds); }});
        EXPECT_EQ(evaluateScript("var all = []; for (var i = 0; i < 99; ++i) all.push(i); "
                                 "all.length"),
                  "99");
        EXPECT_THROW(evaluateScript("missing()"), Error);
        EXPECT_THROW(values.set(3, 5000.0), Error);
        if (meter.index() % 20 == 0) {
            expectFrameOf(effect, meter.index());
        }
    }
}

/// A module's functions, found by name.
struct Functions {
    explicit Functions(void* module) : handle(module) {}
    template <typename Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(handle, name));
    }
    void* handle;
};

TEST(HostSoak, Frei0rLoads) {
    setenv("PRISMDRIFT_RENDERER", "gl", 1); // which has more to give back
    for (Meter meter(100); meter.next();) {
        const std::unique_ptr<void, int (*)(void*)> module(
            dlopen(FREI0R_MODULE, RTLD_NOW | RTLD_LOCAL), dlclose);
        ASSERT_NE(module, nullptr);
        const Functions functions(module.get());
        functions.find<int()>("f0r_init")();
        World8 source = randomPicture(24, 16, false, static_cast<std::uint32_t>(meter.index()));
        World8 result(24, 16);
        std::vector<std::uint8_t> in(24 * 16 * 4);
        std::vector<std::uint8_t> out(in.size());
        for (int i = 0; i < 24 * 16; ++i) {
            const PF_Pixel8& pixel = source.at(i % 24, i / 24);
            std::copy_n(&pixel.red, 3, &in[static_cast<std::size_t>(i) * 4]);
            in[static_cast<std::size_t>(i) * 4 + 3] = pixel.alpha;
        }
        for (int i = 0; i < 3; ++i) {
            f0r_instance_t instance =
                functions.find<decltype(f0r_construct)>("f0r_construct")(24, 16);
            const char* order = "BGR";
            functions.find<decltype(f0r_set_param_value)>("f0r_set_param_value")(instance, &order,
                                                                                 0);
            double distance = 0.502;
            functions.find<decltype(f0r_set_param_value)>("f0r_set_param_value")(instance,
                                                                                 &distance, 2);
            functions.find<decltype(f0r_update)>("f0r_update")(
                instance, 0, reinterpret_cast<const std::uint32_t*>(in.data()),
                reinterpret_cast<std::uint32_t*>(out.data()));
            functions.find<decltype(f0r_destruct)>("f0r_destruct")(instance);
        }
        for (int i = 0; i < 24 * 16; ++i) {
            const std::uint8_t* pixel = &out[static_cast<std::size_t>(i) * 4];
            result.at(i % 24, i / 24) = {pixel[3], pixel[0], pixel[1], pixel[2]};
        }
        TestHost reference;
        reference.settings = with(5, 0, 4);
        expectPixels(reference, source, result);
        functions.find<void()>("f0r_deinit")();
    }
}

TEST(HostSoak, Clips) {
    const ScratchFolder folder;
    for (int i = 0; i < 3; ++i) {
        std::ofstream picture(folder.path() / ("in" + std::to_string(i) + ".ppm"));
        picture << "P6 32 16 255\n" << std::string(32 * 16 * 3, static_cast<char>('a' + i));
    }
    ClipInput input;
    input.file = folder.path() / "in%d.ppm";
    ClipOutput output;
    output.file = folder.path() / "out.mkv";
    for (Meter meter(400); meter.next();) {
        const auto reader = openClip(input);
        const auto writer = openClipWriter(output, input, *reader);
        while (auto item = reader->next()) {
            writer->write(std::move(*item));
        }
        writer->finish();
        ClipInput written;
        written.file = output.file;
        const auto again = openClip(written);
        int frames = 0;
        while (again->next()) {
            ++frames;
        }
        EXPECT_EQ(frames, 3);
        ClipInput broken;
        broken.file = folder.path() / "missing.mkv";
        EXPECT_THROW(openClip(broken), Error);
    }
}

} // namespace
} // namespace Testing
