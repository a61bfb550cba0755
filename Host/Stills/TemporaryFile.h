#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// A file for writers that can't write into memory, in the system's folder for such. Its destructor
/// removes it. Internal to the library of stills.
class TemporaryFile {
public:
    /// Throws Error where it can't be made.
    explicit TemporaryFile(const std::string& ending);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    const std::filesystem::path& path() const { return mPath; }
    /// What has been written. Throws Error where it can't be read.
    std::vector<std::uint8_t> bytes() const;

private:
    std::filesystem::path mPath;
};

} // namespace Vexorel::PrismDrift::Host
