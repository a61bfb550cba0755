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
    const auto [acquire, release] = *basicSuite();
    const char* name = "PF ANSI Suite";
    void *first = nullptr, *second = nullptr;
    EXPECT_NE(release(name, 1), 0);
    EXPECT_EQ(acquire(name, 1, &first) + acquire(name, 1, &second), 0);
    EXPECT_TRUE(first != nullptr && first == second);
    EXPECT_EQ(release(name, 1) + release(name, 1), 0);
    EXPECT_NE(release(name, 1), 0);
    EXPECT_TRUE(acquire(name, 2, &second) != 0 && second == nullptr);
    EXPECT_TRUE(acquire(nullptr, 1, &second) != 0 && acquire(name, 1, nullptr) != 0);
}

TEST(SuitesTest, HandlesHoldMemoryUntilDisposedOf) {
    const auto [make, lock, unlock, dispose] = handleSuite();
    PF_Handle handle = make(1000);
    void* data = lock(handle);
    ASSERT_TRUE(data != nullptr && data == *handle);
    EXPECT_EQ(lock(handle), data);
    unlock(handle);
    std::memset(data, 1, 1000); // still locked once
    unlock(handle);
#ifdef __SANITIZE_ADDRESS__
    EXPECT_TRUE(__asan_address_is_poisoned(data));
#endif
    unlock(handle); // once too often
    std::memset(lock(handle), 1, 1000);
    dispose(handle);
    unlock(handle);
    dispose(handle);
    EXPECT_TRUE(lock(handle) == nullptr && lock(nullptr) == nullptr);
    EXPECT_EQ(make(SIZE_MAX / 2), nullptr);
    PF_Handle empty = make(0);
    EXPECT_NE(lock(empty), nullptr);
    dispose(empty);
}

TEST(SuitesTest, TextHandlesMayBeFreedWhileLockedButOnce) {
    const auto [lock, release] = memorySuite();
    AEGP_MemHandle handle = newTextHandle("drei");
    void* text = nullptr;
    EXPECT_EQ(handleSuite().host_lock_handle(reinterpret_cast<PF_Handle>(handle)), nullptr);
    EXPECT_EQ(lock(handle, &text), 0);
    EXPECT_STREQ(static_cast<char*>(text), "drei");
    EXPECT_EQ(release(handle), 0);
    EXPECT_NE(release(handle), 0);
    EXPECT_TRUE(lock(handle, &text) != 0 && text == nullptr);
    EXPECT_NE(lock(handle, nullptr), 0);
}

TEST(SuitesTest, WorldsHavePaddedAlignedRows) {
    const std::pair<PF_PixelFormat, int> formats[] = {
        {PF_PixelFormat_ARGB32, 4}, {PF_PixelFormat_ARGB64, 8}, {PF_PixelFormat_ARGB128, 16}};
    for (const auto& [format, bytes] : formats) {
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

PF_Err visit(void* left, std::int32_t x, std::int32_t y, PF_PixelFloat* in, PF_PixelFloat* out) {
    out->red = in->red + static_cast<float>(10 * y + x);
    return --*static_cast<int*>(left) == 0 ? 9 : 0;
}

TEST(SuitesTest, IteratesThePixelsThatBothWorldsHave) {
    void* table = nullptr;
    ASSERT_EQ(basicSuite()->AcquireSuite("PF iterateFloat Suite", 1, &table), 0);
    const World source(5, 3, PF_PixelFormat_ARGB128), target(4, 9, PF_PixelFormat_ARGB128);
    PF_LayerDef in = source.layer(), out = target.layer();
    int left = 1000;
    const auto iterate = [&](PF_LayerDef* from, const PF_Rect* area, PF_LayerDef* to) {
        const auto* suite = static_cast<PF_iterateFloatSuite1*>(table);
        return suite->iterate(nullptr, 0, 3, from, area, &left, &visit, to);
    };
    const auto red = [&](int x, int y) {
        return reinterpret_cast<const PF_PixelFloat*>(target.row(y))[x].red;
    };
    EXPECT_EQ(iterate(&in, nullptr, &out), 0);
    EXPECT_TRUE(left == 1000 - 12 && red(3, 2) == 23.0F && red(0, 3) == 0.0F);
    const PF_Rect area = {-5, 2, 2, 100};
    EXPECT_EQ(iterate(&out, &area, &out), 0);
    EXPECT_TRUE(left == 1000 - 12 - 2 * 7 && red(1, 2) == 42.0F);
    left = 2;
    EXPECT_EQ(iterate(&in, nullptr, &out), 9);
    EXPECT_NE(iterate(&in, nullptr, nullptr), 0);
    EXPECT_EQ(basicSuite()->ReleaseSuite("PF iterateFloat Suite", 1), 0);
}

} // namespace
