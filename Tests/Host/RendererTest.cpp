// What draws frames, behind the one interface that the hosts use.

#include "Host/Rendering/Renderer.h"

#include "PrismDrift/Sources/Embedded.h"
#include "Tests/Host/ErrorOf.h"
#include "Tests/Host/FakeEffect.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <thread>

using namespace Vexorel::PrismDrift::Host;

namespace {

struct Choice {
    const char* name;
    RendererReport report;
};

class RendererTest : public testing::TestWithParam<Choice> {
protected:
    HostedEffect effect{&EntryPointFunc};
    std::unique_ptr<Renderer> renderer = makeRenderer(effect, GetParam().report);
};

INSTANTIATE_TEST_SUITE_P(With, RendererTest,
                         testing::Values(Choice{"Gl", {false, "the test asks", false}},
                                         Choice{"Both", {false, "hardware draws", true}},
                                         Choice{"Software", {true, "the test asks", false}}),
                         [](const auto& choice) { return choice.param.name; });

World opaquePicture() {
    World picture(20, 6);
    for (int i = 0; i < 20 * 6 * 4; ++i) {
        picture.row(i / 80)[i % 80] = static_cast<std::uint8_t>(i % 4 == 0 ? 255 : i * 7);
    }
    return picture;
}

// How many bytes differ from the picture with red `distance` pixels to the right and blue to the
// left, round the edge.
int wrongBytes(const World& picture, const World& drawn, int distance) {
    int wrong = 0;
    for (int i = 0; i < 20 * 6 * 4; ++i) {
        const int x = i % 80 / 4;
        const int shift = i % 4 == 1 ? -distance : i % 4 == 3 ? distance : 0;
        const int from = (x + shift + 20) % 20 * 4 + i % 4;
        wrong += drawn.row(i / 80)[i % 80] == picture.row(i / 80)[from] ? 0 : 1;
    }
    return wrong;
}

TEST_P(RendererTest, DrawsOnSeveralThreadsAndAfterTheSetDown) {
    const World picture = opaquePicture();
    for (int round = 0; round < 2; ++round) {
        std::vector<std::thread> threads;
        threads.reserve(4);
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&, thread] {
                for (int distance = thread; distance < thread + 8; ++distance) {
                    ParameterValues values = effect.defaultValues();
                    values.set(3, distance * 2);
                    World drawn(20, 6);
                    renderer->render(picture, drawn, values, {{}, 2});
                    EXPECT_EQ(wrongBytes(picture, drawn, distance), 0) << distance;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        renderer->setDown();
    }
}

TEST_P(RendererTest, TakesTheFormatsThatItSays) {
    const RendererReport& report = GetParam().report;
    ParameterValues onceRound = effect.defaultValues();
    onceRound.set(3, 4);
    for (const PF_PixelFormat format :
         {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64, PF_PixelFormat_ARGB128}) {
        const bool isDeep = format != PF_PixelFormat_ARGB32;
        const World input(4, 4, format);
        World output(4, 4, format);
        const auto render = [&] { renderer->render(input, output, effect.defaultValues()); };
        EXPECT_EQ(renderer->takes(format),
                  !isDeep || report.isSoftware || report.sharesWithSoftware);
        EXPECT_EQ(errorOf(render).empty(), renderer->takes(format)) << format;
        EXPECT_EQ(renderer->changesNothing(input, onceRound), isDeep && renderer->takes(format));
        EXPECT_FALSE(renderer->changesNothing(input, onceRound, {{}, 2}));
    }
}

TEST(Renderer, LeavesBytesToTheEffectAndOtherEffectsToOpenGL) {
    const RendererReport hardware{false, "hardware draws", true};
    const World input(4, 4);
    World output(4, 4);
    HostedEffect like(&FakeEffect::entry); // with the parameters that software draws by
    const int before = FakeEffect::setUps;
    const auto both = makeRenderer(like, hardware);
    EXPECT_TRUE(both->takes(PF_PixelFormat_ARGB128));
    both->render(input, output, like.defaultValues());
    both->setDown();
    EXPECT_EQ(FakeEffect::setUps, before + 1);
    EXPECT_EQ(FakeEffect::setDowns, FakeEffect::setUps);

    PF_ParamDef further{{99}, PF_Param_FLOAT_SLIDER, "Further", 0, {}};
    further.u.fs_d.valid_max = further.u.fs_d.slider_max = 1;
    FakeEffect::strangeParameter = &further;
    HostedEffect other([](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** parameters,
                          PF_LayerDef* world, void* extra) -> PF_Err {
        const PF_Err result = FakeEffect::entry(cmd, in, out, parameters, world, extra);
        out->num_params += cmd == PF_Cmd_PARAMS_SETUP ? 1 : 0;
        return result;
    });
    FakeEffect::strangeParameter = nullptr;
    EXPECT_FALSE(makeRenderer(other, hardware)->takes(PF_PixelFormat_ARGB128));
    const RendererReport software{true, "the test asks", false};
    EXPECT_THAT(errorOf([&] { makeRenderer(other, software); }),
                testing::HasSubstr("not Prism Drift"));
}

TEST(RendererChoice, IsReadFromWords) {
    const auto choiceOf = [](const char* word) {
        setenv("PRISMDRIFT_RENDERER", word, 1);
        return rendererFromEnvironment().choice;
    };
    EXPECT_EQ(choiceOf("gl"), RendererChoice::OpenGL);
    EXPECT_EQ(choiceOf("software"), RendererChoice::Software);
    EXPECT_TRUE(choiceOf("auto") == RendererChoice::Auto && choiceOf("") == RendererChoice::Auto);
    EXPECT_EQ(errorOf([&] { choiceOf("GL"); }),
              "PRISMDRIFT_RENDERER takes auto, gl or software, not 'GL'");
    unsetenv("PRISMDRIFT_RENDERER");
}

} // namespace
