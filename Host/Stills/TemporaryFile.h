#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// A file in memory for writers that take nothing but a name: nothing of it is left behind, however
/// the program ends. Internal to the library of stills.
class TemporaryFile {
public:
    /// Throws Error where it can't be made.
    TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    std::string name() const;
    /// What has been written. Throws Error where it can't be read.
    std::vector<std::uint8_t> bytes() const;

private:
    int mDescriptor;
};

} // namespace Vexorel::PrismDrift::Host
