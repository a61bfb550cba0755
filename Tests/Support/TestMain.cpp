// The start of the test programs that use a driver.

#include "Tests/Support/KeepLibraries.h"

#include <gtest/gtest.h>

namespace {

class KeepLibraries : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override { Testing::keepLibraries(); }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new KeepLibraries);
    return RUN_ALL_TESTS();
}
