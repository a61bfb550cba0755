// Runs a fuzz target on the inputs that are kept for it.

#include "Tests/Fuzz/Target.h"

#include <fstream>
#include <iterator>
#include <vector>

namespace {

TEST(Corpus, FUZZ_TARGET) {
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(FUZZ_CORPUS)) {
        SCOPED_TRACE(entry.path());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++inputs;
    }
    EXPECT_GT(inputs, 0);
    LLVMFuzzerTestOneInput(nullptr, 0);
}

} // namespace
