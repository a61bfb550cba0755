// The start of the fuzzing programs.

#include "Tests/Fuzz/Target.h"

#include <cstdlib>

namespace {

/// Ends the program at the first failure, after its message, in a way that libFuzzer notices.
class Abort : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& result) override {
        if (result.failed()) {
            std::abort();
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** words) {
    int count = 1; // the other words are libFuzzer's
    testing::InitGoogleTest(&count, *words);
    testing::UnitTest::GetInstance()->listeners().Append(new Abort);
    return 0;
}
