#include "Soak/Meter.h"

#include <gtest/gtest.h>

#include <EGL/egl.h>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
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

/// The EGL contexts made and not destroyed, by whichever code of the process.
std::atomic<int> gContexts{0};

double resident() {
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return static_cast<double>(pages * sysconf(_SC_PAGESIZE)) / kMiB;
}

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
    figures.resident = resident();
    malloc_trim(0);
    figures.kept = resident();
    const struct mallinfo2 memory = mallinfo2();
    figures.allocated = static_cast<double>(memory.uordblks + memory.hblkhd) / kMiB;
    figures.files = entries("/proc/self/fd");
    figures.threads = entries("/proc/self/task");
    figures.mappings = lines("/proc/self/maps");
    figures.names = mNames();
    figures.contexts = gContexts;
    return figures;
}

void Meter::judge(const Figures& end) const {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    std::printf("soak: %-14s %6d %9.1f %9.1f %8.2f %8.2f %9.2f %5d %7d %8d %6d %8d\n", name.c_str(),
                mCount, mTenth.resident, end.resident, end.resident - mTenth.resident,
                end.kept - mTenth.kept, end.allocated - mTenth.allocated, end.files, end.threads,
                end.mappings, end.names, end.contexts);
    EXPECT_EQ(end.files, mTenth.files);
    EXPECT_EQ(end.threads, mTenth.threads);
    EXPECT_EQ(end.names, mTenth.names);
    EXPECT_EQ(end.contexts, mTenth.contexts);
    if (!kKeepsFreedMemory && mLimit < kAnyGrowth) {
        // A short run ends before the memory has settled.
        const bool isShort = part() > 10;
        const double limit = isShort ? 8.0 : 1.0;
        const double growth = end.resident - mTenth.resident;
        EXPECT_LE(growth, std::max(mLimit, limit)) << "MiB resident";
        // How much can be given back differs from time to time too, so both have to grow.
        EXPECT_LE(std::min(growth, end.kept - mTenth.kept), limit) << "MiB kept";
        EXPECT_LE(end.allocated - mTenth.allocated, limit) << "MiB allocated";
        // The C library maps large blocks one by one, so the number varies a little.
        EXPECT_LE(end.mappings - mTenth.mappings, isShort ? 40 : 16);
    }
}

} // namespace Testing

// The program's own come before the library's, for the modules that it loads too.
extern "C" __attribute__((visibility("default"))) EGLContext
eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext share, const EGLint* attributes) {
    static const auto next =
        reinterpret_cast<decltype(&eglCreateContext)>(dlsym(RTLD_NEXT, "eglCreateContext"));
    EGLContext made = next(display, config, share, attributes);
    Testing::gContexts += made != EGL_NO_CONTEXT ? 1 : 0;
    return made;
}

extern "C" __attribute__((visibility("default"))) EGLBoolean eglDestroyContext(EGLDisplay display,
                                                                               EGLContext context) {
    static const auto next =
        reinterpret_cast<decltype(&eglDestroyContext)>(dlsym(RTLD_NEXT, "eglDestroyContext"));
    const EGLBoolean isDone = next(display, context);
    Testing::gContexts -= isDone == EGL_TRUE ? 1 : 0;
    return isDone;
}
