// What draws frames, behind the one interface that the hosts use.

#include "Host/Rendering/Renderer.h"

#include "PrismDrift/Sources/Embedded.h"
#include "Tests/Host/ErrorOf.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <thread>

using namespace Vexorel::PrismDrift::Host;

namespace {

class RendererTest : public testing::TestWithParam<RendererChoice> {
protected:
    HostedEffect effect{&EntryPointFunc};
    std::unique_ptr<Renderer> renderer = makeRenderer(effect, {GetParam(), "the test"});
};

INSTANTIATE_TEST_SUITE_P(With, RendererTest,
                         testing::Values(RendererChoice::OpenGL, RendererChoice::Software),
                         [](const auto& choice) {
                             return choice.param == RendererChoice::OpenGL ? "Gl" : "Software";
                         });

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
    for (const PF_PixelFormat format :
         {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64, PF_PixelFormat_ARGB128}) {
        const World input(4, 4, format);
        World output(4, 4, format);
        EXPECT_EQ(errorOf([&] { renderer->render(input, output, effect.defaultValues()); }).empty(),
                  renderer->takes(format))
            << format;
    }
    EXPECT_TRUE(renderer->takes(PF_PixelFormat_ARGB32));
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
