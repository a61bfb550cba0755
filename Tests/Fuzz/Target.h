#pragma once

/// What the fuzz targets share. A target is a file that defines `LLVMFuzzerTestOneInput`: it runs
/// the code on one input and expects what has to hold for every input. An expectation that fails
/// ends a fuzzing program, and fails the test that runs the corpus.

#include "Tests/Host/ScratchFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// The values that a target takes off an input's front. At the end there are only zeros.
class Values {
public:
    Values(const std::uint8_t* data, std::size_t size) : mRest(textOf(data, size)) {}

    template <typename Value>
    Value take() {
        Value value{};
        const std::size_t size = std::min(sizeof value, mRest.size());
        std::copy_n(mRest.data(), size, reinterpret_cast<char*>(&value));
        mRest.remove_prefix(size);
        return value;
    }

    bool empty() const { return mRest.empty(); }

private:
    std::string_view mRest;
};

/// A file in memory, for code that takes a file's name. It may have any ending.
class MemoryFile {
public:
    MemoryFile() : mDescriptor(memfd_create("fuzz", MFD_CLOEXEC)) { EXPECT_GE(mDescriptor, 0); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(mDescriptor); }

    void fill(const std::uint8_t* data, std::size_t size) const {
        EXPECT_EQ(ftruncate(mDescriptor, 0), 0);
        EXPECT_EQ(pwrite(mDescriptor, data, size, 0), static_cast<ssize_t>(size));
    }

    /// Its name with this ending, ".png" for one.
    std::filesystem::path path(const std::string& ending = "") const {
        const std::filesystem::path name = mNames.path() / ("fuzz" + ending);
        if (!std::filesystem::is_symlink(name)) {
            std::filesystem::create_symlink("/proc/self/fd/" + std::to_string(mDescriptor), name);
        }
        return name;
    }

private:
    ScratchFolder mNames;
    int mDescriptor;
};

inline void expectHolds(std::string_view message, std::string_view part) {
    EXPECT_NE(message.find(part), std::string_view::npos) << message;
}

} // namespace Fuzz
