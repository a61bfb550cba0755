// The suites that effects get from the host, and its worlds.

#include "Host/Library/Error.h"
#include "Host/Library/Memory.h"
#include "Host/Library/OfferedSuites.h"
#include "Host/Library/World.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sanitizer/asan_interface.h>

using namespace Vexorel::PrismDrift::Host;

// The sanitizers' allocators end the program instead of refusing a size, unless they are told.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

TEST(SuitesTest, CountTheirHolders) {
    SPBasicSuite& basic = *basicSuite();
    const char* name = "PF ANSI Suite";
    void *first = nullptr, *second = nullptr;
    EXPECT_NE(basic.ReleaseSuite(name, 1), 0);
    EXPECT_EQ(basic.AcquireSuite(name, 1, &first) + basic.AcquireSuite(name, 1, &second), 0);
    EXPECT_TRUE(first != nullptr && first == second);
    EXPECT_EQ(basic.ReleaseSuite(name, 1) + basic.ReleaseSuite(name, 1), 0);
    EXPECT_NE(basic.ReleaseSuite(name, 1), 0);
    EXPECT_NE(basic.AcquireSuite(name, 2, &second), 0);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(basic.AcquireSuite(nullptr, 1, &second), 0);
    EXPECT_NE(basic.AcquireSuite(name, 1, nullptr), 0);
}

// Whether the sanitizer keeps the byte out of reach; true in builds without one.
bool isLocked([[maybe_unused]] const void* byte, [[maybe_unused]] bool expected) {
#ifdef __SANITIZE_ADDRESS__
    return (__asan_address_is_poisoned(byte) == 0) == expected;
#else
    return true;
#endif
}

TEST(SuitesTest, HandlesHoldMemoryUntilDisposedOf) {
    const PF_HandleSuite1& suite = handleSuite();
    PF_Handle handle = suite.host_new_handle(1000);
    void* data = suite.host_lock_handle(handle);
    ASSERT_TRUE(data != nullptr && data == *handle);
    std::memset(data, 1, 1000);
    EXPECT_EQ(suite.host_lock_handle(handle), data);
    suite.host_unlock_handle(handle);
    EXPECT_TRUE(isLocked(data, true));
    suite.host_unlock_handle(handle);
    EXPECT_TRUE(isLocked(data, false));
    suite.host_unlock_handle(handle); // once too often
    suite.host_lock_handle(handle);
    EXPECT_TRUE(isLocked(data, true));
    suite.host_dispose_handle(handle);
    suite.host_unlock_handle(handle);
    suite.host_dispose_handle(handle);
    EXPECT_EQ(suite.host_lock_handle(handle), nullptr);
    EXPECT_EQ(suite.host_lock_handle(nullptr), nullptr);
    EXPECT_EQ(suite.host_new_handle(SIZE_MAX / 2), nullptr);
    PF_Handle empty = suite.host_new_handle(0);
    EXPECT_NE(suite.host_lock_handle(empty), nullptr);
    suite.host_dispose_handle(empty);
}

TEST(SuitesTest, TextHandlesMayBeFreedWhileLockedButOnce) {
    const AEGP_MemorySuite1& suite = memorySuite();
    AEGP_MemHandle handle = newTextHandle("drei");
    void* text = nullptr;
    EXPECT_EQ(handleSuite().host_lock_handle(reinterpret_cast<PF_Handle>(handle)), nullptr);
    EXPECT_EQ(suite.AEGP_LockMemHandle(handle, &text), 0);
    EXPECT_STREQ(static_cast<char*>(text), "drei");
    EXPECT_EQ(suite.AEGP_FreeMemHandle(handle), 0);
    EXPECT_NE(suite.AEGP_FreeMemHandle(handle), 0);
    EXPECT_NE(suite.AEGP_LockMemHandle(handle, &text), 0);
    EXPECT_EQ(text, nullptr);
    EXPECT_NE(suite.AEGP_LockMemHandle(handle, nullptr), 0);
}

TEST(SuitesTest, WorldsHavePaddedAlignedRows) {
    for (const auto& [format, bytes] :
         {std::pair(PF_PixelFormat_ARGB32, 4), std::pair(PF_PixelFormat_ARGB64, 8),
          std::pair(PF_PixelFormat_ARGB128, 16)}) {
        for (const int width : {0, 1, 16, 33, largestSide}) {
            World world(width, 2, format);
            EXPECT_GT(world.rowBytes(), bytes * width);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(world.row(1)) % 64, 0U);
            EXPECT_EQ(*world.row(1), 0);
            std::memset(world.row(1), 7, static_cast<std::size_t>(world.rowBytes()));
        }
    }
    EXPECT_THROW(World(largestSide + 1, 1), Error);
    EXPECT_THROW(World(1, largestSide + 1), Error);
    EXPECT_THROW(World(1, -1), Error);
    EXPECT_THROW(World(1, 1, 5), Error);
}

PF_Err visit(void* refcon, std::int32_t x, std::int32_t y, PF_PixelFloat* in, PF_PixelFloat* out) {
    out->red = in->red + static_cast<float>(10 * y + x);
    return --*static_cast<int*>(refcon) == 0 ? 9 : 0;
}

TEST(SuitesTest, IteratesThePixelsThatBothWorldsHave) {
    void* table = nullptr;
    ASSERT_EQ(basicSuite()->AcquireSuite("PF iterateFloat Suite", 1, &table), 0);
    const auto* suite = static_cast<PF_iterateFloatSuite1*>(table);
    const World source(5, 3, PF_PixelFormat_ARGB128);
    const World target(4, 9, PF_PixelFormat_ARGB128);
    PF_LayerDef in = source.layer();
    PF_LayerDef out = target.layer();
    const auto red = [&](int x, int y) {
        return reinterpret_cast<const PF_PixelFloat*>(target.row(y))[x].red;
    };
    int limit = 1000;
    EXPECT_EQ(suite->iterate(nullptr, 0, 3, &in, nullptr, &limit, &visit, &out), 0);
    EXPECT_EQ(limit, 1000 - 12);
    EXPECT_TRUE(red(3, 2) == 23.0F && red(0, 3) == 0.0F);
    const PF_Rect area = {-5, 2, 2, 100};
    EXPECT_EQ(suite->iterate(nullptr, 0, 3, &out, &area, &limit, &visit, &out), 0);
    EXPECT_EQ(limit, 1000 - 12 - 2 * 7);
    EXPECT_EQ(red(1, 2), 42.0F);
    limit = 2;
    EXPECT_EQ(suite->iterate(nullptr, 0, 3, &in, nullptr, &limit, &visit, &out), 9);
    EXPECT_NE(suite->iterate(nullptr, 0, 3, &in, nullptr, &limit, &visit, nullptr), 0);
    EXPECT_EQ(basicSuite()->ReleaseSuite("PF iterateFloat Suite", 1), 0);
}

} // namespace
