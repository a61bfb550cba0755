// The start of the test programs that use a driver.

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <link.h>

#include <string>
#include <vector>

namespace {

/// Keeps all that is loaded where it is: a leak check at the end can't name what it finds in a
/// driver that has been unloaded by then, nor see what such a driver still holds.
class KeepLibraries : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        std::vector<std::string> names;
        dl_iterate_phdr(
            [](dl_phdr_info* info, std::size_t, void* data) {
                static_cast<std::vector<std::string>*>(data)->emplace_back(info->dlpi_name);
                return 0;
            },
            &names);
        for (const std::string& name : names) {
            if (!name.empty()) {
                dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
            }
        }
    }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new KeepLibraries);
    return RUN_ALL_TESTS();
}
