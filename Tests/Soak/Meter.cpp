#include "Soak/Meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <string>
#include <unistd.h>

namespace Testing {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepsFreedMemory = true;
#else
constexpr bool kKeepsFreedMemory = false;
#endif

constexpr double kMiB = 1 << 20;

int part() {
    const char* text = std::getenv("PRISMDRIFT_SOAK_PART");
    return text != nullptr ? std::max(1, std::atoi(text)) : 100;
}

int entries(const char* folder) {
    using Iterator = std::filesystem::directory_iterator;
    return static_cast<int>(std::distance(Iterator(folder), Iterator()));
}

int lines(const char* file) {
    std::ifstream in(file);
    return static_cast<int>(std::count(std::istreambuf_iterator<char>(in), {}, '\n'));
}

} // namespace

Meter::Meter(int count, std::function<int()> names, double limit)
    : mNames(std::move(names)),
      mLimit(limit),
      mCount(std::max(20, count / part())),
      mEvery(std::max(5, mCount / 100)) {}

bool Meter::next() {
    ++mDone;
    if (mDone == mCount / 10) {
        mTenth = measure();
    }
    if (mDone == mCount) {
        judge(measure());
    }
    return mDone < mCount;
}

Figures Meter::measure() const {
    Figures figures;
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    figures.resident = static_cast<double>(pages * sysconf(_SC_PAGESIZE)) / kMiB;
    const struct mallinfo2 memory = mallinfo2();
    figures.allocated = static_cast<double>(memory.uordblks + memory.hblkhd) / kMiB;
    figures.files = entries("/proc/self/fd");
    figures.threads = entries("/proc/self/task");
    figures.mappings = lines("/proc/self/maps");
    figures.names = mNames();
    return figures;
}

void Meter::judge(const Figures& end) const {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::printf("soak: %-14s %6d %9.1f %9.1f %8.2f %9.2f %5d %7d %8d %6d\n", name.c_str(), mCount,
                mTenth.resident, end.resident, end.resident - mTenth.resident,
                end.allocated - mTenth.allocated, end.files, end.threads, end.mappings, end.names);
    EXPECT_EQ(end.files, mTenth.files);
    EXPECT_EQ(end.threads, mTenth.threads);
    EXPECT_EQ(end.names, mTenth.names);
    if (!kKeepsFreedMemory) {
        // A short run ends before the memory has settled.
        const bool isShort = part() > 10;
        EXPECT_LE(end.resident - mTenth.resident, std::max(mLimit, isShort ? 8.0 : 1.0))
            << "MiB resident";
        // The C library maps large blocks one by one, so the number varies a little.
        EXPECT_LE(end.mappings - mTenth.mappings, isShort ? 40 : 16);
    }
}

} // namespace Testing
