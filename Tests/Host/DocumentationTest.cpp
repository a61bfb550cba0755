// The commands of the documentation, run as they stand there, and their output compared with what
// stands beneath them.

#include "Tests/Host/ProgramTest.h"

#include <regex>

namespace {

struct Example {
    std::string commands;
    std::string output; // what the page shows, empty where it shows nothing
};

// The blocks "sh" of a page (those called "bash" are for other machines), each with the block
// "text" that follows it, if one does.
std::vector<Example> examplesOf(const std::string& page) {
    static const std::regex block("```sh\n([^`]*)```\n(\n*```text\n([^`]*)```)?");
    std::vector<Example> examples;
    for (std::sregex_iterator found(page.begin(), page.end(), block), end; found != end; ++found) {
        examples.push_back({(*found)[1], (*found)[3]});
    }
    return examples;
}

class DocumentationTest : public ProgramTest, public testing::WithParamInterface<const char*> {};

TEST_P(DocumentationTest, ItsCommandsDoWhatItSays) {
    const std::string page = contents(PRISMDRIFT_ROOT "/" + std::string(GetParam()));
    const std::vector<Example> examples = examplesOf(page);
    ASSERT_FALSE(examples.empty());
    output("cp '" PRISMDRIFT_ROOT "/Documentation/pictures/sample.png' photo.png\n"
           "mkdir Presets && cp '" PRISMDRIFT_ROOT "'/Presets/*.json Presets\n"
           "oiiotool photo.png --ch R,G,B -d uint16 -o deep.png\n"
           "oiiotool photo.png --ch R,G,B photo.png --ch diffuse.R=R,diffuse.G=G,diffuse.B=B "
           "--chappend -d half -o render.exr\n"
           "ffmpeg -v error -nostdin -f lavfi -i testsrc2=s=320x180:r=25 -f lavfi -i sine -t 0.8 "
           "-pix_fmt yuv420p -c:v libx264 -c:a aac clip.mp4\n"
           "ffmpeg -v error -nostdin -f lavfi -i testsrc2=s=160x90:r=24 -frames:v 6 -start_number "
           "101 shot.%04d.png");
    for (const Example& example : examples) {
        const std::size_t before = files().size();
        const Result result =
            run("export PATH=\"${PROGRAM%/*}:$PATH\"; set -e -o pipefail\n" + example.commands);
        EXPECT_EQ(result.status, 0) << example.commands << result.errors;
        EXPECT_TRUE(example.output.empty() || result.output == example.output)
            << example.commands << result.output;
        EXPECT_TRUE(files().size() > before || !result.output.empty()) << example.commands;
    }
}

INSTANTIATE_TEST_SUITE_P(Pages, DocumentationTest,
                         testing::Values("README.md", "Documentation/command-line.md",
                                         "Documentation/keyframes.md", "Documentation/colour.md"),
                         [](const auto& page) {
                             std::string name = std::filesystem::path(page.param).stem().string();
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

} // namespace
