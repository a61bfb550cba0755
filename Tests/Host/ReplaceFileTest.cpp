#include "Host/Library/ReplaceFile.h"
#include "Tests/Host/ErrorOf.h"
#include "Tests/Host/ScratchFolder.h"

#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

using namespace Vexorel::PrismDrift::Host;
namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

TEST(ReplaceFile, AppearsWholeOrNotAtAll) {
    const ScratchFolder scratch;
    const fs::path file = scratch.path() / "file", link = scratch.path() / "link";
    const auto expectOnlyFile = [&](std::uintmax_t size) {
        EXPECT_EQ(fs::file_size(file), size);
        EXPECT_EQ(std::distance(fs::directory_iterator(scratch.path()), {}), 2);
    };
    std::ofstream(file) << "old";
    fs::create_symlink("file", link);
    {
        NewFile dropped(link);
        EXPECT_EQ(writeAll(dropped.descriptor(), "newer", 5), 0);
        expectOnlyFile(3);
    }
    expectOnlyFile(3);
    const mode_t mask = umask(027);
    replaceFile(link, "newer", 5);
    umask(mask);
    expectOnlyFile(5);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    const std::string in = scratch.path().string();
    // Links to a file that isn't there yet, one by way of the other, and links to each other.
    fs::create_symlink("new", in + "/near");
    fs::create_symlink(in + "/near", in + "/far");
    replaceFile(in + "/far", "newer", 5);
    EXPECT_TRUE(fs::is_symlink(in + "/far") && fs::is_symlink(in + "/near"));
    EXPECT_EQ(fs::file_size(in + "/new"), 5);
    fs::create_symlink("loop", in + "/loop");
    ASSERT_EQ(mkfifo((in + "/pipe").c_str(), 0600), 0);
    const std::pair<std::string, std::string> rows[] = {
        {in, "cannot write '" + in + "': it is a directory"},
        {in + "/pipe", "it is not a plain file"},
        {in + "/no/file", "cannot write '" + in + "/no/file': the folder '" + in + "/no': No such"},
        {in + "/file/file", "Not a directory"},
        {in + "/loop", "Too many levels of symbolic links"},
    };
    for (const auto& [target, error] : rows) {
        EXPECT_THAT(errorOf([&, &path = target] { replaceFile(path, "", 0); }), HasSubstr(error));
    }
    EXPECT_EQ(writeAll(-1, "x", 1), EBADF);
}

} // namespace
