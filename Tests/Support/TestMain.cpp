// The start of the test programs that use a driver.

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <link.h>

namespace {

/// Keeps all that is loaded where it is: a leak check at the end can't name what it finds in a
/// driver that has been unloaded by then, nor see what such a driver still holds.
class KeepLibraries : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        auto* library = static_cast<link_map*>(dlopen(nullptr, RTLD_LAZY));
        for (; library != nullptr; library = library->l_next) {
            dlopen(library->l_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
        }
    }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new KeepLibraries);
    return RUN_ALL_TESTS();
}
