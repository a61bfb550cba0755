#include "Host/Library/Error.h"
#include "Host/Library/Memory.h"
#include "Host/Library/OfferedSuites.h"
#include "Host/Library/World.h"

#include <cstring>
#include <gtest/gtest.h>

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

template <typename Suite>
const Suite* acquire(const char* name, std::int32_t version) {
    void* suite = nullptr;
    EXPECT_EQ(basicSuite()->AcquireSuite(name, version, &suite), 0);
    return static_cast<const Suite*>(suite);
}

TEST(SuitesTest, CountsItsHolders) {
    static const int table = 0;
    const char* name = "A suite of a test";
    offerSuite(name, 1, &table);
    EXPECT_EQ(acquire<int>(name, 1), &table);
    EXPECT_EQ(acquire<int>(name, 1), &table);
    EXPECT_EQ(suiteReferences(name, 1), 2);
    EXPECT_EQ(basicSuite()->ReleaseSuite(name, 1), 0);
    EXPECT_EQ(basicSuite()->ReleaseSuite(name, 1), 0);
    EXPECT_NE(basicSuite()->ReleaseSuite(name, 1), 0);
    EXPECT_EQ(suiteReferences(name, 1), 0);

    void* suite = &suite;
    EXPECT_NE(basicSuite()->AcquireSuite(name, 2, &suite), 0);
    EXPECT_EQ(suite, nullptr);
    EXPECT_NE(basicSuite()->AcquireSuite(nullptr, 1, &suite), 0);
    EXPECT_NE(basicSuite()->AcquireSuite(name, 1, nullptr), 0);
}

TEST(SuitesTest, HandlesHoldMemoryUntilDisposedOf) {
    const PF_HandleSuite1& suite = handleSuite();
    const MemoryCounts before = handleCounts();
    PF_Handle handle = suite.host_new_handle(1000);
    void* data = suite.host_lock_handle(handle);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data, *handle);
    std::memset(data, 1, 1000);
    EXPECT_EQ(suite.host_lock_handle(handle), data);
    EXPECT_EQ(handleCounts().locks, before.locks + 2);
    EXPECT_EQ(handleCounts().bytes, before.bytes + 1000);
    suite.host_unlock_handle(handle);
    suite.host_unlock_handle(handle);
    EXPECT_EQ(handleCounts().misuses, before.misuses);
    suite.host_unlock_handle(handle);
    suite.host_dispose_handle(handle);
    suite.host_dispose_handle(handle);
    EXPECT_EQ(suite.host_lock_handle(handle), nullptr);
    EXPECT_EQ(suite.host_lock_handle(nullptr), nullptr);
    EXPECT_EQ(handleCounts().misuses, before.misuses + 4);
    EXPECT_EQ(handleCounts().blocks, before.blocks);
    EXPECT_EQ(suite.host_new_handle(SIZE_MAX / 2), nullptr);
    PF_Handle empty = suite.host_new_handle(0);
    EXPECT_NE(empty, nullptr);
    suite.host_dispose_handle(empty);
}

TEST(SuitesTest, TextHandlesMayBeFreedWhileLockedButOnce) {
    const AEGP_MemorySuite1& suite = memorySuite();
    AEGP_MemHandle handle = newTextHandle("drei");
    void* text = nullptr;
    EXPECT_EQ(suite.AEGP_LockMemHandle(handle, &text), 0);
    EXPECT_EQ(suite.AEGP_FreeMemHandle(handle), 0);
    EXPECT_EQ(memoryCounts().blocks + memoryCounts().locks, 0U);
    EXPECT_NE(suite.AEGP_FreeMemHandle(handle), 0);
    EXPECT_NE(suite.AEGP_LockMemHandle(nullptr, &text), 0);
    EXPECT_EQ(text, nullptr);
    EXPECT_NE(suite.AEGP_LockMemHandle(handle, nullptr), 0);
}

TEST(SuitesTest, WorldsHavePaddedAlignedRows) {
    for (const PF_PixelFormat format :
         {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64, PF_PixelFormat_ARGB128}) {
        for (const int width : {0, 1, 16, 33, largestSide}) {
            World world(width, 2, format);
            EXPECT_GT(world.rowBytes(), static_cast<std::ptrdiff_t>(world.pixelBytes()) * width);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(world.row(1)) % 64, 0U);
            std::memset(world.row(1), 7, static_cast<std::size_t>(world.rowBytes()));
        }
    }
    EXPECT_THROW(World(largestSide + 1, 1), Error);
    EXPECT_THROW(World(1, -1), Error);
    EXPECT_THROW(World(1, 1, 5), Error);
}

PF_Err visit(void* refcon, std::int32_t x, std::int32_t y, PF_PixelFloat* in, PF_PixelFloat* out) {
    out->red = in->red + static_cast<float>(10 * y + x);
    return --*static_cast<int*>(refcon) == 0 ? 9 : 0;
}

TEST(SuitesTest, IteratesThePixelsThatBothWorldsHave) {
    const auto* suite = acquire<PF_iterateFloatSuite1>("PF iterateFloat Suite", 1);
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
    EXPECT_EQ(red(3, 2), 23.0F);
    EXPECT_EQ(red(0, 3), 0.0F);
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
